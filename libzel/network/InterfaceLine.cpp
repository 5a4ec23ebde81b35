// Splits the lines of the interface table and reads their counters.
#include "network/InterfaceLine.h"

#include "text/NumberScan.h"

#include <cstring>

namespace {

using Counter = unsigned long long user_net_device_stats::*;

// The columns of the three layouts, in the order of the lines.
constexpr Counter compressedColumns[] = {
    &user_net_device_stats::rx_bytes,          &user_net_device_stats::rx_packets,
    &user_net_device_stats::rx_errors,         &user_net_device_stats::rx_dropped,
    &user_net_device_stats::rx_fifo_errors,    &user_net_device_stats::rx_frame_errors,
    &user_net_device_stats::rx_compressed,     &user_net_device_stats::rx_multicast,
    &user_net_device_stats::tx_bytes,          &user_net_device_stats::tx_packets,
    &user_net_device_stats::tx_errors,         &user_net_device_stats::tx_dropped,
    &user_net_device_stats::tx_fifo_errors,    &user_net_device_stats::collisions,
    &user_net_device_stats::tx_carrier_errors, &user_net_device_stats::tx_compressed,
};

constexpr Counter byteColumns[] = {
    &user_net_device_stats::rx_bytes,          &user_net_device_stats::rx_packets,
    &user_net_device_stats::rx_errors,         &user_net_device_stats::rx_dropped,
    &user_net_device_stats::rx_fifo_errors,    &user_net_device_stats::rx_frame_errors,
    &user_net_device_stats::tx_bytes,          &user_net_device_stats::tx_packets,
    &user_net_device_stats::tx_errors,         &user_net_device_stats::tx_dropped,
    &user_net_device_stats::tx_fifo_errors,    &user_net_device_stats::collisions,
    &user_net_device_stats::tx_carrier_errors,
};

constexpr Counter packetColumns[] = {
    &user_net_device_stats::rx_packets,        &user_net_device_stats::rx_errors,
    &user_net_device_stats::rx_dropped,        &user_net_device_stats::rx_fifo_errors,
    &user_net_device_stats::rx_frame_errors,   &user_net_device_stats::tx_packets,
    &user_net_device_stats::tx_errors,         &user_net_device_stats::tx_dropped,
    &user_net_device_stats::tx_fifo_errors,    &user_net_device_stats::collisions,
    &user_net_device_stats::tx_carrier_errors,
};

bool scanCounter(const char *&cursor, unsigned long long &value) {
    return zel::scanUnsigned(cursor, value);
}

// The oldest layout is read as signed numbers, which saturate at other limits.
bool scanSignedCounter(const char *&cursor, unsigned long long &value) {
    long long number = 0;
    if (!zel::scanSigned(cursor, number))
        return false;
    value = static_cast<unsigned long long>(number);
    return true;
}

template<bool (*Scan)(const char *&, unsigned long long &), std::size_t Count>
void takeColumns(const Counter (&columns)[Count], const char *text, user_net_device_stats &stats) {
    for (const Counter column : columns) {
        if (!Scan(text, stats.*column))
            return;
    }
}

} // namespace

namespace zel {

// Sample:  face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs ...
int interfaceLayout(const char *headerLine) {
    if (std::strstr(headerLine, "compressed") != nullptr)
        return INTERFACE_LAYOUT_COMPRESSED;
    return std::strstr(headerLine, "bytes") != nullptr ? INTERFACE_LAYOUT_BYTES : INTERFACE_LAYOUT_PACKETS;
}

// Samples:   eth0:   100 ...     eth0:100 ...     eth0:1:   100 ... (an alias)
// A ":" that digits and a further ":" follow belongs to the name, any other ends it.
const char *takeInterfaceName(const char *line, char (&name)[INTERFACE_NAME_SIZE]) {
    line = skipBlanks(line);
    const char *end = line;
    while (*end != '\0' && *end != ':' && !isBlank(*end))
        ++end;
    if (*end == ':') {
        const char *aliasEnd = end + 1;
        while (*aliasEnd >= '0' && *aliasEnd <= '9')
            ++aliasEnd;
        if (*aliasEnd == ':')
            end = aliasEnd;
    }
    const auto length = static_cast<std::size_t>(end - line);
    const std::size_t kept = length < INTERFACE_NAME_SIZE ? length : INTERFACE_NAME_SIZE - 1;
    std::memcpy(name, line, kept);
    name[kept] = '\0';
    return *end == ':' ? end + 1 : end;
}

// Samples, after the name:
//   3  18687536  491 0 0 0 0 0 0  25259  301 0 0 0 0 0 0
//   2  18687536  491 0 0 0 0  25259  301 0 0 0 0 0
//   1  491 0 0 0 0  301 0 0 0 0 0
void parseInterfaceCounters(int layout, const char *text, user_net_device_stats &stats) {
    switch (layout) {
    case INTERFACE_LAYOUT_COMPRESSED:
        takeColumns<scanCounter>(compressedColumns, text, stats);
        break;
    case INTERFACE_LAYOUT_BYTES:
        takeColumns<scanCounter>(byteColumns, text, stats);
        stats.rx_multicast = 0;
        break;
    case INTERFACE_LAYOUT_PACKETS:
        takeColumns<scanSignedCounter>(packetColumns, text, stats);
        stats.rx_bytes = 0;
        stats.tx_bytes = 0;
        stats.rx_multicast = 0;
        break;
    default:
        break;
    }
}

} // namespace zel

// Reads what a port of an InfiniBand adapter says of itself.
#include "host/areas/InfinibandDetails.h"

#include "host/DirectoryWalk.h"
#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"
#include "text/NumberScan.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fcntl.h>

namespace zel {

namespace {

using Port = InfinibandPort;

constexpr std::size_t portsAtMost = 256;     // the standard has a byte for them
constexpr std::size_t countersAtMost = 1024; // of a driver
constexpr std::uint64_t bytesPerWord = 4;    // in which the standard counts data

// A file below the directory of the port, and where its number goes.
struct CounterFile {
    std::string_view file;
    Count Port::*member;
    std::uint64_t factor = 1;
};

constexpr CounterFile counters[] = {
    {"counters/port_rcv_data", &Port::receiveBytes, bytesPerWord},
    {"counters/port_rcv_packets", &Port::receivePackets},
    {"counters/unicast_rcv_packets", &Port::receiveUnicastPackets},
    {"counters/multicast_rcv_packets", &Port::receiveMulticastPackets},
    {"counters/port_xmit_data", &Port::transmitBytes, bytesPerWord},
    {"counters/port_xmit_packets", &Port::transmitPackets},
    {"counters/unicast_xmit_packets", &Port::transmitUnicastPackets},
    {"counters/multicast_xmit_packets", &Port::transmitMulticastPackets},
    {"counters/port_rcv_errors", &Port::receiveErrors},
    {"counters/port_rcv_remote_physical_errors", &Port::receiveRemotePhysicalErrors},
    {"counters/port_rcv_switch_relay_errors", &Port::receiveSwitchRelayErrors},
    {"counters/port_rcv_constraint_errors", &Port::receiveConstraintErrors},
    {"counters/port_rcv_discards", &Port::receiveDiscards},
    {"counters/port_xmit_discards", &Port::transmitDiscards},
    {"counters/port_xmit_constraint_errors", &Port::transmitConstraintErrors},
    {"counters/port_xmit_wait", &Port::transmitWaits},
    {"counters/symbol_error", &Port::symbolErrors},
    {"counters/link_error_recovery", &Port::linkErrorRecoveries},
    {"counters/link_downed", &Port::linkDowned},
    {"counters/local_link_integrity_errors", &Port::localLinkIntegrityErrors},
    {"counters/excessive_buffer_overrun_errors", &Port::bufferOverrunErrors},
    {"counters/VL15_dropped", &Port::managementDrops},
    {"counters_ext/port_rcv_data_64", &Port::extendedReceiveBytes, bytesPerWord},
    {"counters_ext/port_rcv_packets_64", &Port::extendedReceivePackets},
    {"counters_ext/port_unicast_rcv_packets", &Port::extendedReceiveUnicastPackets},
    {"counters_ext/port_multicast_rcv_packets", &Port::extendedReceiveMulticastPackets},
    {"counters_ext/port_xmit_data_64", &Port::extendedTransmitBytes, bytesPerWord},
    {"counters_ext/port_xmit_packets_64", &Port::extendedTransmitPackets},
    {"counters_ext/port_unicast_xmit_packets", &Port::extendedTransmitUnicastPackets},
    {"counters_ext/port_multicast_xmit_packets", &Port::extendedTransmitMulticastPackets},
};
static_assert(std::size(counters) == INFINIBAND_COUNTERS);

constexpr struct {
    std::string_view file;
    Reading<std::string> Port::*member;
} deviceTexts[] = {
    {"fw_ver", &Port::firmware},
    {"board_id", &Port::board},
    {"hca_type", &Port::adapterType},
    {"node_guid", &Port::nodeGuid},
};

// The attributes of one port: those of its device, by a name that leads to its directory.
class PortFiles {
public:
    PortFiles(const HostDirectory &root, const InfinibandPlace &place)
        : m_files(root, INFINIBAND_DIRECTORY, place.device), m_prefix("ports/" + std::to_string(place.port)) {}

    bool areThere() { return m_files.has(m_prefix); }
    int read(std::string_view file) { return m_files.read(pathOf(file)); }
    void text(std::string_view file, Reading<std::string> &reading) { m_files.text(pathOf(file), reading); }
    std::string_view text() const { return m_files.text(); }
    DeviceAttributes &ofDevice() { return m_files; }

    // Samples: 4294967295
    //          N/A (no PMA)
    Count count(std::string_view file) {
        if (const int error = read(file); error != 0)
            return absenceOf(error);
        return text().starts_with("N/A") ? Count(Absence::Unsupported) : attributeNumber(text().data());
    }

private:
    const std::string &pathOf(std::string_view file) {
        m_path.assign(m_prefix).append("/").append(file);
        return m_path;
    }

    DeviceAttributes m_files;
    std::string m_prefix, m_path;
};

// Sample: 4: ACTIVE
void readState(PortFiles &files, std::string_view file, Reading<std::string> &state, Count &number) {
    if (const int error = files.read(file); error != 0) {
        number = absenceOf(error);
        return state.clear(absenceOf(error));
    }
    const char *cursor = files.text().data();
    number = takeCount(cursor, ':');
    if (number && *cursor == ':')
        return takeAttributeText(files.text().substr(files.text().find(':') + 1), state);
    number = Absence::Malformed;
    state.clear(Absence::Malformed);
}

void readRate(PortFiles &files, Port &port) {
    files.text("rate", port.rate);
    port.rateBytesPerSecond = port.rate ? infinibandRate(port.rate.value().c_str()) : Count(port.rate.absence());
}

// Sample: 0x3
Count readLocalId(PortFiles &files) {
    const int error = files.read("lid");
    return error == 0 ? attributeHexadecimal(files.text().data()) : Count(absenceOf(error));
}

ScopedDescriptor openListing(const HostDirectory &root, const std::string &path) {
    return root.open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

// What a driver sets is among what it counts: for how long it keeps an answer of the firmware.
std::shared_ptr<const InfinibandNames> listCounters(const HostDirectory &root, const InfinibandPlace &place) {
    constexpr std::string_view setting = "lifespan";
    auto names = std::make_shared<InfinibandNames>();
    DirectoryRoom<4096> room;
    DirectoryWalk walk(openListing(root, INFINIBAND_DIRECTORY + ("/" + place.device) + "/ports/" +
                                             std::to_string(place.port) + "/hw_counters"),
                       room);
    while (const char *name = walk.isOpen() ? walk.next() : nullptr) {
        if (name[0] != '.' && name != setting && names->size() < countersAtMost)
            names->emplace_back(name);
    }
    std::sort(names->begin(), names->end());
    return names;
}

void describe(PortFiles &files, Port &port) {
    files.text("link_layer", port.linkLayer);
    port.localId = readLocalId(files);
    for (const auto &[file, member] : deviceTexts)
        files.ofDevice().text(file, port.*member);
}

} // namespace

Count infinibandRate(const char *text) {
    constexpr double bytesPerGigabit = 125000000;
    const char *cursor = text;
    const Number gigabits = takeDecimal(cursor);
    if (!gigabits || takeWord(cursor) != "Gb/sec")
        return Absence::Malformed;
    return static_cast<std::uint64_t>(std::llround(std::min(*gigabits, 1e9) * bytesPerGigabit));
}

std::vector<std::uint64_t> infinibandPorts(const HostDirectory &root, const std::string &device) {
    std::vector<std::uint64_t> ports;
    DirectoryRoom<4096> room;
    DirectoryWalk walk(openListing(root, INFINIBAND_DIRECTORY + ("/" + device) + "/ports"), room);
    while (const char *name = walk.isOpen() ? walk.next() : nullptr) {
        const char *cursor = name;
        const Count number = takeCount(cursor);
        if (number && *cursor == '\0' && *number < portsAtMost && ports.size() < portsAtMost)
            ports.push_back(*number);
    }
    std::sort(ports.begin(), ports.end());
    return ports;
}

int readInfinibandPort(const HostDirectory &root, const InfinibandPlace &place, const InfinibandScope &scope,
                       InfinibandReading &reading) {
    PortFiles files(root, place);
    if (!files.areThere())
        return ENOENT;
    Port &port = reading.port;
    readState(files, "state", port.state, port.stateNumber);
    readState(files, "phys_state", port.physicalState, port.physicalStateNumber);
    readRate(files, port);
    for (std::size_t index = 0; index < INFINIBAND_COUNTERS; ++index) {
        if (scope.counters[index])
            port.*counters[index].member = scaledCount(files.count(counters[index].file), counters[index].factor);
    }
    if (scope.names == nullptr)
        describe(files, port);
    reading.names = scope.names != nullptr ? scope.names : listCounters(root, place);
    reading.values.clear();
    std::string path;
    for (const std::string &name : *reading.names)
        reading.values.push_back(files.count(path.assign("hw_counters/").append(name)));
    return 0;
}

void assignInfiniband(const InfinibandReading &from, const InfinibandScope &scope, InfinibandReading &to) {
    to.names = from.names;
    to.values = from.values;
    if (scope.names == nullptr) {
        to.port = from.port;
        return;
    }
    to.port.state.assign(from.port.state);
    to.port.stateNumber = from.port.stateNumber;
    to.port.physicalState.assign(from.port.physicalState);
    to.port.physicalStateNumber = from.port.physicalStateNumber;
    to.port.rate.assign(from.port.rate);
    to.port.rateBytesPerSecond = from.port.rateBytesPerSecond;
    for (std::size_t index = 0; index < INFINIBAND_COUNTERS; ++index) {
        if (scope.counters[index])
            to.port.*counters[index].member = from.port.*counters[index].member;
    }
}

InfinibandScope supportedCounters(const InfinibandReading &reading) {
    InfinibandScope scope{{}, reading.names};
    for (std::size_t index = 0; index < INFINIBAND_COUNTERS; ++index)
        scope.counters[index] = (reading.port.*counters[index].member).absence() != Absence::Unsupported;
    return scope;
}

} // namespace zel

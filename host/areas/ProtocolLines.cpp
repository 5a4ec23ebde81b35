// Parses the counters of the protocols.
#include "host/areas/ProtocolLines.h"

#include "host/source/SourceFile.h"

#include <charconv>

namespace zel {

std::string protocolKeyOf(const Family &family) {
    constexpr std::string_view total = "_total", seconds = "_seconds", bytes = "_bytes", octets = "_octets";
    if (family.kind == Kind::Label || !family.source.starts_with("/proc/net/"))
        return "";
    std::string key(family.name);
    if (key.ends_with(total))
        key.resize(key.size() - total.size());
    if (family.unit == Unit::Seconds)
        key.resize(key.size() - seconds.size());
    if (family.unit == Unit::Bytes)
        key.replace(key.size() - bytes.size(), bytes.size(), octets);
    std::erase(key, '_');
    return key;
}

namespace {

constexpr std::string_view netstatFile = "/proc/net/netstat";

// Takes the values of a line under the keys of the line above it. More values than keys are a fault, and fewer.
template<class Use> bool forEachPair(const char *heading, const char *values, Use &&use) {
    bool whole = true;
    std::size_t place = 0;
    for (std::string_view key = takeWord(heading); !key.empty(); key = takeWord(heading), ++place) {
        if (place == ProtocolLines::KEYS_LIMIT)
            return false;
        if (use(key, place, values))
            continue;
        whole = false;
        takeWord(values);
    }
    return whole && endsLine(*skipSpaces(values));
}

template<class Row>
bool takeColumns(ProtocolKeys<Row> &keys, const ProtocolLines::Place &from, const char *heading, const char *values,
                 Row &row, Sample &sample) {
    return forEachPair(heading, values, [&](std::string_view key, std::size_t place, const char *&cursor) {
        const Field<Row> *field = keys.find(key, place);
        return field != nullptr ? takeProtocolValue(*field, cursor, row)
                                : ProtocolLines::takeOther(sample, from, key, cursor);
    });
}

// Takes the value of "InType3" or "OutType3": false when the key is none of these.
bool takeType(std::string_view key, std::string_view protocol, const char *&cursor, Sample &sample, bool &whole) {
    constexpr std::string_view in = "InType", out = "OutType";
    const bool received = key.starts_with(in);
    if (!received && !key.starts_with(out))
        return false;
    const std::string_view digits = key.substr(received ? in.size() : out.size());
    unsigned char type = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), type);
    if (error != std::errc() || end != digits.data() + digits.size())
        return false;
    const auto same = [&](const IcmpType &row) { return row.type == type && row.protocol == protocol; };
    IcmpType *row = std::find_if(sample.icmpTypes.begin(), sample.icmpTypes.end(), same);
    if (row == sample.icmpTypes.end()) {
        row = &sample.icmpTypes.append();
        row->protocol = protocol;
        row->type = type;
        row->received = row->sent = std::uint64_t{0}; // the kernel leaves a count of 0 out
    }
    Count &count = received ? row->received : row->sent;
    count = takeCount(cursor);
    whole &= count.has();
    return true;
}

constexpr std::string_view snmp6 = "snmp6";

// The protocol that a key of snmp6 begins with, such as Ip6; an empty one where there is none.
std::string_view prefixOfSix(std::string_view key) {
    return key.substr(0, key.find('6') + 1);
}

// The prefix of a line before its colon; an empty one where there is none.
std::string_view prefixOf(const char *line) {
    const char *end = line;
    while (*end != ':' && !endsWord(*end))
        ++end;
    return *end == ':' ? std::string_view(line, static_cast<std::size_t>(end - line)) : std::string_view();
}

} // namespace

void ProtocolLines::begin(Sample &sample, int snmp, int netstat) {
    const auto reason = [](int error) { return error == 0 ? Absence::Unsupported : absenceOf(error); };
    sample.ip.clear();
    sample.icmp.clear();
    sample.icmpTypes.clear();
    sample.udp.clear();
    sample.protocolOthers.clear();
    forget(sample.tcp, reason(snmp));
    forget(sample.tcpExtended, reason(netstat));
    forget(sample.multipathTcp, reason(netstat));
    m_snmpError = snmp;
    m_netstatError = netstat;
}

// The row of a protocol, in which nothing is known when it is new.
template<class Row> Row &ProtocolLines::rowOf(Rows<Row> &rows, std::string_view protocol) const {
    for (Row &row : rows) {
        if (row.protocol == protocol)
            return row;
    }
    Row &row = rows.append();
    row.protocol = protocol;
    const bool six = protocol.ends_with('6');
    for (const Field<Row> &field : fieldsOf<Row>()) {
        const int error = six ? 0 : field.family.source.starts_with(netstatFile) ? m_netstatError : m_snmpError;
        field.clear(row, error == 0 ? Absence::Unsupported : absenceOf(error));
    }
    return row;
}

// Sample: Tcp: RtoAlgorithm RtoMin RtoMax
//         Tcp: 1 200 120000
bool ProtocolLines::takePairs(std::string_view file, const char *text, Sample &sample) {
    bool whole = *text != '\0';
    while (*text != '\0') {
        const std::string_view protocol = prefixOf(text);
        const char *values = nextLine(text);
        if (protocol.empty() || prefixOf(values) != protocol) {
            whole = false;
            text = values;
            continue;
        }
        const std::size_t length = protocol.size() + 1;
        whole &= takePair({file, protocol, text + length, values + length}, sample);
        text = nextLine(values);
    }
    return whole;
}

bool ProtocolLines::takePair(const Pair &pair, Sample &sample) {
    const auto take = [&](auto &keys, auto &row) {
        return takeColumns(keys, {pair.file, pair.protocol}, pair.heading, pair.values, row, sample);
    };
    if (pair.protocol == "Ip")
        return take(m_ip, rowOf(sample.ip, "ip"));
    if (pair.protocol == "IpExt")
        return take(m_ipExtended, rowOf(sample.ip, "ip"));
    if (pair.protocol == "Icmp")
        return take(m_icmp, rowOf(sample.icmp, "icmp"));
    if (pair.protocol == "IcmpMsg")
        return takeTypes(pair, sample);
    if (pair.protocol == "Tcp")
        return take(m_tcp, sample.tcp);
    if (pair.protocol == "TcpExt")
        return take(m_tcpExtended, sample.tcpExtended);
    if (pair.protocol == "MPTcpExt")
        return take(m_mptcp, sample.multipathTcp);
    if (pair.protocol == "Udp")
        return take(m_udp, rowOf(sample.udp, "udp"));
    if (pair.protocol == "UdpLite")
        return take(m_udpLite, rowOf(sample.udp, "udplite"));
    return takeOthers(pair, sample);
}

// Sample: IcmpMsg: InType3 OutType3
//         IcmpMsg: 104 120
bool ProtocolLines::takeTypes(const Pair &pair, Sample &sample) {
    return forEachPair(pair.heading, pair.values, [&](std::string_view key, std::size_t, const char *&cursor) {
        bool whole = true;
        return takeType(key, "icmp", cursor, sample, whole)
                   ? whole
                   : takeOther(sample, {pair.file, pair.protocol}, key, cursor);
    });
}

bool ProtocolLines::takeOthers(const Pair &pair, Sample &sample) {
    return forEachPair(pair.heading, pair.values, [&](std::string_view key, std::size_t, const char *&cursor) {
        return takeOther(sample, {pair.file, pair.protocol}, key, cursor);
    });
}

bool ProtocolLines::takeOther(Sample &sample, const Place &place, std::string_view key, const char *&cursor) {
    if (sample.protocolOthers.size() == OTHERS_LIMIT || key.size() > PROTOCOL_KEY_LIMIT ||
        place.protocol.size() > PROTOCOL_KEY_LIMIT)
        return false;
    ProtocolOther &other = sample.protocolOthers.append();
    other.file = place.file;
    other.protocol = place.protocol;
    other.key = key;
    other.value = takeInteger(cursor);
    return other.value.has();
}

// Sample: Ip6InReceives                   	27
bool ProtocolLines::takeSix(const char *text, Sample &sample) {
    bool whole = *text != '\0';
    std::size_t lines = 0;
    std::fill(std::begin(m_places), std::end(m_places), std::size_t{0});
    for (const char *line = text; *line != '\0'; line = nextLine(line)) {
        if (++lines > std::size(m_places) * KEYS_LIMIT)
            return false;
        const char *cursor = line;
        const std::string_view key = takeWord(cursor);
        whole &= takeSixLine(key, cursor, sample);
    }
    return whole;
}

bool ProtocolLines::takeSixLine(std::string_view key, const char *cursor, Sample &sample) {
    bool whole = true;
    const auto take = [&](std::string_view prefix, auto &keys, std::size_t &place, auto &&rowOfProtocol) {
        if (!key.starts_with(prefix))
            return false;
        const auto *field = keys.find(key.substr(prefix.size()), place++);
        whole = field != nullptr ? takeProtocolValue(*field, cursor, rowOfProtocol())
                                 : takeOther(sample, {snmp6, prefix}, key.substr(prefix.size()), cursor);
        return true;
    };
    constexpr std::string_view icmp = "Icmp6";
    const bool typed = key.starts_with(icmp) && takeType(key.substr(icmp.size()), "icmp6", cursor, sample, whole);
    const bool taken =
        typed || take("Ip6", m_ip6, m_places[0], [&]() -> Ip & { return rowOf(sample.ip, "ip6"); }) ||
        take(icmp, m_icmp6, m_places[1], [&]() -> Icmp & { return rowOf(sample.icmp, "icmp6"); }) ||
        take("Udp6", m_udp6, m_places[2], [&]() -> Udp & { return rowOf(sample.udp, "udp6"); }) ||
        take("UdpLite6", m_udpLite6, m_places[3], [&]() -> Udp & { return rowOf(sample.udp, "udplite6"); });
    if (!taken)
        whole =
            !key.empty() && takeOther(sample, {snmp6, prefixOfSix(key)}, key.substr(prefixOfSix(key).size()), cursor);
    return whole && endsLine(*skipSpaces(cursor));
}

} // namespace zel

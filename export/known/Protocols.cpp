// The known names of the protocol counters: those of /proc/net/snmp, snmp6 and netstat that most dashboards ask for.
// Nobody says of them whether they only grow, so they are of unknown type.
#include "export/known/BuiltName.h"
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType unknown = MetricType::Unknown;

// One protocol of a list has these.
template<class Row> struct ProtocolTable {
    Rows<Row> Sample::*rows;
    std::string_view protocol;
    std::span<const KnownField<Row>> fields;
};

constexpr KnownField<Ip> ipFields[] = {
    {&Ip::forwarding, "node_netstat_Ip_Forwarding", unknown, "1 when packets for others are passed on, 2 when not."},
    {&Ip::inBytes, "node_netstat_IpExt_InOctets", unknown, "Bytes received."},
    {&Ip::outBytes, "node_netstat_IpExt_OutOctets", unknown, "Bytes sent."},
};
constexpr KnownField<Ip> ip6Fields[] = {
    {&Ip::inBytes, "node_netstat_Ip6_InOctets", unknown, "Bytes received over IPv6."},
    {&Ip::outBytes, "node_netstat_Ip6_OutOctets", unknown, "Bytes sent over IPv6."},
};
constexpr KnownField<Icmp> icmpFields[] = {
    {&Icmp::inErrors, "node_netstat_Icmp_InErrors", unknown, "Messages received with an error."},
    {&Icmp::inMsgs, "node_netstat_Icmp_InMsgs", unknown, "Messages received."},
    {&Icmp::outMsgs, "node_netstat_Icmp_OutMsgs", unknown, "Messages sent."},
};
constexpr KnownField<Icmp> icmp6Fields[] = {
    {&Icmp::inErrors, "node_netstat_Icmp6_InErrors", unknown, "Messages received with an error."},
    {&Icmp::inMsgs, "node_netstat_Icmp6_InMsgs", unknown, "Messages received."},
    {&Icmp::outMsgs, "node_netstat_Icmp6_OutMsgs", unknown, "Messages sent."},
};
constexpr KnownField<Udp> udpFields[] = {
    {&Udp::inDatagrams, "node_netstat_Udp_InDatagrams", unknown, "Datagrams received."},
    {&Udp::inErrors, "node_netstat_Udp_InErrors", unknown, "Datagrams that could not be delivered."},
    {&Udp::noPorts, "node_netstat_Udp_NoPorts", unknown, "Datagrams for a port that nobody listens on."},
    {&Udp::outDatagrams, "node_netstat_Udp_OutDatagrams", unknown, "Datagrams sent."},
    {&Udp::rcvbufErrors, "node_netstat_Udp_RcvbufErrors", unknown, "Datagrams dropped for want of receive buffer."},
    {&Udp::sndbufErrors, "node_netstat_Udp_SndbufErrors", unknown, "Datagrams not sent for want of send buffer."},
};
constexpr KnownField<Udp> udp6Fields[] = {
    {&Udp::inDatagrams, "node_netstat_Udp6_InDatagrams", unknown, "Datagrams received."},
    {&Udp::inErrors, "node_netstat_Udp6_InErrors", unknown, "Datagrams that could not be delivered."},
    {&Udp::noPorts, "node_netstat_Udp6_NoPorts", unknown, "Datagrams for a port that nobody listens on."},
    {&Udp::outDatagrams, "node_netstat_Udp6_OutDatagrams", unknown, "Datagrams sent."},
    {&Udp::rcvbufErrors, "node_netstat_Udp6_RcvbufErrors", unknown, "Datagrams dropped for want of receive buffer."},
    {&Udp::sndbufErrors, "node_netstat_Udp6_SndbufErrors", unknown, "Datagrams not sent for want of send buffer."},
};
constexpr KnownField<Udp> udpLiteFields[] = {
    {&Udp::inErrors, "node_netstat_UdpLite_InErrors", unknown, "Datagrams that could not be delivered."}};
constexpr KnownField<Udp> udpLite6Fields[] = {
    {&Udp::inErrors, "node_netstat_UdpLite6_InErrors", unknown, "Datagrams that could not be delivered."}};

constexpr ProtocolTable<Ip> ipTables[] = {{&Sample::ip, "ip", ipFields}, {&Sample::ip, "ip6", ip6Fields}};
constexpr ProtocolTable<Icmp> icmpTables[] = {{&Sample::icmp, "icmp", icmpFields},
                                              {&Sample::icmp, "icmp6", icmp6Fields}};
constexpr ProtocolTable<Udp> udpTables[] = {{&Sample::udp, "udp", udpFields},
                                            {&Sample::udp, "udp6", udp6Fields},
                                            {&Sample::udp, "udplite", udpLiteFields},
                                            {&Sample::udp, "udplite6", udpLite6Fields}};

constexpr KnownField<Tcp> tcpFields[] = {
    {&Tcp::activeOpens, "node_netstat_Tcp_ActiveOpens", unknown, "Connections that the host began."},
    {&Tcp::passiveOpens, "node_netstat_Tcp_PassiveOpens", unknown, "Connections that others began."},
    {&Tcp::currEstab, "node_netstat_Tcp_CurrEstab", unknown, "Connections that are open."},
    {&Tcp::inSegs, "node_netstat_Tcp_InSegs", unknown, "Segments received."},
    {&Tcp::outSegs, "node_netstat_Tcp_OutSegs", unknown, "Segments sent, without those sent again."},
    {&Tcp::retransSegs, "node_netstat_Tcp_RetransSegs", unknown, "Segments sent again."},
    {&Tcp::inErrs, "node_netstat_Tcp_InErrs", unknown, "Segments received with an error."},
    {&Tcp::outRsts, "node_netstat_Tcp_OutRsts", unknown, "Segments sent that reset a connection."},
};
constexpr KnownTable<Tcp> tcpTable{.one = &Sample::tcp, .fields = tcpFields};

constexpr KnownField<TcpExtended> tcpExtendedFields[] = {
    {&TcpExtended::listenDrops, "node_netstat_TcpExt_ListenDrops", unknown,
     "Connections dropped by a listening socket."},
    {&TcpExtended::listenOverflows, "node_netstat_TcpExt_ListenOverflows", unknown,
     "Connections that found the queue of a listening socket full."},
    {&TcpExtended::syncookiesSent, "node_netstat_TcpExt_SyncookiesSent", unknown, "SYN cookies sent."},
    {&TcpExtended::syncookiesRecv, "node_netstat_TcpExt_SyncookiesRecv", unknown, "SYN cookies that came back."},
    {&TcpExtended::syncookiesFailed, "node_netstat_TcpExt_SyncookiesFailed", unknown, "SYN cookies that were wrong."},
    {&TcpExtended::tcpSynRetrans, "node_netstat_TcpExt_TCPSynRetrans", unknown, "SYN segments sent again."},
    {&TcpExtended::tcpTimeouts, "node_netstat_TcpExt_TCPTimeouts", unknown, "Timers of retransmission that ran out."},
};
constexpr KnownTable<TcpExtended> tcpExtendedTable{.one = &Sample::tcpExtended, .fields = tcpExtendedFields};

template<class Row> void writeProtocol(const ProtocolTable<Row> &table, const Sample &sample, MetricSink &sink) {
    for (const Row &row : sample.*table.rows) {
        if (row.protocol != table.protocol)
            continue;
        for (const KnownField<Row> &field : table.fields) {
            sink.family(field.name, field.type, field.help);
            sink.value(row.*std::get<Count Row::*>(field.member));
        }
        return;
    }
}

// Of the keys that are newer the known families are these.
bool isWritten(const ProtocolOther &other) {
    const std::string_view key = other.key;
    if (other.file.starts_with("sockstat"))
        return false;
    return key == "InErrors" || key == "InErrs" || key.ends_with("_InErrors") || key.ends_with("_InErrs") ||
           (other.protocol == "TcpExt" && (key.starts_with("Listen") || key.starts_with("Syncookies")));
}

void writeOthers(const Sample &sample, MetricSink &sink) {
    BuiltName name;
    for (const ProtocolOther &other : sample.protocolOthers) {
        if (!isWritten(other))
            continue;
        name.clear();
        sink.family(name.add("node_netstat_").add(other.protocol).add("_").add(other.key).text(), unknown,
                    "A count that is newer than this program.");
        sink.value(other.value);
    }
}

void write(const Sample &sample, MetricSink &sink) {
    const auto writeEach = [&](const auto &tables) {
        for (const auto &table : tables)
            writeProtocol(table, sample, sink);
    };
    writeEach(ipTables);
    writeEach(icmpTables);
    writeEach(udpTables);
    writeKnown(tcpTable, sample, sink);
    writeKnown(tcpExtendedTable, sample, sink);
    writeOthers(sample, sink);
}

// A field counts as known where every protocol that has it has a name for it.
void listFields(KnownFields &known) {
    known.add(tcpTable);
    known.add(tcpExtendedTable);
    known.add<Ip>({&Ip::inBytes, &Ip::outBytes});
    known.add<Icmp>({&Icmp::inErrors, &Icmp::inMsgs, &Icmp::outMsgs});
    known.add<Udp>({&Udp::inErrors});
}

} // namespace

const KnownMetrics knownProtocols{Area::Protocols, write, listFields};

} // namespace zel

// The fields of TCP and UDP.
#include "host/Transport.h"

namespace zel {

namespace {

constexpr Entries<Tcp> tcp{Area::Protocols, "tcp", "/proc/net/snmp"};
constexpr Field<Tcp> tcpFields[] = {
    tcp.info(
        "rto_algorithm", &Tcp::rtoAlgorithm,
        "How the time until a segment is sent again is found: 1 other, 2 constant, 3 MIL-STD-1778, 4 Van Jacobson."),
    tcp.gauge("rto_min_seconds", &Tcp::rtoMinSeconds, Unit::Seconds, "Least time until a segment is sent again."),
    tcp.gauge("rto_max_seconds", &Tcp::rtoMaxSeconds, Unit::Seconds, "Longest time until a segment is sent again."),
    tcp.gauge("max_conn", &Tcp::maxConn, Unit::None,
              "Connections that there can be at most; -1 is the kernel's word for no fixed limit."),
    tcp.counter("active_opens_total", &Tcp::activeOpens, Unit::None, "Connections that the host began."),
    tcp.counter("passive_opens_total", &Tcp::passiveOpens, Unit::None, "Connections that others began."),
    tcp.counter("attempt_fails_total", &Tcp::attemptFails, Unit::None,
                "Connections that failed before they were established."),
    tcp.counter("estab_resets_total", &Tcp::estabResets, Unit::None,
                "Connections that were reset when they were established."),
    tcp.gauge(
        "curr_estab", &Tcp::currEstab, Unit::None,
        "Connections that are established or wait for their close by the host; older kernels leave the latter out."),
    tcp.counter("in_segs_total", &Tcp::inSegs, Unit::None, "Segments received, with those in error."),
    tcp.counter("out_segs_total", &Tcp::outSegs, Unit::None, "Segments sent, without those that were sent again."),
    tcp.counter("retrans_segs_total", &Tcp::retransSegs, Unit::None, "Segments sent again."),
    tcp.counter("in_errs_total", &Tcp::inErrs, Unit::None, "Segments received in error."),
    tcp.counter("out_rsts_total", &Tcp::outRsts, Unit::None, "Segments sent that reset a connection."),
    tcp.counter("in_csum_errors_total", &Tcp::inCsumErrors, Unit::None, "Segments dropped for a wrong checksum."),
};

constexpr Entries<Udp> udp{Area::Protocols, "udp", "/proc/net/snmp, /proc/net/snmp6"};
constexpr Entries<Udp> queue = udp.from("NETLINK_SOCK_DIAG, /proc/net/udp, /proc/net/udp6");
constexpr Field<Udp> udpFields[] = {
    udp.label("protocol", &Udp::protocol, "udp, udplite, udp6 or udplite6."),
    udp.counter("in_datagrams_total", &Udp::inDatagrams, Unit::None, "Datagrams handed to programs."),
    udp.counter("no_ports_total", &Udp::noPorts, Unit::None, "Datagrams received for a port that nobody has."),
    udp.counter("in_errors_total", &Udp::inErrors, Unit::None,
                "Datagrams received that could not be handed over for another reason."),
    udp.counter("out_datagrams_total", &Udp::outDatagrams, Unit::None, "Datagrams sent."),
    udp.counter("rcvbuf_errors_total", &Udp::rcvbufErrors, Unit::None,
                "Datagrams dropped because the room of their receiver was full."),
    udp.counter("sndbuf_errors_total", &Udp::sndbufErrors, Unit::None,
                "Datagrams not sent because the room of their sender was full."),
    udp.counter("in_csum_errors_total", &Udp::inCsumErrors, Unit::None, "Datagrams dropped for a wrong checksum."),
    udp.counter("ignored_multi_total", &Udp::ignoredMulti, Unit::None, "Multicast datagrams that no program wanted."),
    udp.counter("mem_errors_total", &Udp::memErrors, Unit::None,
                "Datagrams dropped because the memory of all sockets was used up."),
    queue.gauge("receive_queue_bytes", &Udp::receiveQueueBytes, Unit::Bytes,
                "Memory of what waits to be taken by programs, all sockets together."),
    queue.gauge("transmit_queue_bytes", &Udp::transmitQueueBytes, Unit::Bytes,
                "Memory of what waits to be sent, all sockets together."),
};

constexpr Entries<ProtocolOther> other{Area::Protocols, "protocol_others",
                                       "/proc/net/snmp, /proc/net/snmp6, /proc/net/netstat, /proc/net/sockstat, "
                                       "/proc/net/sockstat6",
                                       "a kernel with keys that have no field here"};
constexpr Field<ProtocolOther> otherFields[] = {
    other.label("file", &ProtocolOther::file, "File of /proc/net that has the key."),
    other.label("protocol", &ProtocolOther::protocol, "As the kernel names it."),
    other.label("key", &ProtocolOther::key, "The kernel's key."),
    other.gauge("value", &ProtocolOther::value, Unit::None, "What the kernel says; it may be a counter."),
};

} // namespace

template<> std::span<const Field<Tcp>> fieldsOf<Tcp>() {
    return tcpFields;
}

template<> std::span<const Field<Udp>> fieldsOf<Udp>() {
    return udpFields;
}

template<> std::span<const Field<ProtocolOther>> fieldsOf<ProtocolOther>() {
    return otherFields;
}

} // namespace zel

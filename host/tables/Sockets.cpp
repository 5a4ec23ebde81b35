// The fields of the sockets.
#include "host/Sockets.h"

namespace zel {

namespace {

constexpr Entries<Sockets> four{Area::Protocols, "sockets", "/proc/net/sockstat"};
constexpr Entries<Sockets> six = four.from("/proc/net/sockstat6", "IPv6: ipv6.disable=0 on the kernel's command line");
constexpr Field<Sockets> fields[] = {
    four.gauge("used", &Sockets::used, Unit::None, "Sockets of every kind."),
    four.gauge("tcp_in_use", &Sockets::tcpInUse, Unit::None, "TCP sockets that are connected or listen."),
    four.gauge("tcp_orphans", &Sockets::tcpOrphans, Unit::None, "TCP sockets that no program has any more."),
    four.gauge("tcp_time_waits", &Sockets::tcpTimeWaits, Unit::None,
               "TCP sockets that wait for late segments, IPv6 included."),
    four.gauge("tcp_allocated", &Sockets::tcpAllocated, Unit::None, "TCP sockets of every state, IPv6 included."),
    four.gauge("tcp_memory_bytes", &Sockets::tcpMemoryBytes, Unit::Bytes, "Memory of what TCP sockets hold."),
    four.gauge("udp_in_use", &Sockets::udpInUse, Unit::None, "UDP sockets with a port."),
    four.gauge("udp_memory_bytes", &Sockets::udpMemoryBytes, Unit::Bytes, "Memory of what UDP sockets hold."),
    four.gauge("udp_lite_in_use", &Sockets::udpLiteInUse, Unit::None, "UDP-Lite sockets with a port."),
    four.gauge("raw_in_use", &Sockets::rawInUse, Unit::None, "Raw sockets."),
    four.gauge("fragment_queues", &Sockets::fragmentQueues, Unit::None, "Packets whose fragments are not all there."),
    four.gauge("fragment_memory_bytes", &Sockets::fragmentMemoryBytes, Unit::Bytes, "Memory of their fragments."),
    six.gauge("tcp6_in_use", &Sockets::tcp6InUse, Unit::None, "TCP sockets of IPv6 that are connected or listen."),
    six.gauge("udp6_in_use", &Sockets::udp6InUse, Unit::None, "UDP sockets of IPv6 with a port."),
    six.gauge("udp_lite6_in_use", &Sockets::udpLite6InUse, Unit::None, "UDP-Lite sockets of IPv6 with a port."),
    six.gauge("raw6_in_use", &Sockets::raw6InUse, Unit::None, "Raw sockets of IPv6."),
    six.gauge("fragment6_queues", &Sockets::fragment6Queues, Unit::None,
              "Packets of IPv6 whose fragments are not all there."),
    six.gauge("fragment6_memory_bytes", &Sockets::fragment6MemoryBytes, Unit::Bytes, "Memory of their fragments."),
    four.from("/proc/sys/net/ipv4/tcp_max_orphans")
        .gauge("tcp_orphans_limit", &Sockets::tcpOrphansLimit, Unit::None, "Orphans that there can be at most."),
    four.from("/proc/sys/net/ipv4/tcp_mem")
        .gauge("tcp_memory_limit_bytes", &Sockets::tcpMemoryLimitBytes, Unit::Bytes,
               "Memory that TCP sockets can hold at most."),
    four.from("/proc/sys/net/ipv4/udp_mem")
        .gauge("udp_memory_limit_bytes", &Sockets::udpMemoryLimitBytes, Unit::Bytes,
               "Memory that UDP sockets can hold at most."),
};

constexpr Entries<TcpStates> state{Area::Protocols, "tcp_states", "NETLINK_SOCK_DIAG, /proc/net/tcp, /proc/net/tcp6"};
constexpr Entries<TcpStates> rest = state.from("NETLINK_SOCK_DIAG, /proc/net/sockstat, /proc/net/tcp, /proc/net/tcp6");
constexpr Field<TcpStates> stateFields[] = {
    rest.gauge("established", &TcpStates::established, Unit::None, "Connections that are established."),
    state.gauge("syn_sent", &TcpStates::synSent, Unit::None, "Connections that the host begins."),
    state.gauge("syn_received", &TcpStates::synReceived, Unit::None, "Connections that others begin."),
    state.gauge("fin_wait1", &TcpStates::finWait1, Unit::None, "Closed by the host, which waits for the answer."),
    state.gauge("fin_wait2", &TcpStates::finWait2, Unit::None, "Closed by the host alone."),
    rest.gauge("time_wait", &TcpStates::timeWait, Unit::None, "Closed by both, kept for late segments."),
    state.gauge("close", &TcpStates::close, Unit::None, "Without a connection."),
    state.gauge("close_wait", &TcpStates::closeWait, Unit::None,
                "Closed by the other side; the program has not closed its own."),
    state.gauge("last_ack", &TcpStates::lastAck, Unit::None, "Closed by both, waiting for the last acknowledgement."),
    state.gauge("listen", &TcpStates::listen, Unit::None, "Sockets that listen."),
    state.gauge("closing", &TcpStates::closing, Unit::None, "Closed by both at the same time."),
    state.gauge("accept_queue", &TcpStates::acceptQueue, Unit::None,
                "Connections that programs have not accepted yet, of all sockets that listen."),
};

} // namespace

template<> std::span<const Field<Sockets>> fieldsOf<Sockets>() {
    return fields;
}

template<> std::span<const Field<TcpStates>> fieldsOf<TcpStates>() {
    return stateFields;
}

} // namespace zel

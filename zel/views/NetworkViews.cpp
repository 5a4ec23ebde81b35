// The tables of protocols, sockets and packet queues, and of what a host can run out of.
#include "zel/views/Views.h"

#include "zel/Units.h"
#include "zel/views/Cells.h"

#include <string>

namespace zel {

namespace {

constexpr double nearlyFull = 0.8, full = 0.95;

Cell shareOf(const RowValues &row, std::string_view used, std::string_view limit) {
    return shareCell(row.number(used), row.number(limit), nearlyFull, full);
}
Cell conntrackShare(const RowValues &row, const Style &) {
    return shareOf(row, "entries", "entries_limit");
}
Cell orphanShare(const RowValues &row, const Style &) {
    return shareOf(row, "tcp_orphans", "tcp_orphans_limit");
}
Cell tcpMemoryShare(const RowValues &row, const Style &) {
    return shareOf(row, "tcp_memory_bytes", "tcp_memory_limit_bytes");
}
Cell fileShare(const RowValues &row, const Style &) {
    const double used = row.number("files_allocated") - row.number("files_unused");
    return shareCell(used, row.number("files_limit"), nearlyFull, full);
}
// Every thread has a pid.
Cell pidShare(const RowValues &row, const Style &) {
    const double pids = row.number("pids_limit"), threads = row.number("threads_limit", pids);
    return shareCell(row.number("threads"), pids < threads ? pids : threads, nearlyFull, full);
}
Cell aioShare(const RowValues &row, const Style &) {
    return shareOf(row, "aio_requests", "aio_requests_limit");
}
Cell terminalShare(const RowValues &row, const Style &) {
    return shareOf(row, "terminals", "terminals_limit");
}
Cell semaphoreShare(const RowValues &row, const Style &) {
    return shareOf(row, "semaphore_arrays", "semaphore_arrays_limit");
}
Cell segmentShare(const RowValues &row, const Style &) {
    return shareOf(row, "shared_memory_segments", "shared_memory_segments_limit");
}
Cell arpShare(const RowValues &row, const Style &) {
    return shareOf(row, "arp_entries", "arp_entries_limit");
}
Cell keyShare(const RowValues &row, const Style &) {
    return shareOf(row, "keys", "keys_limit");
}
Cell keyBytesShare(const RowValues &row, const Style &) {
    return shareOf(row, "used_bytes", "limit_bytes");
}

// What never counted anything.
bool isUnusedProtocol(const RowValues &row) {
    return row.number("in_datagrams_total") + row.number("out_datagrams_total") +
               row.number("in_datagrams_per_second") + row.number("out_datagrams_per_second") ==
           0;
}

constexpr ViewColumn ip[] = {
    {"protocol", "protocol"},
    {"received/s", "in_receives_per_second"},
    {"delivered/s", "in_delivers_per_second"},
    {"sent/s", "out_requests_per_second"},
    {"forwarded/s", "forw_datagrams_per_second"},
    {"discarded in/s", "in_discards_per_second", 1, 100},
    {"out/s", "out_discards_per_second", 1, 100},
    {"no route/s", "out_no_routes_per_second", 1, 100},
    {"received", "in_receives_total"},
    {"delivered", "in_delivers_total"},
    {"sent", "out_requests_total"},
    {"forwarded", "forw_datagrams_total"},
    {"discarded in", "in_discards_total"},
    {"out", "out_discards_total"},
    {"no route", "out_no_routes_total"},
};

constexpr ViewColumn icmp[] = {
    {"protocol", "protocol"},
    {"in/s", "in_msgs_per_second"},
    {"out/s", "out_msgs_per_second"},
    {"errors in/s", "in_errors_per_second", 1, 100},
    {"unreachable in/s", "in_dest_unreachs_per_second", 10, 1000},
    {"out/s", "out_dest_unreachs_per_second", 10, 1000},
    {"echo in/s", "in_echos_per_second"},
    {"in", "in_msgs_total"},
    {"out", "out_msgs_total"},
    {"errors in", "in_errors_total"},
    {"unreachable in", "in_dest_unreachs_total"},
    {"out", "out_dest_unreachs_total"},
    {"echo in", "in_echos_total"},
};

constexpr ViewColumn icmpTypes[] = {
    {"protocol", "protocol"},
    {"type", "type"},
    {"received/s", "received_per_second"},
    {"sent/s", "sent_per_second"},
    {"received", "received_total"},
    {"sent", "sent_total"},
};

constexpr ViewColumn tcp[] = {
    {"connections", "curr_estab"},
    {"opened by host/s", "active_opens_per_second"},
    {"by others/s", "passive_opens_per_second"},
    {"failed/s", "attempt_fails_per_second", 10, 1000},
    {"reset/s", "estab_resets_per_second", 10, 1000},
    {"segments in/s", "in_segs_per_second"},
    {"segments out/s", "out_segs_per_second"},
    {"sent again/s", "retrans_segs_per_second", 10, 1000},
    {"resets out/s", "out_rsts_per_second", 100, 10000},
    {"opened by host", "active_opens_total"},
    {"by others", "passive_opens_total"},
    {"failed", "attempt_fails_total"},
    {"reset", "estab_resets_total"},
    {"segments in", "in_segs_total"},
    {"segments out", "out_segs_total"},
    {"sent again", "retrans_segs_total"},
    {"resets out", "out_rsts_total"},
};

constexpr ViewColumn tcpExtended[] = {
    {"listen queue full/s", "listen_overflows_per_second", 0.001, 1},
    {"listen drops/s", "listen_drops_per_second", 0.001, 1},
    {"SYN cookies/s", "syncookies_sent_per_second", 0.001, 1},
    {"timeouts/s", "tcp_timeouts_per_second", 10, 1000},
    {"SYN again/s", "tcp_syn_retrans_per_second", 10, 1000},
    {"fast retransmits/s", "tcp_fast_retrans_per_second", 10, 1000},
    {"out of order/s", "tcp_ofo_queue_per_second"},
    {"pruned/s", "prune_called_per_second", 0.001, 1},
    {"aborts for memory/s", "tcp_abort_on_memory_per_second", 0.001, 1},
    {"listen queue full", "listen_overflows_total"},
    {"listen drops", "listen_drops_total"},
    {"SYN cookies", "syncookies_sent_total"},
    {"timeouts", "tcp_timeouts_total"},
    {"SYN again", "tcp_syn_retrans_total"},
    {"fast retransmits", "tcp_fast_retrans_total"},
    {"out of order", "tcp_ofo_queue_total"},
    {"pruned", "prune_called_total"},
    {"aborts for memory", "tcp_abort_on_memory_total"},
};

constexpr ViewColumn mptcp[] = {
    {"connections", "mp_curr_estab"},
    {"opened by others/s", "mp_capable_syn_rx_per_second"},
    {"by host/s", "mp_capable_syn_tx_per_second"},
    {"joins in/s", "mp_join_syn_rx_per_second"},
    {"sent again/s", "mptcp_retrans_per_second"},
    {"opened by others", "mp_capable_syn_rx_total"},
    {"by host", "mp_capable_syn_tx_total"},
    {"joins in", "mp_join_syn_rx_total"},
    {"sent again", "mptcp_retrans_total"},
};

constexpr ViewColumn udp[] = {
    {"protocol", "protocol"},
    {"in/s", "in_datagrams_per_second"},
    {"out/s", "out_datagrams_per_second"},
    {"no port/s", "no_ports_per_second", 10, 1000},
    {"errors in/s", "in_errors_per_second", 0.001, 100},
    {"room full in/s", "rcvbuf_errors_per_second", 0.001, 100},
    {"out/s", "sndbuf_errors_per_second", 0.001, 100},
    {"in", "in_datagrams_total"},
    {"out", "out_datagrams_total"},
    {"no port", "no_ports_total"},
    {"errors in", "in_errors_total"},
    {"room full in", "rcvbuf_errors_total"},
    {"out", "sndbuf_errors_total"},
    {"queued in", "receive_queue_bytes"},
    {"out", "transmit_queue_bytes"},
};

constexpr ViewColumn others[] = {{"file", "file"}, {"protocol", "protocol"}, {"key", "key"}, {"value", "value"}};

constexpr ViewColumn sockets[] = {
    {"sockets", "used"},
    {"TCP", "tcp_in_use"},
    {"TCP of IPv6", "tcp6_in_use"},
    {"UDP", "udp_in_use"},
    {"UDP of IPv6", "udp6_in_use"},
    {"raw", "raw_in_use"},
    {"orphans", "tcp_orphans"},
    {"orphans share", "tcp_orphans", 0, 0, false, orphanShare},
    {"time waits", "tcp_time_waits"},
    {"TCP memory", "tcp_memory_bytes"},
    {"TCP memory share", "tcp_memory_bytes", 0, 0, false, tcpMemoryShare},
    {"UDP memory", "udp_memory_bytes"},
};

constexpr ViewColumn tcpStates[] = {
    {"established", "established"},   {"listen", "listen"},        {"accept queue", "accept_queue", 128, 1024},
    {"SYN received", "syn_received"}, {"SYN sent", "syn_sent"},    {"close wait", "close_wait", 1000, 10000},
    {"time wait", "time_wait"},       {"FIN wait 1", "fin_wait1"}, {"FIN wait 2", "fin_wait2"},
    {"last ACK", "last_ack"},         {"closing", "closing"},
};

constexpr ViewColumn softnet[] = {
    {"processor", "processor"},
    {"processed/s", "processed_per_second"},
    {"dropped/s", "dropped_per_second", 0.001, 1},
    {"squeezed/s", "times_squeezed_per_second", 1, 100},
    {"RPS/s", "received_rps_per_second"},
    {"flow limit/s", "flow_limits_per_second", 0.001, 1},
    {"processed", "processed_total"},
    {"dropped", "dropped_total"},
    {"squeezed", "times_squeezed_total"},
    {"RPS", "received_rps_total"},
    {"flow limit", "flow_limits_total"},
    {"backlog", "backlog", 100, 1000},
};

constexpr ViewColumn conntrack[] = {
    {"entries", "entries"},
    {"limit", "entries_limit"},
    {"use", "entries", 0, 0, false, conntrackShare},
    {"invalid/s", "invalid_per_second"},
    {"insert failed/s", "insert_failed_per_second", 0.001, 1},
    {"dropped/s", "dropped_per_second", 0.001, 1},
    {"early dropped/s", "early_dropped_per_second", 0.001, 1},
    {"invalid", "invalid_total"},
    {"insert failed", "insert_failed_total"},
    {"dropped", "dropped_total"},
    {"early dropped", "early_dropped_total"},
};

constexpr ViewColumn neighbours[] = {
    {"interface", "interface"},
    {"protocol", "protocol"},
    {"entries", "entries"},
    {"reachable", "reachable"},
    {"stale", "stale"},
    {"delay", "delay"},
    {"probe", "probe"},
    {"incomplete", "incomplete", 100, 500},
    {"failed", "failed", 100, 500},
    {"permanent", "permanent"},
};

constexpr ViewColumn ipvs[] = {
    {"connections/s", "connections_per_second"}, {"packets in/s", "incoming_packets_per_second"},
    {"out/s", "outgoing_packets_per_second"},    {"received/s", "incoming_bytes_per_second"},
    {"sent/s", "outgoing_bytes_per_second"},     {"connections", "connections_total"},
    {"packets in", "incoming_packets_total"},    {"out", "outgoing_packets_total"},
    {"received", "incoming_bytes_total"},        {"sent", "outgoing_bytes_total"},
};

constexpr ViewColumn ipvsBackends[] = {
    {"protocol", "protocol"},
    {"service", "service"},
    {"server", "server"},
    {"scheduler", "scheduler"},
    {"by", "forwarding"},
    {"weight", "weight"},
    {"active", "active_connections"},
    {"inactive", "inactive_connections"},
};

constexpr ViewColumn limits[] = {
    {"files", "files_allocated"},
    {"files share", "files_allocated", 0, 0, false, fileShare},
    {"threads", "threads"},
    {"pids share", "threads", 0, 0, false, pidShare},
    {"inodes", "inodes_allocated"},
    {"dentries", "dentries_allocated"},
    {"AIO share", "aio_requests", 0, 0, false, aioShare},
    {"terminals share", "terminals", 0, 0, false, terminalShare},
    {"semaphores share", "semaphore_arrays", 0, 0, false, semaphoreShare},
    {"segments share", "shared_memory_segments", 0, 0, false, segmentShare},
    {"ARP share", "arp_entries", 0, 0, false, arpShare},
    {"entropy bits", "entropy_available_bits"},
};

constexpr ViewColumn security[] = {
    {"SELinux", "selinux_enabled"},
    {"enforcing", "selinux_enforcing"},
    {"configured", "selinux_configured"},
};

constexpr ViewColumn keyUsers[] = {
    {"uid", "uid"},
    {"keys", "keys"},
    {"limit", "keys_limit"},
    {"use", "keys", 0, 0, false, keyShare},
    {"memory", "used_bytes"},
    {"limit", "limit_bytes"},
    {"use", "used_bytes", 0, 0, false, keyBytesShare},
};

// An overview has what is short of something; `zel show protocols` has all of it.
constexpr View views[] = {
    {.section = "ip", .heading = "IP", .columns = ip, .overviewLeast = notInOverview},
    {.section = "icmp", .heading = "ICMP", .columns = icmp, .overviewLeast = notInOverview},
    {.section = "icmp_types", .heading = "ICMP TYPES", .columns = icmpTypes, .overviewLeast = notInOverview},
    {.section = "tcp", .heading = "TCP", .layout = View::Layout::Pairs, .columns = tcp},
    {.section = "tcp_extended", .heading = "TCP EVENTS", .layout = View::Layout::Pairs, .columns = tcpExtended},
    {.section = "mptcp", .heading = "MULTIPATH TCP", .columns = mptcp, .overviewLeast = notInOverview},
    {.section = "udp",
     .heading = "UDP",
     .columns = udp,
     .overviewLeast = notInOverview,
     .hides = isUnusedProtocol,
     .hidden = "unused"},
    {.section = "protocol_others", .heading = "OTHER COUNTERS", .columns = others, .overviewLeast = notInOverview},
    {.section = "sockets", .heading = "SOCKETS", .layout = View::Layout::Pairs, .columns = sockets},
    {.section = "tcp_states", .heading = "TCP STATES", .layout = View::Layout::Pairs, .columns = tcpStates},
    {.section = "softnet", .heading = "PACKET QUEUES", .columns = softnet, .overviewLeast = notInOverview},
    {.section = "conntrack", .heading = "CONNECTION TRACKING", .layout = View::Layout::Pairs, .columns = conntrack},
    {.section = "neighbours", .heading = "NEIGHBOURS", .columns = neighbours, .overviewLeast = notInOverview},
    {.section = "ipvs",
     .heading = "LOAD BALANCER",
     .layout = View::Layout::Pairs,
     .columns = ipvs,
     .onlyWithRows = true},
    {.section = "ipvs_backends",
     .heading = "LOAD BALANCER SERVERS",
     .columns = ipvsBackends,
     .onlyWithRows = true,
     .overviewLeast = notInOverview},
    {.section = "limits", .heading = "LIMITS", .layout = View::Layout::Pairs, .columns = limits},
    {.section = "security", .heading = "SECURITY", .columns = security, .overviewLeast = notInOverview},
    {.section = "key_users", .heading = "KEY RINGS", .columns = keyUsers, .overviewLeast = notInOverview},
};

} // namespace

std::span<const View> networkViews() {
    return views;
}

} // namespace zel

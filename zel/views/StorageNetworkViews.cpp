// The tables of Fibre Channel ports and NFS.
#include "zel/views/Views.h"

#include "zel/Units.h"
#include "zel/views/Cells.h"

namespace zel {

namespace {

// A port without a link is no alarm of its own: most adapters have ports that nothing is plugged into.
Cell portState(const RowValues &row, const Style &style) {
    const Value &state = row["state"];
    if (state.absence() == Absence::TimedOut)
        return {"no answer", Tone::Alarm};
    if (!state.has())
        return {"-", Tone::Quiet};
    return {std::string(displayText(state.asText(), style.charset)),
            state.asText() == "Online" ? Tone::Quiet : Tone::Warning};
}
Cell portSpeed(const RowValues &row, const Style &) {
    const double bits = 8 * row.number("speed_bytes_per_second");
    return bits > 0 ? Cell{bitsText(bits) + "/s"} : Cell{"-", Tone::Quiet};
}

constexpr ViewColumn ports[] = {
    {"name", "name", 0, 0, true},
    {"state", "state", 0, 0, true, portState, true},
    {"speed", "speed_bytes_per_second", 0, 0, false, portSpeed},
    {"use", "utilisation_ratio", 0.7, 0.95},
    {"received/s", "receive_bytes_per_second"},
    {"sent/s", "transmit_bytes_per_second"},
    {"reads/s", "input_requests_per_second"},
    {"writes/s", "output_requests_per_second"},
    {"frame errors/s", "error_frames_per_second", 0.001, 10},
    {"crc/s", "invalid_crcs_per_second", 0.001, 10},
    {"frames in", "receive_frames_total"},
    {"out", "transmit_frames_total"},
    {"link failures", "link_failures_total"},
    {"signal losses", "signal_losses_total"},
    {"sync losses", "sync_losses_total"},
    {"frame errors", "error_frames_total"},
    {"crc", "invalid_crcs_total"},
    {"port name", "port_name"},
    {"port id", "port_id"},
    {"type", "type"},
};

// All zero on nearly every port: a row says something when it has a number.
bool hasNoEvent(const RowValues &row) {
    double sum = 0;
    for (const std::string_view name : {"delivery_notices", "link_notices", "congestion_notices", "congestion_warnings",
                                        "congestion_alarms", "exchange_id_not_found", "exchange_id_busy"})
        sum += row.number(std::string(name) + "_total") + row.number(std::string(name) + "_per_second");
    return sum == 0;
}
constexpr ViewColumn portEvents[] = {
    {"name", "name"},
    {"delivery", "delivery_notices_total"},
    {"delivery/s", "delivery_notices_per_second"},
    {"link", "link_notices_total"},
    {"link/s", "link_notices_per_second"},
    {"congestion", "congestion_notices_total"},
    {"congestion/s", "congestion_notices_per_second"},
    {"warnings", "congestion_warnings_total"},
    {"warnings/s", "congestion_warnings_per_second"},
    {"alarms", "congestion_alarms_total"},
    {"alarms/s", "congestion_alarms_per_second"},
};

constexpr ViewColumn mounts[] = {
    {"mount point", "mount_point", 0, 0, true},
    {"version", "version"},
    {"ops/s", "operations_per_second", 0, 0, true},
    {"read/s", "server_read_bytes_per_second"},
    {"written/s", "server_written_bytes_per_second"},
    {"rtt", "round_trip_seconds", 0.05, 1},
    {"execute", "execute_seconds", 0.1, 5},
    {"resent", "retransmission_ratio", 0.01, 0.1},
    {"timeouts/s", "timeouts_per_second", 0.001, 1},
    {"errors/s", "errors_per_second"},
    {"ops", "operations_total"},
    {"read", "server_read_bytes_total"},
    {"written", "server_written_bytes_total"},
    {"resent", "retransmissions_total"},
    {"timeouts", "timeouts_total"},
    {"age", "age_seconds"},
    {"device", "device"},
};

bool isIdleOperation(const RowValues &row) {
    return row["operations_per_second"].has() && row.number("operations_per_second") == 0;
}
constexpr ViewColumn operations[] = {
    {"mount point", "mount_point"},
    {"operation", "operation", 0, 0, true},
    {"ops/s", "operations_per_second", 0, 0, true},
    {"sent/s", "sent_bytes_per_second"},
    {"received/s", "received_bytes_per_second"},
    {"queue", "queue_seconds", 0.05, 1},
    {"rtt", "round_trip_seconds", 0.05, 1},
    {"execute", "execute_seconds", 0.1, 5},
    {"resent", "retransmission_ratio", 0.01, 0.1},
    {"errors/s", "errors_per_second"},
    {"ops", "operations_total"},
    {"sent", "sent_bytes_total"},
    {"received", "received_bytes_total"},
    {"resent", "retransmissions_total"},
    {"timeouts", "timeouts_total"},
    {"errors", "errors_total"},
};

constexpr ViewColumn transports[] = {
    {"mount point", "mount_point"},
    {"number", "transport"},
    {"protocol", "protocol"},
    {"sends/s", "sends_per_second"},
    {"receives/s", "receives_per_second"},
    {"in flight", "in_flight"},
    {"backlog", "backlog", 1, 100},
    {"pending", "pending_queue"},
    {"bad xids/s", "bad_transactions_per_second", 0.001, 10},
    {"sends", "sends_total"},
    {"receives", "receives_total"},
    {"bad xids", "bad_transactions_total"},
    {"connects", "connects_total"},
    {"slots", "slots_limit"},
    {"idle", "idle_seconds"},
};

constexpr ViewColumn client[] = {
    {"calls", "calls_total"},
    {"calls/s", "calls_per_second"},
    {"retransmissions", "retransmissions_total"},
    {"retransmissions/s", "retransmissions_per_second", 0.001, 10},
    {"credentials refreshed", "authentication_refreshes_total"},
};

bool isUnusedCall(const RowValues &row) {
    return row.number("calls_total") + row.number("calls_per_second") == 0;
}
constexpr ViewColumn calls[] = {
    {"version", "version"},
    {"operation", "operation"},
    {"calls", "calls_total"},
    {"calls/s", "calls_per_second"},
};

constexpr ViewColumn server[] = {
    {"threads", "threads"},
    {"calls", "calls_total"},
    {"calls/s", "calls_per_second"},
    {"bad calls", "bad_calls_total"},
    {"bad calls/s", "bad_calls_per_second", 0.001, 10},
    {"read", "read_bytes_total"},
    {"read/s", "read_bytes_per_second"},
    {"written", "written_bytes_total"},
    {"written/s", "written_bytes_per_second"},
    {"stale handles", "stale_handles_total"},
    {"stale handles/s", "stale_handles_per_second"},
    {"reply cache hits", "reply_cache_hits_total"},
    {"reply cache hits/s", "reply_cache_hits_per_second"},
    {"TCP connections", "tcp_connections_total"},
};

bool always(const RowValues &) {
    return true;
}

constexpr View views[] = {
    {.section = "fibrechannel", .heading = "FIBRE CHANNEL", .columns = ports, .overviewRows = 16},
    {.section = "fibrechannel_events",
     .heading = "FIBRE CHANNEL EVENTS",
     .columns = portEvents,
     .hides = hasNoEvent,
     .hidden = "without events"},
    {.section = "nfs_mounts",
     .heading = "NFS MOUNTS",
     .columns = mounts,
     .order = "operations_per_second",
     .orderWithoutRates = "operations_total",
     .overviewRows = 16},
    {.section = "nfs_operations",
     .heading = "NFS OPERATIONS",
     .columns = operations,
     .order = "operations_per_second",
     .orderWithoutRates = "operations_total",
     .hides = isIdleOperation,
     .hidden = "idle",
     .overviewHides = always,
     .overviewHidden = "operations"},
    {.section = "nfs_transports",
     .heading = "NFS CONNECTIONS",
     .columns = transports,
     .overviewHides = always,
     .overviewHidden = "connections"},
    {.section = "nfs_client", .heading = "NFS CLIENT", .layout = View::Layout::Pairs, .columns = client},
    {.section = "nfs_client_calls",
     .heading = "NFS CLIENT CALLS",
     .columns = calls,
     .order = "calls_per_second",
     .orderWithoutRates = "calls_total",
     .hides = isUnusedCall,
     .hidden = "unused",
     .overviewHides = always,
     .overviewHidden = "calls"},
    {.section = "nfs_server", .heading = "NFS SERVER", .layout = View::Layout::Pairs, .columns = server},
    {.section = "nfs_server_calls",
     .heading = "NFS SERVER CALLS",
     .columns = calls,
     .order = "calls_per_second",
     .orderWithoutRates = "calls_total",
     .hides = isUnusedCall,
     .hidden = "unused",
     .overviewHides = always,
     .overviewHidden = "calls"},
};

} // namespace

std::span<const View> storageNetworkViews() {
    return views;
}

} // namespace zel

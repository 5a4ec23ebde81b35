// The tables of disks, filesystems, interfaces, bonds and InfiniBand ports.
#include "zel/views/Views.h"

#include "zel/Units.h"
#include "zel/views/Cells.h"

#include <algorithm>
#include <string>

namespace zel {

namespace {

bool hasNoAnswer(const RowValues &row) {
    return !row["size_bytes"].has();
}
Cell filesystemUsed(const RowValues &row, const Style &) {
    if (hasNoAnswer(row))
        return {"-", Tone::Quiet};
    return {bytesText(std::max(0.0, row.number("size_bytes") - row.number("free_bytes")))};
}
// As df counts: what only root may use is neither used nor free.
Cell filesystemShare(const RowValues &row, const Style &) {
    const double used = row.number("size_bytes") - row.number("free_bytes");
    return hasNoAnswer(row) ? Cell{"-", Tone::Quiet}
                            : shareCell(used, used + row.number("available_bytes"), 0.85, 0.95);
}
Cell inodeShare(const RowValues &row, const Style &) {
    return shareCell(row.number("files") - row.number("files_free"), row.number("files"), 0.85, 0.95);
}
Cell filesystemState(const RowValues &row, const Style &style) {
    if (row.number("stuck") > 0 || row["size_bytes"].absence() == Absence::TimedOut) {
        const double seconds = row.number("stuck_seconds");
        return {seconds > 0 ? "stuck " + secondsText(seconds, style.charset) : "stuck", Tone::Alarm};
    }
    if (row.number("device_error") > 0)
        return {"error", Tone::Alarm};
    if (row["size_bytes"].absence() == Absence::Denied)
        return {"denied", Tone::Warning};
    if (hasNoAnswer(row))
        return {"-", Tone::Quiet};
    return row.number("read_only") > 0 ? Cell{"read-only"} : Cell{"ok", Tone::Quiet};
}

// Networks count in bits, and frames in bytes without a prefix.
Cell speedCell(double bytesPerSecond) {
    return bytesPerSecond > 0 ? Cell{bitsText(8 * bytesPerSecond) + "/s"} : Cell{"-", Tone::Quiet};
}
Cell speed(const RowValues &row, const Style &) {
    return speedCell(row.number("speed_bytes_per_second"));
}
Cell infinibandSpeed(const RowValues &row, const Style &) {
    return speedCell(row.number("rate_bytes_per_second"));
}
Cell mtu(const RowValues &row, const Style &style) {
    static const Family plain{Area::Interfaces, "interfaces", "mtu", Unit::None, Kind::Info, "", ""};
    return {valueText(plain, row["mtu_bytes"], style.charset)};
}

// One that another mount hides has no size of its own.
bool isEmptyFilesystem(const RowValues &row) {
    return row.number("hidden") > 0 || (row.number("size_bytes", 1) == 0 && row.number("stuck") == 0);
}
// Where sizes are not known, what nobody ever used, or used in the interval, tells as little.
bool isEmptyDevice(const RowValues &row) {
    if (row["size_bytes"].has())
        return row.number("size_bytes") == 0;
    const double use = row.number("reads_total") + row.number("writes_total") + row.number("reads_per_second") +
                       row.number("writes_per_second");
    return use == 0;
}
bool isPartition(const RowValues &row) {
    return row["parent"].has();
}
constexpr ViewColumn disks[] = {
    {"name", "name"},
    {"busy", "utilisation_ratio", 0.7, 0.95},
    {"read/s", "read_bytes_per_second"},
    {"written/s", "written_bytes_per_second"},
    {"reads/s", "reads_per_second"},
    {"writes/s", "writes_per_second"},
    {"read wait", "read_wait_seconds", 0.05, 0.5},
    {"write wait", "write_wait_seconds", 0.05, 0.5},
    {"queue", "queue_length", 8, 32},
    {"read", "read_bytes_total"},
    {"written", "written_bytes_total"},
    {"reads", "reads_total"},
    {"writes", "writes_total"},
    {"in flight", "in_flight"},
    {"size", "size_bytes"},
    {"flushes/s", "flushes_per_second"},
    {"discarded/s", "discarded_bytes_per_second"},
    {"scheduler", "scheduler"},
    {"mapped name", "device_mapper_name"},
    {"raid", "raid_level"},
    {"raid state", "raid_state"},
    {"model", "model"},
};

constexpr ViewColumn filesystems[] = {
    {"mount point", "mount_point", 0, 0, true},
    {"size", "size_bytes"},
    {"used", "size_bytes", 0, 0, false, filesystemUsed},
    {"available", "available_bytes"},
    {"use", "size_bytes", 0, 0, true, filesystemShare},
    {"state", "size_bytes", 0, 0, true, filesystemState, true},
    {"inodes", "files", 0, 0, false, inodeShare},
    {"type", "type"},
    {"device", "device"},
};

constexpr ViewColumn interfaces[] = {
    {"name", "name"},
    {"state", "operational_state"},
    {"received/s", "receive_bytes_per_second"},
    {"sent/s", "transmit_bytes_per_second"},
    {"use", "utilisation_ratio", 0.7, 0.95},
    {"packets in/s", "receive_packets_per_second"},
    {"out/s", "transmit_packets_per_second"},
    {"errors in/s", "receive_errors_per_second", 0.001, 10},
    {"out/s", "transmit_errors_per_second", 0.001, 10},
    {"drops in/s", "receive_drops_per_second", 0.001, 100},
    {"out/s", "transmit_drops_per_second", 0.001, 100},
    {"received", "receive_bytes_total"},
    {"sent", "transmit_bytes_total"},
    {"packets in", "receive_packets_total"},
    {"out", "transmit_packets_total"},
    {"errors in", "receive_errors_total"},
    {"out", "transmit_errors_total"},
    {"drops in", "receive_drops_total"},
    {"out", "transmit_drops_total"},
    {"speed", "speed_bytes_per_second", 0, 0, false, speed},
    {"duplex", "duplex"},
    {"MTU", "mtu_bytes", 0, 0, false, mtu},
    {"master", "master"},
    {"driver", "driver"},
    {"address", "address"},
};

// What should be up and is not.
Cell upOrAlarm(const Value &state, std::string_view up, const Style &style) {
    if (!state.has())
        return {state.absence() == Absence::TimedOut ? "no answer" : "-",
                state.absence() == Absence::TimedOut ? Tone::Alarm : Tone::Quiet};
    return {std::string(displayText(state.asText(), style.charset)),
            state.asText() == up ? Tone::Quiet : Tone::Warning};
}
Cell linkState(const RowValues &row, const Style &style) {
    return upOrAlarm(row["link_state"], "up", style);
}
Cell portState(const RowValues &row, const Style &style) {
    return upOrAlarm(row["state"], "ACTIVE", style);
}
// Fewer ports than there are: the bond works on, and nothing else would say so.
Cell portsUp(const RowValues &row, const Style &) {
    const double up = row.number("ports_up"), all = row.number("ports");
    if (!row["ports_up"].has())
        return {"-", Tone::Quiet};
    return {std::to_string(static_cast<std::uint64_t>(up)), up < all ? Tone::Alarm : Tone::Plain};
}

constexpr ViewColumn bonds[] = {
    {"name", "name"},
    {"mode", "mode"},
    {"link", "link_state", 0, 0, true, linkState, true},
    {"ports", "ports"},
    {"up", "ports_up", 0, 0, true, portsUp},
    {"active port", "active_port"},
};

constexpr ViewColumn bondPorts[] = {
    {"bond", "bond"},
    {"port", "name"},
    {"state", "state"},
    {"link", "link_state", 0, 0, true, linkState, true},
    {"failures", "link_failures_total"},
    {"failures/s", "link_failures_per_second", 0.001, 1},
};

constexpr ViewColumn infinibandPorts[] = {
    {"device", "device"},
    {"port", "port"},
    {"state", "state", 0, 0, true, portState, true},
    {"speed", "rate_bytes_per_second", 0, 0, false, infinibandSpeed},
    {"received/s", "receive_bytes_per_second"},
    {"sent/s", "transmit_bytes_per_second"},
    {"packets in/s", "receive_packets_per_second"},
    {"out/s", "transmit_packets_per_second"},
    {"errors in/s", "receive_errors_per_second", 0.001, 10},
    {"dropped/s", "transmit_discards_per_second", 0.001, 10},
    {"received", "receive_bytes_total"},
    {"sent", "transmit_bytes_total"},
    {"errors in", "receive_errors_total"},
    {"dropped", "transmit_discards_total"},
    {"symbol errors", "symbol_errors_total"},
    {"link downed", "link_downed_total"},
    {"link layer", "link_layer"},
    {"firmware", "firmware"},
};

constexpr ViewColumn infinibandCounters[] = {
    {"device", "device"},
    {"port", "port"},
    {"counter", "name"},
    {"value", "value_total"},
    {"value/s", "value_per_second"},
};
bool hasNotCounted(const RowValues &row) {
    return row.number("value_total") + row.number("value_per_second") == 0;
}

constexpr View views[] = {
    {.section = "disks",
     .heading = "DISKS",
     .columns = disks,
     .overviewRows = 16,
     .hides = isEmptyDevice,
     .hidden = "empty",
     .overviewHides = isPartition,
     .overviewHidden = "partitions"},
    {.section = "filesystems",
     .heading = "FILESYSTEMS",
     .columns = filesystems,
     .overviewRows = 24,
     .hides = isEmptyFilesystem,
     .hidden = "without a size or hidden"},
    {.section = "interfaces", .heading = "INTERFACES", .columns = interfaces, .overviewRows = 16},
    {.section = "bonds", .heading = "BONDS", .columns = bonds, .onlyWithRows = true, .overviewRows = 16},
    {.section = "bond_ports",
     .heading = "BOND PORTS",
     .columns = bondPorts,
     .onlyWithRows = true,
     .overviewLeast = notInOverview},
    {.section = "infiniband_ports",
     .heading = "INFINIBAND PORTS",
     .columns = infinibandPorts,
     .onlyWithRows = true,
     .overviewRows = 16},
    {.section = "infiniband_counters",
     .heading = "INFINIBAND COUNTERS",
     .columns = infinibandCounters,
     .onlyWithRows = true,
     .overviewLeast = notInOverview,
     .hides = hasNotCounted,
     .hidden = "never counted"},
};

} // namespace

std::span<const View> deviceViews() {
    return views;
}

} // namespace zel

// The columns of the tables for people.
#include "zel/Views.h"

#include "zel/Units.h"

#include <algorithm>
#include <string>

namespace zel {

namespace {

// Cells that are made of several fields
// ------------------------------------------------------------------------------------------------

Tone toneOf(double value, double warning, double alarm) {
    return value >= alarm ? Tone::Alarm : value >= warning ? Tone::Warning : value == 0 ? Tone::Quiet : Tone::Plain;
}

Cell shareCell(double part, double whole, double warning, double alarm) {
    if (whole <= 0)
        return {"-", Tone::Quiet};
    const double share = part / whole;
    return {percentText(share), toneOf(share, warning, alarm)};
}

// Kernels before 3.14 do not say what is available.
double usedMemory(const RowValues &row) {
    const double reclaimable = row.number("free_bytes") + row.number("buffers_bytes") + row.number("cached_bytes");
    return std::max(0.0, row.number("total_bytes") - row.number("available_bytes", reclaimable));
}
Cell memoryUsed(const RowValues &row, const Style &) {
    return {bytesText(usedMemory(row))};
}
Cell memoryShare(const RowValues &row, const Style &) {
    return shareCell(usedMemory(row), row.number("total_bytes"), 0.85, 0.95);
}
Cell swapUsed(const RowValues &row, const Style &) {
    return {bytesText(std::max(0.0, row.number("swap_total_bytes") - row.number("swap_free_bytes")))};
}
Cell swapShare(const RowValues &row, const Style &) {
    return shareCell(row.number("used_bytes"), row.number("size_bytes"), 0.5, 0.9);
}
Cell pageSize(const RowValues &row, const Style &) {
    return {bytesText(row.number("page_bytes"))};
}

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

// Kernel threads have no command line: their name in brackets.
Cell command(const RowValues &row, const Style &style) {
    const Value line = row["command_line"], name = row["name"];
    if (line.type() == Value::Type::Text && !line.asText().empty())
        return {displayText(line.asText(), style.charset)};
    return {'[' + displayText(name.asText(), style.charset) + ']', Tone::Quiet};
}

// Networks count in bits, and frames in bytes without a prefix.
Cell speed(const RowValues &row, const Style &) {
    const double bits = 8 * row.number("speed_bytes_per_second");
    return bits > 0 ? Cell{bitsText(bits) + "/s"} : Cell{"-", Tone::Quiet};
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
bool isQuiet(const RowValues &row) {
    return row.number("count_per_second", 1) == 0 || row.number("count_total", 1) == 0;
}
bool isUnusedSize(const RowValues &row) {
    return row.number("pages", 1) == 0 && row.number("surplus") == 0;
}

// The columns
// -----------------------------------------------------------------------------------------------------------

constexpr ViewColumn identity[] = {
    {"host", "host_name"},    {"system", "os_pretty_name"}, {"kernel", "kernel_release"}, {"machine", "architecture"},
    {"up", "uptime_seconds"}, {"boot id", "boot_id"},       {"domain", "domain_name"},    {"build", "kernel_version"},
};

constexpr ViewColumn processors[] = {
    {"cpu", "cpu"},
    {"busy", "busy_ratio", 0.8, 0.95},
    {"user", "user_ratio"},
    {"nice", "nice_ratio"},
    {"system", "system_ratio"},
    {"iowait", "iowait_ratio", 0.2, 0.5},
    {"irq", "irq_ratio"},
    {"softirq", "softirq_ratio", 0.3, 0.6},
    {"steal", "steal_ratio", 0.05, 0.2},
    {"idle", "idle_ratio"},
    {"guest", "guest_ratio"},
    {"user", "user_seconds_total"},
    {"nice", "nice_seconds_total"},
    {"system", "system_seconds_total"},
    {"iowait", "iowait_seconds_total"},
    {"irq", "irq_seconds_total"},
    {"softirq", "softirq_seconds_total"},
    {"steal", "steal_seconds_total"},
    {"idle", "idle_seconds_total"},
    {"guest", "guest_seconds_total"},
    {"frequency", "frequency_hertz"},
    {"throttled", "core_throttles_total"},
};

constexpr ViewColumn load[] = {
    {"1 min", "load1"}, {"5 min", "load5"}, {"15 min", "load15"}, {"runnable", "runnable"}, {"tasks", "entities"},
};

constexpr ViewColumn pressure[] = {
    {"resource", "resource"},
    {"some now", "some_ratio", 0.1, 0.4},
    {"some 10 s", "some_average_10_ratio", 0.1, 0.4},
    {"some 60 s", "some_average_60_ratio", 0.1, 0.4},
    {"some 5 min", "some_average_300_ratio", 0.1, 0.4},
    {"some ever", "some_seconds_total"},
    {"full now", "full_ratio", 0.05, 0.2},
    {"full 10 s", "full_average_10_ratio", 0.05, 0.2},
    {"full 60 s", "full_average_60_ratio", 0.05, 0.2},
    {"full 5 min", "full_average_300_ratio", 0.05, 0.2},
    {"full ever", "full_seconds_total"},
};

constexpr ViewColumn memory[] = {
    {"total", "total_bytes"},
    {"used", "total_bytes", 0, 0, false, memoryUsed},
    {"used share", "total_bytes", 0, 0, false, memoryShare},
    {"available", "available_bytes"},
    {"free", "free_bytes"},
    {"buffers", "buffers_bytes"},
    {"page cache", "cached_bytes"},
    {"anonymous", "anonymous_bytes"},
    {"shared", "shared_bytes"},
    {"slab", "slab_bytes"},
    {"page tables", "page_tables_bytes"},
    {"dirty", "dirty_bytes"},
    {"writeback", "writeback_bytes"},
    {"committed", "committed_bytes"},
    {"swap total", "swap_total_bytes"},
    {"swap used", "swap_total_bytes", 0, 0, false, swapUsed},
};

constexpr ViewColumn memoryNodes[] = {
    {"node", "node"},       {"total", "total_bytes"},      {"used", "used_bytes"},
    {"free", "free_bytes"}, {"page cache", "file_bytes"},  {"anonymous", "anonymous_bytes"},
    {"slab", "slab_bytes"}, {"misses", "numa_miss_total"}, {"foreign", "numa_foreign_total"},
};

constexpr ViewColumn hugePages[] = {
    {"page", "page_bytes", 0, 0, true, pageSize},
    {"pages", "pages"},
    {"free", "free"},
    {"reserved", "reserved"},
    {"surplus", "surplus"},
    {"overcommit", "overcommit"},
};

constexpr ViewColumn swaps[] = {
    {"device", "device"},
    {"type", "type"},
    {"size", "size_bytes"},
    {"used", "used_bytes"},
    {"used share", "size_bytes", 0, 0, false, swapShare},
    {"priority", "priority"},
};

constexpr ViewColumn vm[] = {
    {"faults/s", "pgfault_per_second"},
    {"major faults/s", "pgmajfault_per_second", 100, 1000},
    {"paged in KiB/s", "pgpgin_per_second"},
    {"paged out KiB/s", "pgpgout_per_second"},
    {"swapped in/s", "pswpin_per_second", 1, 1000},
    {"swapped out/s", "pswpout_per_second", 1, 1000},
    {"scanned direct/s", "pgscan_direct_per_second", 1, 1000},
    {"scanned kswapd/s", "pgscan_kswapd_per_second"},
    {"stolen direct/s", "pgsteal_direct_per_second"},
    {"stolen kswapd/s", "pgsteal_kswapd_per_second"},
    {"compaction stalls/s", "compact_stall_per_second"},
    {"killed for memory/s", "oom_kill_per_second", 0.001, 0.001},
    {"faults", "pgfault_total"},
    {"major faults", "pgmajfault_total"},
    {"paged in KiB", "pgpgin_total"},
    {"paged out KiB", "pgpgout_total"},
    {"swapped in", "pswpin_total"},
    {"swapped out", "pswpout_total"},
    {"scanned direct", "pgscan_direct_total"},
    {"scanned kswapd", "pgscan_kswapd_total"},
    {"stolen direct", "pgsteal_direct_total"},
    {"stolen kswapd", "pgsteal_kswapd_total"},
    {"compaction stalls", "compact_stall_total"},
    {"killed for memory", "oom_kill_total"},
};

constexpr ViewColumn activity[] = {
    {"running", "running"},
    {"blocked", "blocked", 10, 50},
    {"interrupts/s", "interrupts_per_second"},
    {"softirqs/s", "softirqs_per_second"},
    {"switches/s", "context_switches_per_second"},
    {"forks/s", "forks_per_second"},
    {"interrupts", "interrupts_total"},
    {"softirqs", "softirqs_total"},
    {"switches", "context_switches_total"},
    {"forks", "forks_total"},
};

constexpr ViewColumn interrupts[] = {
    {"interrupt", "interrupt"},
    {"per second", "count_per_second"},
    {"count", "count_total"},
    {"description", "description"},
};

constexpr ViewColumn softirqs[] = {
    {"softirq", "softirq"},
    {"per second", "count_per_second"},
    {"count", "count_total"},
};

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

constexpr ViewColumn processTotals[] = {
    {"processes", "total"},
    {"threads", "threads"},
    {"running", "running"},
    {"sleeping", "sleeping"},
    {"disk sleep", "disk_sleeping", 10, 50},
    {"stopped", "stopped"},
    {"zombies", "zombies", 10, 100},
    {"idle", "idle"},
};

constexpr ViewColumn processes[] = {
    {"pid", "pid"},
    {"user", "user"},
    {"state", "state"},
    {"cpu", "cpu_ratio"},
    {"cpu user", "user_seconds_total"},
    {"system", "system_seconds_total"},
    {"resident", "resident_bytes"},
    {"read/s", "read_bytes_per_second"},
    {"written/s", "written_bytes_per_second"},
    {"read", "read_bytes_total"},
    {"written", "written_bytes_total"},
    {"threads", "threads"},
    {"files", "descriptors"},
    {"faults/s", "major_faults_per_second", 10, 1000},
    {"container", "container"},
    {"command", "name", 0, 0, true, command, true},
};

constexpr View views[] = {
    {.section = "identity", .heading = "HOST", .layout = View::Layout::Pairs, .columns = identity, .inHeadLine = true},
    {.section = "cpu", .heading = "CPU", .layout = View::Layout::TotalsNext},
    {.section = "processors", .heading = "CPU", .columns = processors, .overviewRows = 16},
    {.section = "load", .heading = "LOAD", .layout = View::Layout::Pairs, .columns = load},
    {.section = "pressure", .heading = "PRESSURE", .columns = pressure},
    {.section = "memory", .heading = "MEMORY", .layout = View::Layout::Pairs, .columns = memory},
    {.section = "memory_nodes",
     .heading = "MEMORY NODES",
     .columns = memoryNodes,
     .overviewLeast = 2,
     .overviewRows = 8},
    {.section = "huge_pages",
     .heading = "HUGE PAGES",
     .columns = hugePages,
     .hides = isUnusedSize,
     .hidden = "without pages"},
    {.section = "swaps", .heading = "SWAP", .columns = swaps},
    {.section = "vm", .heading = "VIRTUAL MEMORY", .layout = View::Layout::Pairs, .columns = vm},
    {.section = "activity", .heading = "ACTIVITY", .layout = View::Layout::Pairs, .columns = activity},
    {.section = "interrupts",
     .heading = "INTERRUPTS",
     .columns = interrupts,
     .order = "count_per_second",
     .orderWithoutRates = "count_total",
     .overviewRows = 5,
     .hides = isQuiet,
     .hidden = "quiet"},
    {.section = "softirqs",
     .heading = "SOFTIRQS",
     .columns = softirqs,
     .order = "count_per_second",
     .orderWithoutRates = "count_total",
     .overviewRows = 5,
     .hides = isQuiet,
     .hidden = "quiet"},
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
    {.section = "process_totals", .heading = "TASKS", .layout = View::Layout::Pairs, .columns = processTotals},
    {.section = "processes",
     .heading = "PROCESSES",
     .columns = processes,
     .order = "cpu_ratio",
     .orderWithoutRates = "resident_bytes",
     .overviewRows = 10},
};

} // namespace

const View *viewOf(std::string_view section) {
    const View *found =
        std::find_if(std::begin(views), std::end(views), [&](const View &view) { return view.section == section; });
    return found == std::end(views) ? nullptr : found;
}

std::span<const View> allViews() {
    return views;
}

} // namespace zel

// The tables of the system: identity, processors, load, pressure, memory, interrupts.
#include "zel/views/Views.h"

#include "zel/Units.h"
#include "zel/views/Cells.h"

#include <algorithm>
#include <string>

namespace zel {

namespace {

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

bool isQuiet(const RowValues &row) {
    return row.number("count_per_second", 1) == 0 || row.number("count_total", 1) == 0;
}
bool isUnusedSize(const RowValues &row) {
    return row.number("pages", 1) == 0 && row.number("surplus") == 0;
}

constexpr ViewColumn identity[] = {
    {"host", "host_name"},       {"system", "os_pretty_name"}, {"kernel", "kernel_release"},
    {"machine", "architecture"}, {"up", "uptime_seconds"},     {"boot id", "boot_id"},
    {"domain", "domain_name"},   {"build", "kernel_version"},  {"virtual machine", "virtualisation"},
    {"container", "container"},  {"vendor", "machine_vendor"}, {"model", "machine_name"},
};

constexpr ViewColumn dmi[] = {
    {"machine", "product_name"},   {"vendor", "system_vendor"},
    {"serial", "product_serial"},  {"uuid", "product_uuid"},
    {"board", "board_name"},       {"firmware", "bios_version"},
    {"of", "bios_date"},           {"by", "bios_vendor"},
    {"chassis", "chassis_vendor"}, {"asset", "chassis_asset_tag"},
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
    {"isolated", "isolated"},
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

constexpr ViewColumn memoryOthers[] = {{"key", "key"}, {"value", "value"}, {"bytes", "value_bytes"}};
constexpr ViewColumn vmOthers[] = {{"key", "key"}, {"value", "value"}};

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

constexpr View views[] = {
    {.section = "identity", .heading = "HOST", .layout = View::Layout::Pairs, .columns = identity, .inHeadLine = true},
    {.section = "dmi",
     .heading = "FIRMWARE",
     .layout = View::Layout::Pairs,
     .columns = dmi,
     .onlyWithRows = true,
     .inHeadLine = true},
    {.section = "cpu", .heading = "CPU", .layout = View::Layout::TotalsNext},
    {.section = "processors", .heading = "CPU", .columns = processors, .overviewRows = 16},
    {.section = "load", .heading = "LOAD", .layout = View::Layout::Pairs, .columns = load},
    {.section = "pressure", .heading = "PRESSURE", .columns = pressure},
    {.section = "memory", .heading = "MEMORY", .layout = View::Layout::Pairs, .columns = memory},
    {.section = "memory_others", .heading = "OTHER MEMORY", .columns = memoryOthers, .overviewLeast = notInOverview},
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
    {.section = "vm_others", .heading = "OTHER VIRTUAL MEMORY", .columns = vmOthers, .overviewLeast = notInOverview},
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
};

} // namespace

std::span<const View> systemViews() {
    return views;
}

} // namespace zel

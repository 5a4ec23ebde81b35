// The tables of the control groups.
#include "zel/views/Views.h"

#include "zel/Units.h"
#include "zel/views/Cells.h"

#include <algorithm>
#include <string>

namespace zel {

namespace {

// A container's id is as long as a line: its first digits tell it from others.
std::string shortened(std::string_view text) {
    constexpr std::size_t idLength = 64, digitsShown = 12;
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result;
    while (!text.empty()) {
        const std::size_t run = std::min(text.find_first_not_of(digits), text.size());
        const std::size_t other = std::min(text.find_first_of(digits, run), text.size());
        result += text.substr(0, run >= idLength ? digitsShown : run);
        result += run >= idLength ? ".." : "";
        result += text.substr(run, other - run);
        text.remove_prefix(other);
    }
    return result;
}
Cell path(const RowValues &row, const Style &style) {
    return {displayText(shortened(row["path"].asText()), style.charset)};
}
Cell container(const RowValues &row, const Style &style) {
    const Value id = row["container"];
    return id.has() ? Cell{displayText(shortened(id.asText()), style.charset)} : Cell{"-", Tone::Quiet};
}

// Of the periods of its limit, those in which it was held back; over the interval where there is one.
Cell throttled(const RowValues &row, const Style &) {
    const double periods = row.number("cpu_periods_per_second", row.number("cpu_periods_total"));
    const double held = row.number("cpu_throttled_periods_per_second", row.number("cpu_throttled_periods_total"));
    return shareCell(held, periods, 0.05, 0.25);
}
// The worst of them tells that there is something to look at.
Cell pressure(const RowValues &row, const Style &) {
    const double worst = std::max({row.number("cpu_some_average_10_ratio"), row.number("memory_some_average_10_ratio"),
                                   row.number("io_some_average_10_ratio")});
    return {percentText(worst), toneOf(worst, 0.1, 0.4)};
}
Cell memory(const RowValues &row, const Style &) {
    const double used = row.number("memory_current_bytes"), most = row.number("memory_max_bytes");
    if (!row["memory_current_bytes"].has())
        return {"-", Tone::Quiet};
    return {bytesText(used), most > 0 ? toneOf(used / most, 0.9, 0.98) : Tone::Plain};
}

// The root stands for the machine, which other tables show.
bool isOfNobody(const RowValues &row) {
    return row.number("populated") == 0;
}
bool isQuietDevice(const RowValues &row) {
    return row.number("reads_per_second", 1) + row.number("writes_per_second", 1) == 0 ||
           row.number("reads_total", 1) + row.number("writes_total", 1) == 0;
}
bool isAny(const RowValues &) {
    return true;
}

constexpr ViewColumn totals[] = {
    {"mount point", "mount_point"},           {"cgroups", "cgroups"},         {"left out", "cgroups_left_out"},
    {"devices left out", "devices_left_out"}, {"controllers", "controllers"},
};

constexpr ViewColumn cgroups[] = {
    {"cgroup", "path", 0, 0, true, path, true},
    {"cpu", "cpu_usage_ratio"},
    {"cpu time", "cpu_usage_seconds_total"},
    {"limit", "cpu_limit_ratio"},
    {"throttled", "cpu_throttled_periods_per_second", 0, 0, false, throttled},
    {"throttled", "cpu_throttled_periods_total", 0, 0, false, throttled},
    {"memory", "memory_current_bytes", 0, 0, false, memory},
    {"most", "memory_max_bytes"},
    {"read/s", "io_read_bytes_per_second"},
    {"written/s", "io_written_bytes_per_second"},
    {"read", "io_read_bytes_total"},
    {"written", "io_written_bytes_total"},
    {"pids", "pids_current"},
    {"pressure", "cpu_some_average_10_ratio", 0, 0, false, pressure},
    {"swap", "swap_current_bytes"},
    {"killed", "oom_kills_total", 1, 1},
    {"container", "container", 0, 0, false, container, true},
};

constexpr ViewColumn devices[] = {
    {"cgroup", "path", 0, 0, true, path, true},
    {"device", "device"},
    {"name", "name"},
    {"read/s", "read_bytes_per_second"},
    {"written/s", "written_bytes_per_second"},
    {"reads/s", "reads_per_second"},
    {"writes/s", "writes_per_second"},
    {"read", "read_bytes_total"},
    {"written", "written_bytes_total"},
    {"reads", "reads_total"},
    {"writes", "writes_total"},
};

constexpr View views[] = {
    {.section = "cgroup_totals", .heading = "CONTROL GROUPS", .columns = totals, .overviewLeast = 2},
    {.section = "cgroups",
     .heading = "CGROUPS",
     .columns = cgroups,
     .order = "cpu_usage_ratio",
     .orderWithoutRates = "memory_current_bytes",
     .overviewRows = 10,
     .overviewHides = isOfNobody,
     .overviewHidden = "without a process"},
    {.section = "cgroup_devices",
     .heading = "DEVICES OF CGROUPS",
     .columns = devices,
     .order = "written_bytes_per_second",
     .orderWithoutRates = "written_bytes_total",
     .hides = isQuietDevice,
     .hidden = "quiet",
     .overviewHides = isAny},
};

} // namespace

std::span<const View> cgroupViews() {
    return views;
}

} // namespace zel

// The tables of processes.
#include "zel/views/Views.h"

#include "zel/Units.h"

#include <string>

namespace zel {

namespace {

// Kernel threads have no command line: their name in brackets.
Cell command(const RowValues &row, const Style &style) {
    const Value line = row["command_line"], name = row["name"];
    if (line.type() == Value::Type::Text && !line.asText().empty())
        return {displayText(line.asText(), style.charset)};
    return {'[' + displayText(name.asText(), style.charset) + ']', Tone::Quiet};
}

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
    {.section = "process_totals", .heading = "TASKS", .layout = View::Layout::Pairs, .columns = processTotals},
    {.section = "processes",
     .heading = "PROCESSES",
     .columns = processes,
     .order = "cpu_ratio",
     .orderWithoutRates = "resident_bytes",
     .overviewRows = 10},
};

} // namespace

std::span<const View> processViews() {
    return views;
}

} // namespace zel

// The tables of graphics processors and of the processes that use them.
#include "zel/views/Views.h"

#include "zel/views/Cells.h"

#include <string>

namespace zel {

namespace {

Cell memoryShare(const RowValues &row, const Style &) {
    return shareCell(row.number("memory_used_bytes"), row.number("memory_total_bytes"), 0.9, 0.98);
}

// What slows it down, the worst first.
Cell slowed(const RowValues &row, const Style &) {
    if (row["power_state"].type() == Value::Type::Text && row["power_state"].asText() == "suspended")
        return {"suspended", Tone::Quiet};
    if (row.number("throttled_thermal_hardware") > 0 || row.number("throttled_thermal_software") > 0)
        return {"hot", Tone::Alarm};
    if (row.number("throttled_power_brake") > 0 || row.number("throttled_hardware") > 0)
        return {"hardware", Tone::Alarm};
    if (row.number("throttled_power_cap") > 0)
        return {"power", Tone::Warning};
    return {row.number("clocks_idle") > 0 ? "idle" : "-", Tone::Quiet};
}

// Of the link: generation and lanes, "4 x16".
Cell link(const RowValues &row, const Style &) {
    const Value generation = row["pcie_generation"], width = row["pcie_width"];
    if (!generation.has() || !width.has())
        return {"-", Tone::Quiet};
    return {std::to_string(generation.asUnsigned()) + " x" + std::to_string(width.asUnsigned())};
}

// Adapters for a console alone measure nothing.
bool isConsole(const RowValues &row) {
    return !row["utilisation_ratio"].has() && !row["memory_total_bytes"].has() && !row["temperature_celsius"].has() &&
           !row["graphics_hertz"].has() && row["utilisation_ratio"].absence() == Absence::Unsupported;
}

constexpr ViewColumn gpus[] = {
    {"gpu", "gpu"},
    {"name", "name"},
    {"busy", "utilisation_ratio"},
    {"memory", "memory_used_bytes"},
    {"of", "memory_total_bytes"},
    {"use", "memory_total_bytes", 0, 0, false, memoryShare},
    {"chip", "temperature_celsius", 80, 90},
    {"power", "power_watts"},
    {"limit", "power_limit_watts"},
    {"clock", "graphics_hertz"},
    {"slowed", "throttled_power_cap", 0, 0, false, slowed, true},
    {"ecc errors", "ecc_uncorrected_total", 1, 1},
    {"link", "pcie_width", 0, 0, false, link, true},
    {"memory busy", "memory_utilisation_ratio"},
    {"fan", "fan_ratio"},
    {"address", "address"},
    {"driver", "driver"},
};

constexpr ViewColumn gpuProcesses[] = {
    {"gpu", "gpu"},
    {"pid", "pid"},
    {"kind", "kind"},
    {"memory", "used_bytes"},
    {"of the host", "system_bytes"},
    {"engines", "engine_ratio"},
    {"render", "render_ratio"},
    {"compute", "compute_ratio"},
    {"video", "video_ratio"},
    {"engines", "engine_seconds_total"},
};

constexpr View views[] = {
    {.section = "gpus",
     .heading = "GPUS",
     .columns = gpus,
     .overviewRows = 16,
     .overviewHides = isConsole,
     .overviewHidden = "without measurements"},
    {.section = "gpu_processes",
     .heading = "GPU PROCESSES",
     .columns = gpuProcesses,
     .order = "used_bytes",
     .overviewRows = 5},
};

} // namespace

std::span<const View> gpuViews() {
    return views;
}

} // namespace zel

// The columns of memory, disks, NVMe controllers, Fibre Channel ports and graphics cards for people.
#include "zel/views/HardwareDeviceViews.h"

#include "zel/Units.h"
#include "zel/views/Cells.h"

#include <array>

namespace zel {

namespace {

Cell moduleSize(const RowValues &row, const Style &) {
    if (row.number("installed", 1) == 0)
        return {"empty", Tone::Quiet};
    const double bytes = row.number("size_bytes");
    return bytes > 0 ? Cell{bytesText(bytes)} : Cell{"-", Tone::Quiet};
}

// As modules are sold: DDR5 at 4800 MT/s.
Cell moduleSpeed(const RowValues &row, const Style &) {
    const double transfers = row.number("configured_transfers_per_second", row.number("fastest_transfers_per_second"));
    return transfers > 0 ? Cell{numberText(transfers / 1e6) + " MT/s"} : Cell{"-", Tone::Quiet};
}

Cell socketModel(const RowValues &row, const Style &style) {
    const Value model = row["version"];
    if (row.number("populated", 1) == 0)
        return {"empty", Tone::Quiet};
    return model.type() == Value::Type::Text ? Cell{displayText(model.asText(), style.charset)}
                                             : Cell{"-", Tone::Quiet};
}

Cell diskTurns(const RowValues &row, const Style &) {
    const double rotational = row.number("rotational", -1);
    return rotational < 0 ? Cell{"-", Tone::Quiet} : Cell{rotational > 0 ? "yes" : "no"};
}

bool isEmptySlot(const RowValues &row) {
    return row.number("installed", 1) == 0;
}
bool isWithoutLog(const RowValues &row) {
    return !row["critical_warning"].has();
}
bool isKernelDisk(const RowValues &row) {
    const Value kind = row["kind"];
    return kind.type() == Value::Type::Text && (kind.asText() == "loop" || kind.asText() == "path");
}

Cell warnings(const RowValues &row, const Style &) {
    constexpr std::array<std::array<std::string_view, 2>, 6> bits{{{"spare_low", "spare"},
                                                                   {"temperature_outside", "temperature"},
                                                                   {"unreliable", "unreliable"},
                                                                   {"media_read_only", "read-only"},
                                                                   {"backup_failed", "backup"},
                                                                   {"persistent_memory_unreliable", "memory"}}};
    std::string text;
    for (const auto &[field, word] : bits) {
        if (row.number(field) > 0)
            text.append(text.empty() ? "" : ",").append(word);
    }
    return text.empty() ? Cell{"none", Tone::Quiet} : Cell{std::move(text), Tone::Alarm};
}

constexpr double errorsThatWarn = 1;
constexpr double usedThatWarns = 0.9, usedThatAlarms = 1;

constexpr ViewColumn modules[] = {
    {"slot", "slot", 0, 0, true},
    {"bank", "bank"},
    {"size", "size_bytes", 0, 0, true, moduleSize},
    {"type", "type"},
    {"speed", "configured_transfers_per_second", 0, 0, false, moduleSpeed},
    {"ranks", "ranks"},
    {"ECC bits", "error_correction_bits"},
    {"manufacturer", "manufacturer"},
    {"part", "part_number"},
    {"serial", "serial"},
};
constexpr ViewColumn arrays[] = {
    {"use", "use"},
    {"slots", "slots"},
    {"installed", "installed_modules"},
    {"at most", "highest_bytes"},
    {"error correction", "error_correction"},
    {"location", "location"},
};
constexpr ViewColumn sockets[] = {
    {"socket", "socket", 0, 0, true},
    {"model", "version", 0, 0, false, socketModel, true},
    {"cores", "cores"},
    {"enabled", "enabled_cores"},
    {"threads", "threads"},
    {"at boot", "boot_hertz"},
    {"highest", "highest_hertz"},
    {"status", "status"},
    {"serial", "serial"},
};
constexpr ViewColumn disks[] = {
    {"name", "name", 0, 0, true},
    {"kind", "kind"},
    {"size", "size_bytes", 0, 0, true},
    {"by", "transport"},
    {"turns", "rotational", 0, 0, false, diskTurns, true},
    {"vendor", "vendor"},
    {"model", "model"},
    {"firmware", "firmware"},
    {"serial", "serial"},
    {"state", "state"},
    {"driver", "controller_driver"},
    {"address", "pci_address"},
    {"mapped as", "device_mapper_name"},
    {"made of", "members"},
};
constexpr ViewColumn members[] = {
    {"disk", "disk", 0, 0, true}, {"member", "member", 0, 0, true}, {"state", "state"}, {"slot", "slot"},
    {"address", "scsi_address"},
};
constexpr ViewColumn controllers[] = {
    {"name", "name", 0, 0, true}, {"state", "state"},       {"by", "transport"},  {"address", "address"},
    {"model", "model"},           {"firmware", "firmware"}, {"serial", "serial"}, {"disks", "namespaces"},
    {"queues", "queues"},         {"node", "node"},
};
constexpr ViewColumn health[] = {
    {"name", "name", 0, 0, true},
    {"warnings", "critical_warning", 0, 0, true, warnings, true},
    {"used", "used_ratio", usedThatWarns, usedThatAlarms},
    {"spare", "spare_ratio"},
    {"temp", "temperature_celsius"},
    {"read", "read_bytes_total"},
    {"written", "written_bytes_total"},
    {"powered", "powered_seconds_total"},
    {"cycles", "power_cycles_total"},
    {"unsafe", "unsafe_shutdowns_total"},
    {"errors", "media_errors_total", errorsThatWarn},
};
constexpr ViewColumn ports[] = {
    {"name", "name", 0, 0, true}, {"port", "port_name", 0, 0, true}, {"state", "state"},   {"speed", "speed"},
    {"model", "model"},           {"firmware", "firmware"},          {"driver", "driver"}, {"address", "pci_address"},
    {"serial", "serial"},
};
constexpr ViewColumn cards[] = {
    {"address", "address", 0, 0, true},
    {"vendor", "vendor_name"},
    {"device", "device_name"},
    {"model", "model"},
    {"memory", "memory_bytes"},
    {"driver", "driver"},
    {"firmware", "video_bios"},
    {"serial", "serial"},
    {"devices", "devices"},
};

constexpr View views[] = {
    {.section = "memory_modules",
     .heading = "MEMORY MODULES",
     .columns = modules,
     .overviewHides = isEmptySlot,
     .overviewHidden = "empty slots"},
    {.section = "memory_arrays", .heading = "MEMORY ARRAYS", .columns = arrays},
    {.section = "processor_sockets", .heading = "PROCESSOR SOCKETS", .columns = sockets},
    {.section = "disk_units",
     .heading = "DISKS",
     .columns = disks,
     .overviewHides = isKernelDisk,
     .overviewHidden = "loop devices and paths"},
    {.section = "disk_members", .heading = "MEMBERS OF DISKS", .columns = members},
    {.section = "nvme_controllers", .heading = "NVME CONTROLLERS", .columns = controllers},
    {.section = "nvme_health",
     .heading = "HEALTH OF NVME CONTROLLERS",
     .columns = health,
     .overviewHides = isWithoutLog,
     .overviewHidden = "without a log"},
    {.section = "fibre_channel_adapters", .heading = "FIBRE CHANNEL PORTS", .columns = ports},
    {.section = "gpu_cards", .heading = "GRAPHICS CARDS AND ACCELERATORS", .columns = cards},
};

} // namespace

std::span<const View> hardwareDeviceViews() {
    return views;
}

} // namespace zel

// The columns of the inventory for people.
#include "zel/views/HardwareViews.h"

#include "zel/Units.h"
#include "zel/views/HardwareDeviceViews.h"

#include <algorithm>

namespace zel {

namespace {

std::string textOf(const RowValues &row, std::string_view field, const Style &style) {
    const Value value = row[field];
    return value.type() == Value::Type::Text ? displayText(value.asText(), style.charset) : std::string();
}

// The name, or the number where it has none.
Cell nameOrId(const RowValues &row, const Style &style, std::string_view name, std::string_view id) {
    std::string text = textOf(row, name, style);
    if (text.empty())
        text = textOf(row, id, style);
    return text.empty() ? Cell{"-", Tone::Quiet} : Cell{std::move(text)};
}
Cell pciKind(const RowValues &row, const Style &style) {
    return nameOrId(row, style, "class_name", "class_id");
}
Cell pciVendor(const RowValues &row, const Style &style) {
    return nameOrId(row, style, "vendor_name", "vendor_id");
}
Cell pciDevice(const RowValues &row, const Style &style) {
    return nameOrId(row, style, "device_name", "device_id");
}

// Sample: 8.00 GT/s x4 of 16.0 GT/s x8
Cell pciLink(const RowValues &row, const Style &) {
    const auto link = [&row](std::string_view speed, std::string_view width) {
        const double transfers = row.number(speed), lanes = row.number(width);
        if (transfers <= 0 || lanes <= 0)
            return std::string();
        return numberText(transfers / 1e9) + " GT/s x" + std::to_string(static_cast<unsigned>(lanes));
    };
    const std::string now = link("link_transfers_per_second", "link_width");
    const std::string most = link("highest_link_transfers_per_second", "highest_link_width");
    if (now.empty())
        return {"-", Tone::Quiet};
    const bool narrow = row.number("link_width") < row.number("highest_link_width");
    return {now == most || most.empty() ? now : now + " of " + most, narrow ? Tone::Warning : Tone::Plain};
}

// Bridges, system peripherals and the like are many and say little.
bool isPlumbing(const RowValues &row) {
    const Value kind = row["class_id"];
    if (kind.type() != Value::Type::Text)
        return false;
    const std::string_view base = kind.asText().substr(0, 4), subclass = kind.asText().substr(0, 6);
    return base == "0x06" || base == "0x08" || base == "0x11" || subclass == "0x0580";
}

Cell bitSpeed(const RowValues &row, std::string_view field) {
    const double bits = 8 * row.number(field);
    return bits > 0 ? Cell{bitsText(bits) + "/s"} : Cell{"-", Tone::Quiet};
}
Cell speedNow(const RowValues &row, const Style &) {
    return bitSpeed(row, "speed_bytes_per_second");
}
Cell highestSpeed(const RowValues &row, const Style &) {
    return bitSpeed(row, "highest_speed_bytes_per_second");
}

Cell cacheSize(const RowValues &row, const Style &) {
    return {bytesText(row.number("size_bytes"))};
}

Cell vulnerabilityState(const RowValues &row, const Style &style) {
    std::string text = textOf(row, "state", style);
    const bool open = text.starts_with("Vulnerable");
    return {std::move(text), open ? Tone::Warning : Tone::Plain};
}
bool isNotAffected(const RowValues &row) {
    const Value state = row["state"];
    return state.type() == Value::Type::Text && state.asText() == "Not affected";
}

constexpr ViewColumn machine[] = {
    {"vendor", "vendor"},   {"product", "product"},
    {"version", "version"}, {"family", "family"},
    {"sku", "sku"},         {"serial", "serial"},
    {"uuid", "uuid"},       {"model", "device_tree_model"},
    {"host", "host_name"},  {"serial", "device_tree_serial"},
};
constexpr ViewColumn chassis[] = {
    {"form", "type_name"}, {"vendor", "vendor"}, {"version", "version"}, {"serial", "serial"}, {"asset", "asset_tag"},
};
constexpr ViewColumn board[] = {
    {"vendor", "vendor"}, {"name", "name"}, {"version", "version"}, {"serial", "serial"}, {"asset", "asset_tag"},
};
constexpr ViewColumn firmware[] = {
    {"vendor", "vendor"},     {"version", "version"},         {"date", "date"},
    {"release", "release"},   {"interface", "interface"},     {"controller", "controller_release"},
    {"EFI bits", "efi_bits"}, {"secure boot", "secure_boot"},
};
constexpr ViewColumn packages[] = {
    {"package", "package"},
    {"model", "model", 0, 0, true},
    {"vendor", "vendor"},
    {"part", "part"},
    {"cores", "cores"},
    {"threads", "threads"},
    {"processors", "online_processors"},
    {"offline", "offline_processors"},
    {"lowest", "lowest_hertz"},
    {"highest", "highest_hertz"},
    {"microcode", "microcode"},
    {"guests", "virtualisation"},
    {"is a guest", "hypervisor"},
};
constexpr ViewColumn caches[] = {
    {"name", "name"},
    {"size", "size_bytes", 0, 0, false, cacheSize},
    {"count", "count"},
    {"all", "all_bytes"},
    {"ways", "ways"},
    {"line", "line_bytes"},
    {"shared by", "shared_by_threads"},
};
constexpr ViewColumn nodes[] = {
    {"node", "node"},           {"processors", "processors"}, {"threads", "threads"},
    {"memory", "memory_bytes"}, {"distances", "distances"},
};
constexpr ViewColumn vulnerabilities[] = {
    {"name", "name", 0, 0, true},
    {"state", "state", 0, 0, true, vulnerabilityState, true},
};
constexpr ViewColumn pciDevices[] = {
    {"address", "address", 0, 0, true},
    {"kind", "class_id", 0, 0, false, pciKind, true},
    {"vendor", "vendor_id", 0, 0, false, pciVendor, true},
    {"device", "device_id", 0, 0, true, pciDevice, true},
    {"driver", "driver"},
    {"slot", "slot"},
    {"node", "node"},
    {"link", "link_width", 0, 0, false, pciLink, true},
};
constexpr ViewColumn networkCards[] = {
    {"name", "name", 0, 0, true},
    {"state", "link_state"},
    {"speed", "speed_bytes_per_second", 0, 0, false, speedNow},
    {"most", "highest_speed_bytes_per_second", 0, 0, false, highestSpeed},
    {"duplex", "duplex"},
    {"port", "port_type"},
    {"driver", "driver"},
    {"firmware", "firmware"},
    {"device", "device"},
    {"slot", "slot"},
    {"address", "address"},
    {"queues in", "receive_queues"},
    {"out", "transmit_queues"},
    {"node", "node"},
};

constexpr auto pairs = View::Layout::Pairs;
constexpr View views[] = {
    {.section = "machine", .heading = "MACHINE", .layout = pairs, .columns = machine},
    {.section = "chassis", .heading = "CHASSIS", .layout = pairs, .columns = chassis},
    {.section = "board", .heading = "BOARD", .layout = pairs, .columns = board},
    {.section = "firmware", .heading = "FIRMWARE", .layout = pairs, .columns = firmware},
    {.section = "processor_packages", .heading = "PROCESSORS", .columns = packages},
    {.section = "processor_caches", .heading = "CACHES", .columns = caches},
    {.section = "processor_nodes", .heading = "NUMA NODES", .columns = nodes, .overviewLeast = 2},
    {.section = "processor_vulnerabilities",
     .heading = "VULNERABILITIES",
     .columns = vulnerabilities,
     .overviewHides = isNotAffected,
     .overviewHidden = "not affected"},
    {.section = "pci_devices",
     .heading = "PCI DEVICES",
     .columns = pciDevices,
     .overviewHides = isPlumbing,
     .overviewHidden = "bridges and system devices"},
    {.section = "network_cards", .heading = "NETWORK CARDS", .columns = networkCards},
};

} // namespace

const View *hardwareViewOf(std::string_view section) {
    for (const std::span<const View> some : {std::span<const View>(views), hardwareDeviceViews()}) {
        const auto found =
            std::find_if(some.begin(), some.end(), [&](const View &view) { return view.section == section; });
        if (found != some.end())
            return &*found;
    }
    return nullptr;
}

} // namespace zel

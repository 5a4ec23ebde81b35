// The names of areas, units, kinds and rights.
#include "host/Schema.h"

namespace zel {

std::string_view areaName(Area area) {
    constexpr std::array<std::string_view, AREA_COUNT + 1> names{
        "cpu",         "load",       "pressure",  "memory",    "vm",       "interrupts", "disks",
        "filesystems", "interfaces", "protocols", "processes", "cgroups",  "sensors",    "fibrechannel",
        "gpus",        "nfs",        "time",      "limits",    "identity", "hardware",
    };
    return names[static_cast<std::size_t>(area)];
}

std::string_view unitName(Unit unit) {
    constexpr std::string_view names[] = {"",      "seconds", "bytes", "ratio",  "hertz",    "celsius",
                                          "volts", "amperes", "watts", "joules", "coulombs", "rpm"};
    return names[static_cast<std::size_t>(unit)];
}

std::string_view kindName(Kind kind) {
    constexpr std::string_view names[] = {"counter", "gauge", "info", "state", "label"};
    return names[static_cast<std::size_t>(kind)];
}

std::string_view rightsName(Rights rights) {
    constexpr std::string_view names[] = {"any", "owner", "root"};
    return names[static_cast<std::size_t>(rights)];
}

} // namespace zel

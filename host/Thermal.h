// How hot the machine is where the kernel watches it, and what it does against that: /sys/class/thermal. Any user.
//
// Each zone and each device is asked on a thread of its own, as the chips of host/Sensors.h are.
#pragma once

#include "host/Schema.h"

namespace zel {

/// A part of the machine with a temperature. Of several trip points of a kind the lowest counts.
struct ThermalZone {
    std::uint64_t zone = 0;
    std::string type; // "x86_pkg_temp"
    Number temperature;
    Number critical; // the machine is switched off
    Number hot;
    Number passive; // processors are slowed down
    Number active;  // fans are switched on
    Reading<std::string> mode, policy;
};

/// What can make it cooler: a fan, a processor that may be slowed down.
struct CoolingDevice {
    std::uint64_t device = 0;
    std::string type; // "Processor"
    Count state, maxState;
};

template<> std::span<const Field<ThermalZone>> fieldsOf<ThermalZone>();
template<> std::span<const Field<CoolingDevice>> fieldsOf<CoolingDevice>();

} // namespace zel

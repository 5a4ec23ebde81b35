// Pressure stall information, from /proc/pressure/{cpu,io,memory,irq}: the share of time in which some or all tasks
// waited for a resource. Kernel 4.20 and later, where it is switched on. Any user.
//
// The kernel's percentages are shares of 1 here, its microseconds seconds since the boot. The first sample is complete.
// A resource that the kernel does not account for has no row; without any the whole area is unsupported.
#pragma once

#include "host/Schema.h"

namespace zel {

/// One resource. `some`: at least one task waited; `full`: all of them did (from 5.13 on for cpu, always for irq).
struct Pressure {
    std::string resource;
    Number someAverage10, someAverage60, someAverage300;
    Number someSeconds;
    Number fullAverage10, fullAverage60, fullAverage300;
    Number fullSeconds;
};

template<> std::span<const Field<Pressure>> fieldsOf<Pressure>();

} // namespace zel

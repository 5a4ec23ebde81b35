// What the kernel did: interrupts, softirqs, context switches, forks, tasks that run or are blocked. From /proc/stat,
// /proc/interrupts and /proc/softirqs. Any user.
#pragma once

#include "host/Schema.h"

namespace zel {

/// Of the whole machine.
struct Activity {
    Count interrupts;
    Count softirqs;
    Count contextSwitches;
    Count forks;
    Count running;
    Count blocked;
    Number bootTimeSeconds; // since the epoch
};

/// One line of /proc/interrupts, all processors together.
struct InterruptLine {
    std::string interrupt; // "24", "NMI"
    Reading<std::string> description;
    Count count;
};

/// One kind of softirq, all processors together.
struct SoftIrq {
    std::string softirq; // "NET_RX"
    Count count;
};

template<> std::span<const Field<Activity>> fieldsOf<Activity>();
template<> std::span<const Field<InterruptLine>> fieldsOf<InterruptLine>();
template<> std::span<const Field<SoftIrq>> fieldsOf<SoftIrq>();

} // namespace zel

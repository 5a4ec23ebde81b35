// What the kernel did: interrupts, softirqs, context switches, forks, tasks that run or are blocked. From /proc/stat,
// /proc/interrupts and /proc/softirqs. Any user.
//
// The lists add up one counter of 32 bits for each processor, each of which wraps by itself: a sum that falls has lost
// a multiple of 2^32. /proc/interrupts has the processors that are online: when their number changes, the rates of its
// lines begin anew. Each of the three files can fail alone; what the others hold is there.
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
    Number bootTimeSeconds;    // since the epoch
    Count interruptProcessors; // whose interrupts the list adds up: those that are online
};

/// One line of /proc/interrupts, all processors that are online together.
struct InterruptLine {
    std::string interrupt;            // "24", "NMI"
    Reading<std::string> description; // controller, kind and device; none for ERR and MIS
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

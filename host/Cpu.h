// The processors: time by mode, frequency, throttling. Kernel numbering: cpu 0 is the first.
//
// Read from /proc/stat (any user), frequencies and throttle counts from /sys/devices/system/cpu. All ten modes on every
// kernel; a mode that the kernel does not count is unsupported.
#pragma once

#include "host/Schema.h"

namespace zel {

/// All processors together, and how many there are.
struct Cpu {
    Number userSeconds, niceSeconds, systemSeconds, idleSeconds, iowaitSeconds;
    Number irqSeconds, softirqSeconds, stealSeconds, guestSeconds, guestNiceSeconds;
    Count online;
    Count present;
};

/// One processor. One that is offline has no times.
struct Processor {
    std::uint64_t cpu = 0;
    Number userSeconds, niceSeconds, systemSeconds, idleSeconds, iowaitSeconds;
    Number irqSeconds, softirqSeconds, stealSeconds, guestSeconds, guestNiceSeconds;
    Count online; // 1 or 0
    Number frequencyHertz, frequencyMinHertz, frequencyMaxHertz;
    Count coreThrottles;
    Count packageThrottles;
};

template<> std::span<const Field<Cpu>> fieldsOf<Cpu>();
template<> std::span<const Field<Processor>> fieldsOf<Processor>();

} // namespace zel

// The processors: time by mode, frequency, throttling. Kernel numbering: cpu 0 is the first.
//
// Read from /proc/stat (any user), frequencies and throttle counts from /sys/devices/system/cpu, what the scheduler
// counts from /proc/schedstat. All ten modes on every kernel, in seconds since the boot; a mode that the kernel does
// not count is unsupported. The kernel's idle and iowait may step back a little. The first sample is complete. Without
// a readable /proc/stat the whole area is lost; a processor whose line is damaged is malformed, and the state of the
// area names the file.
#pragma once

#include "host/Schema.h"

namespace zel {

/// All processors together, and how many there are.
struct Cpu {
    Number userSeconds, niceSeconds, systemSeconds, idleSeconds, iowaitSeconds;
    Number irqSeconds, softirqSeconds, stealSeconds, guestSeconds, guestNiceSeconds;
    Count online;  // processors that have times
    Count present; // processors of the machine
};

/// One processor, in ascending order of their numbers. One that is offline has neither times nor frequencies.
struct Processor {
    std::uint64_t cpu = 0;
    Number userSeconds, niceSeconds, systemSeconds, idleSeconds, iowaitSeconds;
    Number irqSeconds, softirqSeconds, stealSeconds, guestSeconds, guestNiceSeconds;
    Number runningSeconds;                       // of all tasks on it, as the scheduler counts
    Number waitingSeconds;                       // of all tasks that could have run on it
    Count timeslices;                            // how often a task was put on it
    Count online;                                // 1 or 0
    Count isolated;                              // 1 or 0: the scheduler gives it no task by itself
    Count package, core;                         // numbers of the firmware; a core is one of its package
    Number frequencyHertz;                       // now, as the driver set it
    Number hardwareFrequencyHertz;               // now, as the hardware says; root only
    Number frequencyMinHertz, frequencyMaxHertz; // of the hardware, read every 30 seconds
    Number scalingMinHertz, scalingMaxHertz;     // that the driver may set, read every 30 seconds
    Count coreThrottles;                         // how often it was slowed down because it was too hot
    Count packageThrottles;
};

template<> std::span<const Field<Cpu>> fieldsOf<Cpu>();
template<> std::span<const Field<Processor>> fieldsOf<Processor>();

} // namespace zel

// How the host keeps the time: its clocks, what disciplines them (adjtimex) and the clock source. Any user.
//
// Clocks and adjtimex are system calls: below a root directory there is the clock source alone.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Timekeeping {
    Number realtime;       // since the epoch
    Number monotonic;      // since the boot, without the time asleep
    Number boottime;       // with it
    Number realtimeOffset; // realtime - monotonic: changes when the clock is set or steered
    Reading<std::string> zone;
    Number zoneOffset; // east of UTC
    Reading<std::string> source, sources;

    Count synchronised;
    Reading<std::string> state; // what adjtimex returns
    Number offset, frequency, maximumError, estimatedError, constant, precision, tolerance, tick, taiOffset;
    Count status, insertLeap, deleteLeap;

    Count ppsSignal;
    Number ppsFrequency, ppsJitter, ppsInterval, ppsStability;
    Count ppsJitters, ppsCalibrations, ppsErrors, ppsUnstable;
};

template<> std::span<const Field<Timekeeping>> fieldsOf<Timekeeping>();

} // namespace zel

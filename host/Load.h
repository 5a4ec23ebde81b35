// Load averages, from /proc/loadavg. Any user.
//
// The averages are numbers of tasks, not of processors. The first sample is complete. A damaged file is malformed from
// the damage on.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Load {
    Number load1, load5, load15;
    Count runnable; // kernel scheduling entities that can run now
    Count entities; // all of them
    Count lastPid;
};

template<> std::span<const Field<Load>> fieldsOf<Load>();

} // namespace zel

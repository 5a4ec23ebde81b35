// What the scheduler counts of each processor: the lines "cpu" of /proc/schedstat.
#pragma once

#include "host/Cpu.h"
#include "host/Rows.h"

namespace zel {

/// Takes these values of every processor away.
void loseScheduler(Rows<Processor> &processors, Absence reason);
/// Takes the lines of a terminated text into the processors of their numbers, which ascend in both. False when a line
/// is not the kernel's.
bool parseScheduler(const char *text, Rows<Processor> &processors);

} // namespace zel

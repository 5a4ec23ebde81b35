// Counts the processes of a sample by their states.
#pragma once

#include "host/Process.h"
#include "host/Rows.h"

namespace zel {

/// Sets all of `totals`; `unread` is how many went during the sample or have no stat.
void countProcesses(const Rows<Process> &processes, std::uint64_t unread, ProcessTotals &totals);

} // namespace zel

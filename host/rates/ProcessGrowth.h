// The rates of processes.
#pragma once

#include "host/Rates.h"

namespace zel {

/// Fills `rates`, one row for each later process. Both lists are in the order of the pids, so that one walk over both
/// matches them; a pid with another start time is another process, whose rates are "not yet".
void takeProcessRates(const Rows<Process> &before, const Rows<Process> &now, double seconds, Rows<ProcessRates> &rates);

} // namespace zel

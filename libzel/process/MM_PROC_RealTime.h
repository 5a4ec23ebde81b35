// The pass over all processes that lists who runs what, without figures.
#pragma once

#include "process/ProcessState.h"

namespace zel {

/// fMGetRealProc. Throws std::bad_alloc.
const char *listRealProcesses(CMM_PROC_Info &collector, ProcessState &state);

} // namespace zel

// The pass over all processes that reports their figures.
#pragma once

#include "process/ProcessState.h"

namespace zel {

/// fMGetProc: text or push report. Throws std::bad_alloc.
const char *scanProcesses(CMM_PROC_Info &collector, ProcessState &state, int mode);

/// Whether a name of /proc is that of a process, and its pid.
bool isProcess(const char *name, int &pid);

} // namespace zel

// The two passes over all processes. Both throw std::bad_alloc when memory is short.
#pragma once

#include "process/ProcessState.h"

namespace zel {

/// fMGetProc: text or push report.
const char *scanProcesses(CMM_PROC_Info &collector, ProcessState &state, int mode);
/// fMGetRealProc.
const char *listRealProcesses(CMM_PROC_Info &collector, ProcessState &state);

/// Whether a name of /proc is that of a process, and its pid.
bool isProcess(const char *name, int &pid);

} // namespace zel

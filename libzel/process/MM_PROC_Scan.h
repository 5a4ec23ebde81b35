// The pass over all processes that reports their figures.
#pragma once

#include "host/DirectoryWalk.h"
#include "process/ProcessState.h"

#include <optional>

namespace zel {

/// fMGetProc: text or push report. Throws std::bad_alloc.
const char *scanProcesses(CMM_PROC_Info &collector, ProcessState &state, int mode);

/// /proc, opened for a pass over all processes, which the state begins; nothing when it cannot be opened or there is no
/// scratch record.
std::optional<DirectoryWalk> openProcesses(ProcessState &state, ProcessScratch *scratch);

/// Whether a name of /proc is that of a process, and its pid.
bool isProcess(const char *name, int &pid);

} // namespace zel

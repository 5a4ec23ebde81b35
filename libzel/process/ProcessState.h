// What a process collector keeps between scans beside its public members. All of it is too large for the stack of a
// caller, or kept so that a further scan allocates nothing.
#pragma once

#include "MM_PROC_Info.h"
#include "host/DirectoryWalk.h"
#include "kernel/KeptProcesses.h"
#include "text/OwnedText.h"

#include <cstddef>
#include <memory>

namespace zel {

class PushList;

/// Filled anew for every process; no field survives a scan.
struct ProcessScratch {
    proc_s raw;
    _ST_PROC record;
    char text[16384];           // the kernel file that is being read
    DirectoryRoom<32768> names; // of /proc
};

struct ProcessState {
    ProcessState();
    ~ProcessState();

    /// The scratch records, allocated by the first call; null without memory.
    ProcessScratch *scratch();
    /// The same with `raw` and `record` all zero.
    ProcessScratch *clearedScratch();

    std::unique_ptr<PushList> pushList; // allocated by the first push scan
    KeptProcesses kept{placesOfSettings()};

private:
    std::unique_ptr<ProcessScratch, FreeDeleter> m_scratch;
};

} // namespace zel

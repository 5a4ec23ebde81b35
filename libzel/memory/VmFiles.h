// The kernel files that a VM collector reads.
#pragma once

#include "kernel/KernelFile.h"
#include "kernel/WholeFile.h"

namespace zel {

class VmFiles {
public:
    /// /proc/stat; empty on failure. Very many processors push its "ctxt" line beyond the room for the file: only then
    /// it is read again, whole.
    std::string_view stat();

    KernelFile vmstat{"/proc/vmstat", 8192};
    KernelFile loadavg{"/proc/loadavg", 8192};

private:
    KernelFile m_stat{"/proc/stat", STAT_FILE_SIZE};
    WholeFile m_wholeStat;
};

} // namespace zel

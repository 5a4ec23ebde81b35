// The kernel files that a memory collector reads, each with the room that its consumers expect.
#pragma once

#include "kernel/KernelFile.h"

namespace zel {

struct MemoryFiles {
    KernelFile meminfo{"/proc/meminfo", 4096};
    KernelFile stat{"/proc/stat", 4096};
    KernelFile vmstat{"/proc/vmstat", 4096};
    KernelFile reserve{"/proc/sys/vm/min_free_kbytes", 129}; // a line of 128 characters
};

} // namespace zel

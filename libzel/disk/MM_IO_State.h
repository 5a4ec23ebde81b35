// What a disk collector keeps between passes beside its public members.
#pragma once

#include "PerfText.h"
#include "disk/MM_IO_LineMemory.h"
#include "disk/MM_IO_PushRows.h"
#include "kernel/KernelFile.h"
#include "kernel/WholeFile.h"

#include <cstddef>

namespace zel {

struct DiskState {
    DiskLineMemory lines;
    WholeFile partitionFile;
    KernelFile statFile{"/proc/stat", 4096}; // kernels of 2.2
    DiskPushRows pushRows;
    // Bytes of m_pStrDiskINV and m_pstrDiskName: their stated sizes may be wrong.
    std::size_t inventoryCapacity = PERF_TABLE_SIZE;
    std::size_t knownLineCapacity = PERF_TABLE_SIZE;
};

} // namespace zel

// What a disk collector keeps between passes beside its public members.
#pragma once

#include "PerfText.h"
#include "disk/MM_IO_PushRows.h"
#include "kernel/WholeFile.h"

#include <cstddef>

namespace zel {

struct DiskState {
    WholeFile counterFile;
    WholeFile partitionFile;
    DiskPushRows pushRows;
    // Bytes of m_pStrDiskINV and m_pstrDiskName: their stated sizes may be wrong.
    std::size_t inventoryCapacity = PERF_TABLE_SIZE;
    std::size_t knownLineCapacity = PERF_TABLE_SIZE;
};

} // namespace zel

// What a CPU collector keeps besides its public members.
#pragma once

#include "cpu/CpuTicks.h"
#include "kernel/KernelFile.h"

namespace zel {

struct CpuState {
    KernelFile stat{"/proc/stat", STAT_FILE_SIZE};
    CpuRow ticks[CPU_ROWS];              // counters of the sample that is being taken
    CpuRow gatheredTicks[CPU_ROWS] = {}; // counters of the previous gathering
    int writtenRows = 0;                 // rows of m_pnCPU that are not all zero
};

} // namespace zel

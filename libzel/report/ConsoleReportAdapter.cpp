// The reports on storage and graphics adapters.
#include "ConsoleReport.h"
#include "MM_GPU_Info.h"
#include "MM_HBA_Info.h"
#include "report/PrintableText.h"

#include <cstdio>

int print_hba_info(CMM_HBA_Info *ports) {
    const int result = ports->fGatherHBAZel();
    if (ports->m_nHBACount != 0 && ports->m_const_pstrHBAZelInfo != nullptr) {
        std::fputs("HBAZEL= ", stderr);
        zel::printPerfText(stderr, ports->m_const_pstrHBAZelInfo);
        std::fputc('\n', stderr);
    }
    return result;
}

int print_gpu_info(CMM_GPU_Info *gpu) {
    gpu->fInitGpu();
    gpu->fGatherGPUCardInv();
    gpu->fGatherGPUZel();
    gpu->fShutdownGpu();
    std::fprintf(stderr, "INV= %s\n", gpu->m_const_pstrGpuInvVerInfo);
    std::fprintf(stderr, "INV= %s\n", gpu->m_const_pstrGpuInvCardInfo);
    std::fprintf(stderr, "ZEL= %s\n", gpu->m_const_pstrGpuZelInfo);
    std::fprintf(stderr, "PRO= %s\n", gpu->m_const_pstrGpuProcInfo);
    return 1;
}

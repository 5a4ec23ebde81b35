// The reports on storage and graphics adapters.
#include "ConsoleReport.h"
#include "MM_GPU_Info.h"
#include "MM_HBA_Info.h"
#include "report/PrintableText.h"

#include <cstdio>

namespace {

void printLine(const char *label, const char *text) {
    std::fputs(label, stderr);
    zel::printPerfText(stderr, text == nullptr ? "(null)" : text);
    std::fputc('\n', stderr);
}

} // namespace

int print_hba_info(CMM_HBA_Info *ports) {
    const int result = ports->fGatherHBAZel();
    if (ports->m_nHBACount != 0 && ports->m_const_pstrHBAZelInfo != nullptr)
        printLine("HBAZEL= ", ports->m_const_pstrHBAZelInfo);
    return result;
}

int print_gpu_info(CMM_GPU_Info *gpu) {
    gpu->fInitGpu();
    gpu->fGatherGPUCardInv();
    gpu->fGatherGPUZel();
    gpu->fShutdownGpu();
    printLine("INV= ", gpu->m_const_pstrGpuInvVerInfo);
    printLine("INV= ", gpu->m_const_pstrGpuInvCardInfo);
    printLine("ZEL= ", gpu->m_const_pstrGpuZelInfo);
    printLine("PRO= ", gpu->m_const_pstrGpuProcInfo);
    return 1;
}

// Prints memory, swap, memory modules and the VM counters.
#include "ConsoleReport.h"
#include "MM_MEM_Info.h"
#include "MM_VM_Info.h"

#include <cstdio>

namespace {

// The reports have always shown 32 bits.
unsigned shown(unsigned long long value) {
    return static_cast<unsigned>(value);
}

} // namespace

int print_mem(const unsigned long long *values) {
    if (values == nullptr)
        return 0;
    std::printf(" mem : %7u (T)KB %7u (U)KB %7u (F)KB  %7u (Buf)KB, %7u (Cache)KB\n", shown(values[MEM_TOTAL]),
                shown(values[MEM_USED]), shown(values[MEM_FREE]), shown(values[MEM_BUFFERS]), shown(values[MEM_CACHE]));
    return 1;
}

int print_swp(const unsigned long long *values) {
    if (values == nullptr)
        return 0;
    std::printf(" swp : %7u (T)KB %7u (U)KB %7u (F)KB, %7u(in), %7u(out)\n", shown(values[SWAP_TOTAL]),
                shown(values[SWAP_USED]), shown(values[SWAP_FREE]), shown(values[SWAP_PAGES_IN]),
                shown(values[SWAP_PAGES_OUT]));
    return 1;
}

int prnit_memcnt(CMM_MEM_Info *memory) {
    const int *sizes = memory->fMGetMemCnt();
    if (sizes == nullptr)
        return 0;
    for (int i = 0; i < memory->fMGetMemTotCnt(); ++i)
        std::printf("index[%d] memsize [%d]\n", i, sizes[i]);
    return 1;
}

int print_vm(const double *values) {
    if (values == nullptr)
        return 0;
    std::printf("vm stat : %4.1f(rq) %4.1f(pi) %4.1f(po) %4.1f(si) %4.1f(so) %4.1f(pf) %4.1f(cs) %4.1f(picnt) "
                "%4.1f(pocnt)\n",
                values[VM_RUN_QUEUE], values[VM_PAGED_IN_KB], values[VM_PAGED_OUT_KB], values[VM_SWAPPED_IN],
                values[VM_SWAPPED_OUT], values[VM_FAULTS], values[VM_SWITCHES], values[VM_PAGE_INS],
                values[VM_PAGE_OUTS]);
    return 1;
}

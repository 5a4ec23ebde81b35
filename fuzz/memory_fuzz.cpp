// /proc/meminfo, /proc/vmstat, /proc/stat and min_free_kbytes as the memory collector reads them, and the script's list
// of memory modules.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "MM_MEM_Info.h"
#include "Memory_Info.h"
#include "RootOnTmpfs.h"
#include "Settings.h"
#include "Surroundings.h"

#include <memory>

FUZZ_TARGET(memory_fuzz) {
    auto &answers = fuzz::freshSurroundings();
    const unsigned options = input.byte();
    const auto collector = std::make_unique<CMM_MEM_Info>();
    collector->fSetMemFreeFlag(static_cast<int>(options & 15));
    std::string key = input.text();
    g_ptrAgentKey = (options & 16) != 0 ? nullptr : key.data();

    fuzz::root().host("proc/meminfo", input.piece());
    fuzz::root().host("proc/vmstat", input.piece());
    fuzz::root().host("proc/stat", input.piece());
    fuzz::root().host("proc/sys/vm/min_free_kbytes", input.piece());
    if (const unsigned long long *memory = collector->fMGetMem(); memory != nullptr)
        fuzz::ensure(memory[MEM_USED] + memory[MEM_FREE] == memory[MEM_TOTAL], "used and free are not the total");
    if (const unsigned long long *swap = collector->fMGetSwap_k2_6(); swap != nullptr)
        fuzz::ensure(swap[SWAP_USED] + swap[SWAP_FREE] == swap[SWAP_TOTAL], "used and free are not the total");
    collector->fMGetSwap();
    unsigned long long reserve = 0;
    collector->fMGetMinFreePara(&reserve);
    // A key of hundreds of bytes leaves no room for all seven metrics; what is there must be whole.
    collector->fPushGatherMem();
    if (collector->m_pStrRealTimeMemZEL[0] != '\0' && key.size() < 128)
        fuzz::ensurePushScalars(collector->m_pStrRealTimeMemZEL, 7);

    fuzz::root().home("aproc/shell/MemCntInfo.dat", input.piece());
    if (const int *sizes = collector->fMGetMemCnt(); sizes != nullptr) {
        fuzz::ensure(collector->fMGetMemTotCnt() <= MEM_MODULES, "more modules than fit");
        for (int module = 0; module < collector->fMGetMemTotCnt(); ++module)
            fuzz::ensure(sizes[module] > 0, "a module without a size");
    }
    if ((options & 32) != 0) {
        answers.commandOutput = input.text();
        CMemory_Info().GetMemoryNum();
    }
    g_ptrAgentKey = nullptr;
}

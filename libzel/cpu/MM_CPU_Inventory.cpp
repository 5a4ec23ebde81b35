// The outside programs of the CPU collector: the script that counts physical processors and the inventory program.
#include "LogGate.h"
#include "MM_CPU_Info.h"
#include "NCmdScheduler.h"
#include "scripts/HomeScripts.h"
#include "scripts/InventoryFile.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int countLineSize = 513;
constexpr std::size_t longestCount = 2; // with the line feed

constexpr zel::InventoryFormat cpuInventory{"TORVCPU", 511, {8, 8}, "cpu inv change", true};

} // namespace

int CMM_CPU_Info::fMGetPhyCpuCnt() {
    zel::runScript(zel::Script::PhysicalProcessors);
    const zel::ScopedFile file = zel::openResult(zel::Script::PhysicalProcessors);
    char line[countLineSize];
    if (file == nullptr || std::fgets(line, sizeof(line), file.get()) == nullptr)
        return 0;
    if (std::strlen(line) > longestCount)
        return 0;
    return static_cast<int>(std::strtol(line, nullptr, 10));
}

int CMM_CPU_Info::fGetCpuINV() {
    return zel::fetchInventory(m_strDataPath, cpuInventory, {m_pStrCpuINV, m_nCpuINVSize}, m_nCpuINVCnt,
                               {zel::errorLogOpen(), "MM_CPU_Info", m_strLogMsg});
}

int CMM_CPU_Info::fCommandINV(int mode) {
    if (mode == 1)
        return zel::runScript(zel::Script::CpuInventory, mode) == -1 ? 0 : 1;
    if (g_pclCCmdScheduler == nullptr)
        return 0;
    return zel::scheduleScript("cpu_inv_1", zel::Script::CpuInventory, mode) == 0 ? 1 : 0;
}

int CMM_CPU_Info::fINVFileRemove() {
    return std::remove(m_strDataPath);
}

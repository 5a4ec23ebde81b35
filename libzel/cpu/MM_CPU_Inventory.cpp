// The outside programs of the CPU collector: the script that counts physical processors and the inventory program.
#include "LogGate.h"
#include "MM_CPU_Info.h"
#include "NCmdScheduler.h"
#include "host/RegularFile.h"
#include "scripts/InventoryFile.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr const char *physicalCountPath = "../aproc/shell/CpuCntPhysical.dat";
constexpr int countLineSize = 513;
constexpr std::size_t longestCount = 2; // with the line feed
constexpr int commandSize = 256;

constexpr zel::InventoryFormat cpuInventory{"TORVCPU", 511, {8, 8}, "cpu inv change"};

} // namespace

int CMM_CPU_Info::fMGetPhyCpuCnt() {
    char command[commandSize];
    std::snprintf(command, sizeof(command), "../../utils/ETC/ShCmd 5 ./shell/LINUX/cpu_info > %s 2>&1",
                  physicalCountPath);
    zel::runForResult(command, physicalCountPath);

    const zel::ScopedFile file = zel::openRegularFile(physicalCountPath);
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
    char command[commandSize];
    if (mode == 1) {
        std::snprintf(command, sizeof(command), "../../utils/ETC/ShCmd 1200 ./libinvinfo 1 %d", mode);
        return std::system(command) == -1 ? 0 : 1;
    }
    if (g_pclCCmdScheduler == nullptr)
        return 0;
    std::snprintf(command, sizeof(command), "../../utils/ETC/ShCmd 1200 ./libinvinfo 1 %d&", mode);
    return g_pclCCmdScheduler->fCmdSave("cpu_inv_1", command) == 0 ? 1 : 0;
}

int CMM_CPU_Info::fINVFileRemove() {
    return std::remove(m_strDataPath);
}

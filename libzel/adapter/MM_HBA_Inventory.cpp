// The card and port inventory of CMM_HBA_Info: its files, and the program that writes them.
#include "LogGate.h"
#include "MM_HBA_Info.h"
#include "NCmdScheduler.h"
#include "scripts/HomeScripts.h"
#include "scripts/InventoryFile.h"

#include <cstdio>

namespace {

constexpr const char *sourceName = "MM_HBA_Info";
constexpr zel::InventoryFormat cardInventory{"TORVHBACARD", 1023, {8, 8}, "inv change"};
constexpr zel::InventoryFormat portInventory{"TORVHBAPORT", 1023, {8, 8}, "inv change"};

constexpr int runAtOnce = 1;
// The CPU collector's requests go out under the same key.
constexpr const char *requestKey = "cpu_inv_1";

} // namespace

int CMM_HBA_Info::fGatherHBACardInv() {
    return zel::fetchInventory(m_strCardDataPath, cardInventory, {m_pStrHBACardINV, m_nHBACardINVSize},
                               m_nHBAINVCardCnt, {zel::loggerInstalled(), sourceName, m_strLogMsg});
}

int CMM_HBA_Info::fGatherHBAPortInv() {
    return zel::fetchInventory(m_strPortDataPath, portInventory, {m_pStrHBAPortINV, m_nHBAPortINVSize},
                               m_nHBAINVPortCnt, {zel::loggerInstalled(), sourceName, m_strLogMsg});
}

int CMM_HBA_Info::fCommandINV(int mode) {
    if (mode == runAtOnce)
        return zel::runScript(zel::Script::AdapterInventory, runAtOnce) == -1 ? 0 : 1;
    if (g_pclCCmdScheduler == nullptr)
        return 0;
    return zel::scheduleScript(requestKey, zel::Script::AdapterInventory, runAtOnce) < 0 ? 0 : 1;
}

int CMM_HBA_Info::fINVFileRemove() {
    std::remove(m_strCardDataPath);
    return std::remove(m_strPortDataPath);
}

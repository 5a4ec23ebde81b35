// The interface inventory of CMM_NWT_Info: requested through the scheduler, read from two files, compared.
#include "MM_NWT_Info.h"

#include "Settings.h"
#include "network/MM_NWT_State.h"
#include "scripts/HomeScripts.h"
#include "scripts/InventoryFile.h"

#include <cstdio>

namespace {

constexpr const char *marker = "TORVInterface";
constexpr const char *changeReport = "Interface inv change";
constexpr std::size_t pieceSize = 511;

constexpr zel::InventoryFormat fetchFormat{marker, pieceSize, {512, 1024}, changeReport};
constexpr zel::InventoryFormat checkFormat{marker, pieceSize, {512, 512}, changeReport};

constexpr const char *requestKey = "nic_inv_1";

zel::InventoryLog inventoryLog(std::span<char> message) {
    return {zel::errorLogOpen(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB5), zel::NETWORK_SOURCE_NAME, message};
}

int fetchText(CMM_NWT_Info &collector, const char *path, const zel::InventoryBuffer &buffer) {
    const int result = zel::fetchInventory(path, fetchFormat, buffer, collector.m_nInterfaceINVCnt,
                                           inventoryLog(collector.m_strLogMsg));
    if (result == 1 && g_nNetworkExtGather == 1)
        collector.fSetExtNetwork(buffer.text);
    return result;
}

} // namespace

int CMM_NWT_Info::fGetInterfaceINV() {
    return fetchText(*this, m_strDataPath, {m_pStrInterfaceINV, m_nInterfaceINVSize});
}

int CMM_NWT_Info::fGetInterfaceNewINV() {
    return fetchText(*this, m_strDataNewPath, {m_pStrInterfaceNewINV, m_nInterfaceINVNewSize});
}

int CMM_NWT_Info::fInterfaceChangeCheck() {
    return zel::checkInventoryChange(m_strDataPath, checkFormat, {m_pstrInterfaceName, m_nInterfaceNameSize},
                                     inventoryLog(m_strLogMsg));
}

int CMM_NWT_Info::fCommandINV(int count) {
    return zel::scheduleScript(requestKey, zel::Script::InterfaceInventory, count);
}

int CMM_NWT_Info::fINVFileRemove() {
    std::remove(m_strDataPath);
    return std::remove(m_strDataNewPath);
}

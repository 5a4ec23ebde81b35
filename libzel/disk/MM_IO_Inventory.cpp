// Disk discovery through the partitions script, and the inventory file of CMM_IO_Info.
#include "disk/MM_IO_Inventory.h"

#include "LogGate.h"
#include "MM_IO_Info.h"
#include "Settings.h"
#include "disk/MM_IO_Lines.h"
#include "disk/MM_IO_Samples.h"
#include "disk/MM_IO_State.h"
#include "host/RegularFile.h"
#include "scripts/HomeScripts.h"
#include "scripts/InventoryFile.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr const char *logSource = "MM_IO_Info";

constexpr int discoveryLineSize = 1024;

constexpr const char *inventoryRequest = "disk_inv_1";

constexpr zel::InventoryFormat fetchFormat{"TORVDISK", 512, {8, 8}, ""};
constexpr zel::InventoryFormat changeFormat{"TORVDISK", 512, {2048, 2048}, "disk inv change"};

bool logOpen() {
    return zel::errorLogOpen();
}

// False when discovery has to end.
bool insertInventory(CMM_IO_Info &disks, const zel::DiscoveredDisk &found) {
    _ST_DISKIO disk{};
    zel::setDeviceName(disk.l_strDEVname, found.name);
    disk.l_nTotSize = found.blocks / zel::DISK_SIZE_UNIT;
    if (disks.m_pclINVList->fSlInsertFifo(&disk, sizeof(disk), nullptr) == nullptr)
        return false;
    return !zel::countedBeyondLimit(++disks.m_nNDevINV);
}

// The same.
bool rememberDevice(CMM_IO_Info &disks, const zel::DiscoveredDisk &found) {
    char deviceName[DISK_NAME_SIZE];
    zel::setDeviceName(deviceName, found.name);
    for (int i = 0; i < disks.m_nDevNameCount; ++i) {
        if (std::strcmp(disks.m_pstDevName[i].m_pstrName, deviceName) == 0)
            return true;
    }
    const auto count = static_cast<std::size_t>(disks.m_nDevNameCount);
    auto *larger = static_cast<_ST_DEV_NAME *>(std::calloc(count + 1, sizeof(_ST_DEV_NAME)));
    if (larger == nullptr)
        return false;
    if (count > 0)
        std::memcpy(larger, disks.m_pstDevName, count * sizeof(_ST_DEV_NAME));
    std::free(disks.m_pstDevName);
    disks.m_pstDevName = larger;
    std::strcpy(larger[count].m_pstrName, deviceName);
    larger[count].m_lTotalSize = found.blocks;
    ++disks.m_nDevNameCount;
    ++disks.m_nNDev;
    return true;
}

} // namespace

bool zel::countedBeyondLimit(int count) {
    return g_nDiskStrType == 0 && g_nDiskMaxGatherCnt >= 1 && count > g_nDiskMaxGatherCnt;
}

int CMM_IO_Info::fMGetDevNames(int nWithNames) {
    zel::runScript(zel::Script::Partitions);
    const zel::ScopedFile file = zel::openResult(zel::Script::Partitions);
    if (file == nullptr) {
        ZEL_LOG(logOpen(), zel::LOG_LEVEL_ERROR, logSource, m_strLogMsg, "fMGetDevNames D_FOPEN failed");
        return 0;
    }
    ZEL_LOG(logOpen(), zel::LOG_LEVEL_ERROR, logSource, m_strLogMsg, "fMGetDevNames start");
    const bool intoNames = nWithNames != 0;
    if (intoNames)
        m_nNDev = m_nDevNameCount;
    char line[discoveryLineSize];
    while (std::fgets(line, sizeof(line), file.get()) != nullptr) {
        const zel::DiscoveredDisk disk = zel::scanDiscoveredDisk(line);
        if (zel::isReportedDisk(disk) && !(intoNames ? rememberDevice(*this, disk) : insertInventory(*this, disk)))
            break;
    }
    ZEL_LOG(logOpen(), zel::LOG_LEVEL_ERROR, logSource, m_strLogMsg, "fMGetDevNames end ");
    return m_nNDev;
}

int CMM_IO_Info::fCommandINV(int n) {
    return zel::scheduleScript(inventoryRequest, zel::Script::DiskInventory, n);
}

int CMM_IO_Info::fCommandExecute() {
    return 1;
}

int CMM_IO_Info::fGetDiskINV() {
    return zel::fetchInventory(m_strDataPath, fetchFormat,
                               {m_pStrDiskINV, m_nDiskINVSize, nullptr, &m_state->inventoryCapacity}, m_nDiskINVCnt,
                               {logOpen(), logSource, m_strLogMsg});
}

// A longer known line states its new size in the size of the inventory text: consumers read it there.
int CMM_IO_Info::fDiskChangeCheck() {
    return zel::checkInventoryChange(m_strDataPath, changeFormat,
                                     {m_pstrDiskName, m_nDiskNameSize, &m_nDiskINVSize, &m_state->knownLineCapacity},
                                     {logOpen(), logSource, m_strLogMsg});
}

int CMM_IO_Info::fINVFileRemove() {
    return std::remove(m_strDataPath);
}

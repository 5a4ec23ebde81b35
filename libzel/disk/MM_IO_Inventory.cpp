// Disk discovery through the partitions script, and the inventory file of CMM_IO_Info.
#include "LogGate.h"
#include "MM_IO_Info.h"
#include "Settings.h"
#include "disk/MM_IO_Lines.h"
#include "scripts/HomeScripts.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr const char *logSource = "MM_IO_Info";

constexpr int discoveryLineSize = 1024;
constexpr unsigned long blocksPerSizeUnit = 1000;

constexpr const char *inventoryRequest = "disk_inv_1";

constexpr zel::InventoryFormat fetchFormat{"TORVDISK", 512, {8, 8}, ""};
constexpr zel::InventoryFormat changeFormat{"TORVDISK", 512, {2048, 2048}, "disk inv change"};

bool logOpen() {
    return zel::errorLogOpen();
}

} // namespace

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
        if (zel::isReportedDisk(disk) && !takeDiscoveredDisk(disk.name, disk.blocks, intoNames))
            break;
    }
    ZEL_LOG(logOpen(), zel::LOG_LEVEL_ERROR, logSource, m_strLogMsg, "fMGetDevNames end ");
    return m_nNDev;
}

// False when discovery has to end.
bool CMM_IO_Info::takeDiscoveredDisk(const char *shortName, unsigned long blocks, bool intoNames) {
    char deviceName[DISK_NAME_SIZE] = {};
    std::snprintf(deviceName, sizeof(deviceName), "/dev/%s", shortName);
    return intoNames ? rememberDevice(deviceName, blocks) : insertInventory(deviceName, blocks);
}

bool CMM_IO_Info::insertInventory(const char *deviceName, unsigned long blocks) {
    _ST_DISKIO disk{};
    std::strcpy(disk.l_strDEVname, deviceName);
    disk.l_nTotSize = blocks / blocksPerSizeUnit;
    if (m_pclINVList->fSlInsertFifo(&disk, sizeof(disk), nullptr) == nullptr)
        return false;
    return !countedBeyondLimit(++m_nNDevINV);
}

bool CMM_IO_Info::rememberDevice(const char *deviceName, unsigned long blocks) {
    for (int i = 0; i < m_nDevNameCount; ++i) {
        if (std::strcmp(m_pstDevName[i].m_pstrName, deviceName) == 0)
            return true;
    }
    const auto count = static_cast<std::size_t>(m_nDevNameCount);
    auto *larger = static_cast<_ST_DEV_NAME *>(std::calloc(count + 1, sizeof(_ST_DEV_NAME)));
    if (larger == nullptr)
        return false;
    if (count > 0)
        std::memcpy(larger, m_pstDevName, count * sizeof(_ST_DEV_NAME));
    std::free(m_pstDevName);
    m_pstDevName = larger;
    std::strcpy(m_pstDevName[count].m_pstrName, deviceName);
    m_pstDevName[count].m_lTotalSize = blocks;
    ++m_nDevNameCount;
    ++m_nNDev;
    return true;
}

int CMM_IO_Info::fCommandINV(int n) {
    return zel::scheduleScript(inventoryRequest, zel::Script::DiskInventory, n);
}

int CMM_IO_Info::fCommandExecute() {
    return 1;
}

int CMM_IO_Info::fGetDiskINV() {
    return zel::fetchInventory(m_strDataPath, fetchFormat,
                               {m_pStrDiskINV, m_nDiskINVSize, nullptr, &m_inventoryCapacity}, m_nDiskINVCnt,
                               {logOpen(), logSource, m_strLogMsg});
}

// A longer known line states its new size in the size of the inventory text: consumers read it there.
int CMM_IO_Info::fDiskChangeCheck() {
    return zel::checkInventoryChange(m_strDataPath, changeFormat,
                                     {m_pstrDiskName, m_nDiskNameSize, &m_nDiskINVSize, &m_knownLineCapacity},
                                     {logOpen(), logSource, m_strLogMsg});
}

int CMM_IO_Info::fINVFileRemove() {
    return std::remove(m_strDataPath);
}

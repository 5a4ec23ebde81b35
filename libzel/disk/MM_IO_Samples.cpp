// Keeping and finding the old samples of the disks.
#include "disk/MM_IO_Samples.h"

#include "disk/MM_IO_LineMemory.h"
#include "records/KeyOrder.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace zel {

namespace {

bool isOf(SSListNode *node, const char *deviceName) {
    return node != nullptr && CMM_IO_Info::fCMPDeviceName(fgListRecord<_ST_COMPUTE_IO>(node), deviceName) == 1;
}

} // namespace

void setDeviceName(char (&deviceName)[DISK_NAME_SIZE], std::string_view shortName) {
    const std::size_t length = std::min(shortName.size(), DISK_NAME_SIZE - 1 - DEVICE_DIRECTORY.size());
    std::memcpy(deviceName, DEVICE_DIRECTORY.data(), DEVICE_DIRECTORY.size());
    std::memcpy(deviceName + DEVICE_DIRECTORY.size(), shortName.data(), length);
    deviceName[DEVICE_DIRECTORY.size() + length] = '\0';
}

void setSample(_ST_COMPUTE_IO &sample, const DiskReading &disk) {
    setDeviceName(sample.l_strDEVname, disk.name);
    sample.l_ulRead_B = disk.readSectors;
    sample.l_ulWrite_B = disk.writeSectors;
    sample.l_ulRead_N = disk.readRequests;
    sample.l_ulWrite_N = disk.writeRequests;
    sample.l_lTick = disk.busyMilliseconds;
}

// Names are unique in the list: a search from its beginning would find no other node.
_ST_COMPUTE_IO *NamedSamples::find(const char *deviceName) {
    SSListNode *const from = m_last == nullptr ? m_samples.fSlGetHeadNode() : m_last;
    SSListNode *const next = from == nullptr ? nullptr : from->l_pstNext;
    if (isOf(next, deviceName))
        m_last = next;
    else if (!isOf(m_last, deviceName)) {
        SSListNode *found = m_samples.fSlSearch(deviceName, DISK_NAME_SIZE, CMM_IO_Info::fCMPDeviceName);
        if (found == nullptr)
            return nullptr;
        m_last = found;
    }
    return fgListRecord<_ST_COMPUTE_IO>(m_last);
}

bool NamedSamples::keep(const _ST_COMPUTE_IO &sample, _ST_COMPUTE_IO *old) {
    if (old == nullptr)
        return m_samples.fSlInsertFifo(&sample, sizeof(sample), nullptr) != nullptr;
    old->l_ulRead_B = sample.l_ulRead_B;
    old->l_ulWrite_B = sample.l_ulWrite_B;
    old->l_ulRead_N = sample.l_ulRead_N;
    old->l_ulWrite_N = sample.l_ulWrite_N;
    old->l_uiRead_ios = sample.l_uiRead_ios;
    old->l_uiRead_ticks = sample.l_uiRead_ticks;
    old->l_uiWrite_ios = sample.l_uiWrite_ios;
    old->l_uiWrite_ticks = sample.l_uiWrite_ticks;
    old->l_ulWaitCnt = sample.l_ulWaitCnt;
    old->l_ulWaitTime = sample.l_ulWaitTime;
    old->l_nTotSize = sample.l_nTotSize;
    old->l_lTick = sample.l_lTick;
    return true;
}

_ST_DISK_OLD_LIST *KeyedSamples::find(int key) {
    return findNear(m_samples, m_last, key) == m_samples.end() ? nullptr : m_last->second;
}

void KeyedSamples::insert(int key, const _ST_COMPUTE_IO &sample) {
    std::unique_ptr<_ST_DISK_OLD_LIST> old(new (std::nothrow) _ST_DISK_OLD_LIST{});
    if (old == nullptr)
        return;
    std::memcpy(old->l_strDEVname, sample.l_strDEVname, strnlen(sample.l_strDEVname, DISK_NAME_SIZE - 1));
    keep(sample, *old);
    m_last = m_samples.emplace(key, old.get()).first;
    static_cast<void>(old.release());
}

void KeyedSamples::keep(const _ST_COMPUTE_IO &sample, _ST_DISK_OLD_LIST &old) {
    old.l_ulRead_B = sample.l_ulRead_B;
    old.l_ulWrite_B = sample.l_ulWrite_B;
    old.l_ulRead_N = sample.l_ulRead_N;
    old.l_ulWrite_N = sample.l_ulWrite_N;
    old.l_lTick = sample.l_lTick;
}

} // namespace zel

int CMM_IO_Info::fCMPDeviceName(const void *stored, const void *name) {
    constexpr std::size_t length = DISK_NAME_SIZE - 1;
    return std::strncmp(static_cast<const char *>(stored), static_cast<const char *>(name), length) == 0 ? 1 : 0;
}

#include "disk/MM_IO_Rates.h"

#include "MM_IO_Info.h"
#include "NGFunctions.h"
#include "records/KeyOrder.h"

#include <cstring>
#include <new>

namespace {

constexpr std::size_t comparedNameLength = DISK_NAME_SIZE - 1;
constexpr double kilobytesPerSector = 0.5;
constexpr double blockUnit = 1.0; // 2.2: blocks are reported as the kernel counts them
constexpr double millisecondsPerSecond = 1000.0;
constexpr double percent = 100.0;
constexpr double requestRateCeiling = 1e9;
constexpr double noRate = -1.0;
constexpr double awaitScale = 10.0;

void refuseNegative(double &rate) {
    if (rate < 0.0)
        rate = noRate;
}

void refuseRequestRate(double &rate) {
    refuseNegative(rate);
    if (rate >= requestRateCeiling)
        rate = noRate;
}

} // namespace

namespace zel {

unsigned long long growth(unsigned long long current, unsigned long long previous) {
    const unsigned long long difference = current - previous;
    return static_cast<long long>(difference) > 0 ? difference : 0;
}

double busyPercent(unsigned long long busyMilliseconds, double elapsed) {
    if (busyMilliseconds == 0)
        return 0.0;
    return static_cast<double>(static_cast<float>(busyMilliseconds)) / (elapsed * millisecondsPerSecond) * percent;
}

double averageWait(const _ST_COMPUTE_IO &current, const _ST_COMPUTE_IO &previous) {
    const unsigned ticks =
        current.l_uiRead_ticks - previous.l_uiRead_ticks + (current.l_uiWrite_ticks - previous.l_uiWrite_ticks);
    const unsigned requests =
        current.l_uiRead_ios - previous.l_uiRead_ios + (current.l_uiWrite_ios - previous.l_uiWrite_ios);
    if (requests == 0)
        return 0.0;
    return static_cast<double>(ticks) / static_cast<double>(static_cast<int>(requests)) * awaitScale;
}

void limitRates(_ST_DISKIO &result) {
    refuseNegative(result.l_dRead_B);
    refuseNegative(result.l_dWrite_B);
    refuseRequestRate(result.l_dRead_N);
    refuseRequestRate(result.l_dWrite_N);
    refuseNegative(result.l_dBusy);
    if (result.l_dBusy > percent)
        result.l_dBusy = percent;
}

} // namespace zel

int CMM_IO_Info::fCMPDeviceName(const void *stored, const void *name) {
    return std::strncmp(static_cast<const char *>(stored), static_cast<const char *>(name), comparedNameLength) == 0
               ? 1
               : 0;
}

// The bytes behind a name are zero already: clearing the former name clears the whole record.
void CMM_IO_Info::startResult(const _ST_COMPUTE_IO &sample) {
    std::memset(m_pstIO->l_strDEVname, 0, strnlen(m_pstIO->l_strDEVname, comparedNameLength));
    std::memcpy(m_pstIO->l_strDEVname, sample.l_strDEVname, strnlen(sample.l_strDEVname, comparedNameLength));
    m_pstIO->l_uiRead_ios = m_pstIO->l_uiRead_ticks = 0;
    m_pstIO->l_uiWrite_ios = m_pstIO->l_uiWrite_ticks = 0;
    m_pstIO->l_dAwait = m_pstIO->l_dBusy = 0.0;
    m_pstIO->l_dRead_B = m_pstIO->l_dWrite_B = 0.0;
    m_pstIO->l_dRead_N = m_pstIO->l_dWrite_N = 0.0;
    m_pstIO->l_dXfer_B = m_pstIO->l_dXfer_N = 0.0;
    m_pstIO->l_nTotSize = sample.l_nTotSize;
}

void CMM_IO_Info::ratesAgainst(const _ST_COMPUTE_IO &sample, const _ST_COMPUTE_IO &old, double volumeUnit) {
    m_pstIO->l_dRead_B = zel::perSecond(zel::growth(sample.l_ulRead_B, old.l_ulRead_B), m_dElapsedTime) * volumeUnit;
    m_pstIO->l_dWrite_B = zel::perSecond(zel::growth(sample.l_ulWrite_B, old.l_ulWrite_B), m_dElapsedTime) * volumeUnit;
    m_pstIO->l_dRead_N = zel::perSecond(zel::growth(sample.l_ulRead_N, old.l_ulRead_N), m_dElapsedTime);
    m_pstIO->l_dWrite_N = zel::perSecond(zel::growth(sample.l_ulWrite_N, old.l_ulWrite_N), m_dElapsedTime);
}

_ST_DISKIO *CMM_IO_Info::fMComputeIo(const _ST_COMPUTE_IO *sample) {
    startResult(*sample);
    const _ST_COMPUTE_IO *old = fMGetOldCompIo(sample->l_strDEVname);
    if (old == nullptr)
        return m_pstIO;
    ratesAgainst(*sample, *old, blockUnit);
    m_pstIO->l_dAwait = zel::averageWait(*sample, *old);
    return m_pstIO;
}

_ST_DISKIO *CMM_IO_Info::fMComputeIo26(const _ST_COMPUTE_IO *sample) {
    startResult(*sample);
    const _ST_COMPUTE_IO *old = fMGetOldCompIo(sample->l_strDEVname);
    if (old == nullptr)
        return m_pstIO;
    ratesAgainst(*sample, *old, kilobytesPerSector);
    if (sample->l_lTick >= old->l_lTick)
        m_pstIO->l_dBusy = zel::busyPercent(zel::growth(sample->l_lTick, old->l_lTick), m_dElapsedTime);
    return m_pstIO;
}

_ST_DISKIO *CMM_IO_Info::fMDiskComputeIo(const _ST_COMPUTE_IO *sample, const _ST_DISK_OLD_LIST *old) {
    startResult(*sample);
    m_pstIO->l_dRead_B = zel::perSecond(sample->l_ulRead_B - old->l_ulRead_B, m_dElapsedTime) * kilobytesPerSector;
    m_pstIO->l_dWrite_B = zel::perSecond(sample->l_ulWrite_B - old->l_ulWrite_B, m_dElapsedTime) * kilobytesPerSector;
    m_pstIO->l_dRead_N = zel::perSecond(sample->l_ulRead_N - old->l_ulRead_N, m_dElapsedTime);
    m_pstIO->l_dWrite_N = zel::perSecond(sample->l_ulWrite_N - old->l_ulWrite_N, m_dElapsedTime);
    if (sample->l_lTick > old->l_lTick)
        m_pstIO->l_dBusy = zel::busyPercent(sample->l_lTick - old->l_lTick, m_dElapsedTime);
    return m_pstIO;
}

// The kernel lists the disks in the same order in every pass: during one, the node that was found last and the one
// behind it are tried first. Names are unique in the list, so that the search would find no other.
_ST_COMPUTE_IO *CMM_IO_Info::fMGetOldCompIo(const char *name) {
    const auto isSought = [name](SSListNode *node) {
        return node != nullptr && fCMPDeviceName(fgListRecord<_ST_COMPUTE_IO>(node), name) == 1;
    };
    SSListNode *found = nullptr;
    if (m_lastFound != nullptr) {
        if (m_lastFound != m_pclList_Old->fSlGetHeadNode() && isSought(m_lastFound))
            found = m_lastFound;
        else if (isSought(m_lastFound->l_pstNext))
            found = m_lastFound->l_pstNext;
    }
    if (found == nullptr)
        found = m_pclList_Old->fSlSearch(name, DISK_NAME_SIZE, fCMPDeviceName);
    if (found == nullptr)
        return nullptr;
    if (m_lastFound != nullptr)
        m_lastFound = found;
    return fgListRecord<_ST_COMPUTE_IO>(found);
}

int CMM_IO_Info::fMSetOldCompIo(const _ST_COMPUTE_IO *sample) {
    _ST_COMPUTE_IO *old = fMGetOldCompIo(sample->l_strDEVname);
    if (old == nullptr)
        return m_pclList_Old->fSlInsertFifo(sample, sizeof(*sample), nullptr) != nullptr ? 1 : 0;
    old->l_ulRead_B = sample->l_ulRead_B;
    old->l_ulWrite_B = sample->l_ulWrite_B;
    old->l_ulRead_N = sample->l_ulRead_N;
    old->l_ulWrite_N = sample->l_ulWrite_N;
    old->l_uiRead_ios = sample->l_uiRead_ios;
    old->l_uiRead_ticks = sample->l_uiRead_ticks;
    old->l_uiWrite_ios = sample->l_uiWrite_ios;
    old->l_uiWrite_ticks = sample->l_uiWrite_ticks;
    old->l_ulWaitCnt = sample->l_ulWaitCnt;
    old->l_ulWaitTime = sample->l_ulWaitTime;
    old->l_nTotSize = sample->l_nTotSize;
    old->l_lTick = sample->l_lTick;
    return 1;
}

// Stores the first sample under its key, then computes against what the key holds.
bool CMM_IO_Info::computeKeyed(const char *shortName, const _ST_COMPUTE_IO &sample) {
    const int key = ELFHash(shortName);
    if (zel::findBehind(m_DiskMap, m_lastKey, key) == m_DiskMap.end())
        m_lastKey = m_DiskMap.emplace(key, nullptr).first;
    _ST_DISK_OLD_LIST *&old = m_lastKey->second;
    const bool known = old != nullptr && m_nInsertFirst != 0;
    if (old == nullptr) {
        old = new (std::nothrow) _ST_DISK_OLD_LIST{};
        if (old == nullptr)
            return false;
        std::memcpy(old->l_strDEVname, sample.l_strDEVname, strnlen(sample.l_strDEVname, comparedNameLength));
    }
    if (known)
        fMDiskComputeIo(&sample, old);
    old->l_ulRead_B = sample.l_ulRead_B;
    old->l_ulWrite_B = sample.l_ulWrite_B;
    old->l_ulRead_N = sample.l_ulRead_N;
    old->l_ulWrite_N = sample.l_ulWrite_N;
    old->l_lTick = sample.l_lTick;
    return known;
}

// Construction and the public operations of the disk collector.
#include "MM_IO_Info.h"

#include "NStringLib.h"
#include "disk/MM_IO_Pass.h"
#include "disk/MM_IO_Rates.h"
#include "disk/MM_IO_State.h"
#include "disk/MM_IO_Text.h"
#include "functions/ElapsedTime.h"
#include "kernel/KernelRelease.h"
#include "records/PushCapacity.h"
#include "scripts/HomeScripts.h"
#include "text/NumberScan.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr const char *inventoryPath = zel::resultPath(zel::Script::DiskInventory);
constexpr int rateLineSize = 128;
constexpr float largestRate = 100.0F;
constexpr float cappedRate = 99.9F;

// 0 for a text that is no number.
float numberIn(const char *text) {
    double number = 0.0;
    zel::scanDouble(text, number);
    return static_cast<float>(number);
}

float limitedRate(float rate) {
    return rate > largestRate ? cappedRate : static_cast<float>(zel::notBelowZero(static_cast<double>(rate)));
}

_ST_DISKIO *nextRecord(SSListNode *&cursor) {
    if (cursor != nullptr)
        cursor = cursor->l_pstNext;
    return cursor == nullptr ? nullptr : fgListRecord<_ST_DISKIO>(cursor);
}

void deleteList(CSSList *list) {
    list->fSlDeleteAll();
    delete list;
}

} // namespace

CMM_IO_Info::CMM_IO_Info()
    : m_pclList(new CSSList), m_pclList_Old(new CSSList), m_pclUtil(new CSSUtil), m_pclINVList(new CSSList),
      m_pstNextNode(m_pclList->fSlGetHeadNode()), m_pstNextNodeINV(m_pclINVList->fSlGetHeadNode()),
      m_pstIO(new _ST_DISKIO{}), m_nNDev(0), m_nNDevINV(0), m_pstDevName(nullptr), m_nDevNameCount(0), m_nDiskZELCnt(0),
      m_pStrDiskZEL(fgNewTextBuffer(PERF_TABLE_SIZE)), m_nDiskZELSize(PERF_TABLE_SIZE), m_nDiskINVCnt(0),
      m_pStrDiskINV(fgNewTextBuffer(PERF_TABLE_SIZE)), m_nDiskINVSize(PERF_TABLE_SIZE),
      m_pstrDiskName(fgNewTextBuffer(PERF_TABLE_SIZE)), m_nDiskNameSize(PERF_TABLE_SIZE), m_strDataPath{},
      m_nZELSkipChk(0), m_pStrRealTimeDiskZEL(fgNewTextBuffer(PERF_TABLE_SIZE)), m_nDiskRealZELSize(PERF_TABLE_SIZE),
      m_nInsertFirst(0), m_pstrPollDiskInfo(nullptr), m_pstrPollDiskReturn(nullptr), m_pstrPushDiskInfo(nullptr),
      m_pstrPushDiskReturn(nullptr), m_nDiskPushCnt(0), m_nActiveSize(zel::PUSH_CAPACITY),
      m_stAllDiskList(nullptr), m_strLogMsg{}, m_stOldIoTime{}, m_dElapsedTime(0.0), m_nGatherCount(0),
      m_state(new zel::DiskState) {
    fgSetTableSplit(m_strSplit);
    fgSetPushSplit(m_strPushSplit);
    std::strcpy(m_strDataPath, inventoryPath);
    zel::publishTexts(*this);
    fSetElapsedTime();
}

CMM_IO_Info::~CMM_IO_Info() {
    for (const auto &entry : m_DiskMap)
        delete entry.second;
    deleteList(m_pclList);
    deleteList(m_pclList_Old);
    deleteList(m_pclINVList);
    delete m_pclUtil;
    delete m_pstIO;
    std::free(m_pstDevName);
    std::free(m_pStrDiskZEL);
    std::free(m_pStrRealTimeDiskZEL);
    std::free(m_pStrDiskINV);
    std::free(m_pstrDiskName);
}

CSSList *CMM_IO_Info::fMGetIoStat(double, int nPerf, int nPush) {
    fSetElapsedTime();
    const auto [major, minor] = zel::rulingRelease(*this);
    if (major == 2 && minor == 2)
        return fMGetIoStat_Lin22(nPerf, nPush);
    if (major == 2 && minor == 4)
        return fMGetIoStat_Lin24(nPerf, nPush);
    if (major > 1 && minor > 5)
        return fMGetIoStat_Lin26(nPerf, nPush);
    if (major < 3)
        return nullptr;
    return fMGetIoStat_Lin26(nPerf, nPush);
}

CSSList *CMM_IO_Info::fMGetIoStat_Lin26(int nPerf, int nPush) {
    return zel::DiskPass(*this, *m_state, zel::diskForm(nPerf, nPush)).overLines(zel::diskstatsRules);
}

CSSList *CMM_IO_Info::fMGetIoStat_Lin24(int nPerf, int nPush) {
    return zel::DiskPass(*this, *m_state, zel::diskForm(nPerf, nPush)).overLines(zel::partitionsRules);
}

CSSList *CMM_IO_Info::fMGetIoStat_Lin22(int nPerf, int nPush) {
    return zel::DiskPass(*this, *m_state, zel::diskForm(nPerf, nPush)).overBlockCounters();
}

_ST_DISKIO *CMM_IO_Info::fMGetIoStatNext() {
    return nextRecord(m_pstNextNode);
}

_ST_DISKIO *CMM_IO_Info::fMGetIoStatNextINV() {
    return nextRecord(m_pstNextNodeINV);
}

int CMM_IO_Info::fSetElapsedTime() {
    m_dElapsedTime = zel::elapsedSince(m_stOldIoTime);
    return 1;
}

char *CMM_IO_Info::fMParceDevUnit(const char *src, char *dst, int size) {
    if (size < 1)
        return nullptr;
    std::memset(dst, 0, static_cast<std::size_t>(size));
    const char *token = CSSUtil::fSkipWs(src);
    char *end = CSSUtil::fSkipToken(src);
    if (end - token >= size)
        return nullptr;
    std::memcpy(dst, token, static_cast<std::size_t>(end - token));
    return end;
}

// Sample: sda 45.30
int CMM_IO_Info::fGetDiskIoRate(const char *name, float *rate) {
    *rate = 0.0F;
    const zel::ScopedFile file = zel::openHomeFile(zel::DISK_RATES);
    if (file == nullptr)
        return -1;
    char line[rateLineSize];
    while (std::fgets(line, sizeof(line), file.get()) != nullptr) {
        char *rest = nullptr;
        const char *disk = Nstrstrtok(line, " ", &rest);
        if (rest != nullptr && std::strcmp(disk, name) == 0)
            *rate = numberIn(rest);
    }
    *rate = limitedRate(*rate);
    return 1;
}

_ST_DISKIO *CMM_IO_Info::fMComputeIo(const _ST_COMPUTE_IO *sample) {
    const _ST_COMPUTE_IO *old = fMGetOldCompIo(sample->l_strDEVname);
    zel::setResult(*m_pstIO, *sample,
                   old == nullptr ? zel::DiskRates{} : zel::ratesOfBlocks(*sample, *old, m_dElapsedTime));
    return m_pstIO;
}

_ST_DISKIO *CMM_IO_Info::fMComputeIo26(const _ST_COMPUTE_IO *sample) {
    const _ST_COMPUTE_IO *old = fMGetOldCompIo(sample->l_strDEVname);
    zel::setResult(*m_pstIO, *sample,
                   old == nullptr ? zel::DiskRates{} : zel::ratesByName(*sample, *old, m_dElapsedTime));
    return m_pstIO;
}

_ST_DISKIO *CMM_IO_Info::fMDiskComputeIo(const _ST_COMPUTE_IO *sample, const _ST_DISK_OLD_LIST *old) {
    zel::setResult(*m_pstIO, *sample, zel::ratesByKey(*sample, *old, m_dElapsedTime));
    return m_pstIO;
}

_ST_COMPUTE_IO *CMM_IO_Info::fMGetOldCompIo(const char *name) {
    return zel::NamedSamples(*m_pclList_Old).find(name);
}

int CMM_IO_Info::fMSetOldCompIo(const _ST_COMPUTE_IO *sample) {
    zel::NamedSamples samples(*m_pclList_Old);
    return samples.keep(*sample, samples.find(sample->l_strDEVname)) ? 1 : 0;
}

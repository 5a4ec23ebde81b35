// The passes of CMM_IO_Info, one per kernel generation.
#include "MM_IO_Info.h"
#include "Settings.h"
#include "disk/MM_IO_Lines.h"
#include "disk/MM_IO_Rates.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

namespace {

constexpr int statFileSize = 4096;
constexpr unsigned long blocksPerSizeUnit = 1000;
constexpr std::string_view deviceDirectory = "/dev/";

bool textForm() {
    return g_nDiskStrType == 1;
}

// "/dev/" and the name, cut to the record.
void setDeviceName(char (&deviceName)[DISK_NAME_SIZE], std::string_view shortName) {
    const std::size_t length = std::min(shortName.size(), DISK_NAME_SIZE - 1 - deviceDirectory.size());
    std::memcpy(deviceName, deviceDirectory.data(), deviceDirectory.size());
    std::memcpy(deviceName + deviceDirectory.size(), shortName.data(), length);
    deviceName[deviceDirectory.size() + length] = '\0';
}

// The numbers behind one key of the 2.2 /proc/stat, a number per disk.
class DiskValues {
public:
    // Sample: disk_rblk 26604 0 0 0
    DiskValues(const char *statText, const char *key) : m_next(findLine(statText, key)) {}

    bool present() const { return m_next != nullptr; }

    /// The next number, 0 at the end of the line.
    unsigned long long take() {
        m_next += std::strspn(m_next, " \t");
        if (*m_next == '\n')
            return 0;
        char *end = nullptr;
        const unsigned long value = std::strtoul(m_next, &end, 10);
        m_next = end;
        return value;
    }

private:
    static const char *findLine(const char *text, const char *key) {
        const std::size_t length = std::strlen(key);
        while (std::strncmp(text, key, length) != 0) {
            text = std::strchr(text, '\n');
            if (text == nullptr)
                return nullptr;
            ++text;
        }
        return text + length;
    }

    const char *m_next;
};

// The size that the 2.2 /proc/partitions states for a disk, 0 when it does not name it.
unsigned long long sizeInPartitions(zel::WholeFile &partitions, std::string_view shortName) {
    zel::LineWalk lines = partitions.lines(zel::DISK_LINE_LIMIT);
    while (const char *line = lines.next()) {
        unsigned long blocks = 0;
        char name[64];
        zel::scanPartitionSizeLine(line, blocks, name);
        if (shortName == name)
            return blocks / blocksPerSizeUnit;
    }
    return 0;
}

} // namespace

CSSList *CMM_IO_Info::fMGetIoStat_Lin26(int nPerf, int nPush) {
    return passOverLines(zel::diskstatsRules, nPerf, nPush);
}

CSSList *CMM_IO_Info::fMGetIoStat_Lin24(int nPerf, int nPush) {
    return passOverLines(zel::partitionsRules, nPerf, nPush);
}

CSSList *CMM_IO_Info::fMGetIoStat_Lin22(int nPerf, int nPush) {
    try {
        return passOverStat(nPerf, nPush);
    } catch (const std::bad_alloc &) {
        return abandonPass();
    }
}

CSSList *CMM_IO_Info::passOverStat(int nPerf, int nPush) {
    if (!textForm() && nPerf == 0)
        return takeInventory();
    if (!beginPass(nPush))
        return abandonPass();
    fMGetDevNames(1);
    char statText[statFileSize];
    if (CSSUtil::fFile2Buff("/proc/stat", statText, statFileSize) < 1)
        return abandonPass();
    return takeBlockCounters(statText, nPush) ? endPass(nPush) : abandonPass();
}

CSSList *CMM_IO_Info::takeInventory() {
    m_nNDevINV = 0;
    m_pclINVList->fSlDeleteAll();
    fMGetDevNames(0);
    m_pstNextNodeINV = m_pclINVList->fSlGetHeadNode();
    return m_pclINVList;
}

void CMM_IO_Info::emptyResultList() {
    m_pclList->fSlDeleteAll();
    m_pstNextNode = m_pclList->fSlGetHeadNode();
}

bool CMM_IO_Info::beginPass(int nPush) {
    m_nNDev = 0;
    if (!textForm()) {
        emptyResultList();
        return true;
    }
    return startTexts(nPush);
}

// A pass without result keeps nothing but its texts, for the pointers to them.
CSSList *CMM_IO_Info::abandonPass() {
    m_lastFound = nullptr; // without memory a pass ends in its middle
    releasePushRows();
    publishTexts();
    return nullptr;
}

CSSList *CMM_IO_Info::endPass(int nPush) {
    m_nInsertFirst = 1;
    if (!textForm())
        return m_pclList;
    if (m_nZELSkipChk == 0) {
        m_nZELSkipChk = 1;
        m_nDiskZELCnt = 0;
        startTexts(nPush);
        return abandonPass();
    }
    if (nPush >= 1 && !writePushTable())
        return abandonPass();
    releasePushRows();
    publishTexts();
    return m_pclList;
}

CSSList *CMM_IO_Info::passOverLines(const zel::DiskLineRules &rules, int nPerf, int nPush) {
    if (!textForm() && nPerf == 0)
        return takeInventory();
    try {
        if (!beginPass(nPush) || !m_counterFile.read(rules.file))
            return abandonPass();
        return takeLines(rules, nPush) ? endPass(nPush) : abandonPass();
    } catch (const std::bad_alloc &) {
        return abandonPass();
    }
}

bool CMM_IO_Info::takeLines(const zel::DiskLineRules &rules, int nPush) {
    const bool keyed = rules.keyedInTextForm && textForm();
    m_lastFound = m_pclList_Old->fSlGetHeadNode();
    m_lastKey = m_DiskMap.end();
    const bool complete = takeEachLine(rules, keyed, nPush);
    m_lastFound = nullptr;
    return complete;
}

bool CMM_IO_Info::takeEachLine(const zel::DiskLineRules &rules, bool keyed, int nPush) {
    _ST_DISKSTATS_ disk;
    _ST_COMPUTE_IO sample{};
    zel::LineWalk lines = m_counterFile.lines(zel::DISK_LINE_LIMIT);
    while (const char *line = lines.next()) {
        if (rules.isPartition(line))
            continue;
        if (rules.scan(line, disk) == zel::DISK_LINE_FIELDS) {
            if (rules.dropsName(disk.name))
                continue;
            const Outcome outcome = takeSample(disk, sample, keyed, nPush);
            if (outcome == Outcome::Failed)
                return false;
            if (outcome == Outcome::Remembered)
                continue;
        }
        if (countedBeyondLimit(++m_nNDev))
            break;
    }
    return true;
}

CMM_IO_Info::Outcome CMM_IO_Info::takeSample(const _ST_DISKSTATS_ &disk, _ST_COMPUTE_IO &sample, bool keyed,
                                             int nPush) {
    setDeviceName(sample.l_strDEVname, disk.name);
    sample.l_ulRead_B = disk.rd_sectors;
    sample.l_ulWrite_B = disk.wr_sectors;
    sample.l_ulRead_N = disk.rd_ios;
    sample.l_ulWrite_N = disk.wr_ios;
    sample.l_lTick = disk.ticks;
    if (keyed) {
        if (!computeKeyed(disk.name, sample))
            return Outcome::Remembered;
    } else {
        fMComputeIo26(&sample);
        fMSetOldCompIo(&sample);
    }
    if (textForm() && nPush < 1)
        waitBeforeRow();
    return emitResult(nPush) ? Outcome::Reported : Outcome::Failed;
}

// Whether the pass ends behind the disk that made `count`: consumers of the list get one disk more than the limit.
bool CMM_IO_Info::countedBeyondLimit(int count) const {
    return g_nDiskStrType == 0 && g_nDiskMaxGatherCnt >= 1 && count > g_nDiskMaxGatherCnt;
}

bool CMM_IO_Info::takeBlockCounters(const char *statText, int nPush) {
    DiskValues writeBlocks(statText, "disk_wblk ");
    DiskValues readBlocks(statText, "disk_rblk ");
    DiskValues writes(statText, "disk_wio ");
    DiskValues reads(statText, "disk_rio ");
    if (!writeBlocks.present() || !readBlocks.present() || !writes.present() || !reads.present())
        return true;
    m_partitionFile.read("/proc/partitions");
    for (int i = 0; i < m_nDevNameCount; ++i) {
        _ST_COMPUTE_IO sample{};
        const char *shortName = m_pstDevName[i].m_pstrName + deviceDirectory.size();
        setDeviceName(sample.l_strDEVname, shortName);
        sample.l_nTotSize = sizeInPartitions(m_partitionFile, shortName);
        sample.l_ulRead_B = readBlocks.take();
        sample.l_ulWrite_B = writeBlocks.take();
        sample.l_ulRead_N = reads.take();
        sample.l_ulWrite_N = writes.take();
        fMComputeIo(&sample);
        fMSetOldCompIo(&sample);
        if (!emitResult(nPush))
            return false;
        if (countedBeyondLimit(i + 1))
            break;
    }
    return true;
}

// Hands the rates in m_pstIO over in the form that is asked for; false when the pass has to end.
bool CMM_IO_Info::emitResult(int nPush) {
    zel::limitRates(*m_pstIO);
    if (!textForm())
        return insertResult();
    if (nPush < 1)
        return appendPollRow();
    collectPushRow();
    return true;
}

bool CMM_IO_Info::insertResult() {
    const bool inserted = m_pclList->fSlInsertFifo(m_pstIO, sizeof(*m_pstIO), nullptr) != nullptr;
    m_pstNextNode = m_pclList->fSlGetHeadNode();
    return inserted;
}

// The passes over the counters of each kernel generation.
#include "disk/MM_IO_Pass.h"

#include "NGFunctions.h"
#include "Settings.h"
#include "disk/MM_IO_Inventory.h"
#include "disk/MM_IO_Rates.h"
#include "disk/MM_IO_State.h"
#include "disk/MM_IO_Text.h"

#include <new>
#include <string_view>

namespace zel {

namespace {

constexpr int shortestWaitPeriod = 100;
constexpr int waitMicroseconds = 500000;

// The size that the 2.2 /proc/partitions states for a disk, 0 when it does not name it.
unsigned long long sizeInPartitions(WholeFile &partitions, std::string_view shortName) {
    LineWalk lines = partitions.lines(DISK_LINE_LIMIT);
    while (const char *line = lines.next()) {
        unsigned long blocks = 0;
        char name[64];
        scanPartitionSizeLine(line, blocks, name);
        if (shortName == name)
            return blocks / DISK_SIZE_UNIT;
    }
    return 0;
}

} // namespace

DiskForm diskForm(int performance, int push) {
    if (g_nDiskStrType == 1)
        return push < 1 ? DiskForm::Poll : DiskForm::Push;
    return performance == 0 ? DiskForm::Inventory : DiskForm::List;
}

DiskPass::DiskPass(CMM_IO_Info &disks, DiskState &state, DiskForm form)
    : m_disks(disks), m_state(state), m_form(form), m_named(*disks.m_pclList_Old), m_keyed(disks.m_DiskMap) {}

CSSList *DiskPass::overLines(const DiskLineRules &rules) {
    if (m_form == DiskForm::Inventory)
        return takeInventory();
    try {
        return begin() && m_state.lines.read(rules) && takeLines(rules) ? end() : abandon();
    } catch (const std::bad_alloc &) {
        return abandon();
    }
}

CSSList *DiskPass::overBlockCounters() {
    if (m_form == DiskForm::Inventory)
        return takeInventory();
    try {
        return begin() && takeBlockCounters() ? end() : abandon();
    } catch (const std::bad_alloc &) {
        return abandon();
    }
}

CSSList *DiskPass::takeInventory() {
    m_disks.m_nNDevINV = 0;
    m_disks.m_pclINVList->fSlDeleteAll();
    m_disks.fMGetDevNames(0);
    m_disks.m_pstNextNodeINV = m_disks.m_pclINVList->fSlGetHeadNode();
    return m_disks.m_pclINVList;
}

bool DiskPass::begin() {
    m_disks.m_nNDev = 0;
    if (textForm())
        return startText();
    m_disks.m_pclList->fSlDeleteAll();
    m_disks.m_pstNextNode = m_disks.m_pclList->fSlGetHeadNode();
    return true;
}

bool DiskPass::startText() {
    m_state.pushRows.clear();
    m_disks.m_stAllDiskList = nullptr;
    if (m_form == DiskForm::Poll)
        return startPollText(m_disks);
    const bool started = startPushText(m_disks);
    m_disks.m_stAllDiskList = m_state.pushRows.start(m_disks.m_nActiveSize);
    return started && m_disks.m_stAllDiskList != nullptr;
}

// Of a pass only its texts are left, for the pointers to them.
void DiskPass::close() {
    m_state.pushRows.clear();
    m_disks.m_stAllDiskList = nullptr;
    publishTexts(m_disks);
}

CSSList *DiskPass::abandon() {
    close();
    return nullptr;
}

CSSList *DiskPass::end() {
    m_disks.m_nInsertFirst = 1;
    if (!textForm())
        return m_disks.m_pclList;
    if (m_disks.m_nZELSkipChk == 0) {
        m_disks.m_nZELSkipChk = 1;
        startText(); // consumers find the header alone
        return abandon();
    }
    if (m_form == DiskForm::Push && !appendPushTable(m_disks, m_state.pushRows))
        return abandon();
    close();
    return m_disks.m_pclList;
}

bool DiskPass::takeLines(const DiskLineRules &rules) {
    const bool keyed = rules.keyedInTextForm && textForm();
    LineWalk lines = m_state.lines.lines();
    while (const DiskReading *disk = m_state.lines.next(lines)) {
        if (disk->kind == DiskLineKind::Ignored)
            continue;
        if (disk->kind == DiskLineKind::Disk) {
            const Outcome outcome = takeDisk(*disk, keyed);
            if (outcome == Outcome::Failed)
                return false;
            if (outcome == Outcome::Remembered)
                continue;
        }
        if (countedBeyondLimit(++m_disks.m_nNDev))
            break;
    }
    return true;
}

DiskPass::Outcome DiskPass::takeDisk(const DiskReading &disk, bool keyed) {
    setSample(m_sample, disk);
    if (!keyed)
        computeByName();
    else if (!computeByKey(disk.key))
        return Outcome::Remembered;
    if (m_form == DiskForm::Poll)
        spreadRows();
    return emitResult() ? Outcome::Reported : Outcome::Failed;
}

void DiskPass::computeByName() {
    _ST_COMPUTE_IO *old = m_named.find(m_sample.l_strDEVname);
    const DiskRates rates = old == nullptr ? DiskRates{} : ratesByName(m_sample, *old, m_disks.m_dElapsedTime);
    setResult(*m_disks.m_pstIO, m_sample, rates);
    m_named.keep(m_sample, old);
}

// False for the first sample of a disk, and for those of the collector's first pass: they are kept alone.
bool DiskPass::computeByKey(int key) {
    _ST_DISK_OLD_LIST *old = m_keyed.find(key);
    if (old == nullptr) {
        m_keyed.insert(key, m_sample);
        return false;
    }
    const bool known = m_disks.m_nInsertFirst != 0;
    if (known)
        setResult(*m_disks.m_pstIO, m_sample, ratesByKey(m_sample, *old, m_disks.m_dElapsedTime));
    KeyedSamples::keep(m_sample, *old);
    return known;
}

bool DiskPass::takeBlockCounters() {
    m_disks.fMGetDevNames(1);
    const FileText stat = m_state.statFile.read();
    if (!stat)
        return false;
    const char *statText = stat.text.data();
    DiskValues writeBlocks(statText, "disk_wblk ");
    DiskValues readBlocks(statText, "disk_rblk ");
    DiskValues writes(statText, "disk_wio ");
    DiskValues reads(statText, "disk_rio ");
    if (!writeBlocks.present() || !readBlocks.present() || !writes.present() || !reads.present())
        return true;
    m_state.partitionFile.read("/proc/partitions");
    for (int i = 0; i < m_disks.m_nDevNameCount; ++i) {
        const char *shortName = m_disks.m_pstDevName[i].m_pstrName + DEVICE_DIRECTORY.size();
        setDeviceName(m_sample.l_strDEVname, shortName);
        m_sample.l_nTotSize = sizeInPartitions(m_state.partitionFile, shortName);
        m_sample.l_ulRead_B = readBlocks.take();
        m_sample.l_ulWrite_B = writeBlocks.take();
        m_sample.l_ulRead_N = reads.take();
        m_sample.l_ulWrite_N = writes.take();
        computeBlocks();
        if (!emitResult())
            return false;
        if (countedBeyondLimit(i + 1))
            break;
    }
    return true;
}

void DiskPass::computeBlocks() {
    _ST_COMPUTE_IO *old = m_named.find(m_sample.l_strDEVname);
    const DiskRates rates = old == nullptr ? DiskRates{} : ratesOfBlocks(m_sample, *old, m_disks.m_dElapsedTime);
    setResult(*m_disks.m_pstIO, m_sample, rates);
    m_named.keep(m_sample, old);
}

// Spreads a pass over very many disks. The first row is waited for as well: 0 is a multiple of the period.
void DiskPass::spreadRows() const {
    if (g_nDiskWaitFlag >= shortestWaitPeriod && m_disks.m_nDiskZELCnt % g_nDiskWaitFlag == 0)
        fgUSleep(waitMicroseconds);
}

// Hands the rates in m_pstIO over in the form that is asked for; false when the pass has to end.
bool DiskPass::emitResult() {
    limitRates(*m_disks.m_pstIO);
    switch (m_form) {
    case DiskForm::Poll:
        return appendPollRow(m_disks);
    case DiskForm::Push:
        m_state.pushRows.add(*m_disks.m_pstIO);
        return true;
    default:
        return insertResult();
    }
}

bool DiskPass::insertResult() {
    const bool inserted =
        m_disks.m_pclList->fSlInsertFifo(m_disks.m_pstIO, sizeof(*m_disks.m_pstIO), nullptr) != nullptr;
    m_disks.m_pstNextNode = m_disks.m_pclList->fSlGetHeadNode();
    return inserted;
}

} // namespace zel

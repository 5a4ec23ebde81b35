// The push report: a list of all processes, of which the busiest by CPU, memory and I/O are reported.
#include "MM_PROC_Scan.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int capacityMargin = 1000;
constexpr int countThatKeepsCapacity = 9000; // below it the capacity returns to its first value

const ST_PROCALL_LIST &entryAt(const void *element) {
    return **static_cast<const ST_PROCALL_LIST *const *>(element);
}

// For qsort: the higher value first.
template<class Number> int highestFirst(Number left, Number right) {
    return static_cast<int>(left < right) - static_cast<int>(left > right);
}

const _ST_PROC &processAt(const void *record) {
    return *static_cast<const _ST_PROC *>(record);
}

template<std::size_t size> void copyUsed(char (&destination)[size], const char (&source)[size]) {
    std::memcpy(destination, source, strnlen(source, size - 1));
}

void copyProcess(ST_PROCALL_LIST &entry, const _ST_PROC &process) {
    copyUsed(entry.l_strPname, process.l_strPname);
    copyUsed(entry.l_strUname, process.l_strUname);
    copyUsed(entry.l_strFName, process.l_strFName);
    entry.l_nPid = process.l_nPid;
    entry.l_nPPid = process.l_nPPid;
    entry.l_nNice = process.l_nNice;
    entry.l_nPriority = process.l_nPriority;
    entry.l_chStatus = process.l_chStatus;
    entry.l_ulVSZ = process.l_ulVSZ;
    entry.l_ulRSS = process.l_ulRSS;
    entry.l_dPCPU = process.l_dPCPU;
    entry.l_dPMEM = process.l_dPMEM;
    entry.l_nThreads = process.l_nThreads;
    entry.l_nCTime = process.l_nCTime;
    entry.l_nUTime = process.l_nUTime;
    entry.l_nSTime = process.l_nSTime;
    entry.l_nStart = process.l_nStart;
    entry.l_nIsUpNow = process.l_nIsUpNow;
    entry.l_uPSid = process.l_uPSid;
    entry.l_dPUserCpu = process.l_dPUserCpu;
    entry.l_dPSysCpu = process.l_dPSysCpu;
    entry.l_dIOByte = process.l_dIOByte;
    entry.l_dIOByteRate = process.l_dIOByteRate;
    entry.l_dIOByteCom = process.l_dIOByteCom;
}

ST_PROCALL_LIST *newEntry() {
    return static_cast<ST_PROCALL_LIST *>(std::calloc(1, sizeof(ST_PROCALL_LIST)));
}

// Adds the first entries of one order whose figure is above 0 to the top processes. Processes that are equal keep the
// order that they had before.
template<class Figure> void takeTop(zel::ProcessScan &scan, int (*compare)(const void *, const void *), Figure figure) {
    CMM_PROC_Info &collector = scan.collector;
    ST_PROCALL_LIST **list = collector.m_stAllProcList;
    std::stable_sort(list, list + scan.pushEntries,
                     [compare](const ST_PROCALL_LIST *left, const ST_PROCALL_LIST *right) {
                         return compare(static_cast<const void *>(&left), static_cast<const void *>(&right)) < 0;
                     });
    const int considered = std::min(PROC_TOP_ENTRIES, scan.pushEntries);
    for (int i = 0; i < considered; ++i) {
        if (!(list[i]->*figure > 0) || collector.m_ProcTopMap.contains(list[i]->l_nPid))
            continue;
        std::unique_ptr<ST_PROCALL_LIST, zel::FreeDeleter> top(newEntry());
        if (top == nullptr || collector.fMTopProcNew(top.get(), i) == 0)
            continue;
        collector.m_ProcTopMap.emplace(top->l_nPid, top.get());
        top.release();
    }
}

} // namespace

bool zel::startPushList(CMM_PROC_Info &collector) {
    const auto capacity = static_cast<std::size_t>(std::max(collector.m_nActiveSize, 1));
    collector.m_stAllProcList = static_cast<ST_PROCALL_LIST **>(std::calloc(capacity, sizeof(ST_PROCALL_LIST *)));
    return collector.m_stAllProcList != nullptr;
}

void zel::addToPushList(ProcessScan &scan, float machinePercent) {
    CMM_PROC_Info &collector = scan.collector;
    if (collector.m_nActiveSize < scan.count || collector.m_nActiveSize <= scan.pushEntries)
        return;
    ST_PROCALL_LIST *entry = newEntry();
    if (entry == nullptr)
        return;
    copyProcess(*entry, scan.scratch.record);
    entry->l_f100CPU = machinePercent;
    collector.m_stAllProcList[scan.pushEntries++] = entry;
}

void zel::writeTopRows(ProcessScan &scan) {
    takeTop(scan, CMM_PROC_Info::compare_allcpu, &ST_PROCALL_LIST::l_dPCPU);
    takeTop(scan, CMM_PROC_Info::compare_allmem, &ST_PROCALL_LIST::l_dPMEM);
    takeTop(scan, CMM_PROC_Info::compare_allio, &ST_PROCALL_LIST::l_dIOByteRate);

    int index = 0;
    for (const auto &[pid, process] : scan.collector.m_ProcTopMap) {
        const std::string_view name = process->l_strPname;
        scan.row.reserveRoom(name.size() + PERF_ROW_ROOM);
        scan.row.clear();
        writeRow(scan.row, ProcessColumns::Extended,
                 ProcessRow<ST_PROCALL_LIST>{*process, name, index++, process->l_nCTime, process->l_f100CPU});
        appendRow(scan);
    }
    scan.row.clear();
}

void zel::adaptPushCapacity(CMM_PROC_Info &collector, int count) {
    if (count > collector.m_nActiveSize)
        collector.m_nActiveSize = count + capacityMargin;
    if (count < countThatKeepsCapacity)
        collector.m_nActiveSize = PROC_PUSH_CAPACITY;
}

void zel::freePushList(CMM_PROC_Info &collector) {
    for (auto &[pid, process] : collector.m_ProcTopMap)
        std::free(process);
    collector.m_ProcTopMap.clear();
    if (collector.m_stAllProcList == nullptr)
        return;
    for (int i = 0; i < collector.m_nActiveSize && collector.m_stAllProcList[i] != nullptr; ++i)
        std::free(collector.m_stAllProcList[i]);
    std::free(collector.m_stAllProcList);
    collector.m_stAllProcList = nullptr;
}

int CMM_PROC_Info::fMTopProcNew(ST_PROCALL_LIST *dst, int index) {
    if (m_stAllProcList == nullptr || index < 0 || index >= m_nActiveSize || m_stAllProcList[index] == nullptr)
        return 0;
    *dst = *m_stAllProcList[index];
    return 1;
}

int CMM_PROC_Info::compare_allcpu(const void *left, const void *right) {
    return highestFirst(entryAt(left).l_dPCPU, entryAt(right).l_dPCPU);
}

int CMM_PROC_Info::compare_allmem(const void *left, const void *right) {
    return highestFirst(entryAt(left).l_dPMEM, entryAt(right).l_dPMEM);
}

int CMM_PROC_Info::compare_allio(const void *left, const void *right) {
    return highestFirst(entryAt(left).l_dIOByteRate, entryAt(right).l_dIOByteRate);
}

int CMM_PROC_Info::fCMPProcName(const void *left, const void *right) {
    return std::strncmp(processAt(left).l_strPname, processAt(right).l_strPname, PROC_NAME_SIZE) > 0;
}

int CMM_PROC_Info::fCMPProcCpu(const void *left, const void *right) {
    return processAt(left).l_dPCPU > processAt(right).l_dPCPU;
}

int CMM_PROC_Info::fCMPProcPid(const void *left, const void *right) {
    return processAt(left).l_nPid == processAt(right).l_nPid;
}

int CMM_PROC_Info::fCMPProcIsUpNow(const void *left, const void *right) {
    return processAt(left).l_nIsUpNow == processAt(right).l_nIsUpNow;
}

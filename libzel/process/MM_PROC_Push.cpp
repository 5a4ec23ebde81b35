// The push report: the busiest processes by CPU, memory and I/O.
#include "process/MM_PROC_Scan.h"
#include "records/PushCapacity.h"
#include "records/TopList.h"
#include "text/FixedText.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <vector>

namespace {

constexpr int countThatKeepsCapacity = 9000;
static_assert(PROC_PUSH_CAPACITY == zel::PUSH_CAPACITY);

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

void copyProcess(ST_PROCALL_LIST &entry, const _ST_PROC &process) {
    zel::copyText(entry.l_strPname, sizeof(entry.l_strPname), process.l_strPname);
    zel::copyText(entry.l_strUname, sizeof(entry.l_strUname), process.l_strUname);
    zel::copyText(entry.l_strFName, sizeof(entry.l_strFName), process.l_strFName);
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

using Compare = int (*)(const void *, const void *);

// The orders of the report. Processes that are equal in one come in the order before it, and in the first as they were
// listed.
constexpr Compare orders[] = {CMM_PROC_Info::compare_allcpu, CMM_PROC_Info::compare_allmem,
                              CMM_PROC_Info::compare_allio};
constexpr std::size_t orderCount = std::size(orders);
constexpr std::size_t longestList = orderCount * PROC_TOP_ENTRIES + 1; // with the process that is being offered

// A process of the list and the number of orders in which it is among the first.
struct PushEntry {
    ST_PROCALL_LIST process;
    int places;
};

PushEntry *entryOf(ST_PROCALL_LIST *process) {
    return reinterpret_cast<PushEntry *>(process); // its first member
}

bool precedes(std::size_t order, const PushEntry *left, const PushEntry *right) {
    const ST_PROCALL_LIST *first = &left->process;
    const ST_PROCALL_LIST *second = &right->process;
    for (std::size_t i = order + 1; i-- > 0;) {
        if (const int result = orders[i](static_cast<const void *>(&first), static_cast<const void *>(&second)))
            return result < 0;
    }
    return false;
}

} // namespace

// What the push scans of a collector share. The list holds those processes that can still be reported, which are few
// however many there are, so that their records and the nodes of the report are kept for the scans to come.
class zel::PushList {
public:
    using Reported = std::map<int, ST_PROCALL_LIST *>;

    explicit PushList(int capacity)
        : m_capacity(capacity),
          m_list(static_cast<ST_PROCALL_LIST **>(std::calloc(static_cast<std::size_t>(capacity), sizeof(void *)))) {
        m_spareNodes.reserve(longestList);
    }

    ~PushList() {
        for (int i = 0; i < m_length; ++i)
            std::free(m_list.get()[i]);
    }

    PushList(const PushList &) = delete;
    PushList &operator=(const PushList &) = delete;

    int capacity() const { return m_capacity; }
    ST_PROCALL_LIST **list() const { return m_list.get(); }

    // Empties the orders.
    void start() {
        m_spareCount = 0;
        for (int i = 0; i < m_length; ++i)
            m_spare[m_spareCount++] = entryOf(m_list.get()[i]);
        for (auto &order : m_first)
            order.clear();
    }

    // An entry to be offered; null without memory.
    PushEntry *take() {
        if (m_spareCount > 0)
            return m_spare[--m_spareCount];
        auto *entry = static_cast<PushEntry *>(std::calloc(1, sizeof(PushEntry)));
        if (entry != nullptr)
            m_list.get()[m_length++] = &entry->process;
        return entry;
    }

    // Ranks an entry by its figures: false, and it is spare again, when it is among the first of no order.
    bool offer(PushEntry *entry) {
        entry->places = orderCount;
        for (std::size_t order = 0; order < orderCount; ++order) {
            PushEntry *left = m_first[order].offer(
                entry, [order](const PushEntry *one, const PushEntry *other) { return precedes(order, one, other); });
            if (left != nullptr && --left->places == 0)
                m_spare[m_spareCount++] = left;
        }
        return entry->places > 0;
    }

    // Adds the first entries of one order whose figure is above 0 to the report.
    template<class Figure> void report(std::size_t order, Figure figure, Reported &reported) {
        for (PushEntry *entry : m_first[order]) {
            ST_PROCALL_LIST &process = entry->process;
            if (!(process.*figure > 0) || reported.contains(process.l_nPid))
                continue;
            if (m_spareNodes.empty()) {
                reported.emplace(process.l_nPid, &process);
                continue;
            }
            Reported::node_type node = std::move(m_spareNodes.back());
            m_spareNodes.pop_back();
            node.key() = process.l_nPid;
            node.mapped() = &process;
            reported.insert(std::move(node));
        }
    }

    // Empties the report.
    void takeBack(Reported &reported) {
        while (!reported.empty() && m_spareNodes.size() < m_spareNodes.capacity())
            m_spareNodes.push_back(reported.extract(reported.begin()));
        reported.clear();
    }

private:
    int m_capacity;
    int m_length = 0;
    std::unique_ptr<ST_PROCALL_LIST *, FreeDeleter> m_list;
    std::array<PushEntry *, longestList> m_spare;
    std::size_t m_spareCount = 0;
    TopList<PushEntry, PROC_TOP_ENTRIES> m_first[orderCount];
    std::vector<Reported::node_type> m_spareNodes;
};

void zel::PushListFree::operator()(PushList *list) const {
    delete list;
}

bool zel::startPushList(CMM_PROC_Info &collector) {
    const int capacity = std::max(collector.m_nActiveSize, 1);
    if (collector.m_pushList == nullptr || collector.m_pushList->capacity() != capacity) {
        collector.m_pushList.reset();
        collector.m_pushList.reset(new PushList(capacity));
    }
    collector.m_stAllProcList = collector.m_pushList->list();
    if (collector.m_stAllProcList == nullptr) {
        collector.m_pushList.reset();
        return false;
    }
    collector.m_pushList->start();
    return true;
}

void zel::addToPushList(ProcessScan &scan, float machinePercent) {
    CMM_PROC_Info &collector = scan.collector;
    if (collector.m_nActiveSize < scan.count || collector.m_nActiveSize <= scan.pushEntries)
        return;
    PushEntry *entry = collector.m_pushList->take();
    if (entry == nullptr)
        return;
    ++scan.pushEntries;
    const _ST_PROC &process = scan.scratch.record;
    entry->process.l_dPCPU = process.l_dPCPU;
    entry->process.l_dPMEM = process.l_dPMEM;
    entry->process.l_dIOByteRate = process.l_dIOByteRate;
    if (!collector.m_pushList->offer(entry))
        return;
    copyProcess(entry->process, process);
    entry->process.l_f100CPU = machinePercent;
}

void zel::writeTopRows(ProcessScan &scan) {
    PushList &list = *scan.collector.m_pushList;
    PushList::Reported &reported = scan.collector.m_ProcTopMap;
    list.report(0, &ST_PROCALL_LIST::l_dPCPU, reported);
    list.report(1, &ST_PROCALL_LIST::l_dPMEM, reported);
    list.report(2, &ST_PROCALL_LIST::l_dIOByteRate, reported);

    int index = 0;
    for (const auto &[pid, process] : reported) {
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
    collector.m_nActiveSize =
        nextPushCapacity(collector.m_nActiveSize, count, count > collector.m_nActiveSize, countThatKeepsCapacity);
}

void zel::endPushList(CMM_PROC_Info &collector) {
    if (collector.m_pushList != nullptr)
        collector.m_pushList->takeBack(collector.m_ProcTopMap);
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

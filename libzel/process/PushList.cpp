// Ranks the processes of a push scan.
#include "process/PushList.h"

#include "text/FixedText.h"

#include <cstdlib>
#include <iterator>
#include <utility>

namespace {

using Compare = int (*)(const void *, const void *);

// The orders of the report. Processes that are equal in one come in the order before it, and in the first as they were
// listed.
constexpr Compare orders[] = {CMM_PROC_Info::compare_allcpu, CMM_PROC_Info::compare_allmem,
                              CMM_PROC_Info::compare_allio};

void copyProcess(ST_PROCALL_LIST &entry, const _ST_PROC &process) {
    zel::copyText(entry.l_strPname, process.l_strPname);
    zel::copyText(entry.l_strUname, process.l_strUname);
    zel::copyText(entry.l_strFName, process.l_strFName);
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

} // namespace

// A process of the list and the number of orders in which it is among the first.
struct zel::PushList::Entry {
    ST_PROCALL_LIST process;
    int places;

    static Entry *of(ST_PROCALL_LIST *process) { return reinterpret_cast<Entry *>(process); } // its first member
};

zel::PushList::PushList(int capacity)
    : m_capacity(capacity),
      m_list(static_cast<ST_PROCALL_LIST **>(std::calloc(static_cast<std::size_t>(capacity), sizeof(void *)))) {
    static_assert(std::size(orders) == orderCount);
    m_spareNodes.reserve(longestList);
}

zel::PushList::~PushList() {
    for (int i = 0; i < m_length; ++i)
        std::free(m_list.get()[i]);
}

void zel::PushList::start() {
    m_spareCount = 0;
    for (int i = 0; i < m_length; ++i)
        m_spare[m_spareCount++] = Entry::of(m_list.get()[i]);
    for (auto &order : m_first)
        order.clear();
}

bool zel::PushList::precedes(std::size_t order, const Entry *left, const Entry *right) {
    const ST_PROCALL_LIST *first = &left->process;
    const ST_PROCALL_LIST *second = &right->process;
    for (std::size_t i = order + 1; i-- > 0;) {
        if (const int result = orders[i](static_cast<const void *>(&first), static_cast<const void *>(&second)))
            return result < 0;
    }
    return false;
}

// An entry to be offered; null without memory.
zel::PushList::Entry *zel::PushList::spareEntry() {
    if (m_spareCount > 0)
        return m_spare[--m_spareCount];
    auto *entry = static_cast<Entry *>(std::calloc(1, sizeof(Entry)));
    if (entry != nullptr)
        m_list.get()[m_length++] = &entry->process;
    return entry;
}

// Ranks an entry by its figures: false, and it is spare again, when it is among the first of no order.
bool zel::PushList::rank(Entry *entry) {
    entry->places = orderCount;
    for (std::size_t order = 0; order < orderCount; ++order) {
        Entry *left = m_first[order].offer(
            entry, [order](const Entry *one, const Entry *other) { return precedes(order, one, other); });
        if (left != nullptr && --left->places == 0)
            m_spare[m_spareCount++] = left;
    }
    return entry->places > 0;
}

bool zel::PushList::offer(const _ST_PROC &process, float machinePercent) {
    Entry *entry = spareEntry();
    if (entry == nullptr)
        return false;
    entry->process.l_dPCPU = process.l_dPCPU;
    entry->process.l_dPMEM = process.l_dPMEM;
    entry->process.l_dIOByteRate = process.l_dIOByteRate;
    if (rank(entry)) {
        copyProcess(entry->process, process);
        entry->process.l_f100CPU = machinePercent;
    }
    return true;
}

template<class Figure> void zel::PushList::reportFirst(std::size_t order, Figure figure, Reported &reported) {
    for (Entry *entry : m_first[order]) {
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

void zel::PushList::report(Reported &reported) {
    reportFirst(0, &ST_PROCALL_LIST::l_dPCPU, reported);
    reportFirst(1, &ST_PROCALL_LIST::l_dPMEM, reported);
    reportFirst(2, &ST_PROCALL_LIST::l_dIOByteRate, reported);
}

void zel::PushList::takeBack(Reported &reported) {
    while (!reported.empty() && m_spareNodes.size() < m_spareNodes.capacity())
        m_spareNodes.push_back(reported.extract(reported.begin()));
    reported.clear();
}

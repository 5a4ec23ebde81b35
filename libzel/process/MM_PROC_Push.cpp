// The push list of one scan and the rows that come of it.
#include "process/MM_PROC_Push.h"

#include "process/MM_PROC_Rows.h"
#include "process/PushList.h"
#include "records/PushCapacity.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr int countThatKeepsCapacity = 9000;
static_assert(PROC_PUSH_CAPACITY == zel::PUSH_CAPACITY);

} // namespace

zel::PushPass::~PushPass() {
    if (m_list != nullptr)
        m_list->takeBack(m_collector.m_ProcTopMap);
    m_collector.m_stAllProcList = nullptr;
}

bool zel::PushPass::start() {
    const int capacity = std::max(m_collector.m_nActiveSize, 1);
    if (m_list == nullptr || m_list->capacity() != capacity) {
        m_list.reset();
        m_list = std::make_unique<PushList>(capacity);
    }
    m_collector.m_stAllProcList = m_list->list();
    if (m_collector.m_stAllProcList == nullptr) {
        m_list.reset();
        return false;
    }
    m_list->start();
    return true;
}

void zel::PushPass::add(const _ST_PROC &process, float machinePercent, int counted) {
    if (m_collector.m_nActiveSize < counted || m_collector.m_nActiveSize <= m_entries)
        return;
    m_entries += m_list->offer(process, machinePercent) ? 1 : 0;
}

void zel::PushPass::finish(ProcessText &text) {
    PushList::Reported &reported = m_collector.m_ProcTopMap;
    m_list->report(reported);

    int index = 0;
    for (const auto &[pid, process] : reported) {
        const std::string_view name = process->l_strPname;
        text.row.reserveRoom(name.size() + PERF_ROW_ROOM);
        text.row.clear();
        writeRow(text.row, ProcessColumns::Extended,
                 ProcessRow<ST_PROCALL_LIST>{*process, name, index++, process->l_nCTime, process->l_f100CPU});
        text.appendRow();
    }
    text.row.clear();
    int &capacity = m_collector.m_nActiveSize;
    capacity = nextPushCapacity(capacity, text.count, text.count > capacity, countThatKeepsCapacity);
}

int CMM_PROC_Info::fMTopProcNew(ST_PROCALL_LIST *dst, int index) {
    if (m_stAllProcList == nullptr || index < 0 || index >= m_nActiveSize || m_stAllProcList[index] == nullptr)
        return 0;
    *dst = *m_stAllProcList[index];
    return 1;
}

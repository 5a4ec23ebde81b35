// The push report: the busiest processes by CPU, memory and I/O.
#pragma once

#include "process/ProcessState.h"
#include "process/ProcessText.h"

namespace zel {

/// The push list of one scan, to which the public m_stAllProcList and m_ProcTopMap point. It is emptied with the scan,
/// however that ends, and kept for the next one.
class PushPass {
public:
    PushPass(CMM_PROC_Info &collector, ProcessState &state) : m_collector(collector), m_list(state.pushList) {}
    ~PushPass();

    PushPass(const PushPass &) = delete;
    PushPass &operator=(const PushPass &) = delete;

    /// Empties the list, which is allocated by the first push scan. False without memory.
    bool start();
    /// Takes a process into the list unless that is full. `counted` is the number of processes before it.
    void add(const _ST_PROC &process, float machinePercent, int counted);
    /// Appends the rows of the busiest processes and sets the capacity for the next scan.
    void finish(ProcessText &text);

private:
    CMM_PROC_Info &m_collector;
    std::unique_ptr<PushList> &m_list;
    int m_entries = 0; // processes offered to the list
};

} // namespace zel

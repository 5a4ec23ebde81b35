// The collectors, and a task for every text that they give.
#pragma once

#include "Zel.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace agent {

/// A task samples one collector every so often.
struct Task {
    const char *name;
    std::chrono::seconds cycle;
    std::function<const char *()> sample; // null when there is no text, as for the first sample of a rate
    std::chrono::steady_clock::time_point due{};
};

/// Texts belong to their collectors until the next sample. A rate covers the time since the previous sample of its
/// object: poll and push texts have objects of their own. Used by one thread.
class Sampling {
public:
    using Taker = std::function<void(const char *name, const char *text)>;

    /// Every task has a multiple of the base cycle.
    explicit Sampling(std::chrono::seconds baseCycle);

    /// Samples every task that is due and gives its text, which may be null, to `take`. Ends early when the agent is to
    /// stop.
    void pass(const Taker &take);

private:
    void add(const char *name, int cycles, std::function<const char *()> sample);
    void addProcessorTasks();
    void addMemoryTasks();
    void addDiskTasks();
    void addNetworkTasks();
    void addAdapterTasks();
    void addProcessTasks();
    void addFilesystemTasks();
    void addInventoryTasks();

    std::chrono::seconds m_baseCycle;
    std::vector<Task> m_tasks;
    std::string m_loadText; // load averages have no text of their own

    CMM_CPU_Info m_cpu;
    CMM_CPU_Info m_cpuPush;
    CMM_LA_Info m_load;
    CMM_MEM_Info m_memory;
    CMM_VM_Info m_vm;
    CMM_IO_Info m_disk;
    CMM_IO_Info m_diskPush;
    CMM_NWT_Info m_network;
    CMM_NWT_Info m_networkPush;
    CMM_HBA_Info m_hba;
    CMM_GPU_Info m_gpu;
    CMM_PROC_Info m_process;
    CMM_PROC_Info m_processPush;
    CMM_FS_Info m_filesystem;
};

} // namespace agent

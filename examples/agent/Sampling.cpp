// One task per text: what is called, how often, and when there is a text.
#include "Sampling.h"

#include "Signals.h"

#include <charconv>
#include <utility>

namespace agent {

namespace {

// Samples the processes and forgets those that have ended.
const char *sampleProcesses(CMM_PROC_Info &processes, int mode) {
    processes.fProcMapUpdate();
    const char *text = processes.fMGetProc(mode);
    processes.fProcMapErase();
    return text;
}

// Six decimals with a point, in every locale.
std::string decimal(double value) {
    char text[400]; // takes the largest double
    const auto result = std::to_chars(text, text + sizeof(text), value, std::chars_format::fixed, 6);
    return {text, result.ptr};
}

const char *sampleLoad(CMM_LA_Info &load, std::string &text) {
    const double *averages = load.fMGetLoadAvg();
    if (averages == nullptr)
        return nullptr;
    text.clear();
    for (int i = 0; i < 3; ++i)
        text += decimal(averages[i]) + ' ';
    return text.c_str();
}

// The first inventory, and every one after a change.
const char *sampleDiskInventory(CMM_IO_Info &disk) {
    const bool isNews = disk.fDiskChangeCheck() == 1 || disk.m_nDiskINVCnt == 0;
    if (!isNews || disk.fGetDiskINV() != 1)
        return nullptr;
    return disk.m_pStrDiskINV;
}

const char *sampleInterfaceInventory(CMM_NWT_Info &network) {
    const bool isNews = network.fInterfaceChangeCheck() == 1 || network.m_nInterfaceINVCnt == 0;
    if (!isNews || network.fGetInterfaceINV() != 1)
        return nullptr;
    return network.m_pStrInterfaceINV;
}

} // namespace

Sampling::Sampling(std::chrono::seconds baseCycle) : m_baseCycle(baseCycle) {
    addProcessorTasks();
    addMemoryTasks();
    addDiskTasks();
    addNetworkTasks();
    addAdapterTasks();
    addProcessTasks();
    addFilesystemTasks();
    addInventoryTasks();
}

void Sampling::pass(const Taker &take) {
    for (Task &task : m_tasks) {
        const auto now = std::chrono::steady_clock::now();
        if (now < task.due)
            continue;
        if (isStopRequested())
            return;
        // Keeps its beat; after a delay of a whole cycle it starts a new one.
        const bool isLate = now - task.due >= task.cycle;
        task.due = (isLate ? now : task.due) + task.cycle;
        take(task.name, task.sample());
    }
}

void Sampling::add(const char *name, int cycles, std::function<const char *()> sample) {
    m_tasks.push_back({name, cycles * m_baseCycle, std::move(sample)});
}

void Sampling::addProcessorTasks() {
    add("cpu", 1, [this] { return m_cpu.fMGetCpu() != nullptr ? m_cpu.m_pStrCpuZEL : nullptr; });
    add("cpu.push", 1,
        [this] { return m_cpuPush.fMGetPushCpu() != nullptr ? m_cpuPush.m_pRealTimeStrCpuZEL : nullptr; });
    add("load", 1, [this] { return sampleLoad(m_load, m_loadText); });
}

void Sampling::addMemoryTasks() {
    add("memory.push", 1, [this] { return m_memory.fPushGatherMem() == 1 ? m_memory.m_pStrRealTimeMemZEL : nullptr; });
    add("vm.push", 1, [this] { return m_vm.fMVelmorGetPage(1) != nullptr ? m_vm.m_pStrRealTimePageZEL : nullptr; });
}

void Sampling::addDiskTasks() {
    add("disk", 1, [this] { return m_disk.fMGetIoStat(0, 1, 0) != nullptr ? m_disk.m_pstrPollDiskInfo : nullptr; });
    add("disk.push", 1,
        [this] { return m_diskPush.fMGetIoStat(0, 1, 1) != nullptr ? m_diskPush.m_pstrPushDiskInfo : nullptr; });
}

void Sampling::addNetworkTasks() {
    add("network", 1,
        [this] { return m_network.fMGetVelmorNetworkStat(0) != nullptr ? m_network.m_pstrNetworkInfo : nullptr; });
    add("network.push", 1, [this] {
        return m_networkPush.fMGetVelmorNetworkStat(1) != nullptr ? m_networkPush.m_pstrNetworkInfo : nullptr;
    });
}

void Sampling::addAdapterTasks() {
    add("hba", 1, [this] {
        m_hba.fGatherHBAZel();
        return m_hba.m_nHBACount > 0 ? m_hba.m_const_pstrHBAZelInfo : nullptr;
    });
    add("gpu", 1, [this] {
        m_gpu.fGatherGPUZel();
        return m_gpu.m_stringGpuZel.c_str();
    });
}

void Sampling::addProcessTasks() {
    add("process", 2, [this] { return sampleProcesses(m_process, 0); });
    add("process.push", 2, [this] { return sampleProcesses(m_processPush, 1); });
    add("process.now", 4, [this] { return m_process.fMGetRealProc(); });
}

void Sampling::addFilesystemTasks() {
    add("filesystem", 12, [this] { return m_filesystem.fGetFileSystem() > 0 ? m_filesystem.fGetFSInfo() : nullptr; });
}

void Sampling::addInventoryTasks() {
    // The scheduler writes the inventories in the background; the tasks below read what is there.
    add("inventory", 120, [this]() -> const char * {
        m_cpu.fCommandINV(0);
        m_disk.fCommandINV(1);
        m_network.fCommandINV(1);
        return nullptr;
    });
    add("inventory.cpu", 12, [this] { return m_cpu.fGetCpuINV() == 1 ? m_cpu.m_pStrCpuINV : nullptr; });
    add("inventory.disk", 1, [this] { return sampleDiskInventory(m_disk); });
    add("inventory.interface", 1, [this] { return sampleInterfaceInventory(m_network); });
}

} // namespace agent

// The collectors and a task for every text that they give.
#pragma once

#include "Zel.h"

#include <chrono>
#include <functional>
#include <vector>

struct Task {
    const char *name;
    std::chrono::seconds cycle;
    std::function<const char *()> sample; // null when there is no text, as for the first sample of a rate
    std::chrono::steady_clock::time_point due{};
};

/// Every task has a multiple of the cycle `base`, in seconds. Texts belong to their collectors until the next sample. A
/// rate covers the time since the previous sample of its object: poll and push texts have objects of their own.
struct Sampling {
    std::vector<Task> tasks;

    explicit Sampling(int base) {
        const auto every = [&](int cycles, const char *name, auto sample) {
            tasks.push_back({name, std::chrono::seconds(cycles * base), sample});
        };
        every(1, "cpu", [this] { return cpu.fMGetCpu() ? cpu.m_pStrCpuZEL : nullptr; });
        every(1, "cpu.push", [this] { return cpuPush.fMGetPushCpu() ? cpuPush.m_pRealTimeStrCpuZEL : nullptr; });
        every(1, "load", [this, text = std::string()]() mutable { // has no text of its own
            const double *average = load.fMGetLoadAvg();
            for (text.clear(); average != nullptr && average < load.m_pdLoadAvg + 3; ++average)
                text += std::to_string(*average) + ' ';
            return text.c_str();
        });
        every(1, "memory.push", [this] { return memory.fPushGatherMem() ? memory.m_pStrRealTimeMemZEL : nullptr; });
        every(1, "vm.push", [this] { return vm.fMVelmorGetPage(1) ? vm.m_pStrRealTimePageZEL : nullptr; });
        every(1, "disk", [this] { return disk.fMGetIoStat(0, 1, 0) ? disk.m_pstrPollDiskInfo : nullptr; });
        every(1, "disk.push", [this] { return diskPush.fMGetIoStat(0, 1, 1) ? diskPush.m_pstrPushDiskInfo : nullptr; });
        every(1, "network", [this] { return net.fMGetVelmorNetworkStat(0) ? net.m_pstrNetworkInfo : nullptr; });
        every(1, "network.push",
              [this] { return netPush.fMGetVelmorNetworkStat(1) ? netPush.m_pstrNetworkInfo : nullptr; });
        every(1, "hba", [this] { return hba.fGatherHBAZel(), hba.m_nHBACount ? hba.m_const_pstrHBAZelInfo : nullptr; });
        every(1, "gpu", [this] { return gpu.fGatherGPUZel(), gpu.m_stringGpuZel.c_str(); });
        every(2, "process", [this] { return processText(process, 0); });
        every(2, "process.push", [this] { return processText(processPush, 1); });
        every(4, "process.now", [this] { return process.fMGetRealProc(); });
        every(12, "filesystem", [this] { return fs.fGetFileSystem() > 0 ? fs.fGetFSInfo() : nullptr; });
        every(120, "inventory", [this]() -> const char * { // written in the background by the scheduler
            cpu.fCommandINV(0);
            disk.fCommandINV(1);
            net.fCommandINV(1);
            return nullptr;
        });
        every(12, "inventory.cpu", [this] { return cpu.fGetCpuINV() == 1 ? cpu.m_pStrCpuINV : nullptr; });
        every(1, "inventory.disk", [this] {
            const bool news = disk.fDiskChangeCheck() == 1 || disk.m_nDiskINVCnt == 0; // the first one, or a change
            return news && disk.fGetDiskINV() == 1 ? disk.m_pStrDiskINV : nullptr;
        });
        every(1, "inventory.interface", [this] {
            const bool news = net.fInterfaceChangeCheck() == 1 || net.m_nInterfaceINVCnt == 0;
            return news && net.fGetInterfaceINV() == 1 ? net.m_pStrInterfaceINV : nullptr;
        });
    }

private:
    // Forgets the processes that have ended.
    static const char *processText(CMM_PROC_Info &processes, int mode) {
        processes.fProcMapUpdate();
        const char *text = processes.fMGetProc(mode);
        processes.fProcMapErase();
        return text;
    }

    CMM_CPU_Info cpu, cpuPush;
    CMM_LA_Info load;
    CMM_MEM_Info memory;
    CMM_VM_Info vm;
    CMM_IO_Info disk, diskPush;
    CMM_NWT_Info net, netPush;
    CMM_HBA_Info hba;
    CMM_GPU_Info gpu;
    CMM_PROC_Info process, processPush;
    CMM_FS_Info fs;
};

// The collectors beside the libraries that a program would link instead, on the same work, in one process: rounds of
// each take turns. Built and run by bench/peers.sh, which defines WITH_LIBPROC2 and WITH_STATGRAB for those present.
//
//   library_peers [processes]      beside those of the program; 200 by default
//
// The peers are general libraries: they read what they read, which is not always the same files.
#include "MM_CPU_Info.h"
#include "MM_FS_Info.h"
#include "MM_IO_Info.h"
#include "MM_MEM_Info.h"
#include "MM_NWT_Info.h"
#include "MM_PROC_Info.h"
#include "MM_VM_Info.h"
#include "Machine.h"
#include "OwnHost.h"
#include "Settings.h"
#include "SystemCalls.h"
#include "host/Sampler.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#ifdef WITH_LIBPROC2
#include <libproc2/diskstats.h>
#include <libproc2/meminfo.h>
#include <libproc2/pids.h>
#include <libproc2/stat.h>
#include <libproc2/vmstat.h>
#endif
#ifdef WITH_STATGRAB
#include <statgrab.h>
#endif

namespace {

constexpr int rounds = 21;
constexpr double shortestRound = 1000; // microseconds

struct Contender {
    std::string name;
    std::function<void()> sample;
};

struct Task {
    std::string name;
    std::vector<Contender> contenders; // ours first
};

double cpuMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) * 1e-3;
}

double timed(const Contender &contender, int batch) {
    const double start = cpuMicroseconds();
    for (int i = 0; i < batch; ++i)
        contender.sample();
    return (cpuMicroseconds() - start) / batch;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void compare(const Task &task) {
    std::vector<std::vector<double>> times(task.contenders.size());
    std::vector<int> batches;
    for (const Contender &contender : task.contenders) {
        timed(contender, 2);
        batches.push_back(static_cast<int>(shortestRound / std::max(timed(contender, 1), 1.0)) + 1);
    }
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < task.contenders.size(); ++i)
            times[i].push_back(timed(task.contenders[i], batches[i]));
    }
    const double ours = median(times[0]);
    for (std::size_t i = 0; i < task.contenders.size(); ++i) {
        const long calls = bench::totalOf(bench::countSystemCalls(task.contenders[i].sample));
        std::printf("%-14s %-12s %11.2f us %8ld calls %8.2f\n", task.name.c_str(), task.contenders[i].name.c_str(),
                    median(times[i]), calls, median(times[i]) / ours);
    }
    std::fflush(stdout);
}

std::vector<Task> ourTasks() {
    g_nCpuStrType = 1;
    g_nDiskStrType = 1;
    g_nInterfaceStrType = 1;
    g_nProcExtendFlag = 1;
    g_nProcSleepCnt = 0;
    g_nLinuxBandwidthFlag = 1;
    static CMM_PROC_Info processes;
    static CMM_CPU_Info cpu;
    static CMM_MEM_Info memory;
    static CMM_VM_Info vm;
    static CMM_IO_Info disks;
    static CMM_NWT_Info network;
    static CMM_FS_Info filesystems;
    static zel::Sampler sampler({.areas = {zel::Area::Processes}});
    static zel::Sample sample;
    return {{"processes", {{"libzel", [] { processes.fMGetProc(0); }}, {"zel::Sampler", [] { sampler.take(sample); }}}},
            {"cpu", {{"libzel", [] { cpu.fMGetCpu(); }}}},
            {"memory", {{"libzel", [] { memory.fMGetMem(); }}}},
            {"vm", {{"libzel", [] { vm.fMGetVmStat(1.0); }}}},
            {"disks", {{"libzel", [] { disks.fMGetIoStat(0.0, 1, 0); }}}},
            {"interfaces", {{"libzel", [] { network.fMGetNetworkStat(1.0, -1); }}}},
            {"filesystems", {{"libzel", [] { filesystems.fGetFileSystem(); }}}}};
}

void addPeer(std::vector<Task> &tasks, const std::string &task, const std::string &name, std::function<void()> sample) {
    for (Task &known : tasks) {
        if (known.name == task)
            known.contenders.push_back({name, std::move(sample)});
    }
}

#ifdef WITH_LIBPROC2
void addLibproc2(std::vector<Task> &tasks) {
    static pids_item processItems[] = {PIDS_ID_PID,        PIDS_ID_PPID,       PIDS_ID_EUSER,   PIDS_NICE,
                                       PIDS_PRIORITY,      PIDS_STATE,         PIDS_NLWP,       PIDS_TICS_ALL,
                                       PIDS_MEM_RES,       PIDS_VM_SIZE,       PIDS_TIME_START, PIDS_CMDLINE,
                                       PIDS_IO_READ_BYTES, PIDS_IO_WRITE_BYTES};
    static pids_info *processes = nullptr;
    if (procps_pids_new(&processes, processItems, static_cast<int>(std::size(processItems))) == 0)
        addPeer(tasks, "processes", "libproc2", [] { procps_pids_reap(processes, PIDS_FETCH_TASKS_ONLY); });

    static stat_item cpuItems[] = {STAT_TIC_USER, STAT_TIC_NICE, STAT_TIC_SYSTEM, STAT_TIC_IDLE, STAT_TIC_IOWAIT};
    static stat_info *cpu = nullptr;
    if (procps_stat_new(&cpu) == 0)
        addPeer(tasks, "cpu", "libproc2",
                [] { procps_stat_reap(cpu, STAT_REAP_CPUS_ONLY, cpuItems, static_cast<int>(std::size(cpuItems))); });

    static meminfo_item memoryItems[] = {MEMINFO_MEM_TOTAL,  MEMINFO_MEM_FREE,      MEMINFO_MEM_BUFFERS,
                                         MEMINFO_MEM_CACHED, MEMINFO_MEM_AVAILABLE, MEMINFO_MEM_SLAB_RECLAIM};
    static meminfo_info *memory = nullptr;
    if (procps_meminfo_new(&memory) == 0)
        addPeer(tasks, "memory", "libproc2",
                [] { // it keeps what it has read for a second: a handle of its own each time
                    procps_meminfo_unref(&memory);
                    procps_meminfo_new(&memory);
                    procps_meminfo_select(memory, memoryItems, static_cast<int>(std::size(memoryItems)));
                });

    static vmstat_item vmItems[] = {VMSTAT_PGPGIN,  VMSTAT_PGPGOUT, VMSTAT_PSWPIN,
                                    VMSTAT_PSWPOUT, VMSTAT_PGFAULT, VMSTAT_PGMAJFAULT};
    static vmstat_info *vm = nullptr;
    if (procps_vmstat_new(&vm) == 0)
        addPeer(tasks, "vm", "libproc2", [] {
            procps_vmstat_unref(&vm);
            procps_vmstat_new(&vm);
            procps_vmstat_select(vm, vmItems, static_cast<int>(std::size(vmItems)));
        });

    static diskstats_item diskItems[] = {DISKSTATS_NAME,   DISKSTATS_READS,         DISKSTATS_READ_SECTORS,
                                         DISKSTATS_WRITES, DISKSTATS_WRITE_SECTORS, DISKSTATS_IO_TIME};
    static diskstats_info *disks = nullptr;
    if (procps_diskstats_new(&disks) == 0)
        addPeer(tasks, "disks", "libproc2",
                [] { procps_diskstats_reap(disks, diskItems, static_cast<int>(std::size(diskItems))); });
}
#endif

#ifdef WITH_STATGRAB
void addStatgrab(std::vector<Task> &tasks) {
    if (sg_init(1) != SG_ERROR_NONE)
        return;
    static size_t entries = 0;
    addPeer(tasks, "processes", "libstatgrab", [] { sg_get_process_stats(&entries); });
    addPeer(tasks, "cpu", "libstatgrab", [] { sg_get_cpu_stats(&entries); });
    addPeer(tasks, "memory", "libstatgrab", [] { sg_get_mem_stats(&entries); });
    addPeer(tasks, "disks", "libstatgrab", [] { sg_get_disk_io_stats(&entries); });
    addPeer(tasks, "interfaces", "libstatgrab", [] { sg_get_network_io_stats(&entries); });
    addPeer(tasks, "filesystems", "libstatgrab", [] { sg_get_fs_stats(&entries); });
}
#endif

} // namespace

int main(int argc, char **argv) {
    bench::enterOwnProcesses();
    const bench::ScratchHome home;
    bench::Sleepers sleepers;
    sleepers.bringTo(argc > 1 ? std::atol(argv[1]) : 200);
    std::vector<Task> tasks = ourTasks();
#ifdef WITH_LIBPROC2
    addLibproc2(tasks);
#endif
#ifdef WITH_STATGRAB
    addStatgrab(tasks);
#endif
    for (const auto &[name, value] : bench::machineFacts())
        std::printf("%-10s %s\n", name.c_str(), value.c_str());
    std::printf("%-10s %s\n\n%-14s %-12s %11s    %8s       %8s\n", "load", bench::loadAverages().c_str(), "work", "by",
                "CPU time", "", "factor");
    for (const Task &task : tasks)
        compare(task);
    return 0;
}

// The CPU, load average, VM, memory and swap collectors. Sizes are processors: the machine's own /proc ("host", real
// kernel files), and generated hosts of 2, 64 and 512 processors, whose floor is a copy out of the page cache.
//
// What the kernel itself would need to write /proc/stat for so many processors is estimated from this machine: the time
// of its own /proc/stat per byte, beyond that of a copy, times the bytes of the generated one.
#include "Floor.h"
#include "Harness.h"
#include "MM_CPU_Info.h"
#include "MM_LA_Info.h"
#include "MM_MEM_Info.h"
#include "MM_VM_Info.h"
#include "OwnHost.h"
#include "Settings.h"
#include "kernel/KernelFile.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t statRoom = zel::STAT_FILE_SIZE - 1;
constexpr std::size_t smallRoom = 4096;
constexpr std::size_t pageRoom = 8192;

// --- Generated hosts -----------------------------------------------------------------------------------------------

// The counters of a machine that has been up for months.
std::string statText(long processors) {
    std::string text;
    const auto addLine = [&text](const std::string &name, unsigned long scale) {
        text += name;
        for (const unsigned long value : {85857915UL, 185675UL, 29782606UL, 9808423873UL, 803901UL, 0UL, 978047UL})
            text.append(1, ' ').append(std::to_string(scale * value));
        text += " 0 0 0\n";
    };
    addLine("cpu ", static_cast<unsigned long>(processors));
    for (long number = 0; number < processors; ++number)
        addLine("cpu" + std::to_string(number), 1);
    text += "intr 1947204459";
    for (long interrupt = 0; interrupt < 64 + 8 * processors; ++interrupt)
        text += interrupt % 7 == 0 ? " 4866071" : " 0";
    return text + "\nctxt 45281440785\nbtime 1711000123\nprocesses 57228258\nprocs_running 2\nprocs_blocked 0\n" +
           "softirq 9707297724 491129 6489130 1647 854056 660753 0 4984471 264033 12499 626960\n";
}

std::string meminfoText() {
    std::string text;
    for (const char *key :
         {"MemTotal",      "MemFree",        "MemAvailable", "Buffers",        "Cached",       "SwapCached",
          "Active",        "Inactive",       "Active(anon)", "Inactive(anon)", "Active(file)", "Inactive(file)",
          "Unevictable",   "Mlocked",        "SwapTotal",    "SwapFree",       "Dirty",        "Writeback",
          "AnonPages",     "Mapped",         "Shmem",        "KReclaimable",   "Slab",         "SReclaimable",
          "SUnreclaim",    "KernelStack",    "PageTables",   "NFS_Unstable",   "Bounce",       "WritebackTmp",
          "CommitLimit",   "Committed_AS",   "VmallocTotal", "VmallocUsed",    "VmallocChunk", "Percpu",
          "AnonHugePages", "ShmemHugePages", "DirectMap4k",  "DirectMap2M"})
        text += std::string(key) + ":       16384000 kB\n";
    return text;
}

std::string vmstatText() {
    std::string text;
    const auto fill = [&text](const char *name, int counters) {
        for (int counter = 0; counter < counters; ++counter)
            text += name + std::to_string(counter) + " 225718\n";
    };
    fill("nr_zone_counter_", 60);
    text += "pgpgin 4263392\npgpgout 1738353924\npswpin 1618\npswpout 80339\n";
    fill("pgalloc_zone_", 6);
    text += "pgfree 2938719870\npgactivate 152952989\npgfault 2320168809\npgmajfault 507162\n";
    fill("thp_counter_", 50);
    return text;
}

// The hosts by processors; number 0 is the machine itself.
class Hosts {
public:
    void show(long processors) {
        if (processors == 0) {
            bench::showOwnHost();
            return;
        }
        std::unique_ptr<bench::GeneratedTree> &tree = m_trees[processors];
        if (tree == nullptr) {
            tree = std::make_unique<bench::GeneratedTree>();
            tree->write("/proc/stat", statText(processors));
            tree->write("/proc/meminfo", meminfoText());
            tree->write("/proc/vmstat", vmstatText());
            tree->write("/proc/loadavg", "0.52 0.31 0.10 3/140 4567\n");
        }
        tree->show();
    }

private:
    std::map<long, std::unique_ptr<bench::GeneratedTree>> m_trees;
};

Hosts hosts;

// --- Floors --------------------------------------------------------------------------------------------------------

// The fastest of some rounds.
double readingMicroseconds() {
    constexpr int rounds = 9;
    constexpr int readings = 100;
    std::clock_t fastest = CLOCKS_PER_SEC;
    for (int round = 0; round < rounds; ++round) {
        const std::clock_t start = std::clock();
        for (int i = 0; i < readings; ++i)
            bench::readKernelFile("/proc/stat", statRoom);
        fastest = std::min(fastest, std::clock() - start);
    }
    return static_cast<double>(fastest) * 1e6 / CLOCKS_PER_SEC / readings;
}

// What the kernel would need to write the generated /proc/stat, beyond the copy that its floor is.
double kernelSurplus(long processors) {
    if (processors == 0)
        return 0;
    hosts.show(0);
    const double ownSize = static_cast<double>(bench::sizeOf("/proc/stat"));
    const double own = readingMicroseconds();
    hosts.show(processors);
    const double size = static_cast<double>(bench::sizeOf("/proc/stat"));
    const double copy = readingMicroseconds();
    return std::max(own / ownSize * size - copy, 0.0);
}

// The kept floor of a case on the machine's own files, each with the room that its fresh floor has.
std::function<void()> keptFloor(long processors, const std::vector<std::pair<const char *, std::size_t>> &files) {
    if (processors != 0)
        return nullptr;
    auto open = std::make_shared<std::vector<std::pair<bench::OpenFile, std::size_t>>>();
    for (const auto &[path, room] : files)
        open->emplace_back(bench::OpenFile(path), room);
    return [open] {
        for (const auto &[file, room] : *open)
            file.readKernelFile(room);
    };
}

// --- Cases ---------------------------------------------------------------------------------------------------------

// The counters of the sample before are moved back by a busy interval, so that every sample computes and prints shares.
class EarlierTicks {
public:
    explicit EarlierTicks(CMM_CPU_Info &cpu, int rows) : m_cpu(cpu), m_ticks(static_cast<std::size_t>(rows)) {
        std::memcpy(m_ticks.data(), cpu.m_plOldCPU, size());
        for (Row &row : m_ticks) {
            row.ticks[zel::CPU_USER] -= 155;
            row.ticks[zel::CPU_SYSTEM] -= 61;
            row.ticks[zel::CPU_IDLE] -= 253;
            row.ticks[zel::CPU_WAIT] -= 31;
        }
    }

    void put() const { std::memcpy(m_cpu.m_plOldCPU, m_ticks.data(), size()); }

private:
    struct Row {
        zel::CpuRow ticks;
    };

    std::size_t size() const { return m_ticks.size() * sizeof(Row); }

    CMM_CPU_Info &m_cpu;
    std::vector<Row> m_ticks;
};

template<class Sample> bench::Work cpuWork(long processors, int textSetting, Sample sample) {
    hosts.show(processors);
    g_nCpuStrType = textSetting;
    g_nCpuUsedInWIO = 1;
    auto cpu = std::make_shared<CMM_CPU_Info>();
    cpu->fMGetCpu();
    cpu->fMGetCpu();
    auto earlier = std::make_shared<EarlierTicks>(*cpu, cpu->m_nLogicalCpuCnt + 1);
    bench::Work work;
    work.sample = [cpu, earlier, sample] {
        earlier->put();
        bench::keep(sample(*cpu));
    };
    work.floor = [cpu, earlier] {
        earlier->put();
        bench::readKernelFile("/proc/stat", statRoom);
    };
    work.keptFloor = keptFloor(processors, {{"/proc/stat", statRoom}});
    work.kernelSurplus = kernelSurplus(processors);
    return work;
}

bench::Work loadWork(long processors) {
    hosts.show(processors);
    auto load = std::make_shared<CMM_LA_Info>();
    bench::Work work;
    work.sample = [load] { bench::keep(load->fMGetLoadAvg()); };
    work.floor = [] { bench::readKernelFile("/proc/loadavg", smallRoom - 1); };
    work.keptFloor = keptFloor(processors, {{"/proc/loadavg", smallRoom - 1}});
    return work;
}

template<class Sample> bench::Work vmWork(long processors, Sample sample) {
    hosts.show(processors);
    auto vm = std::make_shared<CMM_VM_Info>();
    bench::Work work;
    for (int i = 0; i < 3; ++i)
        sample(*vm);
    work.sample = [vm, sample] { bench::keep(sample(*vm)); };
    work.floor = [] {
        bench::readKernelFile("/proc/stat", statRoom);
        bench::readKernelFile("/proc/vmstat", pageRoom - 1);
        bench::readKernelFile("/proc/loadavg", pageRoom - 1);
    };
    work.keptFloor = keptFloor(
        processors, {{"/proc/stat", statRoom}, {"/proc/vmstat", pageRoom - 1}, {"/proc/loadavg", pageRoom - 1}});
    work.kernelSurplus = kernelSurplus(processors);
    return work;
}

template<class Sample> bench::Work memoryWork(long processors, Sample sample) {
    hosts.show(processors);
    auto memory = std::make_shared<CMM_MEM_Info>();
    bench::Work work;
    work.sample = [memory, sample] { bench::keep(sample(*memory)); };
    work.floor = [] { bench::readKernelFile("/proc/meminfo", smallRoom - 1); };
    work.keptFloor = keptFloor(processors, {{"/proc/meminfo", smallRoom - 1}});
    return work;
}

bench::Work swapWork(long processors) {
    hosts.show(processors);
    auto memory = std::make_shared<CMM_MEM_Info>();
    bench::Work work;
    work.sample = [memory] { bench::keep(memory->fMGetSwap()); };
    work.floor = [] {
        bench::readKernelFile("/proc/meminfo", smallRoom - 1);
        bench::readKernelFile("/proc/stat", smallRoom - 1);
        bench::readKernelFile("/proc/vmstat", smallRoom - 1);
    };
    work.keptFloor = keptFloor(
        processors, {{"/proc/meminfo", smallRoom - 1}, {"/proc/stat", smallRoom - 1}, {"/proc/vmstat", smallRoom - 1}});
    return work;
}

// Every family once over the machine's own files and once over generated ones.
template<class Make>
void addBoth(std::vector<bench::Family> &families, const std::string &name, const std::vector<long> &sizes, Make make) {
    const long own = sysconf(_SC_NPROCESSORS_ONLN);
    families.push_back(
        {name + " (host)", bench::Source::Kernel, {own}, [make](long, std::string &) { return make(0); }});
    families.push_back(
        {name, bench::Source::PageCache, sizes, [make](long size, std::string &) { return make(size); }});
}

} // namespace

int main(int argc, char **argv) {
    std::vector<bench::Family> families;
    const std::vector<long> growing = {2, 64, 512};
    addBoth(families, "cpu/text", growing,
            [](long size) { return cpuWork(size, 1, [](CMM_CPU_Info &cpu) { return cpu.fMGetCpu(); }); });
    addBoth(families, "cpu/record", growing,
            [](long size) { return cpuWork(size, 0, [](CMM_CPU_Info &cpu) { return cpu.fMGetCpu(); }); });
    addBoth(families, "cpu/push", growing,
            [](long size) { return cpuWork(size, 1, [](CMM_CPU_Info &cpu) { return cpu.fMGetPushCpu(); }); });
    addBoth(families, "cpu/interrupts", growing,
            [](long size) { return cpuWork(size, 1, [](CMM_CPU_Info &cpu) { return cpu.fMGetCpuInterrupt(1.0); }); });
    addBoth(families, "load", {2}, loadWork);
    addBoth(families, "vm/record", growing,
            [](long size) { return vmWork(size, [](CMM_VM_Info &vm) { return vm.fMGetVmStat(1.0); }); });
    addBoth(families, "vm/push", growing,
            [](long size) { return vmWork(size, [](CMM_VM_Info &vm) { return vm.fMVelmorGetPage(1); }); });
    addBoth(families, "memory/record", {2},
            [](long size) { return memoryWork(size, [](CMM_MEM_Info &memory) { return memory.fMGetMem(); }); });
    addBoth(families, "memory/push", {2}, [](long size) {
        return memoryWork(size, [](CMM_MEM_Info &memory) {
            memory.fPushGatherMem();
            return memory.m_pStrRealTimeMemZEL;
        });
    });
    addBoth(families, "swap/record", {2}, swapWork);
    bench::add(families);
    return bench::run(argc, argv);
}

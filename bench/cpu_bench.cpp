// The CPU, memory and VM collectors: a sample beside its floor, the same system calls on the same files without any
// parsing. On generated hosts of 2, 64 and 512 processors (the argument) and on the host itself (argument 0).
//
//   build/bin/cpu_bench --benchmark_min_time=1
#include "HostRoot.h"
#include "MM_CPU_Info.h"
#include "MM_MEM_Info.h"
#include "MM_VM_Info.h"
#include "SSUtil.h"
#include "Settings.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr int ownHost = 0;
constexpr int statSize = 65536;
constexpr int smallSize = 4096;
constexpr int vmstatSize = 8192;

// --- Generated hosts -----------------------------------------------------------------------------------------------

// The counters of a machine that has been up for months; `interval` seconds later with a busy one behind it.
std::string statText(int processors, unsigned long long interval) {
    const auto line = [interval](const std::string &name, unsigned long long scale) {
        return name + " " + std::to_string(scale * (44490123 + 31 * interval)) + " " + std::to_string(scale * 190456) +
               " " + std::to_string(scale * (21045789 + 12 * interval)) + " " +
               std::to_string(scale * (1087069123 + 50 * interval)) + " " +
               std::to_string(scale * (220456 + 7 * interval)) + " 0 " + std::to_string(scale * 341078) + " 0 0 0\n";
    };
    std::string text = line("cpu ", static_cast<unsigned long long>(processors));
    for (int number = 0; number < processors; ++number)
        text += line("cpu" + std::to_string(number), 1);
    text += "intr 8885917123";
    for (int interrupt = 0; interrupt < 64 + 8 * processors; ++interrupt)
        text += interrupt % 7 == 0 ? " 1283803" : " 0";
    return text + "\nctxt 38014093123\nbtime 1418183276\nprocesses 26442123\nprocs_running 2\nprocs_blocked 0\n" +
           "softirq 5057579123 250191 1481983 1647 211099 186066 0 1783454 622196 12499 508444\n";
}

std::string meminfoText() {
    std::string text;
    for (const char *key : {"MemTotal",
                            "MemFree",
                            "MemAvailable",
                            "Buffers",
                            "Cached",
                            "SwapCached",
                            "Active",
                            "Inactive",
                            "Active(anon)",
                            "Inactive(anon)",
                            "Active(file)",
                            "Inactive(file)",
                            "Unevictable",
                            "Mlocked",
                            "SwapTotal",
                            "SwapFree",
                            "Dirty",
                            "Writeback",
                            "AnonPages",
                            "Mapped",
                            "Shmem",
                            "KReclaimable",
                            "Slab",
                            "SReclaimable",
                            "SUnreclaim",
                            "KernelStack",
                            "PageTables",
                            "NFS_Unstable",
                            "Bounce",
                            "WritebackTmp",
                            "CommitLimit",
                            "Committed_AS",
                            "VmallocTotal",
                            "VmallocUsed",
                            "VmallocChunk",
                            "Percpu",
                            "HardwareCorrupted",
                            "AnonHugePages",
                            "DirectMap4k",
                            "DirectMap2M"})
        text += std::string(key) + ":       16384000 kB\n";
    return text;
}

std::string vmstatText() {
    std::string text;
    for (int counter = 0; counter < 60; ++counter)
        text += "nr_zone_counter_" + std::to_string(counter) + " 977769\n";
    text += "pgpgin 7344136\npgpgout 1541180581\npswpin 1476\npswpout 35045\n";
    for (int counter = 0; counter < 6; ++counter)
        text += "pgalloc_zone_" + std::to_string(counter) + " 611781566\n";
    text += "pgfree 2938719870\npgactivate 152952989\npgfault 2320168809\npgmajfault 507162\n";
    for (int counter = 0; counter < 50; ++counter)
        text += "thp_counter_" + std::to_string(counter) + " 0\n";
    return text;
}

class GeneratedHosts {
public:
    ~GeneratedHosts() {
        for (const auto &[processors, path] : m_paths)
            fs::remove_all(path);
    }

    const std::string &of(int processors) {
        std::string &path = m_paths[processors];
        if (path.empty()) {
            path = (fs::temp_directory_path() /
                    ("cpu_bench_" + std::to_string(getpid()) + "_" + std::to_string(processors)))
                       .string();
            fs::create_directories(path + "/proc/sys/vm");
            write(path + "/proc/stat", statText(processors, 5));
            write(path + "/proc/meminfo", meminfoText());
            write(path + "/proc/vmstat", vmstatText());
            write(path + "/proc/loadavg", "0.52 0.31 0.10 3/140 4567\n");
        }
        return path;
    }

private:
    static void write(const std::string &path, const std::string &text) { std::ofstream(path) << text; }

    std::map<int, std::string> m_paths;
};

GeneratedHosts generatedHosts;

void show(const benchmark::State &state) {
    const auto processors = static_cast<int>(state.range(0));
    std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s",
                  processors == ownHost ? "" : generatedHosts.of(processors).c_str());
}

// --- Floor ---------------------------------------------------------------------------------------------------------

// The system calls of CSSUtil::fFile2Buff and nothing else.
void readFile(const char *path, char *buffer, int size) {
    const int file = open(fgHostPath(path), O_RDONLY | O_CLOEXEC);
    ssize_t count = 0;
    ssize_t length = 0;
    do {
        count = read(file, buffer + length, static_cast<std::size_t>(size - 1 - length));
        length += count > 0 ? count : 0;
    } while (count >= CSSUtil::KERNEL_PAGE_RESULT && length < size - 1);
    close(file);
    benchmark::DoNotOptimize(buffer);
}

void cpuFloor(benchmark::State &state) {
    show(state);
    char stat[statSize];
    for (auto _ : state)
        readFile("/proc/stat", stat, statSize);
}

void memoryFloor(benchmark::State &state) {
    show(state);
    char meminfo[smallSize];
    for (auto _ : state)
        readFile("/proc/meminfo", meminfo, smallSize);
}

void swapFloor(benchmark::State &state) {
    show(state);
    char text[smallSize];
    for (auto _ : state) {
        readFile("/proc/meminfo", text, smallSize);
        readFile("/proc/stat", text, smallSize);
        readFile("/proc/vmstat", text, smallSize);
    }
}

void vmFloor(benchmark::State &state) {
    show(state);
    char stat[statSize];
    char vmstat[vmstatSize];
    char loadAverage[vmstatSize];
    for (auto _ : state) {
        readFile("/proc/stat", stat, statSize);
        readFile("/proc/vmstat", vmstat, vmstatSize);
        readFile("/proc/loadavg", loadAverage, vmstatSize);
    }
}

// --- Samples -------------------------------------------------------------------------------------------------------

// The counters of the sample before, so that every sample computes and prints real shares.
void takeEarlierCounters(CMM_CPU_Info &cpu, int processors) {
    const std::string text = statText(processors, 0);
    zel::parseCpuTicks(text, zel::CpuLayout::FiveFields, cpu.m_plOldCPU);
}

template<typename Sample> void sampleCpu(benchmark::State &state, int textSetting, Sample sample) {
    show(state);
    g_nCpuStrType = textSetting;
    g_nCpuUsedInWIO = 1;
    const auto processors = static_cast<int>(state.range(0));
    CMM_CPU_Info cpu;
    cpu.fMGetCpu();
    CMM_CPU_Info earlier;
    takeEarlierCounters(earlier, processors);
    const std::size_t counters = sizeof(zel::CpuRow) * static_cast<std::size_t>(processors + 1);
    for (auto _ : state) {
        if (processors != ownHost)
            std::memcpy(cpu.m_plOldCPU, earlier.m_plOldCPU, counters);
        benchmark::DoNotOptimize(sample(cpu));
    }
}

void cpuSample(benchmark::State &state) {
    sampleCpu(state, 1, [](CMM_CPU_Info &cpu) { return cpu.fMGetCpu(); });
}

void cpuSampleWithoutText(benchmark::State &state) {
    sampleCpu(state, 0, [](CMM_CPU_Info &cpu) { return cpu.fMGetCpu(); });
}

void cpuPush(benchmark::State &state) {
    sampleCpu(state, 1, [](CMM_CPU_Info &cpu) { return cpu.fMGetPushCpu(); });
}

void cpuInterrupts(benchmark::State &state) {
    sampleCpu(state, 1, [](CMM_CPU_Info &cpu) { return cpu.fMGetCpuInterrupt(1.0); });
}

void memorySample(benchmark::State &state) {
    show(state);
    CMM_MEM_Info memory;
    for (auto _ : state)
        benchmark::DoNotOptimize(memory.fMGetMem());
}

void memoryPush(benchmark::State &state) {
    show(state);
    CMM_MEM_Info memory;
    for (auto _ : state)
        benchmark::DoNotOptimize(memory.fPushGatherMem());
}

void swapSample(benchmark::State &state) {
    show(state);
    CMM_MEM_Info memory;
    for (auto _ : state)
        benchmark::DoNotOptimize(memory.fMGetSwap());
}

void vmSample(benchmark::State &state) {
    show(state);
    CMM_VM_Info vm;
    for (auto _ : state)
        benchmark::DoNotOptimize(vm.fMGetVmStat(1.0));
}

} // namespace

#define HOSTS ArgName("processors")->Arg(ownHost)->Arg(2)->Arg(64)->Arg(512)
BENCHMARK(cpuFloor)->HOSTS;
BENCHMARK(cpuSample)->HOSTS;
BENCHMARK(cpuSampleWithoutText)->HOSTS;
BENCHMARK(cpuPush)->HOSTS;
BENCHMARK(cpuInterrupts)->HOSTS;
BENCHMARK(memoryFloor)->ArgName("processors")->Arg(ownHost)->Arg(2);
BENCHMARK(memorySample)->ArgName("processors")->Arg(ownHost)->Arg(2);
BENCHMARK(memoryPush)->ArgName("processors")->Arg(ownHost)->Arg(2);
BENCHMARK(swapFloor)->ArgName("processors")->Arg(ownHost)->Arg(2);
BENCHMARK(swapSample)->ArgName("processors")->Arg(ownHost)->Arg(2);
BENCHMARK(vmFloor)->HOSTS;
BENCHMARK(vmSample)->HOSTS;

int main(int argc, char **argv) {
#ifndef __OPTIMIZE__
    std::fprintf(stderr, "built without optimisation: the figures mean nothing\n");
#endif
    benchmark::AddCustomContext("compiler", __VERSION__);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

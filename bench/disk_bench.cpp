// Cost of a sample of the disk collector in text form (old samples by key), beside its floor: the same file opened,
// read to its end and closed, with nothing done to it.
//
//   disk_bench [directory]      the directory for the host's files, best on a tmpfs; /dev/shm by default
//
// The arguments are the number of disks; "busy" disks change all counters between two samples, "idle" ones none.
// "Kernel" is /proc/diskstats of this machine: there the floor holds the kernel's own work of writing the file.
#include "HostRoot.h"
#include "MM_IO_Info.h"
#include "Settings.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/utsname.h>

namespace {

std::string scratch = "/dev/shm";
constexpr int CYCLE_SECONDS = 5;

std::string diskstats(int disks, unsigned long long round) {
    std::string text;
    char line[256];
    for (int i = 0; i < disks; ++i) {
        const unsigned long long base = 1000003ULL * static_cast<unsigned>(i % 97 + 1) + round * 7919ULL;
        std::snprintf(line, sizeof(line),
                      " %3d %7d sd%c%c%c %llu %llu %llu %llu %llu %llu %llu %llu %u %llu %llu 0 0 0 0 12 34\n",
                      8 + i % 8, i % 16 * 16, 'a' + i / 676, 'a' + i / 26 % 26, 'a' + i % 26, base % 4000000000ULL,
                      base / 7, base * 16, base / 3, base % 3000000000ULL, base / 11, base * 8, base / 5, i % 3U,
                      base / 9 + round, base / 2);
        text += line;
    }
    return text;
}

// Hosts that take turns, so that counters grow from sample to sample; they fall once in HOSTS samples.
constexpr int HOSTS = 32;

class Hosts {
public:
    Hosts(int disks, bool busy) : m_directory(scratch + "/disk_bench." + std::to_string(getpid())) {
        for (int round = 0; round < HOSTS; ++round) {
            const std::string proc = host(round) + "/proc";
            std::filesystem::create_directories(proc);
            std::ofstream(proc + "/diskstats") << diskstats(disks, busy ? static_cast<unsigned>(round) : 0U);
        }
    }
    ~Hosts() {
        g_strHostRoot[0] = '\0';
        std::filesystem::remove_all(m_directory);
    }
    Hosts(const Hosts &) = delete;
    Hosts &operator=(const Hosts &) = delete;

    void next() {
        m_round = (m_round + 1) % HOSTS;
        std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s", host(m_round).c_str());
    }

private:
    std::string host(int round) const { return m_directory + "/" + std::to_string(round); }

    std::string m_directory;
    int m_round = 0;
};

void sampleText(benchmark::State &state, Hosts *hosts) {
    g_nDiskStrType = 1;
    CMM_IO_Info disks;
    const auto sample = [&] {
        if (hosts != nullptr)
            hosts->next();
        disks.m_stOldIoTime.tv_sec -= CYCLE_SECONDS;
        benchmark::DoNotOptimize(disks.fMGetIoStat(0.0, 1, 0));
    };
    for (int i = 0; i < 4; ++i)
        sample();
    for (auto _ : state)
        sample();
    state.counters["rows"] = disks.m_nDiskZELCnt;
    g_nDiskStrType = 0;
}

void readFile(benchmark::State &state, Hosts *hosts) {
    zel::WholeFile file;
    for (auto _ : state) {
        if (hosts != nullptr)
            hosts->next();
        benchmark::DoNotOptimize(file.read("/proc/diskstats"));
    }
    state.counters["bytes"] = static_cast<double>(file.text().size());
}

void Floor(benchmark::State &state) {
    Hosts hosts(static_cast<int>(state.range(0)), true);
    readFile(state, &hosts);
}

void SampleOfIdleDisks(benchmark::State &state) {
    Hosts hosts(static_cast<int>(state.range(0)), false);
    sampleText(state, &hosts);
}

void SampleOfBusyDisks(benchmark::State &state) {
    Hosts hosts(static_cast<int>(state.range(0)), true);
    sampleText(state, &hosts);
}

void KernelFloor(benchmark::State &state) {
    readFile(state, nullptr);
}

void KernelSample(benchmark::State &state) {
    sampleText(state, nullptr);
}

BENCHMARK(Floor)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(SampleOfIdleDisks)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(SampleOfBusyDisks)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(KernelFloor);
BENCHMARK(KernelSample);

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (argc > 1)
        scratch = argv[1];
#ifndef __OPTIMIZE__
    std::fprintf(stderr, "warning: built without optimisation, the figures mean nothing\n");
#endif
    utsname system{};
    uname(&system);
    benchmark::AddCustomContext("kernel", system.release);
    benchmark::AddCustomContext("compiler", __VERSION__);
    benchmark::RunSpecifiedBenchmarks();
}

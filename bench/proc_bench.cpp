// What a steady-state scan of N processes costs, beside its floor and beside ps.
//
// The benchmark forks N processes that sleep, and then alternates, in one process, the floor and the scan: the floor
// lists /proc and, per process, makes the same 13 system calls (one stat; open, read and close of stat, statm, io and
// cmdline, relative to /proc) and parses nothing; it also reads the three files of the system that a scan reads once.
// Times are CPU times of this process, as medians:
//
//   scan_us, floor_us        one scan, one floor
//   ratio                    scan / floor
//   ratio_paired             the median of scan / floor of each round, which a busy neighbour disturbs less
//   ratio_bare               scan / the floor without the three files of the system
//   ps_us, ps_factor         one run of ps over the same processes, and how many scans it costs
//   allocs                   heap allocations of one scan
//   rss_mib                  resident memory of this process after the scans
//
// The sleepers die with this process, and by themselves after ten minutes.
#include "MM_PROC_Info.h"
#include "Settings.h"

#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

std::atomic<long> allocations;

constexpr int rounds = 21;
constexpr int psRounds = 15;
constexpr unsigned sleeperLifetime = 600; // seconds

// Processes that sleep until this object, or this process, is gone.
class Sleepers {
public:
    explicit Sleepers(int count) {
        for (int i = 0; i < count; ++i) {
            const pid_t child = fork();
            if (child == 0)
                sleepForGood();
            if (child < 0) {
                std::perror("fork");
                break;
            }
            m_pids.push_back(child);
        }
    }
    ~Sleepers() {
        for (const pid_t pid : m_pids)
            kill(pid, SIGKILL);
        for (const pid_t pid : m_pids)
            waitpid(pid, nullptr, 0);
    }
    Sleepers(const Sleepers &) = delete;
    Sleepers &operator=(const Sleepers &) = delete;

    std::size_t count() const { return m_pids.size(); }

private:
    [[noreturn]] static void sleepForGood() {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        alarm(sleeperLifetime);
        for (;;)
            pause();
    }

    std::vector<pid_t> m_pids;
};

double cpuMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) * 1e-3;
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

void readOnce(int directory, const char *path) {
    char text[10241];
    const int file = openat(directory, path, O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return;
    benchmark::DoNotOptimize(read(file, text, sizeof(text) - 1));
    close(file);
}

void floorOfProcesses() {
    DIR *proc = opendir("/proc");
    const int directory = dirfd(proc);
    while (const dirent *entry = readdir(proc)) {
        if (entry->d_name[0] < '0' || entry->d_name[0] > '9')
            continue;
        struct stat status {};
        if (fstatat(directory, entry->d_name, &status, 0) != 0)
            continue;
        char path[32];
        const std::size_t length = strnlen(entry->d_name, 16);
        std::memcpy(path, entry->d_name, length);
        for (const char *name : {"/stat", "/statm", "/io", "/cmdline"}) {
            std::strcpy(path + length, name);
            readOnce(directory, path);
        }
    }
    closedir(proc);
}

void floorOfSystem() {
    for (const char *path : {"/proc/meminfo", "/proc/uptime", "/proc/stat"})
        readOnce(AT_FDCWD, path);
}

// CPU time of one run of ps over every process.
double psMicroseconds() {
    const pid_t child = fork();
    if (child == 0) {
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, STDOUT_FILENO);
        execlp("ps", "ps", "-eo", "pid,ppid,user,nice,pri,stat,nlwp,pcpu,pmem,vsz,rss,time,lstart,args", nullptr);
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return 0;
    const auto microseconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
    };
    return microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
}

double residentMebibytes() {
    long pages = 0;
    long resident = 0;
    std::FILE *file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr || std::fscanf(file, "%ld %ld", &pages, &resident) != 2)
        resident = 0;
    if (file != nullptr)
        std::fclose(file);
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

template<class Work> double measured(Work work) {
    const double start = cpuMicroseconds();
    work();
    return cpuMicroseconds() - start;
}

void steadyStateScan(benchmark::State &state) {
    const Sleepers sleepers(static_cast<int>(state.range(0)));
    g_nProcExtendFlag = 1;
    g_nProcSleepCnt = 0;
    CMM_PROC_Info collector;
    collector.fMGetProc(0);
    collector.fMGetProc(0);

    std::vector<double> scans;
    std::vector<double> floors;
    std::vector<double> bareFloors;
    std::vector<double> pairs;
    long counted = 0;
    for (auto _ : state) {
        const double bare = measured(floorOfProcesses);
        const double system = measured(floorOfSystem);
        const long before = allocations;
        const double scan = measured([&] { benchmark::DoNotOptimize(collector.fMGetProc(0)); });
        counted = allocations - before;
        state.SetIterationTime(scan * 1e-6);
        scans.push_back(scan);
        floors.push_back(bare + system);
        bareFloors.push_back(bare);
        pairs.push_back(scan / (bare + system));
    }
    state.counters["rss_mib"] = residentMebibytes();
    // In a block of its own: the kernel frees what ps has closed later, at the cost of whoever runs then.
    std::vector<double> runs(psRounds);
    std::generate(runs.begin(), runs.end(), psMicroseconds);

    state.counters["processes"] = collector.fMGetNProcs();
    state.counters["scan_us"] = median(scans);
    state.counters["floor_us"] = median(floors);
    state.counters["ratio"] = median(scans) / median(floors);
    state.counters["ratio_paired"] = median(pairs);
    state.counters["ratio_bare"] = median(scans) / median(bareFloors);
    state.counters["ps_us"] = median(runs);
    state.counters["ps_factor"] = median(runs) / median(scans);
    state.counters["allocs"] = static_cast<double>(counted);
}

BENCHMARK(steadyStateScan)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(5000)
    ->Arg(10000)
    ->Iterations(rounds)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

} // namespace

// Every allocation of the program passes here, those of the libraries included.
extern "C" {
void *__libc_malloc(std::size_t);
void *__libc_calloc(std::size_t, std::size_t);

void *malloc(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

void *calloc(std::size_t count, std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}
}

BENCHMARK_MAIN();

// What a kernel file that stays open saves and what it costs: processor time of open, read and close against that of a
// read at its beginning, file by file and over many of them in turn, and the kernel memory (slab) of one that is open.
// The processes are sleepers in a pid namespace of the program's own, the kernel threads and the cgroup the machine's.
// Then what a program that is started costs while many files are open.
#include "Machine.h"
#include "OwnHost.h"
#include "host/ScopedHandle.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int rounds = 21;
constexpr std::size_t textRoom = 16384;
constexpr unsigned long kernelThreadFlag = 0x00200000;
constexpr std::size_t sparedDescriptors = 200;
constexpr std::size_t filesForSlab = 8000; // so many that others do not count
constexpr useconds_t settling = 200000;

char text[textRoom];

double cpuMicroseconds(clockid_t clock = CLOCK_PROCESS_CPUTIME_ID) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) * 1e-3;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::size_t mostDescriptors() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    return limit.rlim_cur - sparedDescriptors;
}

// The kernel counts per processor, and frees what was closed some time later.
double slabKibibytes() {
    usleep(settling);
    std::ofstream("/proc/sys/vm/stat_refresh") << "1";
    std::ifstream file("/proc/meminfo");
    for (std::string key, unit; file >> key;) {
        double value = 0;
        file >> value;
        if (key == "Slab:")
            return value;
        std::getline(file, unit);
    }
    return 0;
}

std::vector<std::string> processes() {
    std::vector<std::string> found;
    for (const auto &entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (name[0] >= '0' && name[0] <= '9')
            found.push_back("/proc/" + name);
    }
    return found;
}

bool isKernelThread(const std::string &process) {
    std::ifstream file(process + "/stat");
    std::string stat;
    std::getline(file, stat);
    unsigned long flags = 0;
    const std::size_t end = stat.rfind(')');
    return end != std::string::npos &&
           std::sscanf(stat.c_str() + end + 1, " %*c %*d %*d %*d %*d %*d %lu", &flags) == 1 &&
           (flags & kernelThreadFlag) != 0;
}

std::vector<std::string> withNames(const std::vector<std::string> &directories,
                                   const std::vector<const char *> &names) {
    std::vector<std::string> paths;
    for (const std::string &directory : directories) {
        for (const char *name : names)
            paths.push_back(directory + "/" + name);
    }
    return paths;
}

void readAnew(const std::string &path) {
    const zel::ScopedDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.valid() && read(file.get(), text, sizeof(text)) < 0)
        text[0] = '\0';
}

// Of one file that is open and has been read.
double slabOf(const std::vector<std::string> &paths) {
    const double before = slabKibibytes();
    std::vector<zel::ScopedDescriptor> files;
    for (std::size_t i = 0; i < std::min(filesForSlab, mostDescriptors()); ++i) {
        files.emplace_back(open(paths[i % paths.size()].c_str(), O_RDONLY | O_CLOEXEC));
        if (pread(files.back().get(), text, sizeof(text), 0) < 0)
            text[0] = '\0';
    }
    return (slabKibibytes() - before) / static_cast<double>(files.size());
}

// The files `names` of each of the directories.
void compare(const char *what, const std::vector<std::string> &directories, const std::vector<const char *> &names) {
    const std::vector<std::string> paths = withNames(directories, names);
    if (paths.empty() || paths.size() > mostDescriptors()) {
        std::printf("| %s | %zu | more files than descriptors, or none | | | | | |\n", what, directories.size());
        return;
    }
    for (const std::string &path : paths)
        readAnew(path); // so that the kernel's caches of names do not count
    const double slab = slabOf(paths) * static_cast<double>(names.size());
    std::vector<zel::ScopedDescriptor> files;
    files.reserve(paths.size());
    for (const std::string &path : paths)
        files.emplace_back(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const auto readKept = [&files] {
        for (const zel::ScopedDescriptor &file : files) {
            if (pread(file.get(), text, sizeof(text), 0) < 0)
                text[0] = '\0';
        }
    };
    readKept();
    std::vector<double> anew, kept, ratios;
    for (int round = 0; round < rounds; ++round) {
        const double start = cpuMicroseconds();
        for (const std::string &path : paths)
            readAnew(path);
        const double between = cpuMicroseconds();
        readKept();
        const double each = static_cast<double>(directories.size());
        anew.push_back((between - start) / each);
        kept.push_back((cpuMicroseconds() - between) / each);
        ratios.push_back(kept.back() / anew.back());
    }
    const double saved = median(anew) - median(kept);
    std::printf("| %s | %zu | %.2f | %.2f | %.3f | %.2f | %.1f | %.2f |\n", what, directories.size(), median(anew),
                median(kept), median(ratios), saved, slab, saved / std::max(slab, 0.1));
    std::fflush(stdout);
}

void startPrograms(const std::vector<std::string> &directories, std::size_t count) {
    std::vector<zel::ScopedDescriptor> files;
    for (const std::string &path : withNames(directories, {"stat", "statm", "io", "cmdline"})) {
        if (files.size() < count)
            files.emplace_back(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    }
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        const double start = cpuMicroseconds(CLOCK_MONOTONIC);
        char program[] = "/bin/true";
        char *arguments[] = {program, nullptr};
        pid_t child = 0;
        if (posix_spawn(&child, program, nullptr, nullptr, arguments, environ) == 0)
            waitpid(child, nullptr, 0);
        times.push_back(cpuMicroseconds(CLOCK_MONOTONIC) - start);
    }
    std::printf("| %zu | %.0f |\n", files.size(), median(times));
}

} // namespace

int main() {
    for (const auto &[name, value] : bench::machineFacts())
        std::printf("%-10s %s\n", name.c_str(), value.c_str());
    std::printf("%-10s %s\n\n", "load", bench::loadAverages().c_str());
    std::printf("| files | of | anew us | kept us | paired | saved us | slab KiB | saved us per KiB |\n"
                "|---|---|---|---|---|---|---|---|\n");
    std::vector<std::string> threads = processes();
    std::erase_if(threads, [](const std::string &process) { return !isKernelThread(process); });
    for (const char *name : {"stat", "statm", "io", "cmdline"})
        compare((std::string(name) + ", kernel threads").c_str(), threads, {name});
    std::vector<std::string> groups;
    std::error_code unreadable;
    for (const auto &entry : std::filesystem::recursive_directory_iterator("/sys/fs/cgroup", unreadable)) {
        if (entry.path().filename() == "memory.stat" && groups.size() < 1000)
            groups.push_back(entry.path().parent_path());
    }
    compare("memory.stat of a cgroup", groups, {"memory.stat"});

    bench::enterOwnProcesses();
    bench::Sleepers sleepers;
    for (const long count : {100, 1000, 10000}) {
        sleepers.bringTo(count - 1);
        const std::vector<std::string> own = processes();
        for (const char *name : {"cmdline", "io", "stat", "statm"})
            compare(name, own, {name});
        compare("stat, io", own, {"stat", "io"});
        compare("stat, io, cmdline", own, {"stat", "io", "cmdline"});
        compare("all four", own, {"stat", "statm", "io", "cmdline"});
    }
    std::printf("\n| files open | us to start a program and wait for it |\n|---|---|\n");
    for (const std::size_t count : {0U, 1000U, 4000U, 16000U})
        startPrograms(processes(), std::min(count + 0UL, mostDescriptors()));
    std::printf("\nload       %s\n", bench::loadAverages().c_str());
    return 0;
}

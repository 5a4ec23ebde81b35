// The process collector over processes that sleep, in a pid namespace of the program's own (needs root; elsewhere the
// host's processes are counted with them). The floor lists /proc and, per process, makes the same 13 system calls (one
// stat; open, read and close of stat, statm, io and cmdline, relative to /proc; a push scan has no use for the last);
// it also reads the three files of the system that a scan reads once. "process/kept floor" is a floor beside that
// floor: the same files read from descriptors that stay open, one stat and four reads per process. The other cases keep
// as many files open as their names say, else as many as the hard limit of descriptors lets them.
#include "Floor.h"
#include "Harness.h"
#include "MM_PROC_Info.h"
#include "OwnHost.h"
#include "Settings.h"
#include "host/ScopedHandle.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t directoryRoom = 32768;
constexpr int ownDescriptors = 200; // that no kept file may take
constexpr const char *names[] = {"/stat", "/statm", "/io", "/cmdline"};

bench::Sleepers *sleepers = nullptr;

// As the kernel writes it into the buffer of getdents64.
struct DirectoryEntry {
    unsigned long inode;
    long offset;
    unsigned short length;
    unsigned char type;
    char name[1];
};

void floorOfProcess(int directory, const char *pid, bool commandLine) {
    struct stat status;
    if (fstatat(directory, pid, &status, 0) != 0)
        return;
    char path[32];
    const std::size_t length = strnlen(pid, 16);
    std::memcpy(path, pid, length);
    const auto file = [&](const char *name, std::size_t room) {
        std::strcpy(path + length, name);
        bench::readOnceAt(directory, path, room);
    };
    file("/stat", PROC_TEXT_SIZE);
    file("/statm", PROC_TEXT_SIZE);
    file("/io", PROC_TEXT_SIZE);
    if (commandLine)
        file("/cmdline", PROC_TEXT_SIZE);
}

// Calls `work` with the open /proc and the name of each process.
template<class Work> void walkProcesses(Work work) {
    alignas(DirectoryEntry) static char entries[directoryRoom];
    const zel::ScopedDescriptor proc(open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (long length; (length = syscall(SYS_getdents64, proc.get(), entries, sizeof(entries))) > 0;) {
        for (long at = 0; at < length;) {
            const auto *entry = reinterpret_cast<const DirectoryEntry *>(entries + at);
            if (entry->name[0] >= '0' && entry->name[0] <= '9')
                work(proc.get(), entry->name);
            at += entry->length;
        }
    }
}

void readSystemFiles() {
    bench::readKernelFile("/proc/meminfo", 4095);
    bench::readKernelFile("/proc/uptime", 127);
    bench::readOnceAt(AT_FDCWD, "/proc/stat", 16384);
}

void floorOfScan(bool commandLine) {
    readSystemFiles();
    walkProcesses([commandLine](int directory, const char *pid) { floorOfProcess(directory, pid, commandLine); });
}

// The open files of the processes, in the order of /proc.
using OpenFiles = std::vector<std::array<int, std::size(names)>>;

void closeAll(OpenFiles *files) {
    for (const auto &process : *files) {
        for (const int file : process)
            close(file);
    }
    delete files;
}

std::shared_ptr<OpenFiles> openAll(std::size_t filesEach) {
    std::shared_ptr<OpenFiles> files(new OpenFiles, closeAll);
    walkProcesses([&](int directory, const char *pid) {
        std::array<int, std::size(names)> open;
        open.fill(-1);
        for (std::size_t i = 0; i < filesEach; ++i)
            open[i] = openat(directory, (std::string(pid) + names[i]).c_str(), O_RDONLY | O_CLOEXEC);
        files->push_back(open);
    });
    return files;
}

void keptFloor(const OpenFiles &files, std::size_t filesEach) {
    static char text[PROC_TEXT_SIZE];
    readSystemFiles();
    std::size_t at = 0;
    walkProcesses([&](int directory, const char *pid) {
        struct stat status;
        if (fstatat(directory, pid, &status, 0) != 0 || at == files.size())
            return;
        for (std::size_t i = 0; i < filesEach; ++i)
            bench::keep(pread(files[at][i], text, sizeof(text), 0) > 0 ? text : nullptr);
        ++at;
    });
}

// A floor of its own, beside the floor that opens anew.
bench::Work keptFloorWork(int mode) {
    const std::size_t filesEach = std::size(names) - (mode < 1 ? 0 : 1);
    auto files = std::make_shared<std::shared_ptr<OpenFiles>>();
    bench::Work work;
    work.sample = [files, filesEach] {
        if (*files == nullptr)
            *files = openAll(filesEach);
        keptFloor(**files, filesEach);
    };
    work.floor = [mode] { floorOfScan(mode < 1); };
    work.sample();
    return work;
}

int mostKept() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    return static_cast<int>(std::min<rlim_t>(limit.rlim_cur, 1 << 20)) - ownDescriptors;
}

bench::Work scanWork(int columns, int mode, int places) {
    g_nProcSleepCnt = 0;
    auto collector = std::make_shared<CMM_PROC_Info>();
    bench::Work work;
    work.sample = [collector, columns, mode, places] {
        g_nKeptFileLimit = places;
        g_nProcExtendFlag = columns;
        bench::keep(collector->fMGetProc(mode));
    };
    work.floor = [mode] { floorOfScan(mode < 1); };
    work.measured = [collector]() -> long { return collector->fMGetNProcs(); };
    for (int i = 0; i < 3; ++i) // files stay open from the second on
        work.sample();
    return work;
}

using MakeWork = std::function<bench::Work()>;

bench::Family family(const std::string &name, const std::vector<long> &sizes, const MakeWork &make) {
    return {name, bench::Source::Kernel, sizes, [make](long size, std::string &whyNot) {
                // This process is one of them.
                if (sleepers->bringTo(size - 1))
                    return make();
                whyNot = "the machine refuses so many processes";
                return bench::Work{};
            }};
}

bench::Family scan(const std::string &name, int columns, int mode, int places,
                   const std::vector<long> &sizes = {100, 1000, 5000, 10000}) {
    return family(name, sizes, [columns, mode, places] { return scanWork(columns, mode, places); });
}

} // namespace

int main(int argc, char **argv) {
    bench::enterOwnProcesses();
    const bench::ScratchHome home;
    bench::Sleepers own;
    sleepers = &own;
    const int all = mostKept();
    std::vector<bench::Family> families = {
        scan("process/text", 1, 0, all),
        scan("process/text plain", 0, 0, all),
        scan("process/push", 1, 1, all),
        scan("process/text, none kept", 1, 0, 0),
        scan("process/push, none kept", 1, 1, 0),
        family("process/kept floor", {100, 1000}, [] { return keptFloorWork(0); }),
        family("process/kept floor push", {100, 1000}, [] { return keptFloorWork(1); })};
    for (const int places : {64, 256, 1024})
        families.push_back(scan("process/text, " + std::to_string(places) + " kept", 1, 0, places, {1000}));
    bench::add(families);
    return bench::run(argc, argv);
}

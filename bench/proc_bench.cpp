// The process collector over processes that sleep, in a pid namespace of the program's own (needs root; elsewhere the
// host's processes are counted with them). The floor lists /proc and, per process, makes the same 13 system calls (one
// stat; open, read and close of stat, statm, io and cmdline, relative to /proc; a push scan has no use for the last);
// it also reads the three files of the system that a scan reads once.
#include "Floor.h"
#include "Harness.h"
#include "MM_PROC_Info.h"
#include "OwnHost.h"
#include "Settings.h"
#include "host/ScopedHandle.h"

#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t directoryRoom = 32768;

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

void floorOfProcesses(bool commandLine) {
    alignas(DirectoryEntry) static char entries[directoryRoom];
    const zel::ScopedDescriptor proc(open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (long length; (length = syscall(SYS_getdents64, proc.get(), entries, sizeof(entries))) > 0;) {
        for (long at = 0; at < length;) {
            const auto *entry = reinterpret_cast<const DirectoryEntry *>(entries + at);
            if (entry->name[0] >= '0' && entry->name[0] <= '9')
                floorOfProcess(proc.get(), entry->name, commandLine);
            at += entry->length;
        }
    }
}

void floorOfScan(bool commandLine) {
    bench::readKernelFile("/proc/meminfo", 4095);
    bench::readKernelFile("/proc/uptime", 127);
    bench::readOnceAt(AT_FDCWD, "/proc/stat", 16384);
    floorOfProcesses(commandLine);
}

bench::Work scanWork(int columns, int mode) {
    g_nProcSleepCnt = 0;
    auto collector = std::make_shared<CMM_PROC_Info>();
    bench::Work work;
    work.sample = [collector, columns, mode] {
        g_nProcExtendFlag = columns;
        bench::keep(collector->fMGetProc(mode));
    };
    work.floor = [mode] { floorOfScan(mode < 1); };
    work.measured = [collector]() -> long { return collector->fMGetNProcs(); };
    for (int i = 0; i < 3; ++i)
        work.sample();
    return work;
}

bench::Family family(const std::string &name, int columns, int mode) {
    return {name, bench::Source::Kernel, {100, 1000, 5000, 10000}, [columns, mode](long size, std::string &whyNot) {
                // This process is one of them.
                if (sleepers->bringTo(size - 1))
                    return scanWork(columns, mode);
                whyNot = "the machine refuses so many processes";
                return bench::Work{};
            }};
}

} // namespace

int main(int argc, char **argv) {
    bench::enterOwnProcesses();
    const bench::ScratchHome home;
    bench::Sleepers own;
    sleepers = &own;
    bench::add({family("process/text", 1, 0), family("process/text plain", 0, 0), family("process/push", 1, 1)});
    return bench::run(argc, argv);
}

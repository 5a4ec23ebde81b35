// The filesystem collector over real mounts: bind mounts in a mount namespace of the program's own (needs root and
// /var/tmp on a filesystem of more than 1 GB). The floor reads the mount table to its end, opens, examines and closes
// the list of NFS mounts that every pass writes anew, and calls statfs64 on every mount point that is measured.
#include "Floor.h"
#include "Harness.h"
#include "MM_FS_Info.h"
#include "OwnHost.h"
#include "Settings.h"
#include "filesystem/MM_FS_Mounts.h"
#include "host/ScopedHandle.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <vector>

namespace {

constexpr std::size_t firstTableRoom = 16384;
constexpr const char *nfsList = "../aproc/shell/NFSList.dat";

std::unique_ptr<bench::OwnMounts> mounts;

void excludePseudoFilesystems() {
    for (const char *type : {"tmpfs", "proc", "sysfs", "devpts", "cgroup", "cgroup2", "devtmpfs", "mqueue", "debugfs",
                             "tracefs", "securityfs", "bpf", "pstore", "hugetlbfs", "configfs", "fusectl"})
        std::strcpy(g_strExcludeFilesystem[g_nExcludeFilesystemCnt++], type);
}

// The mount points of which a pass asks the size.
std::vector<std::string> measuredMountPoints() {
    std::vector<std::string> names;
    zel::WholeFile file;
    if (!zel::readMountTable(file, zel::KeptScope::Never))
        return names;
    std::string text(file.text());
    zel::MountTable table(text);
    for (zel::MountEntry entry{}; table.next(entry);) {
        if (zel::typeReported(entry.type))
            names.emplace_back(entry.mountPoint);
    }
    return names;
}

long reportedFilesystems() {
    CMM_FS_Info collector;
    collector.fMGetFileSys();
    return collector.fMGetNFileSys();
}

bool haveFilesystems(long count, std::string &whyNot) {
    if (mounts == nullptr)
        mounts = std::make_unique<bench::OwnMounts>();
    const long present = reportedFilesystems();
    if (present <= count && mounts->add(count - present) && reportedFilesystems() == count)
        return true;
    whyNot = "needs root and /var/tmp on a large filesystem";
    return false;
}

template<class Pass> bench::Work filesystemWork(Pass pass) {
    auto collector = std::make_shared<CMM_FS_Info>();
    auto names = std::make_shared<std::vector<std::string>>(measuredMountPoints());
    auto room = std::make_shared<std::size_t>(firstTableRoom);
    bench::Work work;
    work.sample = [collector, pass] { pass(*collector); };
    const auto measureAll = [names] {
        const zel::ScopedDescriptor list(open(nfsList, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
        struct stat listStatus;
        fstat(list.get(), &listStatus);
        for (const std::string &name : *names) {
            struct statfs64 status;
            statfs64(name.c_str(), &status);
            bench::keep(&status);
        }
    };
    work.floor = [measureAll, room] {
        bench::readWhole("/etc/mtab", *room);
        measureAll();
    };
    work.keptFloor = [measureAll, table = std::make_shared<bench::OpenFile>("/etc/mtab")] {
        pollfd question{table->descriptor(), POLLPRI, 0};
        poll(&question, 1, 0);
        measureAll();
    };
    work.measured = [collector]() -> long { return collector->fMGetNFileSys(); };
    work.sample();
    return work;
}

template<class Pass> bench::Family family(const std::string &name, Pass pass) {
    return {name, bench::Source::Kernel, {20, 500, 1000}, [pass](long size, std::string &whyNot) {
                return haveFilesystems(size, whyNot) ? filesystemWork(pass) : bench::Work{};
            }};
}

} // namespace

int main(int argc, char **argv) {
    const bench::ScratchHome home;
    excludePseudoFilesystems();
    bench::add({family("filesystem/record", [](CMM_FS_Info &collector) { bench::keep(collector.fMGetFileSys()); }),
                family("filesystem/iterated",
                       [](CMM_FS_Info &collector) {
                           collector.fMGetFileSys();
                           while (const _ST_FS *record = collector.fMGetFileSysNext())
                               bench::keep(record);
                       }),
                family("filesystem/text", [](CMM_FS_Info &collector) {
                    collector.fGetFileSystem();
                    bench::keep(collector.fGetFSInfo());
                })});
    const int result = bench::run(argc, argv);
    mounts.reset();
    return result;
}

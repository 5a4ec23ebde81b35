// A pass over the mount table beside its floor: the same table read with getmntent and the same statfs64 calls, with no
// filters, records or text. 1000 bind mounts stand in a mount table of the program's own. Needs root (or a user
// namespace) and a temporary directory on a filesystem of 2 GB or more.
#include "MM_FS_Info.h"
#include "Settings.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mntent.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/statfs.h>

namespace {

namespace fs = std::filesystem;

constexpr int mounts = 1000;

// Bind mounts below a temporary directory, in a mount table of their own, all gone at the end.
class ManyMounts {
public:
    ManyMounts() {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
            std::perror("fs_bench: no mount table of its own");
            std::exit(1);
        }
        std::string pattern = (fs::temp_directory_path() / "zel-bench-XXXXXX").string();
        m_root = mkdtemp(pattern.data());
        fs::create_directory(m_root / "source");
        for (int i = 0; i < mounts; ++i) {
            const fs::path target = m_root / ("mount" + std::to_string(i));
            fs::create_directory(target);
            if (mount((m_root / "source").c_str(), target.c_str(), nullptr, MS_BIND, nullptr) != 0) {
                std::perror("fs_bench: bind mount");
                std::exit(1);
            }
        }
    }
    ~ManyMounts() {
        for (int i = 0; i < mounts; ++i)
            umount2((m_root / ("mount" + std::to_string(i))).c_str(), MNT_DETACH);
        fs::remove_all(m_root);
    }
    ManyMounts(const ManyMounts &) = delete;
    ManyMounts &operator=(const ManyMounts &) = delete;

private:
    fs::path m_root;
};

void excludePseudoFilesystems() {
    for (const char *type : {"tmpfs", "proc", "sysfs", "devpts", "cgroup", "cgroup2", "devtmpfs"})
        std::strcpy(g_strExcludeFilesystem[g_nExcludeFilesystemCnt++], type);
}

bool measured(const mntent &entry) {
    for (int i = 0; i < g_nExcludeFilesystemCnt; ++i)
        if (std::strcmp(entry.mnt_type, g_strExcludeFilesystem[i]) == 0)
            return false;
    return true;
}

void floorTable(benchmark::State &state) {
    for (auto step : state) {
        std::FILE *table = setmntent("/etc/mtab", "r");
        while (const mntent *entry = getmntent(table))
            benchmark::DoNotOptimize(entry->mnt_dir);
        endmntent(table);
    }
}
BENCHMARK(floorTable)->Unit(benchmark::kMicrosecond);

void floorTableAndStatfs(benchmark::State &state) {
    for (auto step : state) {
        std::FILE *table = setmntent("/etc/mtab", "r");
        while (const mntent *entry = getmntent(table)) {
            struct statfs64 status {};
            if (measured(*entry))
                statfs64(entry->mnt_dir, &status);
            benchmark::DoNotOptimize(status);
        }
        endmntent(table);
    }
}
BENCHMARK(floorTableAndStatfs)->Unit(benchmark::kMicrosecond);

void recordPass(benchmark::State &state) {
    CMM_FS_Info collector;
    for (auto step : state)
        benchmark::DoNotOptimize(collector.fMGetFileSys());
    state.counters["filesystems"] = collector.fMGetNFileSys();
}
BENCHMARK(recordPass)->Unit(benchmark::kMicrosecond);

void recordPassAndIteration(benchmark::State &state) {
    CMM_FS_Info collector;
    for (auto step : state) {
        collector.fMGetFileSys();
        while (const _ST_FS *record = collector.fMGetFileSysNext())
            benchmark::DoNotOptimize(record->l_dDskUsage);
    }
    state.counters["filesystems"] = collector.fMGetNFileSys();
}
BENCHMARK(recordPassAndIteration)->Unit(benchmark::kMicrosecond);

void textPass(benchmark::State &state) {
    CMM_FS_Info collector;
    for (auto step : state)
        benchmark::DoNotOptimize(collector.fGetFileSystem());
    state.counters["filesystems"] = collector.fMGetNFileSys();
}
BENCHMARK(textPass)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv) {
    const ManyMounts host;
    excludePseudoFilesystems();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

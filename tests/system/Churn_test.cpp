// Processes, interfaces, disks, mounts and ports that come and go, cycle after cycle without a pause. What a collector
// remembers of each that it ever saw is bounded by what it saw; nothing else grows.
//
// The pools turn over every `turn` cycles, so that from the second turn on everything has been seen before. The
// environment variable ZEL_CHURN_CYCLES asks for a longer run, such as 10000.
#include "FcHost.h"
#include "FilesystemHost.h"
#include "MM_FS_Info.h"
#include "MM_HBA_Info.h"
#include "MM_IO_Info.h"
#include "MM_NWT_Info.h"
#include "MM_PROC_Info.h"
#include "MemoryLedger.h"
#include "NetworkScene.h"
#include "ProcessHost.h"
#include "Settings.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <set>

namespace {

namespace fs = std::filesystem;

constexpr int turn = 25; // cycles
constexpr int usualCycles = 3 * turn;
constexpr double roundingBytes = 1024; // of blocks that are a little larger than what was asked for

// A window of `present` members moves over a pool, so that every cycle some come and some go.
struct Pool {
    int first;
    int step; // per cycle; the pool has step * turn members
    int present;

    int members() const { return step * turn; }
    int member(int cycle, int place) const { return first + (cycle * step + place) % members(); }
};

constexpr Pool pids{1000, 200, 250};   // 5000 processes
constexpr Pool interfaces{0, 20, 150}; // 500 interfaces
constexpr Pool disks{0, 4, 40};        // 100 disks
constexpr Pool mounts{0, 4, 40};

std::string letters(int number) {
    return {static_cast<char>('a' + number / 26), static_cast<char>('a' + number % 26)};
}

long cyclesWanted() {
    const char *wanted = std::getenv("ZEL_CHURN_CYCLES");
    return wanted == nullptr ? usualCycles : std::max(3L * turn, std::strtol(wanted, nullptr, 10) / turn * turn);
}

int openDescriptors() {
    int count = 0;
    for ([[maybe_unused]] const auto &entry : fs::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

// A host in memory whose members are renamed, not rewritten: a cycle costs what the collectors cost.
class ChurningHost {
public:
    ChurningHost() {
        g_nInterfaceStrType = 1;
        g_nDiskStrType = 1;
        g_nProcExtendFlag = 1;
        g_nLinuxBandwidthFlag = 1;
        systemHooks().system = [](const char *) { return 0; };
        systemHooks().statfs64 = [](const char *, struct statfs64 *status) {
            *status = FilesystemHost::twoGigabytes();
            return 0;
        };
        char pattern[] = "/dev/shm/zel-churn-XXXXXX";
        m_root = mkdtemp(pattern) == nullptr ? m_fallback.path() : fs::path(pattern);
        std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s", m_root.c_str());
        fs::create_directories(m_root / "proc/net");
        fs::create_directories(m_root / "etc");
        write("proc/stat", "cpu  1 2 3 4 5 6 7 0 0 0\ncpu0 1 2 3 4 5 6 7 0 0 0\n");
        write("proc/meminfo", "MemTotal:        8000000 kB\nMemFree:         1000000 kB\n");
        write("proc/uptime", "1000.50 1800.25\n");
        show(0);
    }
    ~ChurningHost() {
        g_strHostRoot[0] = '\0';
        std::error_code ignored;
        fs::remove_all(m_root, ignored);
    }
    ChurningHost(const ChurningHost &) = delete;
    ChurningHost &operator=(const ChurningHost &) = delete;

    void show(int cycle) {
        moveProcesses(cycle);
        std::string table = NET_DEV_HEADER;
        for (int place = 0; place < interfaces.present; ++place)
            table += "veth" + std::to_string(interfaces.member(cycle, place)) + ": 1 2 0 0 0 0 0 0 3 4 0 0 0 0 0 0\n";
        write("proc/net/dev", table);
        std::string counters;
        for (int place = 0; place < disks.present; ++place)
            counters += "   8  " + std::to_string(16 * place) + " sd" + letters(disks.member(cycle, place)) +
                        " 1 2 3 4 5 6 7 8 9 10 11\n";
        write("proc/diskstats", counters);
        std::string mounted;
        for (int place = 0; place < mounts.present; ++place)
            mounted += "/dev/vd /mnt/" + std::to_string(mounts.member(cycle, place)) + " ext4 rw 0 0\n";
        write("etc/mtab", mounted);
    }

private:
    // Who is not in the window any more becomes who is new in it.
    void moveProcesses(int cycle) {
        std::set<int> shown;
        for (int place = 0; place < pids.present; ++place)
            shown.insert(pids.member(cycle, place));
        std::vector<int> gone;
        std::vector<int> come;
        std::set_difference(m_shown.begin(), m_shown.end(), shown.begin(), shown.end(), std::back_inserter(gone));
        std::set_difference(shown.begin(), shown.end(), m_shown.begin(), m_shown.end(), std::back_inserter(come));
        for (std::size_t i = 0; i < come.size(); ++i) {
            if (i < gone.size())
                fs::rename(process(gone[i]), process(come[i]));
            makeProcess(come[i], i < gone.size());
        }
        m_shown = std::move(shown);
    }

    fs::path process(int pid) const { return m_root / "proc" / std::to_string(pid); }

    void makeProcess(int pid, bool statOnly) const {
        fs::create_directory(process(pid));
        const std::string directory = "proc/" + std::to_string(pid) + "/";
        write(directory + "stat", statLine({.pid = pid, .utime = 5, .start = 100}));
        if (statOnly)
            return;
        write(directory + "statm", "43005 12 1200 200 0 1500 0\n");
        write(directory + "cmdline", std::string("/bin/sleeper\0", 13));
        write(directory + "io", "rchar: 1\nwchar: 2\nsyscr: 3\nsyscw: 4\nread_bytes: 5\nwrite_bytes: 6\n");
    }

    void write(const std::string &path, const std::string &text) const {
        std::ofstream(m_root / path, std::ios::binary | std::ios::trunc) << text;
    }

    TempDirectory m_fallback;
    ScratchHome m_home;
    fs::path m_root;
    std::set<int> m_shown; // processes
};

// All collectors of processes, interfaces, disks and mounts. One process collector is pruned as an agent prunes it.
class ChurnedCollectors {
public:
    void sample() {
        EXPECT_NE(processes.fMGetProc(0), nullptr);
        prunedProcesses.fProcMapUpdate();
        EXPECT_NE(prunedProcesses.fMGetProc(1), nullptr);
        prunedProcesses.fProcMapErase();
        network.fMGetNetworkStat(0, 0);
        g_nInterfaceStrType = 0;
        listedNetwork.fMGetNetworkStat(0, 0);
        g_nInterfaceStrType = 1;
        textDisks.fMGetIoStat(0, 1, 0);
        g_nDiskStrType = 0;
        listedDisks.fMGetIoStat(0, 1, 0);
        g_nDiskStrType = 1;
        EXPECT_NE(filesystems.fMGetFileSys(), nullptr);
        EXPECT_EQ(filesystems.fGetFileSystem(), mounts.present);
    }

    CMM_PROC_Info processes;
    CMM_PROC_Info prunedProcesses;
    CMM_NWT_Info network;
    CMM_NWT_Info listedNetwork;
    CMM_IO_Info textDisks;
    CMM_IO_Info listedDisks;
    CMM_FS_Info filesystems;
};

TEST(Churn, MemoryAndDescriptorsStayFlatOnceEverythingWasMet) {
    ChurningHost host;
    ChurnedCollectors collectors;
    const long cycles = cyclesWanted();
    const HeapHoldings atStart = heapHoldings();
    HeapHoldings afterTwoTurns;
    int descriptors = 0;
    for (int cycle = 0; cycle < cycles; ++cycle) {
        host.show(cycle);
        collectors.sample();
        if (cycle == 2 * turn - 1) {
            afterTwoTurns = heapHoldings();
            descriptors = openDescriptors();
        }
    }
    const HeapHoldings atEnd = heapHoldings();
    EXPECT_EQ(collectors.processes.m_ProcMap.size(), static_cast<std::size_t>(pids.members()));
    EXPECT_EQ(collectors.prunedProcesses.m_ProcMap.size(), static_cast<std::size_t>(pids.present));
    EXPECT_EQ(collectors.network.m_NetworkMap.size(), static_cast<std::size_t>(interfaces.members()));
    EXPECT_EQ(collectors.listedNetwork.m_pclList_Old->fSlNList(), interfaces.members());
    EXPECT_EQ(collectors.textDisks.m_DiskMap.size(), static_cast<std::size_t>(disks.members()));
    EXPECT_EQ(collectors.listedDisks.m_pclList_Old->fSlNList(), disks.members());
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(atEnd.blocks, afterTwoTurns.blocks);
    EXPECT_NEAR(static_cast<double>(atEnd.bytes), static_cast<double>(afterTwoTurns.bytes), roundingBytes);
    std::printf("%ld cycles: %ld bytes at the start, %ld after two turns, %ld at the end; %d descriptors\n", cycles,
                atStart.bytes, afterTwoTurns.bytes, atEnd.bytes, descriptors);
}

// What one cycle with `met` new members adds for good, per member.
template<typename Sample> long bytesPerMember(int met, Sample sample) {
    sample(0);
    sample(0);
    const HeapHoldings before = heapHoldings();
    sample(1); // other members
    sample(0); // and the first ones again
    return (heapHoldings().bytes - before.bytes) / met;
}

template<typename Record> constexpr long recordAndNode = static_cast<long>(sizeof(Record)) + 112;

// A record of each kind with the node of its map or list.
TEST(Churn, WhatIsRememberedOfAMemberIsSmall) {
    if (!HAS_MEMORY_LEDGER)
        GTEST_SKIP() << "sanitizers keep their own books of the heap";
    ChurningHost host;
    ChurnedCollectors collectors;
    // Half a turn on, nobody of the first window is left.
    const auto at = [&host](int moment) { host.show(moment == 0 ? 0 : turn / 2); };
    const auto report = [](const char *kind, long bytes, long limit) {
        std::printf("%s: %ld bytes\n", kind, bytes);
        EXPECT_GT(bytes, 0) << kind;
        EXPECT_LE(bytes, limit) << kind;
    };
    report("process",
           bytesPerMember(pids.present,
                          [&](int moment) {
                              at(moment);
                              collectors.processes.fMGetProc(0);
                          }),
           recordAndNode<_ST_PROC_OLD_LIST>);
    report("interface, text mode",
           bytesPerMember(interfaces.present,
                          [&](int moment) {
                              at(moment);
                              collectors.network.fMGetNetworkStat(0, 0);
                          }),
           recordAndNode<_ST_NETWORK_OLD_LIST>);
    g_nInterfaceStrType = 0;
    report("interface, list mode",
           bytesPerMember(interfaces.present,
                          [&](int moment) {
                              at(moment);
                              collectors.listedNetwork.fMGetNetworkStat(0, 0);
                          }),
           recordAndNode<_ST_STATIC_NETWORK>);
    report("disk, text form",
           bytesPerMember(disks.present,
                          [&](int moment) {
                              at(moment);
                              collectors.textDisks.fMGetIoStat(0, 1, 0);
                          }),
           recordAndNode<_ST_DISK_OLD_LIST>);
    g_nDiskStrType = 0;
    report("disk, list form",
           bytesPerMember(disks.present,
                          [&](int moment) {
                              at(moment);
                              collectors.listedDisks.fMGetIoStat(0, 1, 0);
                          }),
           recordAndNode<_ST_COMPUTE_IO>);
    // The text of the table is kept until the next one: its room is made by names of two digits, as all that follow.
    at(1);
    collectors.filesystems.fMGetFileSys();
    report("mount",
           1 + bytesPerMember(mounts.present,
                              [&](int moment) {
                                  host.show(moment == 0 ? 0 : turn / 4);
                                  collectors.filesystems.fMGetFileSys();
                              }),
           1);
}

} // namespace

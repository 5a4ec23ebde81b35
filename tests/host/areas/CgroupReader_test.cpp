// Control groups below a root directory: every file of a cgroup, what is missing or damaged, and trees made on purpose.
#include "PrivateMounts.h"
#include "SampledHost.h"
#include "host/Rates.h"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace {

using zel::Absence;
using zel::Area;
using zel::Cgroup;

const std::string top = "sys/fs/cgroup";

// A tree that is there, and nothing in its root.
class CgroupReader : public testing::Test {
protected:
    CgroupReader() { make(""); }

    // A cgroup without any controller; its path is "/a/b", or "" for the root.
    void make(const std::string &path) const { host.write(top + path + "/cgroup.controllers", ""); }
    void write(const std::string &path, const std::string &text) const { host.write(top + path, text); }

    const Cgroup *find(const std::string &path) const { return find(*sample, path); }
    static const Cgroup *find(const zel::Sample &sample, const std::string &path) {
        for (const Cgroup &cgroup : sample.cgroups) {
            if (cgroup.path == path)
                return &cgroup;
        }
        return nullptr;
    }
    const Cgroup &take(const std::string &path) {
        static const Cgroup none{};
        sample = &host.take();
        const Cgroup *found = find(path);
        EXPECT_NE(found, nullptr) << path;
        return found == nullptr ? none : *found;
    }
    std::pair<int, std::string> failure() const { return failureOf(*sample, Area::Cgroups); }

    SampledHost host{{Area::Cgroups}};
    const zel::Sample *sample = nullptr;
};

TEST_F(CgroupReader, ProcessorTimeLimitsAndThrottling) {
    write("/web/cpu.stat", "usage_usec 902939\nuser_usec 432814\nsystem_usec 470125\nnice_usec 17\n"
                           "core_sched.force_idle_usec 0\nnr_periods 46\nnr_throttled 44\nthrottled_usec 3303788\n"
                           "nr_bursts 1\nburst_usec 10000\n");
    write("/web/cpu.max", "150000 100000\n");
    write("/web/cpu.weight", "200\n");
    const Cgroup &web = take("/web");
    EXPECT_TRUE(holds(web.cpuUsageSeconds, 0.902939));
    EXPECT_TRUE(holds(web.cpuUserSeconds, 0.432814));
    EXPECT_TRUE(holds(web.cpuSystemSeconds, 0.470125));
    EXPECT_TRUE(holds(web.cpuNiceSeconds, 0.000017));
    EXPECT_TRUE(holds(web.cpuPeriods, 46));
    EXPECT_TRUE(holds(web.cpuThrottledPeriods, 44));
    EXPECT_TRUE(holds(web.cpuThrottledSeconds, 3.303788));
    EXPECT_TRUE(holds(web.cpuBursts, 1));
    EXPECT_TRUE(holds(web.cpuBurstSeconds, 0.01));
    EXPECT_TRUE(holds(web.cpuLimit, 1.5));
    EXPECT_TRUE(holds(web.cpuPeriodSeconds, 0.1));
    EXPECT_TRUE(holds(web.cpuWeight, 200));
    EXPECT_EQ(failure(), NO_FAILURE);
}

TEST_F(CgroupReader, MemoryWithItsLimitsAndEvents) {
    write("/web/memory.current", "17301504\n");
    write("/web/memory.peak", "21233664\n");
    write("/web/memory.min", "0\n");
    write("/web/memory.low", "4096\n");
    write("/web/memory.high", "50331648\n");
    write("/web/memory.max", "67108864\n");
    write("/web/memory.swap.current", "8192\n");
    write("/web/memory.swap.max", "1048576\n");
    write("/web/memory.events", "low 1\nhigh 2\nmax 3\noom 4\noom_kill 5\noom_group_kill 6\n");
    write("/web/memory.stat", "anon 1126400\nfile 20971520\nkernel 200704\nkernel_stack 32768\npagetables 49152\n"
                              "sec_pagetables 7\npercpu 11\nsock 13\nvmalloc 17\nshmem 19\nfile_mapped 23\n"
                              "file_dirty 29\nfile_writeback 31\nswapcached 37\nanon_thp 41\ninactive_anon 43\n"
                              "active_anon 47\ninactive_file 53\nactive_file 59\nunevictable 61\n"
                              "slab_reclaimable 67\nslab_unreclaimable 71\nslab 138\nworkingset_refault_anon 73\n"
                              "workingset_refault_file 79\npgscan 83\npgsteal 89\npgfault 315\npgmajfault 97\n");
    const Cgroup &web = take("/web");
    EXPECT_TRUE(holds(web.memoryCurrent, 17301504));
    EXPECT_TRUE(holds(web.memoryPeak, 21233664));
    EXPECT_TRUE(holds(web.memoryMin, 0));
    EXPECT_TRUE(holds(web.memoryLow, 4096));
    EXPECT_TRUE(holds(web.memoryHigh, 50331648));
    EXPECT_TRUE(holds(web.memoryMax, 67108864));
    EXPECT_TRUE(holds(web.swapCurrent, 8192));
    EXPECT_TRUE(holds(web.swapMax, 1048576));
    EXPECT_TRUE(holds(web.memoryLowEvents, 1));
    EXPECT_TRUE(holds(web.memoryHighEvents, 2));
    EXPECT_TRUE(holds(web.memoryMaxEvents, 3));
    EXPECT_TRUE(holds(web.oomEvents, 4));
    EXPECT_TRUE(holds(web.oomKills, 5));
    EXPECT_TRUE(holds(web.oomGroupKills, 6));
    EXPECT_TRUE(holds(web.anonymousBytes, 1126400));
    EXPECT_TRUE(holds(web.fileBytes, 20971520));
    EXPECT_TRUE(holds(web.kernelBytes, 200704));
    EXPECT_TRUE(holds(web.kernelStackBytes, 32768));
    EXPECT_TRUE(holds(web.pageTablesBytes, 49152));
    EXPECT_TRUE(holds(web.perCpuBytes, 11));
    EXPECT_TRUE(holds(web.socketBytes, 13));
    EXPECT_TRUE(holds(web.sharedBytes, 19));
    EXPECT_TRUE(lacks(web.zswapBytes, Absence::Unsupported)) << "this kernel has none";
    EXPECT_TRUE(holds(web.mappedBytes, 23));
    EXPECT_TRUE(holds(web.dirtyBytes, 29));
    EXPECT_TRUE(holds(web.writebackBytes, 31));
    EXPECT_TRUE(holds(web.swapCachedBytes, 37));
    EXPECT_TRUE(holds(web.anonymousHugeBytes, 41));
    EXPECT_TRUE(holds(web.inactiveAnonymousBytes, 43));
    EXPECT_TRUE(holds(web.activeAnonymousBytes, 47));
    EXPECT_TRUE(holds(web.inactiveFileBytes, 53));
    EXPECT_TRUE(holds(web.activeFileBytes, 59));
    EXPECT_TRUE(holds(web.unevictableBytes, 61));
    EXPECT_TRUE(holds(web.slabReclaimableBytes, 67));
    EXPECT_TRUE(holds(web.slabUnreclaimableBytes, 71));
    EXPECT_TRUE(holds(web.refaultsAnonymous, 73));
    EXPECT_TRUE(holds(web.refaultsFile, 79));
    EXPECT_TRUE(holds(web.pagesScanned, 83));
    EXPECT_TRUE(holds(web.pagesReclaimed, 89));
    EXPECT_TRUE(holds(web.pageFaults, 315));
    EXPECT_TRUE(holds(web.majorPageFaults, 97));
    EXPECT_EQ(failure(), NO_FAILURE);
}

TEST_F(CgroupReader, EventsCountsPidsAndPressure) {
    write("/web/cgroup.events", "populated 1\nfrozen 0\n");
    write("/web/cgroup.stat", "nr_descendants 2\nnr_subsys_cpu 3\nnr_dying_descendants 5\n");
    write("/web/pids.current", "3\n");
    write("/web/pids.max", "50\n");
    write("/web/pids.events", "max 7\n");
    write("/web/cpu.pressure", "some avg10=30.72 avg60=5.96 avg300=1.26 total=4309973\n"
                               "full avg10=24.43 avg60=4.73 avg300=1.00 total=3422436\n");
    write("/web/memory.pressure", "some avg10=0.10 avg60=0.20 avg300=0.30 total=4\n"
                                  "full avg10=0.50 avg60=0.60 avg300=0.70 total=8\n");
    write("/web/io.pressure", "some avg10=1.00 avg60=2.00 avg300=3.00 total=4000000\n");
    const Cgroup &web = take("/web");
    EXPECT_TRUE(holds(web.populated, 1));
    EXPECT_TRUE(holds(web.frozen, 0));
    EXPECT_TRUE(holds(web.descendants, 2));
    EXPECT_TRUE(holds(web.dyingDescendants, 5));
    EXPECT_TRUE(holds(web.pidsCurrent, 3));
    EXPECT_TRUE(holds(web.pidsMax, 50));
    EXPECT_TRUE(holds(web.pidsLimitHits, 7));
    EXPECT_TRUE(holds(web.cpuSomeAverage10, 0.3072));
    EXPECT_TRUE(holds(web.cpuFullAverage60, 0.0473));
    EXPECT_TRUE(holds(web.cpuFullSeconds, 3.422436));
    EXPECT_TRUE(holds(web.memorySomeAverage300, 0.003));
    EXPECT_TRUE(holds(web.memoryFullAverage10, 0.005));
    EXPECT_TRUE(holds(web.memoryFullSeconds, 0.000008));
    EXPECT_TRUE(holds(web.ioSomeSeconds, 4));
    EXPECT_TRUE(lacks(web.ioFullSeconds, Absence::Unsupported));
    EXPECT_EQ(failure(), NO_FAILURE);
}

TEST_F(CgroupReader, LimitThatIsNotSetIsUnsupported) {
    write("/web/cpu.max", "max 100000\n");
    write("/web/memory.max", "max\n");
    write("/web/pids.max", "max\n");
    const Cgroup &web = take("/web");
    EXPECT_TRUE(lacks(web.cpuLimit, Absence::Unsupported));
    EXPECT_TRUE(holds(web.cpuPeriodSeconds, 0.1));
    EXPECT_TRUE(lacks(web.memoryMax, Absence::Unsupported));
    EXPECT_TRUE(lacks(web.pidsMax, Absence::Unsupported));
    EXPECT_EQ(failure(), NO_FAILURE);
}

TEST_F(CgroupReader, WithoutControllersThereIsNothingAndNoFailure) {
    make("/web");
    const Cgroup &web = take("/web");
    EXPECT_TRUE(lacks(web.memoryCurrent, Absence::Unsupported));
    EXPECT_TRUE(lacks(web.ioReadBytes, Absence::Unsupported));
    EXPECT_TRUE(lacks(web.cpuUsageSeconds, Absence::Unsupported));
    EXPECT_TRUE(lacks(web.inode, Absence::Unsupported)) << "that of a copy says nothing";
    EXPECT_EQ(failure(), NO_FAILURE);
    EXPECT_TRUE(holds(sample->cgroupTotals.cgroups, 2));
    EXPECT_TRUE(holds(sample->cgroupTotals.cgroupsLeftOut, 0));
    EXPECT_EQ(sample->cgroupTotals.mountPoint.value(), "/sys/fs/cgroup");
}

TEST_F(CgroupReader, DamagedFilesAreMalformedAloneAndNamed) {
    write("/web/cgroup.events", "");
    write("/web/cpu.stat", "usage_usec 12x\nuser_usec 5\n");
    write("/web/cpu.max", "7\n");
    write("/web/memory.current", "-1\n");
    write("/web/memory.stat", "\x01\x02 binary\n");
    write("/web/cpu.pressure", "some avg10=oops\n");
    write("/web/pids.max", "maximum\n");
    write("/web/pids.current", "4\n");
    const Cgroup &web = take("/web");
    EXPECT_TRUE(lacks(web.populated, Absence::Malformed));
    EXPECT_TRUE(lacks(web.cpuUsageSeconds, Absence::Malformed));
    EXPECT_TRUE(holds(web.cpuUserSeconds, 0.000005));
    EXPECT_TRUE(lacks(web.cpuLimit, Absence::Malformed));
    EXPECT_TRUE(lacks(web.cpuPeriodSeconds, Absence::Malformed));
    EXPECT_TRUE(lacks(web.memoryCurrent, Absence::Malformed));
    EXPECT_TRUE(lacks(web.anonymousBytes, Absence::Malformed));
    EXPECT_TRUE(lacks(web.cpuSomeAverage10, Absence::Malformed));
    EXPECT_TRUE(lacks(web.pidsMax, Absence::Malformed));
    EXPECT_TRUE(holds(web.pidsCurrent, 4)) << "the others are whole";
    EXPECT_EQ(failure(), std::pair(EBADMSG, top + "/web/cgroup.events"));
}

TEST_F(CgroupReader, WhatIsNoFileIsNamed) {
    make("/web");
    std::filesystem::create_directory(host.path() + "/" + top + "/web/memory.stat");
    std::filesystem::create_symlink("/etc/passwd", host.path() + "/" + top + "/web/memory.current");
    ASSERT_EQ(mkfifo((host.path() + "/" + top + "/web/pids.current").c_str(), 0600), 0);
    const Cgroup &web = take("/web");
    EXPECT_TRUE(lacks(web.anonymousBytes, Absence::Malformed));
    EXPECT_TRUE(lacks(web.memoryCurrent, Absence::Unsupported)) << "no link is followed";
    EXPECT_FALSE(web.pidsCurrent);
    EXPECT_EQ(failure(), std::pair(ELOOP, top + "/web/memory.current"));
    EXPECT_NE(find("/web/memory.stat"), nullptr) << "every directory is a cgroup";
}

TEST_F(CgroupReader, DevicesHaveRowsAndAreAddedUp) {
    write("/web/io.stat", "8:0 rbytes=4096 wbytes=8192 rios=1 wios=2 dbytes=512 dios=3\n"
                          "253:1 rbytes=1 wbytes=2 rios=3 wios=4 dbytes=5 dios=6 cost.usage=77\n");
    write("/db/io.stat", "");
    std::filesystem::create_directories(host.path() + "/sys/dev/block");
    std::filesystem::create_symlink("../../devices/virtual/block/cciss!c0d0", host.path() + "/sys/dev/block/253:1");
    const Cgroup &web = take("/web");
    EXPECT_TRUE(holds(web.ioReadBytes, 4097));
    EXPECT_TRUE(holds(web.ioWrittenBytes, 8194));
    EXPECT_TRUE(holds(web.ioReads, 4));
    EXPECT_TRUE(holds(web.ioWrites, 6));
    EXPECT_TRUE(holds(web.ioDiscardedBytes, 517));
    EXPECT_TRUE(holds(web.ioDiscards, 9));
    ASSERT_EQ(sample->cgroupDevices.size(), 2U);
    const zel::CgroupDevice &disk = sample->cgroupDevices[0], &mapped = sample->cgroupDevices[1];
    EXPECT_EQ(disk.path, "/web");
    EXPECT_EQ(disk.device, "8:0");
    EXPECT_TRUE(lacks(disk.name, Absence::Unsupported));
    EXPECT_TRUE(holds(disk.discardedBytes, 512));
    EXPECT_EQ(mapped.device, "253:1");
    EXPECT_TRUE(holds(mapped.name, "cciss/c0d0"));
    EXPECT_TRUE(holds(mapped.writes, 4));
    EXPECT_TRUE(holds(find("/db")->ioReadBytes, 0)) << "no I/O, and that is known";
    EXPECT_EQ(failure(), NO_FAILURE);
}

TEST_F(CgroupReader, LinesOfDevicesMayBeOddOrDamaged) {
    write("/web/io.stat", "7:7 7:6 8:0 rbytes=1 wbytes=2 rios=3 wios=4\n" // of kernels that end no line without counts
                          "7:5 \n"
                          "(unknown) rbytes=9\n"
                          "8:16 rbytes=x wbytes=20 rios=30 wios=40\n");
    const Cgroup &web = take("/web");
    ASSERT_EQ(sample->cgroupDevices.size(), 2U);
    EXPECT_EQ(sample->cgroupDevices[0].device, "8:0");
    EXPECT_EQ(sample->cgroupDevices[1].device, "8:16");
    EXPECT_TRUE(lacks(sample->cgroupDevices[0].discards, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample->cgroupDevices[1].readBytes, Absence::Malformed));
    EXPECT_TRUE(lacks(web.ioReadBytes, Absence::Malformed));
    EXPECT_TRUE(holds(web.ioWrittenBytes, 22));
    EXPECT_TRUE(lacks(web.ioDiscards, Absence::Unsupported));
    EXPECT_EQ(failure(), std::pair(EBADMSG, top + "/web/io.stat"));
}

TEST_F(CgroupReader, DevicesBeyondTheLimitAreCountedAndStillAddedUp) {
    std::string text;
    for (std::size_t minor = 0; minor < zel::CGROUP_DEVICE_LIMIT + 3; ++minor)
        text += "8:" + std::to_string(minor) + " rbytes=1 wbytes=0 rios=0 wios=0 dbytes=0 dios=0\n";
    write("/web/io.stat", text);
    EXPECT_TRUE(holds(take("/web").ioReadBytes, zel::CGROUP_DEVICE_LIMIT + 3));
    EXPECT_EQ(sample->cgroupDevices.size(), zel::CGROUP_DEVICE_LIMIT);
    EXPECT_TRUE(holds(sample->cgroupTotals.devicesLeftOut, 3));
}

TEST_F(CgroupReader, UnitsAndContainersAreKnownByTheirNames) {
    const std::string id(64, 'a');
    make("/system.slice/ssh.service");
    make("/system.slice/docker-" + id + ".scope/init");
    make("/kubepods/besteffort");
    take("/");
    EXPECT_TRUE(holds(find("/system.slice")->unitType, "slice"));
    EXPECT_TRUE(holds(find("/system.slice/ssh.service")->unitType, "service"));
    EXPECT_TRUE(lacks(find("/system.slice/ssh.service")->container, Absence::Unsupported));
    const Cgroup &container = *find("/system.slice/docker-" + id + ".scope");
    EXPECT_TRUE(holds(container.unitType, "scope"));
    EXPECT_TRUE(holds(container.container, id));
    const Cgroup &inside = *find("/system.slice/docker-" + id + ".scope/init");
    EXPECT_TRUE(holds(inside.container, id));
    EXPECT_TRUE(lacks(inside.unitType, Absence::Unsupported));
    EXPECT_TRUE(lacks(find("/kubepods")->unitType, Absence::Unsupported));
}

TEST_F(CgroupReader, CgroupsComeAndGoBetweenSamples) {
    write("/web/pids.current", "1\n");
    make("/db");
    EXPECT_TRUE(holds(take("/web").pidsCurrent, 1));
    host.remove(top + "/db");
    make("/new");
    write("/web/pids.current", "2\n");
    EXPECT_TRUE(holds(take("/web").pidsCurrent, 2));
    EXPECT_EQ(find("/db"), nullptr);
    EXPECT_NE(find("/new"), nullptr);
    EXPECT_EQ(sample->cgroups.size(), 3U);
}

TEST_F(CgroupReader, NamesMayHoldAnyBytes) {
    make("/a \"b\"\n\x1f\xff,c");
    EXPECT_TRUE(lacks(take("/a \"b\"\n\x1f\xff,c").unitType, Absence::Unsupported));
    EXPECT_EQ(sample->cgroups.size(), 2U);
}

TEST_F(CgroupReader, LinksAreNoCgroups) {
    make("/web");
    std::filesystem::create_directory_symlink("..", host.path() + "/" + top + "/web/again");
    std::filesystem::create_directory_symlink("/etc", host.path() + "/" + top + "/out");
    take("/web");
    EXPECT_EQ(sample->cgroups.size(), 2U);
    EXPECT_EQ(failure(), NO_FAILURE);
}

TEST_F(CgroupReader, WhatIsTooDeepIsCountedByTheKernelsOwnNumber) {
    constexpr unsigned beyond = 20;
    std::string path;
    for (unsigned depth = 0; depth < zel::CGROUP_DEPTH_LIMIT + beyond; ++depth)
        path += "/d";
    make(path);
    take("/");
    EXPECT_EQ(sample->cgroups.size(), zel::CGROUP_DEPTH_LIMIT + 1);
    EXPECT_TRUE(holds(sample->cgroupTotals.cgroupsLeftOut, 1)) << "what was seen: the first beyond";
    write("/cgroup.stat", "nr_descendants " + std::to_string(zel::CGROUP_DEPTH_LIMIT + beyond) + "\n");
    take("/");
    EXPECT_TRUE(holds(sample->cgroupTotals.cgroupsLeftOut, beyond));
}

TEST_F(CgroupReader, PathsThatCannotBeOpenedAreLeftOut) {
    // Each level is made from the one above: no path is that long.

    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(host.path() + "/" + top);
    const std::string name(250, 'n');
    for (int depth = 0; depth < 20; ++depth) {
        std::filesystem::create_directory(name);
        std::filesystem::current_path(name);
    }
    for (int depth = 0; depth < 20; ++depth) // no path leads back
        std::filesystem::current_path("..");
    std::filesystem::current_path(before);
    take("/");
    EXPECT_LT(sample->cgroups.size(), 18U);
    EXPECT_TRUE(holds(sample->cgroupTotals.cgroupsLeftOut, 1));
    EXPECT_EQ(failure(), NO_FAILURE);
}

// In memory, and with time: a busy disk takes seconds for so many directories.
TEST(Cgroups, TooManyAreLeftOutAndTheUpperLevelsComeFirst) {
    const TempDirectory root;
    const std::string whyNot = withPrivateMounts([&root] {
        constexpr int kilobytes = 65536;
        ASSERT_TRUE(mountSmall(root.path(), kilobytes));
        const std::filesystem::path tree = root.path() / top;
        for (std::size_t index = 0; index < zel::CGROUP_LIMIT; ++index)
            std::filesystem::create_directories(tree / "many" / std::to_string(index));
        for (const char *name : {"one", "two/three"})
            std::filesystem::create_directories(tree / name);
        std::ofstream(tree / "cgroup.controllers") << "cpu\n";
        zel::Sampler sampler({.root = root.path(), .areas = {Area::Cgroups}, .deadline = std::chrono::seconds(60)});
        zel::Sample sample = sampler.take();
        EXPECT_EQ(sample.cgroups.size(), zel::CGROUP_LIMIT);
        EXPECT_EQ(sample.cgroups[1].path, "/many");
        EXPECT_EQ(sample.cgroups[2].path, "/one");
        EXPECT_EQ(sample.cgroups[3].path, "/two");
        // The limit and what is not below /many: the root, /many, /one, /two and /two/three.
        EXPECT_TRUE(holds(sample.cgroupTotals.cgroupsLeftOut, 5));
        std::filesystem::remove_all(tree / "many");
        sampler.take(sample);
        EXPECT_EQ(sample.cgroups.size(), 4U);
        EXPECT_EQ(sample.cgroups[3].path, "/two/three");
        EXPECT_TRUE(holds(sample.cgroupTotals.cgroupsLeftOut, 0));
    });
    if (!whyNot.empty())
        GTEST_SKIP() << whyNot;
}

TEST(Cgroups, AreFoundBesideControllersOfVersion1) {
    SampledHost host(Area::Cgroups, {{"sys/fs/cgroup/cpu/tasks", "1\n"},
                                     {"sys/fs/cgroup/unified/cgroup.controllers", "hugetlb\n"},
                                     {"sys/fs/cgroup/unified/web/cgroup.events", "populated 1\n"}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.cgroups.size(), 2U);
    EXPECT_EQ(sample.cgroups[1].path, "/web");
    EXPECT_TRUE(holds(sample.cgroups[1].populated, 1));
    EXPECT_TRUE(holds(sample.cgroupTotals.mountPoint, "/sys/fs/cgroup/unified"));
    EXPECT_TRUE(holds(sample.cgroupTotals.controllers, "hugetlb"));
}

TEST(Cgroups, HostWithoutThemIsUnsupportedAsAWhole) {
    SampledHost host(Area::Cgroups, {{"sys/fs/cgroup/cpu/tasks", "1\n"}});
    const zel::Sample &sample = host.take();
    EXPECT_EQ(sample.area(Area::Cgroups).absence, Absence::Unsupported);
    EXPECT_EQ(failureOf(sample, Area::Cgroups), std::pair(ENOENT, top));
    EXPECT_TRUE(sample.cgroups.empty());
    EXPECT_TRUE(lacks(sample.cgroupTotals.cgroups, Absence::Unsupported));
}

} // namespace

// The list form: records by iterator, old samples by name.
#include "DiskTest.h"
#include "SettingGuard.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class DiskList : public DiskTest {
protected:
    CMM_IO_Info disks;
};

class DiskList26 : public DiskTest {
protected:
    DiskList26() : DiskTest("2.6.32-754.el6.x86_64") {}
    CMM_IO_Info disks;
};

class DiskList24 : public DiskTest {
protected:
    DiskList24() : DiskTest("2.4.21-4.ELsmp") {}
    CMM_IO_Info disks;
};

TEST_F(DiskList26, FirstPassReportsEveryDiskWithZeroRates) {
    EXPECT_EQ(sampleHost(disks, "linux-2.6.32/t0"), disks.m_pclList);

    EXPECT_THAT(records(disks), ElementsAre("/dev/ram0 0.00 0.00 0.00 0.00 0.00", "/dev/loop0 0.00 0.00 0.00 0.00 0.00",
                                            "/dev/sda 0.00 0.00 0.00 0.00 0.00", "/dev/sdb 0.00 0.00 0.00 0.00 0.00",
                                            "/dev/sdc 0.00 0.00 0.00 0.00 0.00", "/dev/sde 0.00 0.00 0.00 0.00 0.00",
                                            "/dev/cciss/c0d0 0.00 0.00 0.00 0.00 0.00"));
    EXPECT_EQ(disks.m_nNDev, 7);
    EXPECT_EQ(disks.m_nInsertFirst, 1);
}

// Over 5 seconds. sda: 250 reads, 125 writes, 20000 and 5000 sectors, 1250 ms busy of 5000. sdb idle. sdc was reset: 0.
// sdd is new: 0. sde is gone. c0d0: 5 reads, 50 sectors, 5000 ms.
TEST_F(DiskList26, SecondPassReportsRates) {
    sampleHost(disks, "linux-2.6.32/t0");
    EXPECT_EQ(sampleHost(disks, "linux-2.6.32/t1"), disks.m_pclList);

    EXPECT_THAT(records(disks),
                ElementsAre("/dev/ram0 0.00 0.00 0.00 0.00 0.00", "/dev/loop0 0.00 0.00 0.00 0.00 0.00",
                            "/dev/sda 50.00 25.00 2000.00 500.00 25.00", "/dev/sdb 0.00 0.00 0.00 0.00 0.00",
                            "/dev/sdc 0.00 0.00 0.00 0.00 0.00", "/dev/sdd 0.00 0.00 0.00 0.00 0.00",
                            "/dev/cciss/c0d0 1.00 0.00 5.00 0.00 100.00"));
}

// nvme0n1: 400 reads, 200 writes, 3200 and 16000 sectors, 2500 ms. Its partitions are reported: p1 100 reads, 800
// sectors; p2 300 reads, 200 writes, 2400 and 16000 sectors, 2410 ms. vda: 10 reads, 80 sectors, 50 ms. zram0: 20
// reads, 30 writes, 160 and 240 sectors, 5 ms.
TEST_F(DiskList, CurrentKernelHasMoreColumnsAndNvmePartitions) {
    sampleHost(disks, "linux-6.1.0/t0");
    sampleHost(disks, "linux-6.1.0/t1");

    EXPECT_THAT(records(disks),
                ElementsAre("/dev/loop0 0.00 0.00 0.00 0.00 0.00", "/dev/nvme0n1 80.00 40.00 320.00 1600.00 50.00",
                            "/dev/nvme0n1p1 20.00 0.00 80.00 0.00 0.00",
                            "/dev/nvme0n1p2 60.00 40.00 240.00 1600.00 48.20", "/dev/vda 2.00 0.00 8.00 0.00 1.00",
                            "/dev/vdb 0.00 0.00 0.00 0.00 0.00", "/dev/zram0 4.00 6.00 16.00 24.00 0.10"));
}

// sda: 50 reads, 20 writes, 4000 and 1000 sectors, 2500 ms. sdb fell. hdc idle. The header and the blank line are short
// lines: counted, not reported.
TEST_F(DiskList24, PartitionsFileGivesRates) {
    EXPECT_EQ(sampleHost(disks, "linux-2.4.21/t0"), disks.m_pclList);
    EXPECT_THAT(names(disks), ElementsAre("/dev/sda", "/dev/sdb", "/dev/hdc"));
    EXPECT_EQ(sampleHost(disks, "linux-2.4.21/t1"), disks.m_pclList);

    EXPECT_THAT(records(disks), ElementsAre("/dev/sda 10.00 4.00 400.00 100.00 50.00",
                                            "/dev/sdb 0.00 0.00 0.00 0.00 0.00", "/dev/hdc 0.00 0.00 0.00 0.00 0.00"));
    EXPECT_EQ(disks.m_nNDev, 5);
}

TEST_F(DiskList, IntervalIsMeasuredWhateverTheCallerSays) {
    host.write("proc/diskstats", line("sda", 0, 0, 0, 0, 0));
    disks.fMGetIoStat(1000.0, 1, 0);
    host.write("proc/diskstats", line("sda", 10, 0, 0, 0, 0));
    clock.advance(2, 500000);
    disks.fMGetIoStat(1000.0, 1, 0);

    EXPECT_EQ(disks.m_dElapsedTime, 2.5);
    EXPECT_THAT(records(disks), ElementsAre("/dev/sda 4.00 0.00 0.00 0.00 0.00"));
}

TEST_F(DiskList, ZeroIntervalDividesByZeroAndIsThenLimited) {
    sampleText(disks, line("sda", 0, 0, 0, 0, 0));
    host.write("proc/diskstats", line("sda", 10, 10, 0, 0, 10));
    disks.fMGetIoStat(0.0, 1, 0);

    EXPECT_THAT(records(disks), ElementsAre("/dev/sda -1.00 0.00 inf 0.00 100.00"));
}

TEST_F(DiskList, ClockSetBackGivesMinusOne) {
    sampleText(disks, line("sda", 0, 0, 0, 0, 0));
    host.write("proc/diskstats", line("sda", 10, 10, 0, 0, 10));
    clock.advance(-10);
    disks.fMGetIoStat(0.0, 1, 0);

    EXPECT_THAT(records(disks), ElementsAre("/dev/sda -1.00 0.00 -1.00 0.00 -1.00"));
}

TEST_F(DiskList, NamesThatMerelyContainTheLettersAreLeftOut) {
    std::string text;
    for (const char *name : {"sda", "sr0", "usr", "md0", "amd", "dm-0", "mdm-1", "sddlma0", "nvme0n1", "loop0"})
        text += line(name, 1, 1, 1, 1, 1);
    sampleText(disks, text);

    EXPECT_THAT(names(disks), ElementsAre("/dev/sda", "/dev/nvme0n1", "/dev/loop0"));
    EXPECT_EQ(disks.m_nNDev, 3);
}

TEST_F(DiskList, ShortLinesAreCountedAndNotReported) {
    const std::string shortLine = "   8       0 sdx 1 2 3 4\n";
    sampleText(disks, shortLine + "   8       1 sdx1 1 2 3 4\n\n" + line("sda", 1, 1, 1, 1, 1) + shortLine);

    EXPECT_THAT(names(disks), ElementsAre("/dev/sda"));
    EXPECT_EQ(disks.m_nNDev, 4); // two short lines, the blank line, sda; sdx1 is a partition
}

TEST_F(DiskList, LimitLetsOneMoreThrough) {
    g_nDiskMaxGatherCnt = 3;
    std::string text;
    for (const char *name : {"sda", "sr0", "sdb", "md0", "sdc", "sdd", "sde", "sdf"})
        text += line(name, 1, 1, 1, 1, 1) + line(std::string(name) + "1", 1, 1, 1, 1, 1, 1);
    sampleText(disks, text);

    EXPECT_THAT(names(disks), ElementsAre("/dev/sda", "/dev/sdb", "/dev/sdc", "/dev/sdd"));
    EXPECT_EQ(disks.m_nNDev, 4);
}

TEST_F(DiskList, ShortLinesCountTowardsTheLimit) {
    g_nDiskMaxGatherCnt = 3;
    sampleText(disks, "short\nshort\nshort\n" + line("sda", 1, 1, 1, 1, 1) + line("sdb", 1, 1, 1, 1, 1));

    EXPECT_THAT(names(disks), ElementsAre("/dev/sda"));
}

TEST_F(DiskList, NoLimitAndLimitsOfOtherForms) {
    std::string text;
    for (int i = 0; i < 60; ++i)
        text += line("sd" + std::to_string(i), 1, 1, 1, 1, 1);
    for (const int limit : {0, -1}) {
        g_nDiskMaxGatherCnt = limit;
        sampleText(disks, text);
        EXPECT_THAT(names(disks), SizeIs(60));
    }
    g_nDiskMaxGatherCnt = 3;
    g_nDiskStrType = 2; // a list without limit
    sampleText(disks, text);
    EXPECT_THAT(names(disks), SizeIs(60));
}

TEST_F(DiskList, IteratorEndsAndStartsAnewWithEveryPass) {
    sampleText(disks, line("sda", 1, 1, 1, 1, 1));
    EXPECT_NE(disks.fMGetIoStatNext(), nullptr);
    EXPECT_EQ(disks.fMGetIoStatNext(), nullptr);
    EXPECT_EQ(disks.fMGetIoStatNext(), nullptr);
    sampleText(disks, line("sda", 1, 1, 1, 1, 1));
    EXPECT_NE(disks.fMGetIoStatNext(), nullptr);
}

TEST_F(DiskList, IteratorsOfANewObjectAndOfAnEmptyPassEndAtOnce) {
    EXPECT_EQ(disks.fMGetIoStatNext(), nullptr);
    EXPECT_EQ(disks.fMGetIoStatNextINV(), nullptr);
    sampleText(disks, line("sda", 1, 1, 1, 1, 1));
    EXPECT_EQ(sampleText(disks, ""), disks.m_pclList);
    EXPECT_EQ(disks.fMGetIoStatNext(), nullptr);
}

TEST_F(DiskList, MissingFileGivesNullAndNoRecords) {
    sampleText(disks, line("sda", 1, 1, 1, 1, 1));
    host.remove("proc/diskstats");

    EXPECT_EQ(sample(disks), nullptr);
    EXPECT_THAT(names(disks), IsEmpty());
}

TEST_F(DiskList, FailedInsertionEndsThePassWithNull) {
    sampleText(disks, line("sda", 1, 1, 1, 1, 1));
    sampleText(disks, line("sdb", 1, 1, 1, 1, 1));
    systemHooks().failAllocationAfter = 0; // sda takes the record of the pass before, sdb needs one more

    EXPECT_EQ(sampleText(disks, line("sda", 1, 1, 1, 1, 1) + line("sdb", 1, 1, 1, 1, 1)), nullptr);
    EXPECT_THAT(names(disks), ElementsAre("/dev/sda"));
}

TEST_F(DiskList, SteadyPassAllocatesNothing) {
    const std::string text = line("sda", 1, 1, 1, 1, 1) + line("sdb", 1, 1, 1, 1, 1);
    sampleText(disks, text);
    sampleText(disks, text);
    const long before = allocationsSoFar();
    EXPECT_NE(sample(disks), nullptr);
    EXPECT_EQ(allocationsSoFar(), before);
}

TEST_F(DiskList, NameOfAlmostALineIsReportedWhole) {
    const std::string name(980, 'n');
    sampleText(disks, line(name, 1, 1, 1, 1, 1));
    EXPECT_THAT(names(disks), ElementsAre("/dev/" + name));
}

TEST_F(DiskList, LineBeyond1023CharactersCountsAsSeveral) {
    const std::string name(1500, 'n');
    sampleText(disks, line(name, 1, 1, 1, 1, 1) + line("sda", 1, 1, 1, 1, 1));
    EXPECT_THAT(names(disks), ElementsAre("/dev/sda"));
    EXPECT_EQ(disks.m_nNDev, 3); // two pieces of the long line, both short
}

TEST_F(DiskList, TwoEqualNamesAreBothReported) {
    sampleText(disks, line("sda", 0, 0, 0, 0, 0) + line("sda", 0, 0, 0, 0, 0));
    sampleText(disks, line("sda", 10, 0, 0, 0, 0) + line("sda", 10, 0, 0, 0, 0));
    EXPECT_THAT(records(disks), ElementsAre("/dev/sda 2.00 0.00 0.00 0.00 0.00", "/dev/sda 0.00 0.00 0.00 0.00 0.00"));
}

TEST_F(DiskList, GarbageIsNoReasonToFail) {
    EXPECT_EQ(sampleText(disks, std::string("\0\0\x01\xff\n%s%n\n", 11)), disks.m_pclList);
    EXPECT_EQ(sampleText(disks, std::string(100000, '7')), disks.m_pclList);
    EXPECT_EQ(sampleText(disks, std::string(5000, '\n')), disks.m_pclList);
    EXPECT_THAT(names(disks), IsEmpty());
}

class DiskKernels : public DiskTest {
protected:
    // The name of the only disk that a pass on that kernel reports; "null" or "empty" otherwise.
    std::string diskOn(const char *release) {
        pretendKernelRelease(release);
        host.write("proc/diskstats", line("from-diskstats", 1, 1, 1, 1, 1));
        host.write("proc/partitions", "8 0 100 from-partitions 1 2 3 4 5 6 7 8 9 10 11\n");
        host.write("proc/stat", "disk_rio 1\ndisk_wio 1\ndisk_rblk 1\ndisk_wblk 1\n");
        home.write("agent/aproc/shell/partitions.dat", "8 0 2000000 from-script\n");
        CMM_IO_Info disks;
        if (sample(disks) == nullptr)
            return "null";
        const _ST_DISKIO *disk = disks.fMGetIoStatNext();
        return disk == nullptr ? "empty" : disk->l_strDEVname;
    }
};

TEST_F(DiskKernels, EveryGenerationHasItsFile) {
    EXPECT_EQ(diskOn("2.2.26"), "/dev/from-script");
    EXPECT_EQ(diskOn("2.4.37"), "/dev/from-partitions");
    for (const char *release : {"2.6.9-5.EL", "2.6.32", "2.7.0", "3.0.101", "3.2.0", "3.4.0", "3.5.0", "3.10.0",
                                "4.4.0", "5.4.0", "5.15.0", "6.1.0", "10.2.0"})
        EXPECT_EQ(diskOn(release), "/dev/from-diskstats") << release;
    for (const char *release : {"2.0.36", "2.1.1", "2.3.99", "2.5.75", "1.2.13", "1.9.0", "0.99.0"})
        EXPECT_EQ(diskOn(release), "null") << release;
}

TEST_F(DiskKernels, KernelRuleKeepsEveryFile) {
    const SettingGuard rule(g_nKernelRule);
    g_nKernelRule = 1;
    EXPECT_EQ(diskOn("2.2.26"), "/dev/from-script");
    EXPECT_EQ(diskOn("2.4.37"), "/dev/from-partitions");
    for (const char *release : {"2.6.9-5.EL", "3.0.101", "4.4.0", "5.4.0", "6.1.0", "7.0.0"})
        EXPECT_EQ(diskOn(release), "/dev/from-diskstats") << release;
    for (const char *release : {"2.0.36", "2.5.75", "1.9.0"})
        EXPECT_EQ(diskOn(release), "null") << release;
}

TEST_F(DiskKernels, UnknownKernelYieldsNothing) {
    systemHooks().uname = [](utsname *) { return -1; };
    CMM_IO_Info disks;
    EXPECT_EQ(sample(disks), nullptr);
}

} // namespace

// The arithmetic of the rates, the operations of the collector over it, and its comparators.
#include "disk/MM_IO_Rates.h"

#include "DiskTest.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(DiskRates, GrowthOfACounter) {
    EXPECT_EQ(zel::growth(10, 4), 6U);
    EXPECT_EQ(zel::growth(4, 4), 0U);
    EXPECT_EQ(zel::growth(4, 10), 0U);
    EXPECT_EQ(zel::growth(3, std::numeric_limits<unsigned long long>::max()), 4U); // wrapped
}

TEST(DiskRates, NoDifferenceIsNoRateWhateverTheInterval) {
    EXPECT_EQ(zel::perSecond(0, 0.0), 0.0);
    EXPECT_EQ(zel::perSecond(0, -1.0), 0.0);
    EXPECT_EQ(zel::perSecond(10, 4.0), 2.5);
    EXPECT_EQ(zel::perSecond(10, 0.0), infinity);
    EXPECT_EQ(zel::perSecond(10, -5.0), -2.0);
}

TEST(DiskRates, BusyMillisecondsCountInSinglePrecision) {
    EXPECT_EQ(zel::busyPercent(0, 0.0), 0.0);
    EXPECT_EQ(zel::busyPercent(1250, 5.0), 25.0);
    EXPECT_EQ(zel::busyPercent(16777217, 16777.216), 100.0); // 2^24 + 1 rounds to 2^24
    EXPECT_EQ(zel::busyPercent(1, 0.0), infinity);
}

_ST_DISKIO result(double value) {
    _ST_DISKIO disk{};
    disk.l_dRead_B = disk.l_dWrite_B = disk.l_dRead_N = disk.l_dWrite_N = disk.l_dBusy = value;
    return disk;
}

TEST(DiskRates, NegativeValuesBecomeMinusOne) {
    _ST_DISKIO disk = result(-0.25);
    zel::limitRates(disk);
    for (const double value : {disk.l_dRead_B, disk.l_dWrite_B, disk.l_dRead_N, disk.l_dWrite_N, disk.l_dBusy})
        EXPECT_EQ(value, -1.0);
}

TEST(DiskRates, BusyIsCappedAndRequestRatesHaveACeilingThatVolumesLack) {
    _ST_DISKIO disk = result(1e9);
    zel::limitRates(disk);
    EXPECT_EQ(disk.l_dRead_N, -1.0);
    EXPECT_EQ(disk.l_dWrite_N, -1.0);
    EXPECT_EQ(disk.l_dRead_B, 1e9);
    EXPECT_EQ(disk.l_dWrite_B, 1e9);
    EXPECT_EQ(disk.l_dBusy, 100.0);

    disk = result(999999999.0);
    disk.l_dBusy = 100.0;
    zel::limitRates(disk);
    EXPECT_EQ(disk.l_dRead_N, 999999999.0);
    EXPECT_EQ(disk.l_dWrite_N, 999999999.0);
    EXPECT_EQ(disk.l_dBusy, 100.0);
}

TEST(DiskRates, InfiniteRatesOfAZeroInterval) {
    _ST_DISKIO disk = result(infinity);
    zel::limitRates(disk);
    EXPECT_EQ(disk.l_dRead_N, -1.0);
    EXPECT_EQ(disk.l_dRead_B, infinity);
    EXPECT_EQ(disk.l_dBusy, 100.0);
}

TEST(DiskRates, AverageWaitIsInMillisecondsPerRequest) {
    _ST_COMPUTE_IO old{};
    _ST_COMPUTE_IO now{};
    old.l_uiRead_ios = 10;
    old.l_uiRead_ticks = 100;
    now.l_uiRead_ios = 13;
    now.l_uiRead_ticks = 104;
    now.l_uiWrite_ios = 1;
    now.l_uiWrite_ticks = 3;
    EXPECT_EQ(zel::averageWait(now, old), 17.5); // (4 + 3) / (3 + 1) * 10
    EXPECT_EQ(zel::averageWait(now, now), 0.0);
    EXPECT_DOUBLE_EQ(zel::averageWait(old, now), (4294967296.0 - 7.0) / -4.0 * 10.0); // 32-bit ticks, signed requests
}

// The requests fell, the ticks stayed: 0 / -4.
TEST(DiskRates, AverageWaitIsNeverMinusZero) {
    _ST_COMPUTE_IO old{};
    const _ST_COMPUTE_IO now{};
    old.l_uiRead_ios = 4;
    EXPECT_FALSE(std::signbit(zel::averageWait(now, old)));
    EXPECT_EQ(zel::averageWait(now, old), 0.0);
}

// The computations of the collector, over an interval of 4 seconds.
class DiskComputation : public DiskTest {
protected:
    DiskComputation() {
        disks.m_dElapsedTime = 4.0;
        std::strcpy(sample.l_strDEVname, "/dev/sda");
        sample.l_ulRead_B = 1000;
        sample.l_ulWrite_B = 2000;
        sample.l_ulRead_N = 100;
        sample.l_ulWrite_N = 200;
        sample.l_lTick = 5000;
        sample.l_nTotSize = 17921;
        old = sample;
        std::strcpy(keyed.l_strDEVname, "/dev/sda");
        keyed.l_ulRead_B = 1000;
        keyed.l_ulWrite_B = 2000;
        keyed.l_ulRead_N = 100;
        keyed.l_ulWrite_N = 200;
        keyed.l_lTick = 5000;
    }

    void growTheSample() {
        sample.l_ulRead_B += 80;
        sample.l_ulWrite_B += 40;
        sample.l_ulRead_N += 20;
        sample.l_ulWrite_N += 10;
        sample.l_lTick += 1000;
    }
    void lowerTheSample() {
        sample.l_ulRead_B = sample.l_ulWrite_B = sample.l_ulRead_N = sample.l_ulWrite_N = sample.l_lTick = 1;
    }

    CMM_IO_Info disks;
    _ST_COMPUTE_IO sample{};
    _ST_COMPUTE_IO old{};
    _ST_DISK_OLD_LIST keyed{};
};

TEST_F(DiskComputation, DiskWithoutAnOldSampleHasNoRates) {
    for (_ST_DISKIO *disk : {disks.fMComputeIo26(&sample), disks.fMComputeIo(&sample)}) {
        EXPECT_EQ(disk, disks.m_pstIO);
        EXPECT_STREQ(disk->l_strDEVname, "/dev/sda");
        EXPECT_EQ(disk->l_nTotSize, 17921U);
        EXPECT_EQ(disk->l_dRead_B + disk->l_dWrite_B + disk->l_dRead_N + disk->l_dWrite_N + disk->l_dBusy, 0.0);
    }
}

// 80 and 40 sectors in 4 s: 20 and 10 per second, half of it kilobytes. 1000 ms of 4000: 25 %.
TEST_F(DiskComputation, RatesByName) {
    disks.fMSetOldCompIo(&old);
    growTheSample();
    const _ST_DISKIO *disk = disks.fMComputeIo26(&sample);

    EXPECT_EQ(disk->l_dRead_B, 10.0);
    EXPECT_EQ(disk->l_dWrite_B, 5.0);
    EXPECT_EQ(disk->l_dRead_N, 5.0);
    EXPECT_EQ(disk->l_dWrite_N, 2.5);
    EXPECT_EQ(disk->l_dBusy, 25.0);
    EXPECT_EQ(disk->l_dAwait, 0.0);
}

TEST_F(DiskComputation, RatesByKeyAreTheSame) {
    growTheSample();
    const _ST_DISKIO *disk = disks.fMDiskComputeIo(&sample, &keyed);

    EXPECT_EQ(disk->l_dRead_B, 10.0);
    EXPECT_EQ(disk->l_dWrite_B, 5.0);
    EXPECT_EQ(disk->l_dRead_N, 5.0);
    EXPECT_EQ(disk->l_dWrite_N, 2.5);
    EXPECT_EQ(disk->l_dBusy, 25.0);
}

// Blocks are reported as they are counted, there is no busy time, and the wait is (4 + 0) / (2 + 0) * 10.
TEST_F(DiskComputation, RatesOf22) {
    disks.fMSetOldCompIo(&old);
    growTheSample();
    sample.l_uiRead_ios = 2;
    sample.l_uiRead_ticks = 4;
    const _ST_DISKIO *disk = disks.fMComputeIo(&sample);

    EXPECT_EQ(disk->l_dRead_B, 20.0);
    EXPECT_EQ(disk->l_dWrite_B, 10.0);
    EXPECT_EQ(disk->l_dRead_N, 5.0);
    EXPECT_EQ(disk->l_dWrite_N, 2.5);
    EXPECT_EQ(disk->l_dBusy, 0.0);
    EXPECT_EQ(disk->l_dAwait, 20.0);
}

TEST_F(DiskComputation, CounterThatFellGivesZeroByName) {
    disks.fMSetOldCompIo(&old);
    lowerTheSample();
    for (const _ST_DISKIO *disk : {disks.fMComputeIo26(&sample), disks.fMComputeIo(&sample)})
        EXPECT_EQ(disk->l_dRead_B + disk->l_dWrite_B + disk->l_dRead_N + disk->l_dWrite_N + disk->l_dBusy, 0.0);
}

// 1 - 1000 in unsigned 64 bits is 2^64 - 999.
TEST_F(DiskComputation, CounterThatFellGivesAnEnormousRateByKey) {
    lowerTheSample();
    const _ST_DISKIO *disk = disks.fMDiskComputeIo(&sample, &keyed);

    EXPECT_DOUBLE_EQ(disk->l_dRead_B, (18446744073709551616.0 - 999.0) / 4.0 * 0.5);
    EXPECT_DOUBLE_EQ(disk->l_dWrite_N, (18446744073709551616.0 - 199.0) / 4.0);
    EXPECT_EQ(disk->l_dBusy, 0.0);
}

TEST_F(DiskComputation, TicksThatWrappedAreNotBusy) {
    old.l_lTick = keyed.l_lTick = std::numeric_limits<unsigned long long>::max();
    disks.fMSetOldCompIo(&old);
    sample.l_lTick = 999;

    EXPECT_EQ(disks.fMComputeIo26(&sample)->l_dBusy, 0.0);
    EXPECT_EQ(disks.fMDiskComputeIo(&sample, &keyed)->l_dBusy, 0.0);
}

TEST_F(DiskComputation, ResultOfOneDiskKeepsNothingOfTheDiskBefore) {
    std::strcpy(sample.l_strDEVname, "/dev/a-rather-long-name");
    disks.fMDiskComputeIo(&sample, &keyed);
    std::strcpy(sample.l_strDEVname, "/dev/sdb");
    sample.l_nTotSize = 0;
    _ST_DISKIO expected{};
    std::strcpy(expected.l_strDEVname, "/dev/sdb");

    EXPECT_EQ(std::memcmp(disks.fMComputeIo26(&sample)->l_strDEVname, expected.l_strDEVname, DISK_NAME_SIZE), 0);
    EXPECT_EQ(disks.m_pstIO->l_dRead_N, 0.0);
    EXPECT_EQ(disks.m_pstIO->l_nTotSize, 0U);
}

TEST_F(DiskComputation, OldSampleIsFoundByNameAndOverwrittenWhole) {
    EXPECT_EQ(disks.fMGetOldCompIo("/dev/sda"), nullptr);
    EXPECT_EQ(disks.fMSetOldCompIo(&old), 1);
    sample = {};
    std::strcpy(sample.l_strDEVname, "/dev/sda");
    sample.l_ulRead_B = 1;
    sample.l_ulWrite_B = 2;
    sample.l_ulRead_N = 3;
    sample.l_ulWrite_N = 4;
    sample.l_uiRead_ios = 5;
    sample.l_uiRead_ticks = 6;
    sample.l_uiWrite_ios = 7;
    sample.l_uiWrite_ticks = 8;
    sample.l_ulWaitCnt = 9;
    sample.l_ulWaitTime = 10;
    sample.l_nTotSize = 11;
    sample.l_lTick = 12;
    EXPECT_EQ(disks.fMSetOldCompIo(&sample), 1);

    EXPECT_EQ(disks.m_pclList_Old->fSlNList(), 1);
    const _ST_COMPUTE_IO *found = disks.fMGetOldCompIo("/dev/sda");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->l_ulRead_B, 1U);
    EXPECT_EQ(found->l_ulWrite_B, 2U);
    EXPECT_EQ(found->l_ulRead_N, 3U);
    EXPECT_EQ(found->l_ulWrite_N, 4U);
    EXPECT_EQ(found->l_uiRead_ios, 5U);
    EXPECT_EQ(found->l_uiRead_ticks, 6U);
    EXPECT_EQ(found->l_uiWrite_ios, 7U);
    EXPECT_EQ(found->l_uiWrite_ticks, 8U);
    EXPECT_EQ(found->l_ulWaitCnt, 9U);
    EXPECT_EQ(found->l_ulWaitTime, 10U);
    EXPECT_EQ(found->l_nTotSize, 11U);
    EXPECT_EQ(found->l_lTick, 12U);
}

TEST_F(DiskComputation, OldSampleWithoutMemory) {
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(disks.fMSetOldCompIo(&sample), 0);
}

TEST(DiskComparators, NamesAreEqualInTheirFirst1024Characters) {
    const std::string name(1023, 'n');
    EXPECT_EQ(CMM_IO_Info::fCMPDeviceName("/dev/sda", "/dev/sda"), 1);
    EXPECT_EQ(CMM_IO_Info::fCMPDeviceName("/dev/sda", "/dev/sdb"), 0);
    EXPECT_EQ(CMM_IO_Info::fCMPDeviceName("/dev/sda", "/dev/sda1"), 0);
    EXPECT_EQ(CMM_IO_Info::fCMPDeviceName((name + "ax").c_str(), (name + "ay").c_str()), 1);
    EXPECT_EQ(CMM_IO_Info::fCMPDeviceName((name + "a").c_str(), (name + "b").c_str()), 0);
}

int compared(double left, double right) {
    ST_DISKALL_LIST first{};
    ST_DISKALL_LIST second{};
    first.l_dBusy = left;
    second.l_dBusy = right;
    const ST_DISKALL_LIST *firstRow = &first;
    const ST_DISKALL_LIST *secondRow = &second;
    return compare_alldisk(&firstRow, &secondRow);
}

TEST(DiskComparators, BusierDisksComeFirst) {
    EXPECT_LT(compared(50.0, 20.0), 0);
    EXPECT_GT(compared(20.0, 50.0), 0);
    EXPECT_EQ(compared(20.0, 20.0), 0);
    EXPECT_LT(compared(0.25, 0.2), 0); // a difference below 1 counts
    EXPECT_GT(compared(-1.0, 0.0), 0);
}

} // namespace

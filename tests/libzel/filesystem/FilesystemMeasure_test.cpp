// From statfs64's counts to kilobytes and percentages.
#include "FilesystemHost.h"
#include "MM_FS_Info.h"
#include "SettingGuard.h"
#include "filesystem/MM_FS_Measure.h"

#include <climits>
#include <cmath>
#include <gtest/gtest.h>

namespace {

_ST_FS measured(const struct statfs64 &status) {
    _ST_FS filesystem{};
    zel::measure(status, filesystem);
    return filesystem;
}

constexpr unsigned long long largest = ULLONG_MAX;

TEST(FilesystemMeasure, ReservedBlocksCountAsUsedUnlessTheFlagIsSet) {
    // 1000000 blocks of 4 KB: 4000000 KB; 600000 free of which 500000 available; so 400000 blocks = 1600000 KB used.
    const struct statfs64 status = FilesystemHost::sizes(4096, 1000000, 600000, 500000);

    const _ST_FS byAvailable = measured(status);
    EXPECT_EQ(byAvailable.l_ulTotDskSize, 4000000ULL);
    EXPECT_EQ(byAvailable.l_ulFreDskSize, 2400000ULL);
    EXPECT_EQ(byAvailable.l_ulUsdDskSize, 1600000ULL);
    EXPECT_EQ(byAvailable.l_ulAvaDskSize, 2000000ULL);
    EXPECT_DOUBLE_EQ(byAvailable.l_dDskUsage, 1600000.0 / 3600000.0 * 100.0); // 44.4

    for (const int flag : {1, 2, -1}) {
        const SettingGuard set(g_nFsFreeUsedFlag, flag);
        EXPECT_DOUBLE_EQ(measured(status).l_dDskUsage, 1600000.0 / 4000000.0 * 100.0); // 40
    }
}

TEST(FilesystemMeasure, BlocksAreCountedInSinglePrecision) {
    // 66053021 needs 26 bits; single precision keeps 24, so it counts as 66053020 blocks of 4 KB.
    EXPECT_EQ(measured(FilesystemHost::sizes(4096, 66053021, 0, 0)).l_ulTotDskSize, 264212080ULL);
    // 66053023 is nearer to 66053024.
    EXPECT_EQ(measured(FilesystemHost::sizes(4096, 66053023, 0, 0)).l_ulTotDskSize, 264212096ULL);
}

TEST(FilesystemMeasure, UsedIsTheDifferenceOfTheRoundedKilobytes) {
    // 16777217 = 2^24 + 1 counts as 2^24 blocks of 1 KB; 16777216 - 1 = 16777215.
    const _ST_FS filesystem = measured(FilesystemHost::sizes(1024, 16777217, 1, 1));

    EXPECT_EQ(filesystem.l_ulTotDskSize, 16777216ULL);
    EXPECT_EQ(filesystem.l_ulUsdDskSize, 16777215ULL);
}

TEST(FilesystemMeasure, FractionsOfAKilobyteAreCutOff) {
    // Blocks of 512 bytes: 3000001 / 2 = 1500000.5.
    EXPECT_EQ(measured(FilesystemHost::sizes(512, 3000001, 0, 0)).l_ulTotDskSize, 1500000ULL);
    // The factor of 1000 bytes is 0.9765625: 3 blocks are 2.93 KB.
    EXPECT_EQ(measured(FilesystemHost::sizes(1000, 3, 0, 0)).l_ulTotDskSize, 2ULL);
}

TEST(FilesystemMeasure, EveryBlockSizeIsHonoured) {
    EXPECT_EQ(measured(FilesystemHost::sizes(1, 1048576, 0, 0)).l_ulTotDskSize, 1024ULL);
    EXPECT_EQ(measured(FilesystemHost::sizes(65536, 100, 0, 0)).l_ulTotDskSize, 6400ULL);
    EXPECT_EQ(measured(FilesystemHost::sizes(1048576, 100, 0, 0)).l_ulTotDskSize, 102400ULL);
}

TEST(FilesystemMeasure, HugeCountsSaturate) {
    // 2^60 blocks of 4 KB are 2^62 KB; 2^63 blocks of 1 MB would be 2^73.
    EXPECT_EQ(measured(FilesystemHost::sizes(4096, 1UL << 60, 0, 0)).l_ulTotDskSize, 1ULL << 62);
    const _ST_FS all = measured(FilesystemHost::sizes(1048576, 1UL << 63, 1UL << 63, ULONG_MAX));
    EXPECT_EQ(all.l_ulTotDskSize, largest);
    EXPECT_EQ(all.l_ulFreDskSize, largest);
    EXPECT_EQ(all.l_ulAvaDskSize, largest);
    EXPECT_EQ(all.l_ulUsdDskSize, 0ULL);
    EXPECT_DOUBLE_EQ(all.l_dDskUsage, 0.0);

    // All used, and as much claimed to be available: half, not a sum that wraps to nothing.
    EXPECT_DOUBLE_EQ(measured(FilesystemHost::sizes(1048576, 1UL << 63, 0, 1UL << 63)).l_dDskUsage, 50.0);
}

TEST(FilesystemMeasure, NegativeAndZeroBlockSizesGiveNothing) {
    for (const long blockSize : {0L, -4096L, LONG_MIN}) {
        const _ST_FS filesystem = measured(FilesystemHost::sizes(blockSize, 1000, 500, 500));
        EXPECT_EQ(filesystem.l_ulTotDskSize, 0ULL);
        EXPECT_DOUBLE_EQ(filesystem.l_dDskUsage, 0.0);
    }
}

TEST(FilesystemMeasure, NothingIsNothingPercent) {
    const _ST_FS filesystem = measured(FilesystemHost::sizes(4096, 0, 0, 0, 0, 0));

    EXPECT_DOUBLE_EQ(filesystem.l_dDskUsage, 0.0);
    EXPECT_DOUBLE_EQ(filesystem.l_dIndUsage, 0.0);
    EXPECT_EQ(filesystem.l_ulUsdIndSize, 0ULL);
}

TEST(FilesystemMeasure, ATotalOfZeroWithFreeSpaceIsNothingPercent) {
    const _ST_FS filesystem = measured(FilesystemHost::sizes(4096, 0, 100, 100, 0, 100));

    EXPECT_EQ(filesystem.l_ulUsdDskSize, 0ULL);
    EXPECT_DOUBLE_EQ(filesystem.l_dDskUsage, 0.0);
    EXPECT_EQ(filesystem.l_ulUsdIndSize, 0ULL);
    EXPECT_DOUBLE_EQ(filesystem.l_dIndUsage, 0.0);
}

TEST(FilesystemMeasure, FreeButNotAvailableIsNothingPercent) {
    // Nothing used, nothing available: 0 / 0.
    EXPECT_DOUBLE_EQ(measured(FilesystemHost::sizes(4096, 1000, 1000, 0)).l_dDskUsage, 0.0);
}

TEST(FilesystemMeasure, MoreFreeThanThereIsCountsAsNothingUsed) {
    const _ST_FS filesystem = measured(FilesystemHost::sizes(4096, 1000, 2000, 2000, 10, 20));

    EXPECT_EQ(filesystem.l_ulUsdDskSize, 0ULL);
    EXPECT_DOUBLE_EQ(filesystem.l_dDskUsage, 0.0);
    EXPECT_EQ(filesystem.l_ulUsdIndSize, 0ULL);
    EXPECT_DOUBLE_EQ(filesystem.l_dIndUsage, 0.0);
}

TEST(FilesystemMeasure, AFullFilesystemIsHundredPercent) {
    const _ST_FS filesystem = measured(FilesystemHost::sizes(4096, 1000, 0, 0, 10, 0));

    EXPECT_DOUBLE_EQ(filesystem.l_dDskUsage, 100.0);
    EXPECT_DOUBLE_EQ(filesystem.l_dIndUsage, 100.0);
}

TEST(FilesystemMeasure, InodesAreCountedExactly) {
    const _ST_FS filesystem = measured(FilesystemHost::sizes(4096, 1, 0, 0, largest, largest - 1));

    EXPECT_EQ(filesystem.l_ulTotIndSize, largest);
    EXPECT_EQ(filesystem.l_ulFreIndSize, largest - 1);
    EXPECT_EQ(filesystem.l_ulAvaIndSize, largest - 1);
    EXPECT_EQ(filesystem.l_ulUsdIndSize, 1ULL);
}

TEST(FilesystemMeasure, InodeUsageIsUsedOfAll) {
    // 3 of 8 inodes are used: 37.5.
    EXPECT_DOUBLE_EQ(measured(FilesystemHost::sizes(4096, 1, 0, 0, 8, 5)).l_dIndUsage, 37.5);
}

TEST(FilesystemMeasure, NoPercentageIsEverUndefined) {
    const unsigned long counts[] = {0, 1, 1000, 1UL << 40, 1UL << 63, ULONG_MAX};
    for (const long blockSize : {-1L, 0L, 1L, 4096L, LONG_MAX})
        for (const unsigned long blocks : counts)
            for (const unsigned long free : counts)
                for (const unsigned long available : counts) {
                    const _ST_FS filesystem =
                        measured(FilesystemHost::sizes(blockSize, blocks, free, available, blocks, free));
                    for (const double usage : {filesystem.l_dDskUsage, filesystem.l_dIndUsage}) {
                        ASSERT_TRUE(std::isfinite(usage));
                        ASSERT_GE(usage, 0.0);
                        ASSERT_LE(usage, 100.0);
                    }
                }
}

} // namespace

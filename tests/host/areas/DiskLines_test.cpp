// The lines of /proc/diskstats of every kernel, whole and broken.
#include "host/areas/DiskLines.h"

#include "SampledHost.h"

namespace {

using zel::Absence;
using zel::Count;
using zel::Disk;

struct Parsed {
    bool ok = false;
    Disk disk;
    std::uint64_t sum = 0;
};

Parsed parsed(const char *line) {
    Parsed result;
    result.ok = zel::parseDiskLine(line, result.disk, result.sum);
    return result;
}

TEST(DiskLines, TakesEveryColumnOfTodaysKernel) {
    const auto [ok, disk, sum] = parsed("   8       0 sda 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17\n");
    ASSERT_TRUE(ok);
    EXPECT_EQ(disk.major, 8U);
    EXPECT_EQ(disk.minor, 0U);
    EXPECT_EQ(disk.name, "sda");
    EXPECT_TRUE(holds(disk.reads, 1));
    EXPECT_TRUE(holds(disk.readsMerged, 2));
    EXPECT_TRUE(holds(disk.readBytes, 3 * 512));
    EXPECT_TRUE(holds(disk.readSeconds, 0.004));
    EXPECT_TRUE(holds(disk.writes, 5));
    EXPECT_TRUE(holds(disk.writesMerged, 6));
    EXPECT_TRUE(holds(disk.writtenBytes, 7 * 512));
    EXPECT_TRUE(holds(disk.writeSeconds, 0.008));
    EXPECT_TRUE(holds(disk.inFlight, 9));
    EXPECT_TRUE(holds(disk.ioSeconds, 0.010));
    EXPECT_TRUE(holds(disk.weightedSeconds, 0.011));
    EXPECT_TRUE(holds(disk.discards, 12));
    EXPECT_TRUE(holds(disk.discardsMerged, 13));
    EXPECT_TRUE(holds(disk.discardedBytes, 14 * 512));
    EXPECT_TRUE(holds(disk.discardSeconds, 0.015));
    EXPECT_TRUE(holds(disk.flushes, 16));
    EXPECT_TRUE(holds(disk.flushSeconds, 0.017));
    EXPECT_EQ(sum, 17U * 18 / 2);
}

TEST(DiskLines, AKernelWithoutFlushesLeavesThemUnsupported) {
    const auto [ok, disk, sum] = parsed("8 0 sda 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15\n");
    ASSERT_TRUE(ok);
    EXPECT_TRUE(holds(disk.discardSeconds, 0.015));
    EXPECT_TRUE(lacks(disk.flushes, Absence::Unsupported));
    EXPECT_TRUE(lacks(disk.flushSeconds, Absence::Unsupported));
}

TEST(DiskLines, AKernelWithoutDiscardsLeavesThemUnsupported) {
    const auto [ok, disk, sum] = parsed(" 104    0 cciss/c0d0 1 2 3 4 5 6 7 8 9 10 11\n");
    ASSERT_TRUE(ok);
    EXPECT_EQ(disk.name, "cciss/c0d0");
    EXPECT_TRUE(holds(disk.weightedSeconds, 0.011));
    EXPECT_TRUE(lacks(disk.discards, Absence::Unsupported));
    EXPECT_TRUE(lacks(disk.flushSeconds, Absence::Unsupported));
}

TEST(DiskLines, APartitionOfAnOldKernelHasRequestsAndBytesOnly) {
    const auto [ok, disk, sum] = parsed("   8       1 sda1 35486 38030 12 96\n   8       2 sda2 1 2 3 4\n");
    ASSERT_TRUE(ok);
    EXPECT_TRUE(holds(disk.reads, 35486));
    EXPECT_TRUE(holds(disk.readBytes, 38030 * 512));
    EXPECT_TRUE(holds(disk.writes, 12));
    EXPECT_TRUE(holds(disk.writtenBytes, 96 * 512));
    EXPECT_TRUE(lacks(disk.readsMerged, Absence::Unsupported));
    EXPECT_TRUE(lacks(disk.readSeconds, Absence::Unsupported));
    EXPECT_TRUE(lacks(disk.inFlight, Absence::Unsupported));
    EXPECT_TRUE(lacks(disk.ioSeconds, Absence::Unsupported));
}

TEST(DiskLines, ColumnsOfALaterKernelAreLeftAlone) {
    const auto [ok, disk, sum] = parsed("8 0 sda 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19\n");
    ASSERT_TRUE(ok);
    EXPECT_TRUE(holds(disk.flushSeconds, 0.017));
}

TEST(DiskLines, ACutLineIsMalformedWhereItIsCut) {
    const auto [ok, disk, sum] = parsed("8 0 sda 1 2 3 4 5 6 7");
    ASSERT_TRUE(ok);
    EXPECT_TRUE(holds(disk.writtenBytes, 7 * 512));
    EXPECT_TRUE(lacks(disk.writeSeconds, Absence::Malformed));
    EXPECT_TRUE(lacks(disk.weightedSeconds, Absence::Malformed));
}

TEST(DiskLines, WhatIsNoNumberIsMalformedAndSoIsTheRest) {
    const auto [ok, disk, sum] = parsed("8 0 sda 1 x2 3 4 5 6 7 8 9 10 11\n8 1 sda1 5 6 7 8\n");
    ASSERT_TRUE(ok);
    EXPECT_TRUE(holds(disk.reads, 1));
    EXPECT_TRUE(lacks(disk.readsMerged, Absence::Malformed));
    EXPECT_TRUE(lacks(disk.readBytes, Absence::Malformed));
    EXPECT_TRUE(lacks(disk.weightedSeconds, Absence::Malformed));
}

TEST(DiskLines, ASignIsNoNumberOfAKernel) {
    const auto [ok, disk, sum] = parsed("8 0 sda -1 2 3 4 5 6 7 8 9 10 11\n");
    ASSERT_TRUE(ok);
    EXPECT_TRUE(lacks(disk.reads, Absence::Malformed));
}

TEST(DiskLines, SectorsWhoseBytesDoNotFitAreMalformed) {
    const auto [ok, disk, sum] = parsed("8 0 sda 18446744073709551615 2 36028797018963968 4 5 6 36028797018963967 8 9 "
                                        "10 11\n"); // 2^55 and one less
    ASSERT_TRUE(ok);
    EXPECT_TRUE(holds(disk.reads, 18446744073709551615ULL));
    EXPECT_TRUE(lacks(disk.readBytes, Absence::Malformed));
    EXPECT_TRUE(holds(disk.writtenBytes, 18446744073709551104ULL));
}

TEST(DiskLines, NumbersBeyond64BitsAreMalformed) {
    const auto [ok, disk, sum] = parsed("8 0 sda 18446744073709551616 2 3 4 5 6 7 8 9 10 11\n");
    ASSERT_TRUE(ok);
    EXPECT_TRUE(lacks(disk.reads, Absence::Malformed));
}

TEST(DiskLines, ALineWithoutNumbersOrNameIsNone) {
    EXPECT_FALSE(parsed("\n8 0 sda 1 2 3 4\n").ok);
    EXPECT_FALSE(parsed("").ok);
    EXPECT_FALSE(parsed("8\n0 sda 1 2 3 4\n").ok);
    EXPECT_FALSE(parsed("8 0\nsda 1 2 3 4\n").ok);
    EXPECT_FALSE(parsed("sda 1 2 3 4 5 6\n").ok);
    EXPECT_FALSE(parsed("8 x sda 1 2 3 4 5 6\n").ok);
}

TEST(DiskLines, ANameMayHoldAnyByteButBlanks) {
    const auto [ok, disk, sum] = parsed("8 0 ../\x1b[2J\xc3 1 2 3 4 5 6 7 8 9 10 11\n");
    ASSERT_TRUE(ok);
    EXPECT_EQ(disk.name, "../\x1b[2J\xc3");
    EXPECT_TRUE(holds(disk.reads, 1));
}

} // namespace

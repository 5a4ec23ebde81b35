// The known names of disks.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

zel::Sample sampleOf(std::initializer_list<const char *> names) {
    zel::Sample sample;
    for (const char *name : names) {
        zel::Disk &disk = sample.disks.append();
        disk.name = name;
        disk.inFlight = std::uint64_t{2};
    }
    return sample;
}

Lines inFlightOf(std::initializer_list<const char *> names) {
    return KnownText(zel::knownDisks, sampleOf(names)).series("node_disk_io_now");
}

TEST(KnownDisks, PartitionsAreLeftOut) {
    EXPECT_EQ(inFlightOf({"sda", "sda1", "hdb12", "vdc3", "xvdd4", "nvme0n1p2", "nvme10n11p12", "nvme0n1"}),
              (Lines{R"(node_disk_io_now{device="sda"} 2)", R"(node_disk_io_now{device="nvme0n1"} 2)"}));
}

TEST(KnownDisks, MemoryDisksAndLoopDevicesAreLeftOut) {
    EXPECT_EQ(inFlightOf({"ram0", "loop7", "fd0", "zram0"}), (Lines{R"(node_disk_io_now{device="zram0"} 2)"}));
}

TEST(KnownDisks, WhatOnlyLooksLikeAPartitionStays) {
    EXPECT_EQ(inFlightOf({"md0", "dm-1", "mmcblk0p1", "sdaa1", "sd1", "nbd0", "nvmen1p1", "1", "cciss/c0d0p1"}).size(),
              9U);
}

TEST(KnownDisks, DiscardedSectorsHave512Bytes) {
    zel::Sample sample = sampleOf({"sdb"});
    sample.disks[0].discardedBytes = std::uint64_t{6105978077} * 512;
    const KnownText text(zel::knownDisks, sample);
    EXPECT_EQ(text.series("node_disk_discarded_sectors_total"),
              (Lines{R"(node_disk_discarded_sectors_total{device="sdb"} 6105978077)"}));
    EXPECT_EQ(text.type("node_disk_discarded_sectors_total"), "counter");
}

TEST(KnownDisks, NumbersOfADiskHaveTheirFamilies) {
    zel::Sample sample = sampleOf({"sda"});
    zel::Disk &disk = sample.disks[0];
    disk.reads = std::uint64_t{10};
    disk.readSeconds = 18492.372;
    disk.writtenBytes = std::uint64_t{758268592} * 512;
    disk.weightedSeconds = 0.25;
    const KnownText text(zel::knownDisks, sample);
    EXPECT_EQ(text.series("node_disk_reads_completed_total"),
              (Lines{R"(node_disk_reads_completed_total{device="sda"} 10)"}));
    EXPECT_EQ(text.series("node_disk_read_time_seconds_total"),
              (Lines{R"(node_disk_read_time_seconds_total{device="sda"} 18492.372)"}));
    EXPECT_EQ(text.series("node_disk_written_bytes_total"),
              (Lines{R"(node_disk_written_bytes_total{device="sda"} 388233519104)"}));
    EXPECT_EQ(text.series("node_disk_io_time_weighted_seconds_total"),
              (Lines{R"(node_disk_io_time_weighted_seconds_total{device="sda"} 0.25)"}));
}

} // namespace

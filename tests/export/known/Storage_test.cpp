// The known names of btrfs, XFS, ZFS and errors of memory.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

const std::string uuid = "67ca9d8b-25d1-42ca-a1b1-a74804cabc2d";

TEST(KnownBtrfs, AFilesystemHasItsLabelAndItsSpaces) {
    zel::Sample sample;
    zel::Btrfs &whole = sample.btrfs.append();
    whole.uuid = uuid;
    whole.label = std::string("data one");
    whole.reserveBytes = std::uint64_t{5767168};
    zel::BtrfsSpace &space = sample.btrfsSpaces.append();
    space.uuid = uuid;
    space.type = "metadata";
    space.totalBytes = std::uint64_t{9};
    space.reservedBytes = std::uint64_t{7};
    zel::BtrfsProfile &profile = sample.btrfsProfiles.append();
    profile.uuid = uuid;
    profile.type = "metadata";
    profile.profile = "raid1";
    profile.totalBytes = std::uint64_t{41943040};
    profile.usedBytes = std::uint64_t{163840};
    profile.ratio = 2.0;
    const KnownText text(zel::knownBtrfs, sample);
    const std::string labels = R"({block_group_type="metadata",mode="raid1",uuid=")" + uuid + "\"} ";
    EXPECT_EQ(text.series(),
              (Lines{R"(node_btrfs_info{label="data one",uuid=")" + uuid + "\"} 1",
                     "node_btrfs_global_rsv_size_bytes{uuid=\"" + uuid + "\"} 5767168",
                     R"(node_btrfs_reserved_bytes{block_group_type="metadata",uuid=")" + uuid + "\"} 7",
                     "node_btrfs_used_bytes" + labels + "163840", "node_btrfs_size_bytes" + labels + "41943040",
                     "node_btrfs_allocation_ratio" + labels + "2"}));
}

TEST(KnownBtrfs, EveryKindOfErrorOfADeviceIsASeries) {
    zel::Sample sample;
    zel::BtrfsDevice &device = sample.btrfsDevices.append();
    device.uuid = "u";
    device.device = "mapper/data";
    device.deviceUuid = "d";
    device.sizeBytes = std::uint64_t{419430400};
    device.unusedBytes = std::uint64_t{301989888};
    device.corruptionErrors = std::uint64_t{1};
    device.flushErrors = std::uint64_t{2};
    device.generationErrors = std::uint64_t{3};
    device.readErrors = std::uint64_t{4};
    device.writeErrors = std::uint64_t{5};
    const KnownText text(zel::knownBtrfs, sample);
    const std::string labels = R"(btrfs_dev_uuid="d",device="mapper/data",uuid="u")";
    EXPECT_EQ(text.series("node_btrfs_device_size_bytes"),
              (Lines{"node_btrfs_device_size_bytes{" + labels + "} 419430400"}));
    EXPECT_EQ(text.series("node_btrfs_device_unused_bytes"),
              (Lines{"node_btrfs_device_unused_bytes{" + labels + "} 301989888"}));
    Lines errors;
    for (const char *error : {"corruption\"} 1", "flush\"} 2", "generation\"} 3", "read\"} 4", "write\"} 5"})
        errors.push_back("node_btrfs_device_errors_total{" + labels + ",type=\"" + error);
    EXPECT_EQ(text.series("node_btrfs_device_errors_total"), errors);
    EXPECT_EQ(text.type("node_btrfs_device_errors_total"), "counter");
}

TEST(KnownXfs, CountersHaveTheirDevice) {
    zel::Sample sample;
    zel::Xfs &row = sample.xfs.append();
    row.device = "dm-0";
    row.inodesMissed = std::uint64_t{3};
    row.vnodesActive = std::uint64_t{7};
    row.writeCalls = std::uint64_t{20};
    const KnownText text(zel::knownXfs, sample);
    EXPECT_EQ(text.series(), (Lines{R"(node_xfs_inode_operation_missed_total{device="dm-0"} 3)",
                                    R"(node_xfs_write_calls_total{device="dm-0"} 20)",
                                    R"(node_xfs_vnode_active_total{device="dm-0"} 7)"}));
    EXPECT_EQ(text.type("node_xfs_vnode_active_total"), "counter");
}

void addValue(zel::Sample &sample, const char *source, const std::string &name, const zel::Count &value) {
    zel::ZfsValue &row = sample.zfs.append();
    row.source = source;
    row.name = name;
    row.value = value;
    row.signedValue = zel::Absence::Unsupported;
}

TEST(KnownZfs, AValueIsAFamilyNamedAfterItsFileAndItself) {
    zel::Sample sample;
    addValue(sample, "arcstats", "hits", std::uint64_t{3260286});
    addValue(sample, "dnodestats", "dnode.hold-time", std::uint64_t{18446744073709551615U});
    addValue(sample, "zil", "text \n{", std::uint64_t{1});
    addValue(sample, "dbufstats", "cache_count", std::uint64_t{1});              // of a name of ours
    addValue(sample, "arcstats", "memory_available", zel::Absence::Unsupported); // it can be negative
    const KnownText text(zel::knownZfs, sample);
    EXPECT_EQ(text.series(), (Lines{"node_zfs_arc_hits 3260286", "node_zfs_dnode_hold_time 18446744073709551615",
                                    "node_zfs_zil_text___ 1"}));
    EXPECT_EQ(text.type("node_zfs_arc_hits"), "untyped");
}

TEST(KnownZfs, NoFamilyComesTwiceAndNoneIsCut) {
    zel::Sample sample;
    addValue(sample, "zil", "a-b", std::uint64_t{1});
    addValue(sample, "zil", "a.a_b", std::uint64_t{2});
    addValue(sample, "zil", std::string(300, 'x'), std::uint64_t{3});
    EXPECT_EQ(KnownText(zel::knownZfs, sample).series(), (Lines{"node_zfs_zil_a_b 1"}));
}

TEST(KnownZfs, APoolIsInOneOfItsStatesOrInNone) {
    zel::Sample sample;
    zel::ZfsPool &pool = sample.zfsPools.append();
    pool.pool = "tank";
    pool.state = std::string("DEGRADED");
    pool.readBytes = std::uint64_t{8732142};
    pool.waitSeconds = 0.004131527;
    pool.runUpdatedSeconds = 79210.489849220;
    zel::ZfsPool &other = sample.zfsPools.append();
    other.pool = "old"; // without a state
    const KnownText text(zel::knownZfs, sample);
    EXPECT_EQ(text.series("node_zfs_zpool_nread"), (Lines{R"(node_zfs_zpool_nread{zpool="tank"} 8732142)"}));
    EXPECT_EQ(text.series("node_zfs_zpool_wtime"), (Lines{R"(node_zfs_zpool_wtime{zpool="tank"} 4131527)"}));
    EXPECT_EQ(text.series("node_zfs_zpool_rupdate").size(), 1U);
    const Lines states = text.series("node_zfs_zpool_state");
    EXPECT_EQ(states.size(), 6U);
    EXPECT_EQ(states[0], R"(node_zfs_zpool_state{zpool="tank",state="online"} 0)");
    EXPECT_EQ(states[1], R"(node_zfs_zpool_state{zpool="tank",state="degraded"} 1)");
    sample.zfsPools[0].state = std::string("SUSPENDED");
    for (const std::string &line : KnownText(zel::knownZfs, sample).series("node_zfs_zpool_state"))
        EXPECT_TRUE(line.ends_with(" 0")) << line;
}

TEST(KnownZfs, ADatasetHasItsPool) {
    zel::Sample sample;
    zel::ZfsDataset &row = sample.zfsDatasets.append();
    row.pool = "tank";
    row.dataset = "tank/home";
    row.writtenBytes = std::uint64_t{5};
    row.logCommits = std::uint64_t{6};
    EXPECT_EQ(KnownText(zel::knownZfs, sample).series(),
              (Lines{R"(node_zfs_zpool_dataset_nwritten{dataset="tank/home",zpool="tank"} 5)",
                     R"(node_zfs_zpool_dataset_zil_commit_count{dataset="tank/home",zpool="tank"} 6)"}));
}

TEST(KnownEdac, ErrorsOfNoRowAreOfAnUnknownOne) {
    zel::Sample sample;
    zel::EdacController &controller = sample.edacControllers.append();
    controller.controller = 1;
    controller.correctedErrors = std::uint64_t{5};
    controller.correctedPlaceless = std::uint64_t{2};
    zel::EdacRow &row = sample.edacRows.append();
    row.controller = 1;
    row.row = 10;
    row.correctedErrors = std::uint64_t{3};
    EXPECT_EQ(KnownText(zel::knownEdac, sample).series(),
              (Lines{R"(node_edac_correctable_errors_total{controller="1"} 5)",
                     R"(node_edac_csrow_correctable_errors_total{controller="1",csrow="unknown"} 2)",
                     R"(node_edac_csrow_correctable_errors_total{controller="1",csrow="10"} 3)"}));
}

} // namespace

// Filesystems of type btrfs as /sys/fs/btrfs shows them.
#include "SampledHost.h"
#include "host/areas/BtrfsDevices.h"

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>

namespace {

using zel::Absence;
using zel::Area;

constexpr const char *mounts = "23 1 8:1 / / rw - ext4 /dev/sda1 rw\n";
const std::string uuid = "67ca9d8b-25d1-42ca-a1b1-a74804cabc2d";

// One filesystem on four devices, with data in two profiles.
class BtrfsHost : public SampledHost {
public:
    BtrfsHost() : SampledHost({Area::Filesystems}) {
        write("proc/1/mountinfo", mounts);
        write("sys/fs/btrfs/features/raid56", "0\n");
        own("label", "data one\n");
        own("metadata_uuid", "b0d4a57c-0e6b-4f1c-a3a5-2b1c5d6e7f80\n");
        own("exclusive_operation", "balance\n");
        own("nodesize", "16384\n");
        own("sectorsize", "4096\n");
        own("allocation/global_rsv_size", "5767168\n");
        own("allocation/global_rsv_reserved", "5767160\n");
        space("data", "1");
        space("metadata", "2");
        profile("data", "single", "9000000000", "70");
        profile("data", "raid6", "91", "71");
        profile("metadata", "raid1c3", "92", "72");
        profile("metadata", "raid5", "93", "73");
        for (const char *name : {"sda", "sdb", "dm-3", "loop10"}) {
            write(std::string("sys/devices/virtual/block/") + name + "/size", "20971520\n");
            own(std::string("devices/") + name + "/size", "20971520\n");
        }
    }

    void own(const std::string &file, const std::string &text) const {
        write("sys/fs/btrfs/" + uuid + '/' + file, text);
    }
    void profile(const std::string &type, const std::string &name, const char *total, const char *used) const {
        own("allocation/" + type + '/' + name + "/total_bytes", std::string(total) + '\n');
        own("allocation/" + type + '/' + name + "/used_bytes", std::string(used) + '\n');
    }

private:
    // Numbers that begin with `digit`, one for each file.
    void space(const std::string &type, const std::string &digit) const {
        int number = 0;
        for (const char *file : {"total_bytes", "bytes_used", "bytes_reserved", "bytes_may_use", "bytes_pinned",
                                 "bytes_readonly", "disk_total", "disk_used"})
            own("allocation/" + type + '/' + file, digit + std::to_string(number++) + '\n');
    }
};

TEST(BtrfsStatistics, AFilesystemWithItsSpaceByTypeAndProfile) {
    BtrfsHost host;
    const zel::Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Filesystems), NO_FAILURE);
    ASSERT_EQ(sample.btrfs.size(), 1U) << "features is no filesystem";
    const zel::Btrfs &whole = sample.btrfs[0];
    EXPECT_EQ(whole.uuid, uuid);
    EXPECT_TRUE(holds(whole.label, std::string("data one")));
    EXPECT_TRUE(holds(whole.metadataUuid, std::string("b0d4a57c-0e6b-4f1c-a3a5-2b1c5d6e7f80")));
    EXPECT_TRUE(holds(whole.operation, std::string("balance")));
    EXPECT_TRUE(holds(whole.nodeBytes, 16384U));
    EXPECT_TRUE(holds(whole.sectorBytes, 4096U));
    EXPECT_TRUE(holds(whole.reserveBytes, 5767168U));
    EXPECT_TRUE(holds(whole.reserveUnusedBytes, 5767160U));

    ASSERT_EQ(sample.btrfsSpaces.size(), 2U) << "it has neither system nor mixed";
    const zel::BtrfsSpace &space = sample.btrfsSpaces[1];
    EXPECT_EQ(space.type, "metadata");
    EXPECT_TRUE(holds(space.totalBytes, 20U));
    EXPECT_TRUE(holds(space.usedBytes, 21U));
    EXPECT_TRUE(holds(space.reservedBytes, 22U));
    EXPECT_TRUE(holds(space.mayUseBytes, 23U));
    EXPECT_TRUE(holds(space.pinnedBytes, 24U));
    EXPECT_TRUE(holds(space.readOnlyBytes, 25U));
    EXPECT_TRUE(holds(space.diskTotalBytes, 26U));
    EXPECT_TRUE(holds(space.diskUsedBytes, 27U));
}

TEST(BtrfsStatistics, TheRatioOfAProfileWithParityDependsOnTheDevices) {
    BtrfsHost host;
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.btrfsProfiles.size(), 4U);
    const auto is = [&](std::size_t at, const char *type, const char *profile, double ratio) {
        const zel::BtrfsProfile &row = sample.btrfsProfiles[at];
        return row.type == type && row.profile == profile && row.ratio.valueOr(-1) == ratio;
    };
    EXPECT_TRUE(is(0, "data", "single", 1));
    EXPECT_TRUE(holds(sample.btrfsProfiles[0].totalBytes, 9000000000U));
    EXPECT_TRUE(holds(sample.btrfsProfiles[0].usedBytes, 70U));
    EXPECT_TRUE(is(1, "data", "raid6", 2)) << "two of four devices";
    EXPECT_TRUE(is(2, "metadata", "raid1c3", 3));
    EXPECT_TRUE(is(3, "metadata", "raid5", 4.0 / 3)) << "three of four devices";
}

TEST(BtrfsStatistics, WithoutAMountToAskTheDevicesAreThoseOfSysfs) {
    BtrfsHost host;
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.btrfsDevices.size(), 4U);
    EXPECT_EQ(sample.btrfsDevices[0].device, "sda");
    EXPECT_EQ(sample.btrfsDevices[2].device, "dm-3");
    EXPECT_EQ(sample.btrfsDevices[3].device, "loop10");
    EXPECT_EQ(sample.btrfsDevices[0].deviceUuid, "");
    EXPECT_TRUE(holds(sample.btrfsDevices[0].sizeBytes, 10737418240U));
    EXPECT_TRUE(lacks(sample.btrfsDevices[0].unusedBytes, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.btrfsDevices[0].writeErrors, Absence::Unsupported));
}

TEST(BtrfsStatistics, OneThatIsUnmountedHasNoRowAnyMore) {
    BtrfsHost host;
    EXPECT_EQ(host.take().btrfs.size(), 1U);
    std::filesystem::remove_all(host.path() + "/sys/fs/btrfs/" + uuid);
    const zel::Sample &sample = host.take();
    EXPECT_EQ(
        sample.btrfs.size() + sample.btrfsSpaces.size() + sample.btrfsProfiles.size() + sample.btrfsDevices.size(), 0U);
    EXPECT_EQ(failureOf(sample, Area::Filesystems), NO_FAILURE);
}

TEST(BtrfsStatistics, AnEntryThatGoesAfterItWasListedHasNoRow) {
    BtrfsHost host;
    host.write("sys/fs/btrfs/11111111-25d1-42ca-a1b1-a74804cabc2d/label", "\n"); // no allocation any more
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.btrfs.size(), 1U);
    EXPECT_EQ(sample.btrfs[0].uuid, uuid);
    EXPECT_EQ(failureOf(sample, Area::Filesystems), NO_FAILURE);
}

TEST(BtrfsStatistics, WhatAKernelLacksIsUnsupportedAndWhatIsNoNumberIsMalformed) {
    BtrfsHost host;
    host.remove("sys/fs/btrfs/" + uuid + "/exclusive_operation");
    host.remove("sys/fs/btrfs/" + uuid + "/sectorsize");
    host.own("label", "\n");
    host.own("nodesize", "many\n");
    host.own("allocation/data/bytes_used", "");
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.btrfs[0].operation, Absence::Unsupported)) << "before kernel 5.10";
    EXPECT_TRUE(lacks(sample.btrfs[0].sectorBytes, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.btrfs[0].label, Absence::Unsupported)) << "it was given none";
    EXPECT_TRUE(lacks(sample.btrfs[0].nodeBytes, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.btrfsSpaces[0].usedBytes, Absence::Malformed));
    EXPECT_EQ(failureOf(sample, Area::Filesystems), std::pair(EBADMSG, "sys/fs/btrfs/" + uuid + "/nodesize"));
}

TEST(BtrfsStatistics, ParityOnOneDeviceHasNoRatio) {
    BtrfsHost host;
    for (const char *name : {"sdb", "dm-3", "loop10"})
        std::filesystem::remove_all(host.path() + "/sys/fs/btrfs/" + uuid + "/devices/" + name);
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.btrfsProfiles[1].ratio, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.btrfsProfiles[3].ratio, Absence::Unsupported));
}

TEST(BtrfsStatistics, NamesOfAnyBytesStayInTheirDirectory) {
    BtrfsHost host;
    const std::string name = "a-\"\n\x01 b";
    host.write("sys/fs/btrfs/" + name + "/allocation/global_rsv_size", "1\n");
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.btrfs.size(), 2U);
    EXPECT_EQ(sample.btrfs[0].uuid, name);
}

TEST(BtrfsDevices, OnlyAMountOfThisTypeAnswers) {
    const TempDirectory scratch;
    scratch.write("file", "");
    const zel::HostDirectory root(scratch.path());
    zel::BtrfsAnswer answer;
    EXPECT_EQ(zel::askBtrfs(root, "/none", answer), ENOENT);
    const int error = zel::askBtrfs(root, "/", answer);
    EXPECT_TRUE(error == ENOTTY || error == 0) << error << ": the directory of temporary files may be of this type";
    ASSERT_EQ(mkfifo((std::string(scratch.path()) + "/pipe").c_str(), 0600), 0);
    EXPECT_EQ(zel::askBtrfs(root, "/pipe", answer), EOPNOTSUPP) << "it was not opened";
}

TEST(BtrfsDevices, AUuidIsWrittenAsEverybodyWritesIt) {
    const unsigned char bytes[16] = {0x67, 0xca, 0x9d, 0x8b, 0x25, 0xd1, 0x42, 0xca,
                                     0xa1, 0xb1, 0xa7, 0x48, 0x04, 0xca, 0xbc, 0x2d};
    EXPECT_EQ(zel::uuidText(bytes), uuid);
}

} // namespace

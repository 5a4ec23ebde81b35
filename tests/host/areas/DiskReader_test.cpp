// What the model says of a disk beside its counters, below a root directory.
#include "SampledHost.h"

#include <cerrno>
#include <filesystem>

namespace {

using zel::Absence;
using zel::Area;
using zel::Disk;
using zel::Sample;

constexpr const char *lineOfSda = "   8       0 sda 1 2 3 4 5 6 7 8 0 10 11 12 13 14 15 16 17\n";
constexpr const char *lineOfSda1 = "   8       1 sda1 1 2 3 4 5 6 7 8 0 10 11 12 13 14 15 16 17\n";

// A host whose devices are where sysfs has them, with links in the class.
class BlockHost : public SampledHost {
public:
    explicit BlockHost(const std::string &lines) : SampledHost(std::vector{Area::Disks}) {
        write("proc/diskstats", lines);
    }

    void link(const std::string &name, const std::string &device) const {
        const std::filesystem::path place = std::filesystem::path(path()) / "sys/class/block" / name;
        std::filesystem::create_directories(place.parent_path());
        std::filesystem::create_symlink("../../devices/" + device, place);
    }
    void attribute(const std::string &device, const std::string &name, const std::string &text) const {
        write("sys/devices/" + device + "/" + name, text);
    }
    const Disk &disk(std::size_t index = 0) { return take().disks[index]; }
};

TEST(DiskReader, TakesTheAttributesOfAScsiDiskThroughItsLink) {
    BlockHost host(lineOfSda);
    host.link("sda", "pci/block/sda");
    for (const auto &[name, text] :
         std::initializer_list<std::pair<const char *, const char *>>{{"size", "2048\n"},
                                                                      {"ro", "1\n"},
                                                                      {"diskseq", "7\n"},
                                                                      {"removable", "0\n"},
                                                                      {"queue/rotational", "1\n"},
                                                                      {"queue/logical_block_size", "512\n"},
                                                                      {"queue/physical_block_size", "4096\n"},
                                                                      {"queue/scheduler", "none [mq-deadline] kyber\n"},
                                                                      {"device/vendor", "ATA     \n"},
                                                                      {"device/model", "SAMSUNG MZ7  \n"},
                                                                      {"device/rev", "5B6Q\n"},
                                                                      {"device/wwid", "naa.5002538e40a1b2c3\n"}})
        host.attribute("pci/block/sda", name, text);
    host.attribute("pci/block/sda", "device/vpd_pg80", std::string("\0\x80\0\x08  S3Z1NB", 12));
    const Disk &disk = host.disk();
    EXPECT_TRUE(holds(disk.sizeBytes, 2048 * 512));
    EXPECT_TRUE(holds(disk.readOnly, 1));
    EXPECT_TRUE(holds(disk.sequence, 7));
    EXPECT_TRUE(holds(disk.removable, 0));
    EXPECT_TRUE(holds(disk.rotational, 1));
    EXPECT_TRUE(holds(disk.logicalBlockBytes, 512));
    EXPECT_TRUE(holds(disk.physicalBlockBytes, 4096));
    EXPECT_TRUE(holds(disk.scheduler, "mq-deadline"));
    EXPECT_TRUE(holds(disk.vendor, "ATA"));
    EXPECT_TRUE(holds(disk.model, "SAMSUNG MZ7"));
    EXPECT_TRUE(holds(disk.firmware, "5B6Q"));
    EXPECT_TRUE(holds(disk.worldWideId, "naa.5002538e40a1b2c3"));
    EXPECT_TRUE(holds(disk.serial, "S3Z1NB"));
    EXPECT_TRUE(lacks(disk.parent, Absence::Unsupported));
    EXPECT_TRUE(lacks(disk.raidLevel, Absence::Unsupported));
    EXPECT_TRUE(lacks(disk.deviceMapperName, Absence::Unsupported));
}

TEST(DiskReader, TakesTheAttributesOfAnNvmeDisk) {
    BlockHost host(" 259       0 nvme0n1 1 2 3 4 5 6 7 8 0 10 11 12 13 14 15 16 17\n");
    host.link("nvme0n1", "nvme0n1");
    host.attribute("nvme0n1", "wwid", "eui.0025385b71b0e2d1\n");
    host.attribute("nvme0n1", "device/model", "Disk 9                  \n");
    host.attribute("nvme0n1", "device/serial", "S4EWNX0M \n");
    host.attribute("nvme0n1", "device/firmware_rev", "2B2QEXE7\n");
    host.attribute("nvme0n1", "queue/scheduler", "none\n");
    const Disk &disk = host.disk();
    EXPECT_TRUE(holds(disk.worldWideId, "eui.0025385b71b0e2d1"));
    EXPECT_TRUE(holds(disk.model, "Disk 9"));
    EXPECT_TRUE(holds(disk.serial, "S4EWNX0M"));
    EXPECT_TRUE(holds(disk.firmware, "2B2QEXE7"));
    EXPECT_TRUE(holds(disk.scheduler, "none"));
}

TEST(DiskReader, APartitionHasItsDiskAndTheSequenceOfIt) {
    BlockHost host(std::string(lineOfSda) + lineOfSda1);
    host.link("sda", "pci/block/sda");
    host.link("sda1", "pci/block/sda/sda1");
    host.attribute("pci/block/sda", "diskseq", "12\n");
    host.attribute("pci/block/sda", "queue/rotational", "0\n");
    host.attribute("pci/block/sda/sda1", "partition", "1\n");
    host.attribute("pci/block/sda/sda1", "size", "100\n");
    host.attribute("pci/block/sda/sda1", "ro", "0\n");
    const Disk &partition = host.disk(1);
    EXPECT_TRUE(holds(partition.parent, "sda"));
    EXPECT_TRUE(holds(partition.sequence, 12));
    EXPECT_TRUE(holds(partition.sizeBytes, 51200));
    EXPECT_TRUE(holds(partition.readOnly, 0));
    EXPECT_TRUE(lacks(partition.rotational, Absence::Unsupported));
    EXPECT_TRUE(lacks(partition.scheduler, Absence::Unsupported));
}

TEST(DiskReader, DeviceMapperHasANameAndAUuid) {
    BlockHost host(" 253       0 dm-0 1 2 3 4 5 6 7 8 0 10 11\n");
    host.link("dm-0", "virtual/block/dm-0");
    host.attribute("virtual/block/dm-0", "dm/name", "vg0-root\n");
    host.attribute("virtual/block/dm-0", "dm/uuid", "LVM-abc\n");
    EXPECT_TRUE(holds(host.disk().deviceMapperName, "vg0-root"));
    EXPECT_TRUE(holds(host.disk().deviceMapperUuid, "LVM-abc"));
}

TEST(DiskReader, AnArrayHasItsState) {
    BlockHost host("   9       0 md0 1 2 3 4 5 6 7 8 0 10 11\n");
    host.link("md0", "virtual/block/md0");
    const std::string device = "virtual/block/md0";
    host.attribute(device, "md/level", "raid1\n");
    host.attribute(device, "md/array_state", "clean\n");
    host.attribute(device, "md/sync_action", "recover\n");
    host.attribute(device, "md/sync_completed", "512 / 2048\n");
    host.attribute(device, "md/raid_disks", "2\n");
    host.attribute(device, "md/degraded", "1\n");
    const Disk &disk = host.disk();
    EXPECT_TRUE(holds(disk.raidLevel, "raid1"));
    EXPECT_TRUE(holds(disk.raidState, "clean"));
    EXPECT_TRUE(holds(disk.raidSyncAction, "recover"));
    EXPECT_TRUE(holds(disk.raidSyncRatio, 0.25));
    EXPECT_TRUE(holds(disk.raidDisks, 2));
    EXPECT_TRUE(holds(disk.raidDegraded, 1));
    host.attribute(device, "md/sync_completed", "none\n");
    EXPECT_TRUE(lacks(host.disk().raidSyncRatio, Absence::Unsupported));
    host.attribute(device, "md/sync_completed", "delayed\n");
    EXPECT_TRUE(holds(host.disk().raidSyncRatio, 0));
    for (const char *text : {"", "x\n", "5\n", "5 of 7\n"}) {
        host.attribute(device, "md/sync_completed", text);
        EXPECT_TRUE(lacks(host.disk().raidSyncRatio, Absence::Malformed)) << text;
    }
}

TEST(DiskReader, ASlashInANameIsAnExclamationMarkInSysfs) {
    BlockHost host(" 104       0 cciss/c0d0 1 2 3 4 5 6 7 8 0 10 11\n");
    host.link("cciss!c0d0", "pci/block/cciss!c0d0");
    host.attribute("pci/block/cciss!c0d0", "size", "4\n");
    EXPECT_EQ(host.disk().name, "cciss/c0d0");
    EXPECT_TRUE(holds(host.disk().sizeBytes, 2048));
}

TEST(DiskReader, NoNameLeadsOutOfTheDirectory) {
    BlockHost host("   8 0 ../x 1 2 3 4 5 6 7 8 0 10 11\n"
                   "   8 1 .. 1 2 3 4 5 6 7 8 0 10 11\n"
                   "   8 2 . 1 2 3 4 5 6 7 8 0 10 11\n"
                   "   8 3 \x1b\xc3 1 2 3 4 5 6 7 8 0 10 11\n"
                   "   8 4 " +
                   std::string(5000, 'n') + " 1 2 3 4 5 6 7 8 0 10 11\n");
    host.write("sys/class/x/size", "1\n");
    host.write("sys/class/size", "1\n");
    host.write("sys/class/block/size", "1\n");
    const Sample &sample = host.take();
    ASSERT_EQ(sample.disks.size(), 5U);
    for (const Disk &disk : sample.disks) {
        EXPECT_TRUE(lacks(disk.sizeBytes, Absence::Unsupported)) << disk.name;
        EXPECT_TRUE(holds(disk.reads, 1)) << disk.name;
    }
}

TEST(DiskReader, ALinkThatLeadsOutOfTheRootIsFollowedWithinIt) {
    BlockHost host(lineOfSda);
    const TempDirectory outside;
    outside.write("size", "99\n");
    std::filesystem::create_directories(std::filesystem::path(host.path()) / "sys/class/block");
    std::filesystem::create_symlink(outside.path(), std::filesystem::path(host.path()) / "sys/class/block/sda");
    EXPECT_TRUE(lacks(host.disk().sizeBytes, Absence::Unsupported));
}

TEST(DiskReader, WhatIsNoNumberIsMalformed) {
    BlockHost host(lineOfSda);
    host.link("sda", "sda");
    host.attribute("sda", "size", "big\n");
    host.attribute("sda", "ro", "");
    host.attribute("sda", "queue/rotational", "1x\n");
    host.attribute("sda", "device/model", "   \n");
    host.attribute("sda", "device/vpd_pg80", std::string("\0\x80\xff", 3));
    const Disk &disk = host.disk();
    EXPECT_TRUE(lacks(disk.sizeBytes, Absence::Malformed));
    EXPECT_TRUE(lacks(disk.readOnly, Absence::Malformed));
    EXPECT_TRUE(lacks(disk.rotational, Absence::Malformed));
    EXPECT_TRUE(lacks(disk.model, Absence::Unsupported));
    EXPECT_TRUE(lacks(disk.serial, Absence::Unsupported));
    host.attribute("sda", "size", "36028797018963968\n"); // its bytes do not fit
    EXPECT_TRUE(lacks(host.disk().sizeBytes, Absence::Malformed));
}

TEST(DiskReader, ALineThatIsNoneIsNotedAndTheRestTaken) {
    BlockHost host("garbage\n" + std::string(lineOfSda));
    const Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Disks), std::make_pair(EBADMSG, std::string("proc/diskstats")));
    EXPECT_EQ(sample.area(Area::Disks).absence, Absence::None);
    ASSERT_EQ(sample.disks.size(), 1U);
    EXPECT_EQ(sample.disks[0].name, "sda");
}

TEST(DiskReader, WithoutTheFileThereAreNoDisks) {
    BlockHost host(lineOfSda);
    EXPECT_EQ(host.take().disks.size(), 1U);
    host.remove("proc/diskstats");
    const Sample &sample = host.take();
    EXPECT_TRUE(sample.disks.empty());
    EXPECT_EQ(failureOf(sample, Area::Disks), std::make_pair(ENOENT, std::string("proc/diskstats")));
    EXPECT_EQ(sample.area(Area::Disks).absence, Absence::Unsupported);
}

TEST(DiskReader, ADiskThatCameAndWentLeavesNothingToTheNextInItsPlace) {
    BlockHost host(lineOfSda);
    host.link("sda", "sda");
    host.attribute("sda", "size", "8\n");
    host.attribute("sda", "device/model", "First\n");
    EXPECT_TRUE(holds(host.disk().model, "First"));
    host.write("proc/diskstats", "   8       16 sdb 1 2 3 4\n");
    const Disk &other = host.disk();
    EXPECT_EQ(other.name, "sdb");
    EXPECT_TRUE(lacks(other.model, Absence::Unsupported));
    EXPECT_TRUE(lacks(other.sizeBytes, Absence::Unsupported));
    EXPECT_TRUE(lacks(other.ioSeconds, Absence::Unsupported));
    host.write("proc/diskstats", lineOfSda);
    host.remove("sys/devices/sda/device");
    EXPECT_TRUE(lacks(host.disk().model, Absence::Unsupported));
}

TEST(DiskReader, AFileWithoutEndIsNotBelieved) {
    std::string lines;
    for (int i = 0; i < 65540; ++i)
        lines += "1 1 a\n";
    BlockHost host(lines);
    const Sample &sample = host.take();
    EXPECT_EQ(sample.disks.size(), 65536U);
    EXPECT_EQ(failureOf(sample, Area::Disks), std::make_pair(E2BIG, std::string("proc/diskstats")));
}

} // namespace

// What udev wrote down about a device, whole and broken, and when it is read.
#include "host/areas/UdevRecord.h"

#include "SampledHost.h"

#include <filesystem>

namespace {

using zel::Absence;
using zel::Area;
using zel::UdevDisk;

UdevDisk parsed(const std::string &text) {
    UdevDisk disk;
    disk.model.set(std::string_view("of the one before"));
    zel::parseUdevRecord(text.c_str(), disk);
    return disk;
}

TEST(UdevRecord, AnAtaDiskHasItsNamesAndItsCache) {
    const UdevDisk disk = parsed("S:disk/by-id/ata-ST3000DM001-1CH166_W1F0ABCD\n"
                                 "I:1234567\n"
                                 "E:ID_ATA=1\n"
                                 "E:ID_MODEL=ST3000DM001-1CH166\n"
                                 "E:ID_MODEL_ENC=ST3000DM001-1CH166\\x20\\x20\n"
                                 "E:ID_REVISION=CC27\n"
                                 "E:ID_SERIAL=ST3000DM001-1CH166_W1F0ABCD\n"
                                 "E:ID_SERIAL_SHORT=W1F0ABCD\n"
                                 "E:ID_ATA_WRITE_CACHE=1\n"
                                 "E:ID_ATA_WRITE_CACHE_ENABLED=0\n"
                                 "E:ID_ATA_ROTATION_RATE_RPM=7200\n"
                                 "E:ID_WWN=0x5000c5005e6abcde\n"
                                 "E:ID_WWN_WITH_EXTENSION=0x5000c5005e6abcde0001\n"
                                 "E:ID_PATH=pci-0000:00:1f.2-ata-1\n"
                                 "G:systemd\n");
    EXPECT_TRUE(holds(disk.model, "ST3000DM001-1CH166"));
    EXPECT_TRUE(holds(disk.revision, "CC27"));
    EXPECT_TRUE(holds(disk.serial, "W1F0ABCD"));
    EXPECT_TRUE(holds(disk.path, "pci-0000:00:1f.2-ata-1"));
    EXPECT_TRUE(holds(disk.worldWideName, "0x5000c5005e6abcde"));
    EXPECT_TRUE(holds(disk.ataWriteCache, 1));
    EXPECT_TRUE(holds(disk.ataWriteCacheEnabled, 0));
    EXPECT_TRUE(holds(disk.ataRotationRate, 7200));
    EXPECT_TRUE(lacks(disk.filesystemType, Absence::Unsupported));
}

TEST(UdevRecord, ALogicalVolumeHasItsGroupAndItsFilesystem) {
    const UdevDisk disk = parsed("E:DM_NAME=vg0-root\nE:DM_UUID=LVM-abc\nE:DM_VG_NAME=vg0\nE:DM_LV_NAME=root\n"
                                 "E:DM_LV_LAYER=\nE:ID_FS_UUID=9e4a\nE:ID_FS_VERSION=1.0\nE:ID_FS_TYPE=ext4\n"
                                 "E:ID_FS_USAGE=filesystem");
    EXPECT_TRUE(holds(disk.mapperName, "vg0-root"));
    EXPECT_TRUE(holds(disk.mapperUuid, "LVM-abc"));
    EXPECT_TRUE(holds(disk.volumeGroup, "vg0"));
    EXPECT_TRUE(holds(disk.logicalVolume, "root"));
    EXPECT_TRUE(lacks(disk.mapperLayer, Absence::Unsupported)) << "an empty one";
    EXPECT_TRUE(holds(disk.filesystemType, "ext4"));
    EXPECT_TRUE(holds(disk.filesystemUsage, "filesystem")) << "the last line has no end";
    EXPECT_TRUE(holds(disk.filesystemUuid, "9e4a"));
    EXPECT_TRUE(holds(disk.filesystemVersion, "1.0"));
    EXPECT_TRUE(lacks(disk.model, Absence::Unsupported)) << "nothing is left of another record";
}

TEST(UdevRecord, AValueIsTakenAsItStands) {
    EXPECT_TRUE(holds(parsed("E:ID_MODEL=a = \"b\" \n").model, "a = \"b\" "));
    EXPECT_TRUE(holds(parsed("E:ID_MODEL=first\nE:ID_MODEL=second\n").model, "second"));
}

TEST(UdevRecord, WhatIsNoPropertyIsLeftOut) {
    for (const char *text : {"", "\n\n", "E", "E:", "E:ID_MODEL", "E: ID_MODEL=x\n", " E:ID_MODEL=x\n", "ID_MODEL=x\n",
                             "E:ID_MODELS=x\n", "E:ID_MODE=x\n", "E:=x\n", "X:ID_MODEL=x\n"})
        EXPECT_TRUE(lacks(parsed(text).model, Absence::Unsupported)) << text;
}

TEST(UdevRecord, NumbersThatAreNoneAndTextsWithoutEndAreMalformed) {
    for (const char *text : {"x", "", "-1", "72.5", "99999999999999999999999"})
        EXPECT_TRUE(
            lacks(parsed(std::string("E:ID_ATA_ROTATION_RATE_RPM=") + text + "\n").ataRotationRate, Absence::Malformed))
            << text;
    const std::string longest(zel::UDEV_VALUE_AT_MOST, 'x');
    EXPECT_TRUE(holds(parsed("E:ID_PATH=" + longest + "\n").path, longest));
    EXPECT_TRUE(lacks(parsed("E:ID_PATH=" + longest + "x\n").path, Absence::Malformed));
}

TEST(UdevRecords, ADeviceWithARecordHasARow) {
    SampledHost host(Area::Disks, {{"proc/diskstats", "   8       0 sda 1 2 3 4 5 6 7 8 0 10 11\n"
                                                      "   8       1 sda1 1 2 3 4 5 6 7 8 0 10 11\n"
                                                      " 253       0 dm-0 1 2 3 4 5 6 7 8 0 10 11\n"},
                                   {"run/udev/data/b8:0", "E:ID_MODEL=one\n"},
                                   {"run/udev/data/b253:0", "E:DM_NAME=two\n"},
                                   {"run/udev/data/b8:16", "E:ID_MODEL=of no disk\n"}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.udevDisks.size(), 2U);
    EXPECT_EQ(sample.udevDisks[0].name, "sda");
    EXPECT_TRUE(holds(sample.udevDisks[0].model, "one"));
    EXPECT_EQ(sample.udevDisks[1].name, "dm-0");
    EXPECT_TRUE(holds(sample.udevDisks[1].mapperName, "two"));
    EXPECT_EQ(failureOf(sample, Area::Disks), NO_FAILURE);
    host.write("run/udev/data/b8:0", "E:ID_MODEL=three\n");
    host.remove("run/udev/data/b253:0");
    host.take();
    ASSERT_EQ(sample.udevDisks.size(), 1U);
    EXPECT_TRUE(holds(sample.udevDisks[0].model, "three"));
}

TEST(UdevRecords, WhatIsNoFileIsNoRecordAndIsSaid) {
    SampledHost host(Area::Disks, {{"proc/diskstats", "   8       0 sda 1 2 3 4 5 6 7 8 0 10 11\n"}});
    EXPECT_EQ(host.take().udevDisks.size(), 0U);
    EXPECT_EQ(failureOf(host.take(), Area::Disks), NO_FAILURE) << "a host without udev";
    std::filesystem::create_directories(host.path() + "/run/udev/data/b8:0");
    const zel::Sample &sample = host.take();
    EXPECT_EQ(sample.udevDisks.size(), 0U);
    EXPECT_EQ(failureOf(sample, Area::Disks), std::pair(EISDIR, std::string("run/udev/data")));
    host.remove("run/udev/data/b8:0");
    std::filesystem::create_symlink("/etc/passwd", host.path() + "/run/udev/data/b8:0");
    EXPECT_EQ(host.take().udevDisks.size(), 0U) << "no link leads out of the root";
}

} // namespace

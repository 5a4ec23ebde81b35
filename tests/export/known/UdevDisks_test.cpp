// The known names of what udev says of block devices.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

class KnownUdevDisks : public testing::Test {
protected:
    void disk(const char *name, std::uint64_t major, std::uint64_t minor) {
        zel::Disk &row = m_sample.disks.append();
        row.name = name;
        row.major = major;
        row.minor = minor;
        row.model.set("of the kernel");
    }
    zel::UdevDisk &record(const char *name) {
        zel::UdevDisk &row = m_sample.udevDisks.append();
        row.name = name;
        return row;
    }
    Lines series(const std::string &family) const { return KnownText(zel::knownUdevDisks, m_sample).series(family); }

    zel::Sample m_sample;
};

TEST_F(KnownUdevDisks, ADiskIsAsUdevKnowsIt) {
    disk("sda", 8, 0);
    disk("sda1", 8, 1);
    disk("sdb", 8, 16);
    disk("dm-0", 253, 0);
    record("sda").model.set("One");
    record("sda1").model.set("One");
    record("dm-0").path.set("p");
    EXPECT_EQ(
        series("node_disk_info"),
        (Lines{
            R"(node_disk_info{device="sda",major="8",minor="0",model="One",path="",revision="",serial="",wwn=""} 1)",
            R"(node_disk_info{device="sdb",major="8",minor="16",model="",path="",revision="",serial="",wwn=""} 1)",
            R"(node_disk_info{device="dm-0",major="253",minor="0",model="",path="p",revision="",serial="",wwn=""} 1)"}));
}

TEST_F(KnownUdevDisks, FilesystemsAndMappedNamesAreThoseThatHaveOne) {
    zel::UdevDisk &mapped = record("dm-0");
    mapped.mapperName.set("vg0-root");
    mapped.volumeGroup.set("vg0");
    mapped.filesystemType.set("ext4");
    record("sda").filesystemUuid.set("no type");
    record("sda1").filesystemType.set("xfs");
    EXPECT_EQ(series("node_disk_filesystem_info"),
              (Lines{R"(node_disk_filesystem_info{device="dm-0",type="ext4",usage="",uuid="",version=""} 1)"}));
    EXPECT_EQ(
        series("node_disk_device_mapper_info"),
        (Lines{
            R"(node_disk_device_mapper_info{device="dm-0",name="vg0-root",uuid="",vg_name="vg0",lv_name="",lv_layer=""} 1)"}));
}

TEST_F(KnownUdevDisks, AnAtaDiskHasItsCacheAndItsSpeed) {
    zel::UdevDisk &ata = record("sda");
    ata.ataWriteCache = std::uint64_t{1};
    ata.ataWriteCacheEnabled = std::uint64_t{0};
    ata.ataRotationRate = std::uint64_t{7200};
    EXPECT_EQ(series("node_disk_ata_write_cache"), (Lines{R"(node_disk_ata_write_cache{device="sda"} 1)"}));
    EXPECT_EQ(series("node_disk_ata_write_cache_enabled"),
              (Lines{R"(node_disk_ata_write_cache_enabled{device="sda"} 0)"}));
    EXPECT_EQ(series("node_disk_ata_rotation_rate_rpm"),
              (Lines{R"(node_disk_ata_rotation_rate_rpm{device="sda"} 7200)"}));
}

} // namespace

// Arrays, NVMe controllers, tapes and bcache sets, below a root directory and on this host.
#include "SampledHost.h"

#include <cerrno>
#include <filesystem>

namespace {

using zel::Absence;
using zel::Area;
using zel::Sample;

class StorageDevices : public testing::Test {
protected:
    StorageDevices() { m_host.write("proc/diskstats", "   8       0 sda 1 2 3 4 5 6 7 8 0 10 11\n"); }

    void files(const std::string &directory,
               std::initializer_list<std::pair<const char *, const char *>> contents) const {
        for (const auto &[name, text] : contents)
            m_host.write(directory + "/" + name, text);
    }
    // A device where sysfs has it, with its link in the class.
    void device(const std::string &classDirectory, const std::string &name,
                std::initializer_list<std::pair<const char *, const char *>> contents) const {
        files("sys/devices/pci/" + name, contents);
        const std::filesystem::path link = std::filesystem::path(m_host.path()) / classDirectory / name;
        std::filesystem::create_directories(link.parent_path());
        std::filesystem::create_symlink("../../devices/pci/" + name, link);
    }
    const Sample &take() { return m_host.take(); }

    SampledHost m_host{std::vector{Area::Disks}};
};

TEST_F(StorageDevices, AHostWithoutThemHasNoRowsAndNoFailure) {
    const Sample &sample = take();
    EXPECT_EQ(sample.mdArrays.size() + sample.nvmeStates.size() + sample.tapes.size() + sample.bcacheSets.size() +
                  sample.bcacheBackingDevices.size() + sample.bcacheCacheDevices.size() + sample.udevDisks.size(),
              0U);
    EXPECT_EQ(failureOf(sample, Area::Disks), NO_FAILURE);
}

TEST_F(StorageDevices, ArraysAreThoseOfMdstat) {
    m_host.write("proc/mdstat", "Personalities : [raid1]\nmd0 : active raid1 sdi1[0] sdj1[1]\n"
                                "      248896 blocks [2/2] [UU]\n\nunused devices: <none>\n");
    const Sample &sample = take();
    ASSERT_EQ(sample.mdArrays.size(), 1U);
    EXPECT_EQ(sample.mdArrays[0].name, "md0");
    EXPECT_TRUE(holds(sample.mdArrays[0].active, 2));
    EXPECT_EQ(failureOf(sample, Area::Disks), NO_FAILURE);
    m_host.write("proc/mdstat", "md0 : active raid1 sdi1[0]\n      x blocks\n");
    take();
    ASSERT_EQ(sample.mdArrays.size(), 1U);
    EXPECT_TRUE(lacks(sample.mdArrays[0].sizeBytes, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Disks), std::pair(EBADMSG, std::string("proc/mdstat")));
}

TEST_F(StorageDevices, AnNvmeControllerHasStateAndNames) {
    device("sys/class/nvme", "nvme0",
           {{"state", "live\n"},
            {"model", "Disk 9                  \n"},
            {"serial", "S4EWNX0M \n"},
            {"firmware_rev", "2B2QEXE7\n"},
            {"transport", "pcie\n"},
            {"address", "0000:01:00.0\n"}});
    device("sys/class/nvme", "nvme10", {{"model", "Old\n"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.nvmeStates.size(), 2U);
    const zel::NvmeState &first = sample.nvmeStates[0];
    EXPECT_EQ(first.name, "nvme0");
    EXPECT_TRUE(holds(first.state, "live"));
    EXPECT_TRUE(holds(first.model, "Disk 9"));
    EXPECT_TRUE(holds(first.serial, "S4EWNX0M"));
    EXPECT_TRUE(holds(first.firmware, "2B2QEXE7"));
    EXPECT_TRUE(holds(first.transport, "pcie"));
    EXPECT_TRUE(holds(first.address, "0000:01:00.0"));
    EXPECT_EQ(sample.nvmeStates[1].name, "nvme10");
    EXPECT_TRUE(lacks(sample.nvmeStates[1].state, Absence::Unsupported)) << "kernels before 4.8";
    m_host.write("sys/devices/pci/nvme0/state", "dead\n");
    EXPECT_TRUE(holds(take().nvmeStates[0].state, "dead"));
}

TEST_F(StorageDevices, ALinkWithoutADeviceIsNoController) {
    std::filesystem::create_directories(m_host.path() + "/sys/class/nvme");
    std::filesystem::create_symlink("../../nowhere", m_host.path() + "/sys/class/nvme/nvme0");
    EXPECT_EQ(take().nvmeStates.size(), 0U);
    EXPECT_EQ(failureOf(take(), Area::Disks), NO_FAILURE);
}

TEST_F(StorageDevices, ATapeDriveHasOneRowWhateverItsModes) {
    for (const char *name : {"st0", "st0l", "st0a", "nst0", "nst0m", "stx", "st"})
        device("sys/class/scsi_tape", name,
               {{"stats/in_flight", "1\n"},
                {"stats/io_ns", "6196428054738\n"},
                {"stats/other_cnt", "1409\n"},
                {"stats/read_byte_cnt", "781948704\n"},
                {"stats/read_cnt", "3741\n"},
                {"stats/read_ns", "20935555973\n"},
                {"stats/resid_cnt", "19\n"},
                {"stats/write_byte_cnt", "3051436228696\n"},
                {"stats/write_cnt", "53772916\n"},
                {"stats/write_ns", "7081133117286\n"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.tapes.size(), 1U);
    const zel::Tape &tape = sample.tapes[0];
    EXPECT_EQ(tape.name, "st0");
    EXPECT_TRUE(holds(tape.inFlight, 1));
    EXPECT_TRUE(holds(tape.ioSeconds, 6196.428054738));
    EXPECT_TRUE(holds(tape.others, 1409));
    EXPECT_TRUE(holds(tape.readBytes, 781948704));
    EXPECT_TRUE(holds(tape.reads, 3741));
    EXPECT_TRUE(holds(tape.readSeconds, 20.935555973));
    EXPECT_TRUE(holds(tape.residuals, 19));
    EXPECT_TRUE(holds(tape.writtenBytes, 3051436228696));
    EXPECT_TRUE(holds(tape.writes, 53772916));
    EXPECT_TRUE(holds(tape.writeSeconds, 7081.133117286));
    EXPECT_EQ(failureOf(sample, Area::Disks), NO_FAILURE);
}

TEST_F(StorageDevices, ATapeOfAnOldKernelHasNoCountersAndOneThatIsGoneNoRow) {
    device("sys/class/scsi_tape", "st0", {{"dev", "9:0\n"}});
    std::filesystem::create_symlink("../../nowhere", m_host.path() + "/sys/class/scsi_tape/st1");
    const Sample &sample = take();
    ASSERT_EQ(sample.tapes.size(), 1U);
    EXPECT_EQ(sample.tapes[0].name, "st0");
    EXPECT_TRUE(lacks(sample.tapes[0].reads, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Disks), NO_FAILURE);
}

TEST_F(StorageDevices, ACounterThatIsNoNumberIsMalformed) {
    device("sys/class/scsi_tape", "st0", {{"stats/in_flight", "0\n"}, {"stats/read_cnt", "many\n"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.tapes.size(), 1U);
    EXPECT_TRUE(lacks(sample.tapes[0].reads, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.tapes[0].writes, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Disks), std::pair(EBADMSG, std::string("sys/class/scsi_tape")));
}

class Bcache : public StorageDevices {
protected:
    static constexpr const char *UUID = "9b3f61d8-27e5-4ac0-8d14-6f50b8c2e97a";
    const std::string m_set = std::string("sys/fs/bcache/") + UUID;
};

TEST_F(Bcache, ASetHasItsTreeAndItsDisks) {
    m_host.write("sys/fs/bcache/register", "");
    files(m_set, {{"average_key_size", "1.5k\n"},
                  {"bucket_size", "512.0k\n"},
                  {"btree_cache_size", "12.5M\n"},
                  {"cache_available_percent", "97\n"},
                  {"congested", "3\n"},
                  {"root_usage_percent", "25\n"},
                  {"tree_depth", "1\n"},
                  {"internal/active_journal_entries", "4\n"},
                  {"internal/btree_nodes", "5\n"},
                  {"internal/btree_read_average_duration_us", "1305\n"},
                  {"internal/cache_read_races", "6\n"},
                  {"bdev10/dirty_data", "0.0k\n"},
                  {"bdev0/dirty_data", "2.0M\n"},
                  {"bdev0/state", "dirty\n"},
                  {"bdev0/stats_total/bypassed", "1.0G\n"},
                  {"bdev0/stats_total/cache_bypass_hits", "11\n"},
                  {"bdev0/stats_total/cache_bypass_misses", "12\n"},
                  {"bdev0/stats_total/cache_hits", "14\n"},
                  {"bdev0/stats_total/cache_miss_collisions", "15\n"},
                  {"bdev0/stats_total/cache_misses", "16\n"},
                  {"bdev0/writeback_rate_debug", "rate:\t\t4.0k/sec\ntarget:\t\t1.0k\n"},
                  {"cache0/io_errors", "3\n"},
                  {"cache0/metadata_written", "512.0k\n"},
                  {"cache0/written", "4.5k\n"}});
    const Sample &sample = take();
    EXPECT_EQ(failureOf(sample, Area::Disks), NO_FAILURE);
    ASSERT_EQ(sample.bcacheSets.size(), 1U);
    const zel::BcacheSet &set = sample.bcacheSets[0];
    EXPECT_EQ(set.uuid, UUID);
    EXPECT_TRUE(holds(set.averageKeyBytes, 1536));
    EXPECT_TRUE(holds(set.bucketBytes, 524288));
    EXPECT_TRUE(holds(set.btreeCacheBytes, 12.5 * 1048576));
    EXPECT_TRUE(holds(set.cacheAvailableRatio, 0.97));
    EXPECT_TRUE(holds(set.congested, 3));
    EXPECT_TRUE(holds(set.rootUsageRatio, 0.25));
    EXPECT_TRUE(holds(set.treeDepth, 1));
    EXPECT_TRUE(holds(set.activeJournalEntries, 4));
    EXPECT_TRUE(holds(set.btreeNodes, 5));
    EXPECT_TRUE(holds(set.btreeReadSeconds, 0.001305));
    EXPECT_TRUE(holds(set.cacheReadRaces, 6));
    ASSERT_EQ(sample.bcacheBackingDevices.size(), 2U);
    const zel::BcacheBackingDevice &disk = sample.bcacheBackingDevices[0];
    EXPECT_EQ(disk.uuid, UUID);
    EXPECT_EQ(disk.device, "bdev0");
    EXPECT_EQ(sample.bcacheBackingDevices[1].device, "bdev10");
    EXPECT_TRUE(holds(disk.state, "dirty"));
    EXPECT_TRUE(holds(disk.dirtyBytes, 2 * 1048576));
    EXPECT_TRUE(holds(disk.bypassedBytes, 1073741824));
    EXPECT_TRUE(holds(disk.bypassHits, 11));
    EXPECT_TRUE(holds(disk.bypassMisses, 12));
    EXPECT_TRUE(holds(disk.hits, 14));
    EXPECT_TRUE(holds(disk.missCollisions, 15));
    EXPECT_TRUE(holds(disk.misses, 16));
    EXPECT_TRUE(lacks(disk.readaheads, Absence::Unsupported)) << "kernel 6.1 and later";
    EXPECT_TRUE(holds(disk.writebackRate, 4096));
    EXPECT_TRUE(holds(disk.writebackTargetBytes, 1024));
    ASSERT_EQ(sample.bcacheCacheDevices.size(), 1U);
    EXPECT_EQ(sample.bcacheCacheDevices[0].device, "cache0");
    EXPECT_TRUE(holds(sample.bcacheCacheDevices[0].ioErrors, 3));
    EXPECT_TRUE(holds(sample.bcacheCacheDevices[0].metadataWrittenBytes, 524288));
    EXPECT_TRUE(holds(sample.bcacheCacheDevices[0].writtenBytes, 4608));
}

TEST_F(Bcache, TheFirstFileThatIsNoNumberIsNamed) {
    files(m_set, {{"congested", "0\n"}, {"bdev0/dirty_data", "much\n"}});
    const Sample &sample = take();
    ASSERT_EQ(sample.bcacheBackingDevices.size(), 1U);
    EXPECT_TRUE(lacks(sample.bcacheBackingDevices[0].dirtyBytes, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.bcacheBackingDevices[0].hits, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Disks), std::pair(EBADMSG, m_set + "/bdev0/dirty_data"));
}

TEST_F(Bcache, AFileInThePlaceOfASetIsNone) {
    m_host.write("sys/fs/bcache/a-b", "");
    EXPECT_EQ(take().bcacheSets.size(), 0U);
    EXPECT_EQ(failureOf(take(), Area::Disks), NO_FAILURE);
}

TEST(OwnStorageDevices, AHostHasTheSameAsItsFilesSay) {
    zel::Sampler sampler({.areas = {Area::Disks}});
    const Sample sample = sampler.take();
    const auto entries = [](const char *path) -> std::size_t {
        if (!std::filesystem::is_directory(path))
            return 0;
        const std::filesystem::directory_iterator list(path);
        return static_cast<std::size_t>(std::distance(begin(list), end(list)));
    };
    EXPECT_EQ(sample.nvmeStates.size(), entries("/sys/class/nvme"));
    EXPECT_EQ(sample.udevDisks.empty(), entries("/run/udev/data") == 0);
    EXPECT_EQ(sample.mdArrays.empty(), !std::filesystem::exists("/proc/mdstat") || sample.mdArrays.empty());
}

} // namespace

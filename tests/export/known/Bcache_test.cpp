// The known names of bcache, which count sizes and one duration in a way of their own.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

std::string dirtyOf(double bytes) {
    zel::Sample sample;
    zel::BcacheBackingDevice &disk = sample.bcacheBackingDevices.append();
    disk.uuid = "u";
    disk.device = "bdev0";
    disk.dirtyBytes = bytes;
    const Lines lines = KnownText(zel::knownBcache, sample).series("node_bcache_dirty_data_bytes");
    return lines.empty() ? "" : lines.front().substr(lines.front().find(' ') + 1);
}

// The kernel writes 0.0k, 1.5k, 2.0M and 20.4G; the peer reads a tenth as 100 of the next smaller unit.
TEST(KnownBcache, ATenthOfASizeIsAHundredOfTheNextSmallerUnit) {
    EXPECT_EQ(dirtyOf(0), "0");
    EXPECT_EQ(dirtyOf(1.5 * 1024), "1524");
    EXPECT_EQ(dirtyOf(0.5 * 1024), "500");
    EXPECT_EQ(dirtyOf(999.9 * 1024), std::to_string(999 * 1024 + 900));
    EXPECT_EQ(dirtyOf(2.0 * 1048576), "2097152");
    EXPECT_EQ(dirtyOf(1.1 * 1048576), "1150976");
    EXPECT_EQ(dirtyOf(20.4 * 1073741824), "21894266880");
}

TEST(KnownBcache, TermsOfTheControllerMayBeNegative) {
    zel::Sample sample;
    zel::BcacheBackingDevice &disk = sample.bcacheBackingDevices.append();
    disk.uuid = "u";
    disk.device = "bdev0";
    disk.writebackProportional = -2.5 * 1048576;
    EXPECT_EQ(KnownText(zel::knownBcache, sample).series(),
              (Lines{R"(node_bcache_writeback_rate_proportional_term{backing_device="bdev0",uuid="u"} -2609152)"}));
}

TEST(KnownBcache, SharesArePercentAndTheDurationIsInThousandsOfSeconds) {
    zel::Sample sample;
    zel::BcacheSet &set = sample.bcacheSets.append();
    set.uuid = "u";
    set.cacheAvailableRatio = 0.29;
    set.rootUsageRatio = 0.57;
    set.btreeReadSeconds = 0.001305;
    const KnownText text(zel::knownBcache, sample);
    EXPECT_EQ(text.series("node_bcache_cache_available_percent"),
              (Lines{R"(node_bcache_cache_available_percent{uuid="u"} 29)"}));
    EXPECT_EQ(text.series("node_bcache_root_usage_percent"), (Lines{R"(node_bcache_root_usage_percent{uuid="u"} 57)"}));
    const Lines duration = text.series("node_bcache_btree_read_average_duration_seconds");
    ASSERT_EQ(duration.size(), 1U);
    EXPECT_DOUBLE_EQ(std::stod(duration[0].substr(duration[0].find(' '))), 1.305e-06);
}

TEST(KnownBcache, CacheDisksHaveTheirFamilies) {
    zel::Sample sample;
    zel::BcacheCacheDevice &cache = sample.bcacheCacheDevices.append();
    cache.uuid = "u";
    cache.device = "cache0";
    cache.ioErrors = std::uint64_t{3};
    cache.writtenBytes = 4.5 * 1024;
    const KnownText text(zel::knownBcache, sample);
    EXPECT_EQ(text.series(), (Lines{R"(node_bcache_io_errors{cache_device="cache0",uuid="u"} 3)",
                                    R"(node_bcache_written_bytes_total{cache_device="cache0",uuid="u"} 4596)"}));
    EXPECT_EQ(text.type("node_bcache_written_bytes_total"), "counter");
}

} // namespace

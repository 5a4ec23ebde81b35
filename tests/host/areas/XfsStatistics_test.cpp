// What the filesystems of type XFS count.
#include "SampledHost.h"
#include "host/Rates.h"
#include "host/areas/XfsStatistics.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;

constexpr const char *mounts = "23 1 8:1 / / rw - xfs /dev/sda1 rw\n";
// Every number is another one; the order is that of kernel 6.18, with lines that are not taken.
constexpr const char *statistics = "extent_alloc 1 2 3 4\n"
                                   "abt 5 6 7 8\n"
                                   "blk_map 9 10 11 12 13 14 15\n"
                                   "bmbt 16 17 18 19\n"
                                   "dir 20 21 22 23\n"
                                   "trans 24 25 26\n"
                                   "ig 27 28 29 30 31 32 33\n"
                                   "log 34 35 36 37 38\n"
                                   "push_ail 39 40 41 42 43 44 45 46 47 48\n"
                                   "xstrat 49 50\n"
                                   "rw 51 52\n"
                                   "attr 53 54 55 56\n"
                                   "icluster 57 58 59\n"
                                   "vnodes 60 61 62 63 64 65 66 67\n"
                                   "buf 68 69 70 71 72 73 74 75 76\n"
                                   "abtb2 901 902 903 904 0 0 0 0 0 0 0 0 0 0 0\n"
                                   "qm 905 0 0 0 0 0 0 0\n"
                                   "xpc 746428536 27587339 8621923400\n"
                                   "defer_relog 906\n"
                                   "debug 0\n";

TEST(XfsStatistics, EveryNumberIsTakenInTheOrderOfTheKernel) {
    zel::Xfs row;
    EXPECT_TRUE(zel::parseXfs(statistics, row));
    std::uint64_t expected = 0;
    for (const zel::Field<zel::Xfs> &field : zel::fieldsOf<zel::Xfs>()) {
        if (field.family.kind == zel::Kind::Label || field.family.unit == zel::Unit::Bytes)
            continue;
        ASSERT_TRUE(field.of(row).has()) << field.family.name;
        EXPECT_EQ(field.of(row).asUnsigned(), ++expected) << field.family.name;
    }
    EXPECT_EQ(expected, 76U);
    EXPECT_TRUE(holds(row.delayedBytes, 746428536U));
    EXPECT_TRUE(holds(row.writtenBytes, 27587339U));
    EXPECT_TRUE(holds(row.readBytes, 8621923400U));
    EXPECT_TRUE(holds(row.inodesMissed, 30U));
    EXPECT_TRUE(holds(row.writeCalls, 51U));
}

TEST(XfsStatistics, OneRowForEachDevice) {
    SampledHost host(Area::Filesystems, {{"proc/1/mountinfo", mounts},
                                         {"sys/fs/xfs/stats/stats", statistics},
                                         {"sys/fs/xfs/sda1/stats/stats", "rw 5 6\n"},
                                         {"sys/fs/xfs/dm-10/stats/stats", "rw 7 8\n"},
                                         {"sys/fs/xfs/debug/log_recovery_delay", "0\n"},
                                         {"proc/fs/xfs/stat", statistics}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.xfs.size(), 2U) << "neither debug nor the sum is a device";
    EXPECT_EQ(sample.xfs[0].device, "sda1");
    EXPECT_TRUE(holds(sample.xfs[0].writeCalls, 5U));
    EXPECT_TRUE(holds(sample.xfs[0].readCalls, 6U));
    EXPECT_TRUE(lacks(sample.xfs[0].logWrites, Absence::Unsupported));
    EXPECT_EQ(sample.xfs[1].device, "dm-10");
    EXPECT_TRUE(holds(sample.xfs[1].writeCalls, 7U));
    EXPECT_EQ(failureOf(sample, Area::Filesystems), NO_FAILURE);
    host.remove("sys/fs/xfs/sda1/stats/stats");
    EXPECT_EQ(host.take().xfs.size(), 1U) << "it was unmounted";
}

TEST(XfsStatistics, AnOlderKernelCountsAllOfThemTogether) {
    SampledHost host(Area::Filesystems, {{"proc/1/mountinfo", mounts}, {"proc/fs/xfs/stat", statistics}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.xfs.size(), 1U);
    EXPECT_EQ(sample.xfs[0].device, "all");
    EXPECT_TRUE(holds(sample.xfs[0].readCalls, 52U));
}

TEST(XfsStatistics, AHostWithoutSuchMountsDoesNotLookForTheSum) {
    SampledHost host(Area::Filesystems,
                     {{"proc/1/mountinfo", "23 1 8:1 / / rw - ext4 /dev/sda1 rw\n"}, {"proc/fs/xfs/stat", statistics}});
    EXPECT_TRUE(host.take().xfs.empty());
}

TEST(XfsStatistics, ALineThatIsCutOrNoNumberIsMalformed) {
    SampledHost host(Area::Filesystems, {{"proc/1/mountinfo", mounts},
                                         {"sys/fs/xfs/sda1/stats/stats", "rw 5\nlog 1 2 x 4 5\ndir 1 2 3 4 5\n"}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.xfs.size(), 1U);
    EXPECT_TRUE(holds(sample.xfs[0].writeCalls, 5U));
    EXPECT_TRUE(lacks(sample.xfs[0].readCalls, Absence::Malformed));
    EXPECT_TRUE(holds(sample.xfs[0].logBlocks, 2U));
    EXPECT_TRUE(lacks(sample.xfs[0].logNoBuffer, Absence::Malformed));
    EXPECT_TRUE(holds(sample.xfs[0].directoryReads, 4U)) << "what a newer kernel appends is left out";
    EXPECT_EQ(failureOf(sample, Area::Filesystems), std::pair(EBADMSG, std::string("sys/fs/xfs/sda1/stats/stats")));
    host.write("sys/fs/xfs/sda1/stats/stats", "");
    EXPECT_TRUE(lacks(host.take().xfs[0].writeCalls, Absence::Malformed));
}

TEST(XfsStatistics, ACounterOf32BitsWrapsAndOneThatWasClearedHasNoRate) {
    zel::Sample before, now;
    for (zel::Sample *sample : {&before, &now}) {
        sample->area(Area::Filesystems).asked = true;
        sample->xfs.append().device = "sda1";
    }
    now.area(Area::Filesystems).monotonicNanoseconds = 1000000000;
    before.xfs[0].writeCalls = 4294967290U;
    now.xfs[0].writeCalls = 4U;
    before.xfs[0].readCalls = 1000U;
    now.xfs[0].readCalls = 1U;
    const zel::Rates rates = zel::between(before, now);
    EXPECT_TRUE(holds(rates.perSecond("xfs", "write_calls_total", "sda1"), 10));
    EXPECT_TRUE(lacks(rates.perSecond("xfs", "read_calls_total", "sda1"), Absence::NotYet));
}

} // namespace

// Memory of hosts of all ages: meminfo, nodes, huge pages, swap devices.
#include "SampledHost.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;

// A key that only old kernels have, one that only new ones have, one that nobody knows yet.
constexpr const char *meminfo = "MemTotal:        1000 kB\n"
                                "MemFree:          250 kB\n"
                                "Active(anon):      12 kB\n"
                                "Quicklists:         3 kB\n"
                                "SecPageTables:      5 kB\n"
                                "MemTomorrow:        7 kB\n"
                                "HugePages_Total:    4\n"
                                "Hugepagesize:    2048 kB\n"
                                "DirectMap1G:  8388608 kB\n";

TEST(MemoryReader, KilobytesAreBytesAndCountsAreCounts) {
    SampledHost host(Area::Memory, {{"proc/meminfo", meminfo}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.memory.totalBytes, 1024000U));
    EXPECT_TRUE(holds(sample.memory.freeBytes, 256000U));
    EXPECT_TRUE(holds(sample.memory.activeAnonymousBytes, 12288U));
    EXPECT_TRUE(lacks(sample.memory.activeBytes, Absence::Unsupported)) << "Active is another key than Active(anon)";
    EXPECT_TRUE(holds(sample.memory.quicklistsBytes, 3072U));
    EXPECT_TRUE(holds(sample.memory.secondaryPageTablesBytes, 5120U));
    EXPECT_TRUE(lacks(sample.memory.availableBytes, Absence::Unsupported)) << "before 3.14";
    EXPECT_TRUE(holds(sample.memory.hugePages, 4U));
    EXPECT_TRUE(holds(sample.memory.hugePageBytes, 2097152U));
    EXPECT_TRUE(holds(sample.memory.directMap1gBytes, 8589934592U));
    EXPECT_TRUE(holds(sample.memory.unknownLines, 1U));
    ASSERT_EQ(sample.memoryOthers.size(), 1U);
    EXPECT_EQ(sample.memoryOthers[0].key, "MemTomorrow");
    EXPECT_TRUE(holds(sample.memoryOthers[0].bytes, 7168U));
    EXPECT_TRUE(lacks(sample.memoryOthers[0].value, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Memory), NO_FAILURE) << "nodes, huge pages and swap may be missing";
}

TEST(MemoryReader, NumbersThatAreNoneAreMalformed) {
    for (const char *value : {"", " kB", " -5 kB", " 18446744073709551264 kB", " 99999999999999999999 kB", " 1.5 kB",
                              " 5kB", " 0x5 kB", "\n7 kB"}) {
        SampledHost host({Area::Memory});
        host.write("proc/meminfo", "MemTotal: 8 kB\nCommitted_AS:" + std::string(value) + "\nMemFree: 9 kB\n");
        const zel::Sample &sample = host.take();
        EXPECT_TRUE(lacks(sample.memory.committedBytes, Absence::Malformed)) << value;
        EXPECT_TRUE(holds(sample.memory.freeBytes, 9216U)) << value;
        EXPECT_EQ(failureOf(sample, Area::Memory), std::pair(EBADMSG, std::string("proc/meminfo"))) << value;
    }
}

TEST(MemoryReader, WithoutAKnownLineTheAreaIsLost) {
    SampledHost host({Area::Memory});
    EXPECT_EQ(failureOf(host.take(), Area::Memory), std::pair(ENOENT, std::string("proc/meminfo")));
    for (const char *text : {"", "\n\n\n", "garbage", "a: 1 kB\nb: 2 kB\n"}) {
        host.write("proc/meminfo", text);
        const zel::Sample &sample = host.take();
        EXPECT_TRUE(lacks(sample.memory.totalBytes, Absence::Malformed)) << text;
        EXPECT_EQ(sample.area(Area::Memory).absence, Absence::Malformed) << text;
        EXPECT_EQ(failureOf(sample, Area::Memory), std::pair(EBADMSG, std::string("proc/meminfo"))) << text;
    }
}

TEST(MemoryReader, LineThatWentIsUnsupportedInTheNextSample) {
    SampledHost host(Area::Memory, {{"proc/meminfo", meminfo}});
    EXPECT_TRUE(holds(host.take().memory.quicklistsBytes, 3072U));
    host.write("proc/meminfo", "MemFree: 1 kB\nMemTotal: 2 kB\n");
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.memory.quicklistsBytes, Absence::Unsupported));
    EXPECT_TRUE(holds(sample.memory.totalBytes, 2048U)) << "the order of the lines may change";
    EXPECT_TRUE(holds(sample.memory.unknownLines, 0U));
}

TEST(MemoryReader, NodesComeByNumberWithTheirCounters) {
    SampledHost host(Area::Memory, {{"proc/meminfo", meminfo},
                                    {"sys/devices/system/node/node10/meminfo", "Node 10 MemTotal: 30 kB\n"},
                                    {"sys/devices/system/node/node2/meminfo", "\nNode 2 MemTotal:       2000 kB\n"
                                                                              "Node 2 HugePages_Free:   7\n"
                                                                              "Node 2 NotYetKnown: 1 kB\n"},
                                    {"sys/devices/system/node/node2/numastat", "numa_hit 11\nnuma_miss 12\n"
                                                                               "numa_foreign 13\ninterleave_hit 14\n"
                                                                               "local_node 15\nother_node 16\n"},
                                    {"sys/devices/system/node/nodelist", "0"},
                                    {"sys/devices/system/node/node99999999/meminfo", "Node 0 MemTotal: 1 kB\n"}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.memoryNodes.size(), 2U);
    const zel::MemoryNode &first = sample.memoryNodes[0], &second = sample.memoryNodes[1];
    EXPECT_EQ(first.node, 2U);
    EXPECT_TRUE(holds(first.totalBytes, 2048000U));
    EXPECT_TRUE(holds(first.hugePagesFree, 7U));
    EXPECT_TRUE(holds(first.unknownLines, 1U));
    EXPECT_TRUE(holds(first.numaHit, 11U));
    EXPECT_TRUE(holds(first.numaMiss, 12U));
    EXPECT_TRUE(holds(first.numaForeign, 13U));
    EXPECT_TRUE(holds(first.numaInterleave, 14U));
    EXPECT_TRUE(holds(first.numaLocal, 15U));
    EXPECT_TRUE(holds(first.numaOther, 16U));
    EXPECT_EQ(second.node, 10U);
    EXPECT_TRUE(holds(second.totalBytes, 30720U));
    EXPECT_TRUE(lacks(second.numaHit, Absence::Unsupported));
}

TEST(MemoryReader, NodeWithDamagedFilesIsMalformed) {
    SampledHost host(Area::Memory, {{"proc/meminfo", meminfo},
                                    {"sys/devices/system/node/node0/meminfo", "garbage\n"},
                                    {"sys/devices/system/node/node0/numastat", "numa_hit x\n"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.memoryNodes[0].totalBytes, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.memoryNodes[0].numaHit, Absence::Malformed));
    EXPECT_EQ(failureOf(sample, Area::Memory),
              std::pair(EBADMSG, std::string("sys/devices/system/node/node0/meminfo")));
}

TEST(MemoryReader, HugePagesOfEverySize) {
    const std::string directory = "sys/kernel/mm/hugepages/hugepages-";
    SampledHost host(Area::Memory, {{"proc/meminfo", meminfo}});
    host.write(directory + "1048576kB/nr_hugepages", "2\n");
    host.write(directory + "2048kB/nr_hugepages", "10\n");
    host.write(directory + "2048kB/free_hugepages", "4\n");
    host.write(directory + "2048kB/resv_hugepages", "3\n");
    host.write(directory + "2048kB/surplus_hugepages", "2\n");
    host.write(directory + "2048kB/nr_overcommit_hugepages", "many\n");
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.hugePages.size(), 2U);
    const zel::HugePages &small = sample.hugePages[0], &large = sample.hugePages[1];
    EXPECT_EQ(small.pageBytes, 2097152U);
    EXPECT_TRUE(holds(small.pages, 10U));
    EXPECT_TRUE(holds(small.free, 4U));
    EXPECT_TRUE(holds(small.reserved, 3U));
    EXPECT_TRUE(holds(small.surplus, 2U));
    EXPECT_TRUE(lacks(small.overcommit, Absence::Malformed));
    EXPECT_EQ(large.pageBytes, 1073741824U);
    EXPECT_TRUE(holds(large.pages, 2U));
    EXPECT_TRUE(lacks(large.free, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Memory), std::pair(EBADMSG, directory + "2048kB/nr_overcommit_hugepages"));
}

TEST(MemoryReader, SwapDevicesWithTheirNames) {
    SampledHost host(Area::Memory, {{"proc/meminfo", meminfo},
                                    {"proc/swaps", "Filename\t\t\t\tType\t\tSize\tUsed\tPriority\n"
                                                   "/dev/dm-1                               partition\t100\t40\t-2\n"
                                                   "/swap\\040file\\134x\\0409                 file 8 0 5\n"}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.swaps.size(), 2U);
    EXPECT_EQ(sample.swaps[0].device, "/dev/dm-1");
    EXPECT_TRUE(holds(sample.swaps[0].type, "partition"));
    EXPECT_TRUE(holds(sample.swaps[0].sizeBytes, 102400U));
    EXPECT_TRUE(holds(sample.swaps[0].usedBytes, 40960U));
    EXPECT_TRUE(holds(sample.swaps[0].priority, -2));
    EXPECT_EQ(sample.swaps[1].device, "/swap file\\x 9");
    EXPECT_TRUE(holds(sample.swaps[1].priority, 5));
}

TEST(MemoryReader, SwapLineThatIsCutTakesNothingOfTheNext) {
    SampledHost host(Area::Memory, {{"proc/meminfo", meminfo},
                                    {"proc/swaps", "Filename Type Size Used Priority\n/dev/a partition 100\n"
                                                   "/dev/b partition 200 1 -1\n"}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.swaps.size(), 2U);
    EXPECT_TRUE(holds(sample.swaps[0].sizeBytes, 102400U));
    EXPECT_TRUE(lacks(sample.swaps[0].usedBytes, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.swaps[0].priority, Absence::Malformed));
    EXPECT_TRUE(holds(sample.swaps[1].usedBytes, 1024U));
    EXPECT_EQ(failureOf(sample, Area::Memory), std::pair(EBADMSG, std::string("proc/swaps")));
}

TEST(MemoryReader, DeviceThatWentIsGoneInTheNextSample) {
    SampledHost host(Area::Memory, {{"proc/meminfo", meminfo}, {"proc/swaps", "heading\n/dev/a partition 1 2 3\n"}});
    EXPECT_EQ(host.take().swaps.size(), 1U);
    host.write("proc/swaps", "heading\n");
    EXPECT_TRUE(host.take().swaps.empty());
    host.remove("proc/swaps");
    EXPECT_TRUE(host.take().swaps.empty());
}

} // namespace

// The statistics of ZFS: values of any name, pools, datasets.
#include "SampledHost.h"
#include "host/areas/ZfsLines.h"

#include <cerrno>
#include <filesystem>

namespace {

using zel::Absence;
using zel::Area;

constexpr const char *mounts = "23 1 8:1 / / rw - ext4 /dev/sda1 rw\n";
constexpr const char *arc = "13 1 0x01 4 1088 5266997922 97951858082072\n"
                            "name                            type data\n"
                            "hits                            4    3260286\n"
                            "memory_available_bytes          3    -922337203685\n"
                            "arc_meta_max                    4    18446744073709551615\n";
constexpr const char *dataset = "31 1 0x01 7 2160 460131964738 1327251092267\n"
                                "name                            type data\n"
                                "dataset_name                    7    tank/home of all\n"
                                "writes                          4    1\n"
                                "nwritten                        4    2\n"
                                "reads                           4    3\n"
                                "nread                           4    4\n"
                                "nunlinks                        4    5\n"
                                "nunlinked                       4    6\n"
                                "zil_commit_count                4    7\n"
                                "zil_itx_metaslab_slog_alloc     4    8\n"
                                "tomorrow                        4    9\n";
constexpr const char *io = "12 3 0x00 1 80 85126159785067 533967357232776\n"
                           "nread    nwritten reads    writes   wtime    wlentime wupdate  rtime    rlentime rupdate  "
                           "wcnt     rcnt    \n"
                           "8732142  3406637  22       132      4131527  130997668 50749218772558 27866845 687228258 "
                           "16372277760048 5        6\n";

class ZfsHost : public SampledHost {
public:
    ZfsHost() : SampledHost({Area::Filesystems}) {
        write("proc/1/mountinfo", mounts);
        kstat("arcstats", arc);
        kstat("dbufs", "a table that is not read\n");
        kstat("tank/state", "DEGRADED\n");
        kstat("tank/io", io);
        kstat("tank/objset-0x36", dataset);
        kstat("tank/txgs", "another table\n");
        kstat("pool two/state", "ONLINE\n");
    }
    void kstat(const std::string &file, const std::string &text) const { write("proc/spl/kstat/zfs/" + file, text); }
};

TEST(ZfsStatistics, ValuesKeepTheNamesThatTheModuleHas) {
    ZfsHost host;
    const zel::Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Filesystems), NO_FAILURE);
    ASSERT_EQ(sample.zfs.size(), 3U);
    EXPECT_EQ(sample.zfs[0].source, "arcstats");
    EXPECT_EQ(sample.zfs[0].name, "hits");
    EXPECT_TRUE(holds(sample.zfs[0].value, 3260286U));
    EXPECT_TRUE(lacks(sample.zfs[0].signedValue, Absence::Unsupported));
    EXPECT_TRUE(holds(sample.zfs[1].signedValue, -922337203685));
    EXPECT_TRUE(lacks(sample.zfs[1].value, Absence::Unsupported));
    EXPECT_TRUE(holds(sample.zfs[2].value, 18446744073709551615U));
}

TEST(ZfsStatistics, PoolsWithTheirStateAndTheirInput) {
    ZfsHost host;
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.zfsPools.size(), 2U);
    EXPECT_EQ(sample.zfsPools[0].pool, "pool two");
    EXPECT_TRUE(holds(sample.zfsPools[0].state, std::string("ONLINE")));
    EXPECT_TRUE(lacks(sample.zfsPools[0].reads, Absence::Unsupported)) << "no file io since 2.1";
    const zel::ZfsPool &pool = sample.zfsPools[1];
    EXPECT_EQ(pool.pool, "tank");
    EXPECT_TRUE(holds(pool.state, std::string("DEGRADED")));
    EXPECT_TRUE(holds(pool.readBytes, 8732142U));
    EXPECT_TRUE(holds(pool.writtenBytes, 3406637U));
    EXPECT_TRUE(holds(pool.reads, 22U));
    EXPECT_TRUE(holds(pool.writes, 132U));
    EXPECT_TRUE(holds(pool.waitSeconds, 0.004131527));
    EXPECT_TRUE(holds(pool.waitLengthSeconds, 0.130997668));
    EXPECT_TRUE(holds(pool.waitUpdatedSeconds, 50749.218772558));
    EXPECT_TRUE(holds(pool.runSeconds, 0.027866845));
    EXPECT_TRUE(holds(pool.runLengthSeconds, 0.687228258));
    EXPECT_TRUE(holds(pool.runUpdatedSeconds, 16372.277760048));
    EXPECT_TRUE(holds(pool.waiting, 5U));
    EXPECT_TRUE(holds(pool.running, 6U));
}

TEST(ZfsStatistics, DatasetsWithTheirOwnNames) {
    ZfsHost host;
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.zfsDatasets.size(), 1U);
    const zel::ZfsDataset &row = sample.zfsDatasets[0];
    EXPECT_EQ(row.pool, "tank");
    EXPECT_EQ(row.dataset, "tank/home of all");
    EXPECT_TRUE(holds(row.writes, 1U));
    EXPECT_TRUE(holds(row.writtenBytes, 2U));
    EXPECT_TRUE(holds(row.reads, 3U));
    EXPECT_TRUE(holds(row.readBytes, 4U));
    EXPECT_TRUE(holds(row.unlinks, 5U));
    EXPECT_TRUE(holds(row.unlinked, 6U));
    EXPECT_TRUE(holds(row.logCommits, 7U));
    EXPECT_TRUE(holds(row.logSlogAllocatedBytes, 8U));
    EXPECT_TRUE(lacks(row.logItems, Absence::Unsupported)) << "this release does not count them";
}

TEST(ZfsStatistics, APoolThatWasExportedHasNoRowAnyMore) {
    ZfsHost host;
    host.take();
    std::filesystem::remove_all(host.path() + "/proc/spl/kstat/zfs/tank");
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.zfsPools.size(), 1U);
    EXPECT_EQ(sample.zfsPools[0].pool, "pool two");
    EXPECT_TRUE(sample.zfsDatasets.empty());
    EXPECT_EQ(failureOf(sample, Area::Filesystems), NO_FAILURE);
}

TEST(ZfsStatistics, ADatasetThatNamesNoneHasNoRow) {
    ZfsHost host;
    host.kstat("tank/objset-0x36", "31 1 0x01 1\nname type data\nwrites 4 1\n");
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(sample.zfsDatasets.empty());
    EXPECT_EQ(failureOf(sample, Area::Filesystems),
              std::pair(EBADMSG, std::string("proc/spl/kstat/zfs/tank/objset-0x36")));
}

TEST(ZfsLines, WhatIsNoFileOfValuesIsSaidAndItsGoodLinesCount) {
    const std::string head = "13 1 0x01 4 1088 5266997922 97951858082072\nname type data\n";
    zel::Rows<zel::ZfsValue> rows;
    EXPECT_TRUE(zel::parseZfsValues(head.c_str(), "zil", rows)) << "empty but whole";
    EXPECT_TRUE(zel::parseZfsValues((head + "text 7 hello world\nraw 0 x\n").c_str(), "zil", rows));
    EXPECT_TRUE(rows.empty()) << "texts are no values";
    for (const char *text : {"", "hits 4 1\n", "\n\n\n", "13 1\nhits 4 1\n"})
        EXPECT_FALSE(zel::parseZfsValues(text, "zil", rows)) << text;
    EXPECT_TRUE(rows.empty());
    for (const char *line :
         {"hits 4 x\n", "hits 4\n", "hits 4 -1\n", "hits 4 18446744073709551616\n", "hits 3 1.5\n"}) {
        rows.clear();
        EXPECT_FALSE(zel::parseZfsValues((head + line + "misses 4 2").c_str(), "zil", rows)) << line;
        ASSERT_EQ(rows.size(), 2U) << line;
        EXPECT_FALSE(rows[0].value.has() || rows[0].signedValue.has()) << line;
        EXPECT_TRUE(holds(rows[1].value, 2U)) << "a last line without an end counts";
    }
    rows.clear();
    EXPECT_FALSE(zel::parseZfsValues((head + "hits\nhits four 1\n").c_str(), "zil", rows)) << "no type";
    EXPECT_TRUE(rows.empty());
}

TEST(ZfsLines, AFileWithoutEndIsCut) {
    std::string text = "13 1\nname type data\n";
    for (int line = 0; line < 5000; ++line)
        text += "hits 4 1\n";
    zel::Rows<zel::ZfsValue> rows;
    EXPECT_FALSE(zel::parseZfsValues(text.c_str(), "zil", rows));
    EXPECT_EQ(rows.size(), 4096U);
}

TEST(ZfsLines, TheColumnsOfAPoolAreFoundByName) {
    zel::ZfsPool pool;
    EXPECT_TRUE(zel::parseZfsIo("1 2\nwrites tomorrow nread\n1 2 3\n", pool));
    EXPECT_TRUE(holds(pool.writes, 1U));
    EXPECT_TRUE(holds(pool.readBytes, 3U));
    EXPECT_TRUE(lacks(pool.reads, Absence::Unsupported));
    EXPECT_FALSE(zel::parseZfsIo("1 2\nwrites nread\n1\n", pool));
    EXPECT_TRUE(lacks(pool.readBytes, Absence::Malformed));
    for (const char *text : {"", "a\nb\n", "1 2\n\n\n"})
        EXPECT_FALSE(zel::parseZfsIo(text, pool)) << text;
}

} // namespace

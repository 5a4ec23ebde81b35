// Disk discovery through the partitions script, the 2.2 reader that needs it, and the rate file.
#include "DiskTest.h"

#include "LogCapture.h"
#include "LogGate.h"

#include <cmath>
#include <cstring>
#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char *scriptCommand =
    "../../utils/ETC/ShCmd 5 ./shell/LINUX/partitions.sh > ../aproc/shell/partitions.dat 2>&1";
constexpr const char *scriptResult = "agent/aproc/shell/partitions.dat";

constexpr const char *partitions = "major minor  #blocks  name\n"
                                   "\n"
                                   "   8        0  104857600 sda\n"
                                   "   8        1     512000 sda1\n"
                                   "   8       16    1000000 sdb\n"
                                   "   8       32     999999 sdc\n"
                                   "  11        0    1048575 sr0\n"
                                   " 259        0  500107608 nvme0n1\n"
                                   " 259        1  500000000 nvme0n1p1\n";

class DiskDiscovery : public DiskTest {
protected:
    std::vector<std::string> inventory() {
        std::vector<std::string> result;
        while (const _ST_DISKIO *disk = disks.fMGetIoStatNextINV())
            result.push_back(disk->l_strDEVname + (" " + std::to_string(disk->l_nTotSize)));
        return result;
    }
    std::vector<std::string> knownDevices() {
        std::vector<std::string> result;
        for (int i = 0; i < disks.m_nDevNameCount; ++i)
            result.push_back(disks.m_pstDevName[i].m_pstrName +
                             (" " + std::to_string(disks.m_pstDevName[i].m_lTotalSize)));
        return result;
    }

    CMM_IO_Info disks;
};

// Sizes are blocks / 1000; sda1 and nvme0n1p1 are partitions, sdc is too small.
TEST_F(DiskDiscovery, InventoryIsTheWholeDisksWithTheirSizes) {
    home.write(scriptResult, partitions);

    EXPECT_EQ(disks.fMGetIoStat(0.0, 0, 0), disks.m_pclINVList);

    EXPECT_THAT(inventory(), ElementsAre("/dev/sda 104857", "/dev/sdb 1000", "/dev/sr0 1048", "/dev/nvme0n1 500107"));
    EXPECT_EQ(disks.m_nNDevINV, 4);
    EXPECT_THAT(commands, ElementsAre(scriptCommand));
}

TEST_F(DiskDiscovery, InventoryIsTakenAnewEveryTime) {
    home.write(scriptResult, partitions);
    disks.fMGetIoStat(0.0, 0, 0);
    home.write(scriptResult, "8 0 2000000 sda\n");
    disks.fMGetIoStat(0.0, 0, 0);

    EXPECT_THAT(inventory(), ElementsAre("/dev/sda 2000"));
    EXPECT_EQ(disks.m_nNDevINV, 1);
}

TEST_F(DiskDiscovery, InventoryLimitLetsOneMoreThrough) {
    std::string text;
    for (int i = 0; i < 9; ++i)
        text += "8 " + std::to_string(16 * i) + " 2000000 sd" + std::to_string(i) + "\n8 1 2000000 part\n";
    home.write(scriptResult, text);
    g_nDiskMaxGatherCnt = 3;
    disks.fMGetIoStat(0.0, 0, 0);
    EXPECT_THAT(inventory(), SizeIs(4));

    g_nDiskMaxGatherCnt = 0;
    disks.fMGetIoStat(0.0, 0, 0);
    EXPECT_THAT(inventory(), SizeIs(9));

    g_nDiskMaxGatherCnt = 3;
    g_nDiskStrType = 2;
    disks.fMGetIoStat(0.0, 0, 0);
    EXPECT_THAT(inventory(), SizeIs(9));
}

TEST_F(DiskDiscovery, InventoryMovesTheReferenceTime) {
    sampleText(disks, line("sda", 0, 0, 0, 0, 0));
    clock.advance(3);
    disks.fMGetIoStat(0.0, 0, 0);
    host.write("proc/diskstats", line("sda", 10, 0, 0, 0, 0));
    clock.advance(2);
    disks.fMGetIoStat(0.0, 1, 0);
    EXPECT_THAT(records(disks), ElementsAre("/dev/sda 5.00 0.00 0.00 0.00 0.00")); // 10 in the last 2 of 5 seconds
}

TEST_F(DiskDiscovery, InventoryWithoutResultIsEmptyAndReported) {
    home.write(scriptResult, partitions);
    disks.fMGetIoStat(0.0, 0, 0);
    home.remove(scriptResult);
    const LogCapture logged;

    EXPECT_EQ(disks.fMGetIoStat(0.0, 0, 0), disks.m_pclINVList);
    EXPECT_THAT(inventory(), IsEmpty());
    EXPECT_THAT(logged.lines(), ElementsAre(testing::MatchesRegex("\\[INFO\\]\\[MM_IO_Info\\]\\[[0-9]+\\]fMGetDevNames "
                                                                  "D_FOPEN failed")));
}

TEST_F(DiskDiscovery, SuccessfulReadIsLoggedAtBothEnds) {
    home.write(scriptResult, partitions);
    {
        const LogCapture logged(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB14);
        disks.fMGetDevNames(0);
        EXPECT_THAT(logged.messages(), ElementsAre("fMGetDevNames start", "fMGetDevNames end "));
    }
    const LogCapture closed(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB5);
    disks.fMGetDevNames(0);
    EXPECT_THAT(closed.messages(), IsEmpty());
}

TEST_F(DiskDiscovery, NamesAreRememberedOnceWithTheirBlocks) {
    home.write(scriptResult, "8 0 2000000 sda\n8 0 2000000 sda\n8 16 3000000 sdb\n");
    EXPECT_EQ(disks.fMGetDevNames(1), 2);
    EXPECT_THAT(knownDevices(), ElementsAre("/dev/sda 2000000", "/dev/sdb 3000000"));
    EXPECT_EQ(disks.m_pstDevName[0].m_chIndex, 0);

    home.write(scriptResult, "8 16 3000000 sdb\n8 32 4000000 sdc\n");
    EXPECT_EQ(disks.fMGetDevNames(1), 3);
    EXPECT_THAT(knownDevices(), ElementsAre("/dev/sda 2000000", "/dev/sdb 3000000", "/dev/sdc 4000000"));
    EXPECT_EQ(disks.m_nNDev, 3);

    home.remove(scriptResult);
    EXPECT_EQ(disks.fMGetDevNames(1), 0);
    EXPECT_THAT(knownDevices(), SizeIs(3));
}

TEST_F(DiskDiscovery, NamesAreNotLimited) {
    std::string text;
    for (int i = 0; i < 9; ++i)
        text += "8 " + std::to_string(16 * i) + " 2000000 sd" + std::to_string(i) + "\n";
    home.write(scriptResult, text);
    g_nDiskMaxGatherCnt = 3;
    EXPECT_EQ(disks.fMGetDevNames(1), 9);
}

TEST_F(DiskDiscovery, WithoutMemoryTheKnownNamesStay) {
    home.write(scriptResult, "8 0 2000000 sda\n8 16 3000000 sdb\n");
    systemHooks().failAllocationAfter = 1;
    EXPECT_EQ(disks.fMGetDevNames(1), 1);
    EXPECT_THAT(knownDevices(), ElementsAre("/dev/sda 2000000"));
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(disks.fMGetIoStat(0.0, 0, 0), disks.m_pclINVList);
    systemHooks().failAllocationAfter = -1;
    EXPECT_THAT(inventory(), IsEmpty());
}

TEST_F(DiskDiscovery, GarbageIsPassedOver) {
    home.write(scriptResult, "sh: ./shell/LINUX/partitions.sh: No such file or directory\n\n8 0\n8 0 x sda\n" +
                                 std::string(5000, '9') + "\n8 0 2000000 " + std::string(500, 'n') + "\n");
    disks.fMGetIoStat(0.0, 0, 0);
    const std::vector<std::string> found = inventory();
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_EQ(found[0], "/dev/" + std::string(63, 'n') + " 2000");
}

class DiskList22 : public DiskTest {
protected:
    DiskList22() : DiskTest("2.2.26") {
        home.write(scriptResult, "   3     0    8257032 hda\n   3     1    8000000 hda1\n   3    64    2000880 hdb\n");
    }
    CMM_IO_Info disks;
};

// hda: 20 reads, 10 writes, 200 and 100 blocks over 5 s; hdb: 5 reads, 45 blocks.
TEST_F(DiskList22, StatFileGivesRatesInBlocks) {
    EXPECT_EQ(sampleHost(disks, "linux-2.2.26/t0"), disks.m_pclList);
    EXPECT_THAT(records(disks), ElementsAre("/dev/hda 0.00 0.00 0.00 0.00 0.00", "/dev/hdb 0.00 0.00 0.00 0.00 0.00"));
    EXPECT_EQ(sampleHost(disks, "linux-2.2.26/t1"), disks.m_pclList);

    EXPECT_THAT(records(disks),
                ElementsAre("/dev/hda 4.00 2.00 40.00 20.00 0.00", "/dev/hdb 1.00 0.00 9.00 0.00 0.00"));
    EXPECT_EQ(disks.m_nNDev, 2);
    EXPECT_THAT(commands, ElementsAre(scriptCommand, scriptCommand));
}

TEST_F(DiskList22, SizeComesFromThePartitionsFile) {
    sampleHost(disks, "linux-2.2.26/t0");
    const _ST_DISKIO *hda = disks.fMGetIoStatNext();
    const _ST_DISKIO *hdb = disks.fMGetIoStatNext();
    ASSERT_NE(hdb, nullptr);
    EXPECT_EQ(hda->l_nTotSize, 8257U);
    EXPECT_EQ(hdb->l_nTotSize, 2000U);
    EXPECT_EQ(hda->l_dAwait, 0.0);
}

TEST_F(DiskList22, MissingPartitionsFileGivesNoSize) {
    host.write("proc/stat", "disk_rio 1\ndisk_wio 1\ndisk_rblk 1\ndisk_wblk 1\n");
    EXPECT_EQ(sample(disks), disks.m_pclList);
    EXPECT_EQ(disks.fMGetIoStatNext()->l_nTotSize, 0U);
}

TEST_F(DiskList22, EveryLineMustBePresent) {
    for (const char *missing : {"disk_rio ", "disk_wio ", "disk_rblk ", "disk_wblk "}) {
        std::string text = "cpu 1 2 3 4\n";
        for (const char *key : {"disk_rio ", "disk_wio ", "disk_rblk ", "disk_wblk "})
            if (std::strcmp(key, missing) != 0)
                text += std::string(key) + "1 2\n";
        host.write("proc/stat", text);
        EXPECT_EQ(sample(disks), disks.m_pclList) << missing;
        EXPECT_THAT(names(disks), IsEmpty()) << missing;
    }
}

TEST_F(DiskList22, MissingAndEmptyStatFileGiveNull) {
    EXPECT_EQ(sample(disks), nullptr);
    host.write("proc/stat", "");
    EXPECT_EQ(sample(disks), nullptr);
}

// hdb has no second value: it counts 0, and never takes one from the line that follows.
TEST_F(DiskList22, ShortValueListCountsZero) {
    host.write("proc/stat", "\ndisk_rio 10\ndisk_wio 10 10\ndisk_rblk 10 10\ndisk_wblk 10 10");
    sample(disks);
    host.write("proc/stat", "disk_rio 20\n77\ndisk_wio 20 20\ndisk_rblk 20 20\ndisk_wblk 20 20");
    sample(disks);
    EXPECT_THAT(records(disks), ElementsAre("/dev/hda 2.00 2.00 2.00 2.00 0.00", "/dev/hdb 0.00 2.00 2.00 2.00 0.00"));
}

TEST_F(DiskList22, FallingCounterGivesZero) {
    sampleHost(disks, "linux-2.2.26/t1");
    sampleHost(disks, "linux-2.2.26/t0");
    EXPECT_THAT(records(disks), ElementsAre("/dev/hda 0.00 0.00 0.00 0.00 0.00", "/dev/hdb 0.00 0.00 0.00 0.00 0.00"));
}

TEST_F(DiskList22, LimitLetsOneMoreThrough) {
    std::string text;
    for (int i = 0; i < 5; ++i)
        text += "3 " + std::to_string(64 * i) + " 2000000 hd" + std::to_string(i) + "\n";
    home.write(scriptResult, text);
    host.write("proc/stat", "disk_rio 1\ndisk_wio 1\ndisk_rblk 1\ndisk_wblk 1\n");
    g_nDiskMaxGatherCnt = 2;
    sample(disks);
    EXPECT_THAT(names(disks), SizeIs(3));
}

TEST_F(DiskList22, FailedInsertionGivesNull) {
    host.write("proc/stat", "cpu 1 1 1 1\n");
    sample(disks); // without counters: the disks are known, no record is
    host.write("proc/stat", "disk_rio 1\ndisk_wio 1\ndisk_rblk 1\ndisk_wblk 1\n");
    systemHooks().failAllocationAfter = 3; // old sample and result of hda, old sample of hdb; its result
    EXPECT_EQ(sample(disks), nullptr);
    EXPECT_THAT(names(disks), SizeIs(1));
}

TEST_F(DiskList22, InventoryReadsNoCounters) {
    EXPECT_EQ(disks.fMGetIoStat(0.0, 0, 0), disks.m_pclINVList);
    EXPECT_EQ(disks.m_nNDevINV, 2);
    EXPECT_EQ(disks.m_nDevNameCount, 0);
}

TEST_F(DiskList22, TextFormHasTheSameTableAndNoWaits) {
    g_nDiskStrType = 1;
    g_nDiskWaitFlag = 100;
    EXPECT_EQ(sampleHost(disks, "linux-2.2.26/t0"), nullptr);
    EXPECT_EQ(poll(disks), POLL_HEADER);
    EXPECT_EQ(sampleHost(disks, "linux-2.2.26/t1"), disks.m_pclList);
    EXPECT_EQ(poll(disks), std::string(POLL_HEADER) + "|1~/dev/hda~4.00~2.00~40.00~20.00~0.00~" +
                               "|2~/dev/hdb~1.00~0.00~9.00~0.00~0.00~");
    EXPECT_THAT(clock.sleeps(), IsEmpty());
}

class DiskRateFile : public DiskTest {
protected:
    float rateOf(const char *name, const char *text) {
        home.write("agent/aproc/shell/disk_sar_d.txt", text);
        float rate = 55.0F;
        EXPECT_EQ(disks.fGetDiskIoRate(name, &rate), 1);
        return rate;
    }
    CMM_IO_Info disks;
};

TEST_F(DiskRateFile, LastMatchingLineWins) {
    EXPECT_FLOAT_EQ(rateOf("sda", "sda 1.5\nsdb 2.5\nsda 3.25\n"), 3.25F);
    EXPECT_FLOAT_EQ(rateOf("sdb", "sda 1.5\nsdb 2.5 rest\n"), 2.5F);
}

// 127 characters are taken together: what follows them is a line of its own.
TEST_F(DiskRateFile, LongLineIsTakenInPieces) {
    const std::string front = "sdb " + std::string(123, '1');
    EXPECT_FLOAT_EQ(rateOf("sda", (front + "sda 2.5\n").c_str()), 2.5F);
    EXPECT_EQ(rateOf("sda", (front + "1sda 2.5\n").c_str()), 0.0F);
}

TEST_F(DiskRateFile, NoMatchingLineReadsAsZero) {
    EXPECT_EQ(rateOf("sd", "sda 1.5\n sd 3\nsd\n"), 0.0F);
    EXPECT_EQ(rateOf("sda", ""), 0.0F);
    EXPECT_EQ(rateOf("sda", "sda x\n"), 0.0F);
}

TEST_F(DiskRateFile, RateIsKeptWithinItsRange) {
    EXPECT_FLOAT_EQ(rateOf("sda", "sda 100\n"), 100.0F);
    EXPECT_FLOAT_EQ(rateOf("sda", "sda 100.1\n"), 99.9F);
    EXPECT_FLOAT_EQ(rateOf("sda", "sda 1e300\n"), 99.9F);
    EXPECT_EQ(rateOf("sda", "sda -0.5\n"), 0.0F);
    EXPECT_EQ(rateOf("sda", "sda nan\n"), 0.0F);
    EXPECT_FALSE(std::signbit(rateOf("sda", "sda -0\n")));
}

TEST_F(DiskRateFile, MissingFileIsAFailure) {
    float rate = 55.0F;
    EXPECT_EQ(disks.fGetDiskIoRate("sda", &rate), -1);
    EXPECT_EQ(rate, 0.0F);
}

TEST_F(DiskRateFile, PipeInItsPlaceIsAFailureAtOnce) {
    ASSERT_EQ(mkfifo("../aproc/shell/disk_sar_d.txt", 0600), 0);
    float rate = 55.0F;
    EXPECT_EQ(disks.fGetDiskIoRate("sda", &rate), -1);
}

TEST(DiskUnitParser, FirstTokenIsCopied) {
    CMM_IO_Info disks;
    char unit[8];
    std::memset(unit, 'x', sizeof(unit));
    const char *text = "sda 17 rest";

    EXPECT_EQ(disks.fMParceDevUnit(text, unit, sizeof(unit)), text + 3);
    EXPECT_EQ(std::string(unit, sizeof(unit)), std::string("sda\0\0\0\0\0", 8));
    text = "  sdb";
    EXPECT_EQ(disks.fMParceDevUnit(text, unit, sizeof(unit)), text + 5);
    EXPECT_STREQ(unit, "sdb");
    text = "";
    EXPECT_EQ(disks.fMParceDevUnit(text, unit, sizeof(unit)), text);
    EXPECT_STREQ(unit, "");
}

TEST(DiskUnitParser, TokenAsLongAsTheAreaIsRefused) {
    CMM_IO_Info disks;
    char unit[4];

    EXPECT_NE(disks.fMParceDevUnit("sda", unit, 4), nullptr);
    EXPECT_EQ(disks.fMParceDevUnit("sdab", unit, 4), nullptr);
    EXPECT_EQ(disks.fMParceDevUnit("sdabc 1", unit, 4), nullptr);
    EXPECT_STREQ(unit, "");
    EXPECT_EQ(disks.fMParceDevUnit("a", unit, 0), nullptr);
}

} // namespace

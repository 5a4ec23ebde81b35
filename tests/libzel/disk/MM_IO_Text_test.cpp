// The text form: poll table and push text, old samples by key.
#include "DiskTest.h"
#include "Separators.h"

#include <cstring>
#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class DiskText : public DiskTest {
protected:
    DiskText() : DiskTest("6.1.0-18-amd64", 1) {}

    static constexpr int PUSH = 1;
    CMM_IO_Info disks;
};

class DiskText26 : public DiskTest {
protected:
    DiskText26() : DiskTest("2.6.32-754.el6.x86_64", 1) {}
    CMM_IO_Info disks;
};

class DiskText24 : public DiskTest {
protected:
    DiskText24() : DiskTest("2.4.21-4.ELsmp", 1) {}
    CMM_IO_Info disks;
};

TEST_F(DiskText26, FirstPassGivesNullAndTheHeaderAlone) {
    EXPECT_EQ(sampleHost(disks, "linux-2.6.32/t0"), nullptr);

    EXPECT_EQ(poll(disks), POLL_HEADER);
    EXPECT_EQ(push(disks), "");
    EXPECT_EQ(disks.m_nDiskZELCnt, 0);
    EXPECT_EQ(disks.m_nZELSkipChk, 1);
    EXPECT_EQ(disks.m_nInsertFirst, 1);
    EXPECT_EQ(disks.m_nNDev, 0);
}

// Rows are numbered from 1. sdd is new in the second pass: no row. sdc fell: (100 - 500000) / 5 as unsigned is beyond
// 1e9, so -1; (800 - 4000000) = 2^64 - 3999200 and (400 - 4800000) = 2^64 - 4799600 sectors over 5 s, halved.
TEST_F(DiskText26, SecondPassGivesTheTable) {
    sampleHost(disks, "linux-2.6.32/t0");
    EXPECT_EQ(sampleHost(disks, "linux-2.6.32/t1"), disks.m_pclList);

    char readVolume[64];
    char writeVolume[64];
    std::snprintf(readVolume, sizeof(readVolume), "%.2f", 18446744073705552416.0 / 5.0 * 0.5);
    std::snprintf(writeVolume, sizeof(writeVolume), "%.2f", 18446744073704752016.0 / 5.0 * 0.5);
    EXPECT_EQ(poll(disks), std::string(POLL_HEADER) + "|1~/dev/ram0~0.00~0.00~0.00~0.00~0.00~" +
                               "|2~/dev/loop0~0.00~0.00~0.00~0.00~0.00~" +
                               "|3~/dev/sda~50.00~25.00~2000.00~500.00~25.00~" +
                               "|4~/dev/sdb~0.00~0.00~0.00~0.00~0.00~" + "|5~/dev/sdc~-1.00~-1.00~" + readVolume + "~" +
                               writeVolume + "~0.00~" + "|6~/dev/cciss/c0d0~1.00~0.00~5.00~0.00~100.00~");
    EXPECT_EQ(disks.m_nDiskZELCnt, 6);
    EXPECT_EQ(disks.m_nNDev, 6);
    EXPECT_EQ(push(disks), "");
}

TEST_F(DiskText26, NewDiskHasItsRowFromItsSecondSampleOn) {
    sampleHost(disks, "linux-2.6.32/t0");
    sampleHost(disks, "linux-2.6.32/t1");
    EXPECT_THAT(poll(disks), Not(HasSubstr("/dev/sdd")));
    sampleHost(disks, "linux-2.6.32/t1");
    EXPECT_THAT(poll(disks), HasSubstr("~/dev/sdd~0.00~0.00~0.00~0.00~0.00~"));
}

TEST_F(DiskText, SeparatorsAreThreeBytesEach) {
    sampleText(disks, line("sda", 0, 0, 0, 0, 0));
    sampleText(disks, line("sda", 5, 0, 0, 0, 0));

    EXPECT_EQ(disks.m_pstrPollDiskInfo, "INDEX" + C + "DISKNAME" + C + "READCNT" + C + "WRITECNT" + C + "READKB" + C +
                                            "WRITEKB" + C + "BUSY" + C + R + "1" + C + "/dev/sda" + C + "1.00" + C +
                                            "0.00" + C + "0.00" + C + "0.00" + C + "0.00" + C);
    EXPECT_STREQ(disks.m_strSplit[0], "\x03\x1F|");
    EXPECT_STREQ(disks.m_strSplit[1], C.c_str());
    EXPECT_STREQ(disks.m_strPushSplit[0], "\x03\x1F]");
    EXPECT_STREQ(disks.m_strPushSplit[1], "\x03\x1F^");
}

// 80 sectors over 5 s while it was away for one pass of 5 s: its old sample is two passes old.
TEST_F(DiskText, VanishedDiskKeepsItsOldSample) {
    sampleText(disks, line("sda", 0, 0, 0, 0, 0) + line("sdb", 100, 0, 0, 0, 0));
    sampleText(disks, line("sda", 0, 0, 0, 0, 0));
    EXPECT_THAT(poll(disks), Not(HasSubstr("sdb")));
    sampleText(disks, line("sda", 0, 0, 0, 0, 0) + line("sdb", 110, 0, 0, 0, 0));
    EXPECT_THAT(poll(disks), HasSubstr("|2~/dev/sdb~2.00~"));
    EXPECT_EQ(disks.m_DiskMap.size(), 2U);
}

// The hash is h * 131 + c over signed characters: one more in the third place is made up for by 131 less in the fourth,
// 'q' - 131 = -18, the byte 0xEE. sdaq: 110 - 100 reads over 5 s. The other name is compared with what sdaq left: 160 -
// 110.
TEST_F(DiskText, TwoNamesWithOneHashShareOneOldSample) {
    const std::string first = "sdaq";
    const std::string second = "sdb\xEE";
    sampleText(disks, line(first, 100, 0, 0, 0, 0));
    sampleText(disks, line(first, 110, 0, 0, 0, 0) + line(second, 160, 0, 0, 0, 0));

    EXPECT_EQ(disks.m_DiskMap.size(), 1U);
    EXPECT_EQ(poll(disks), std::string(POLL_HEADER) + "|1~/dev/" + first + "~2.00~0.00~0.00~0.00~0.00~" + "|2~/dev/" +
                               second + "~10.00~0.00~0.00~0.00~0.00~");
}

TEST_F(DiskText, OldSampleIsNamedLikeItsDisk) {
    sampleText(disks, line("sda", 1, 2, 3, 4, 5));

    ASSERT_EQ(disks.m_DiskMap.size(), 1U);
    const _ST_DISK_OLD_LIST *old = disks.m_DiskMap.begin()->second;
    EXPECT_STREQ(old->l_strDEVname, "/dev/sda");
    EXPECT_EQ(old->l_ulRead_N, 1U);
    EXPECT_EQ(old->l_ulRead_B, 2U);
    EXPECT_EQ(old->l_ulWrite_N, 3U);
    EXPECT_EQ(old->l_ulWrite_B, 4U);
    EXPECT_EQ(old->l_lTick, 5U);
}

TEST_F(DiskText, LimitOfTheListDoesNotHold) {
    g_nDiskMaxGatherCnt = 1;
    std::string text;
    for (int i = 0; i < 10; ++i)
        text += line("sd" + std::to_string(i), 1, 1, 1, 1, 1);
    sampleText(disks, text);
    sampleText(disks, text);
    EXPECT_EQ(disks.m_nDiskZELCnt, 10);
}

TEST_F(DiskText, ShortLinesAreCountedAndHaveNoRow) {
    sampleText(disks, line("sda", 1, 1, 1, 1, 1));
    sampleText(disks, "short\n" + line("sda", 1, 1, 1, 1, 1));
    EXPECT_EQ(disks.m_nNDev, 2);
    EXPECT_EQ(disks.m_nDiskZELCnt, 1);
}

TEST_F(DiskText, InventoryIsNotAskedForInTextForm) {
    host.write("proc/diskstats", line("sda", 1, 1, 1, 1, 1));
    EXPECT_EQ(disks.fMGetIoStat(0.0, 0, 0), nullptr);
    EXPECT_EQ(disks.fMGetIoStat(0.0, 0, 0), disks.m_pclList);
    EXPECT_TRUE(commands.empty());
    EXPECT_THAT(poll(disks), HasSubstr("/dev/sda"));
}

TEST_F(DiskText, NameCannotForgeARow) {
    const std::string name = "sd\x03\x1F|a";
    sampleText(disks, line(name, 0, 0, 0, 0, 0));
    sampleText(disks, line(name, 0, 0, 0, 0, 0));
    EXPECT_EQ(poll(disks), std::string(POLL_HEADER) + "|1~/dev/sd  |a~0.00~0.00~0.00~0.00~0.00~");
}

TEST_F(DiskText, RowsOfAnyLengthAndNumberAreWhole) {
    std::string text;
    std::string expected = POLL_HEADER;
    for (int i = 1; i <= 300; ++i) {
        const std::string name(static_cast<std::size_t>(100 + 2 * i), 'n');
        text += line(name + std::to_string(i), 0, 0, 0, 0, 0);
        expected += "|" + std::to_string(i) + "~/dev/" + name + std::to_string(i) + "~0.00~0.00~0.00~0.00~0.00~";
    }
    sampleText(disks, text);
    sampleText(disks, text);
    EXPECT_EQ(poll(disks), expected);
}

// A buffer without room for name and 256 bytes grows by twice the text in it.
TEST_F(DiskText, RowBufferGrows) {
    std::free(disks.m_pStrDiskZEL);
    disks.m_nDiskZELSize = 16;
    disks.m_pStrDiskZEL = fgNewTextBuffer(16);
    sampleText(disks, line("sda", 0, 0, 0, 0, 0));
    const int afterHeader = disks.m_nDiskZELSize;
    EXPECT_EQ(afterHeader,
              128); // the header takes 7 names of 45 characters and 7 separators of 3: 66 bytes; 16 doubled
    sampleText(disks, line("sda", 0, 0, 0, 0, 0));
    EXPECT_EQ(disks.m_nDiskZELSize, 260); // 128 + 2 * 66, which is enough for the 256 free bytes of a row
    EXPECT_THAT(poll(disks), HasSubstr("|1~/dev/sda~"));
}

TEST_F(DiskText, PassIsSpreadByWaits) {
    std::string text;
    for (int i = 0; i < 205; ++i)
        text += line("sd" + std::to_string(i), 1, 1, 1, 1, 1);
    sampleText(disks, text);
    g_nDiskWaitFlag = 99;
    sampleText(disks, text);
    EXPECT_TRUE(clock.sleeps().empty());
    g_nDiskWaitFlag = 100;
    sampleText(disks, text);
    EXPECT_THAT(clock.sleeps(), ElementsAre(500000, 500000, 500000)); // before the rows after 0, 100 and 200
}

// What did not change is 0 whatever the interval; what grew in negative time is refused.
TEST_F(DiskText, ClockSetBackGivesNoMinusZero) {
    host.write("proc/diskstats", line("sda", 1, 1, 1, 1, 1) + line("sdb", 1, 1, 1, 1, 1));
    sample(disks);
    host.write("proc/diskstats", line("sda", 1, 1, 1, 1, 1) + line("sdb", 2, 3, 4, 5, 6));
    clock.advance(-100);
    disks.fMGetIoStat(0.0, 1, 0);
    EXPECT_EQ(poll(disks), std::string(POLL_HEADER) + "|1~/dev/sda~0.00~0.00~0.00~0.00~0.00~" +
                               "|2~/dev/sdb~-1.00~-1.00~-1.00~-1.00~-1.00~");
}

TEST_F(DiskText, MissingFileGivesNullInBothForms) {
    EXPECT_EQ(sample(disks), nullptr);
    EXPECT_EQ(sample(disks, PUSH), nullptr);
    EXPECT_EQ(disks.m_nZELSkipChk, 0);
    EXPECT_EQ(disks.m_nInsertFirst, 0);
    EXPECT_EQ(disks.m_stAllDiskList, nullptr);
}

TEST_F(DiskText, RowThatHasNoMemoryEndsThePassWithNull) {
    const std::string name(900, 'n');
    sampleText(disks, line("sda", 0, 0, 0, 0, 0) + line(name, 0, 0, 0, 0, 0));
    std::free(disks.m_pStrDiskZEL);
    disks.m_nDiskZELSize = 512;
    disks.m_pStrDiskZEL = fgNewTextBuffer(512);
    host.write("proc/diskstats", line("sda", 0, 0, 0, 0, 0) + line(name, 0, 0, 0, 0, 0));
    systemHooks().failAllocationAfter = 1; // the growth before the row, then the one that the row asks for
    EXPECT_EQ(disks.fMGetIoStat(0.0, 1, 0), nullptr);
    EXPECT_EQ(poll(disks), std::string(POLL_HEADER) + "|1~/dev/sda~0.00~0.00~0.00~0.00~0.00~");
    systemHooks().failAllocationAfter = -1;
    EXPECT_EQ(disks.fMGetIoStat(0.0, 1, 0), disks.m_pclList);
    EXPECT_THAT(poll(disks), HasSubstr("|2~/dev/" + name + "~0.00~"));
}

TEST_F(DiskText, SteadyPassOverTheSameDisksAllocatesNothing) {
    std::string text;
    for (int i = 0; i < 500; ++i)
        text += line("sd" + std::to_string(i), 1, 1, 1, 1, 1);
    sampleText(disks, text);
    sampleText(disks, text);
    sampleText(disks, text);
    const std::size_t capacity = disks.g_stringPollDisk.capacity();
    systemHooks().failAllocationAfter = 0;
    clock.advance(SECONDS);
    EXPECT_EQ(disks.fMGetIoStat(0.0, 1, 0), disks.m_pclList);
    EXPECT_EQ(systemHooks().failAllocationAfter, 0);
    EXPECT_EQ(disks.g_stringPollDisk.capacity(), capacity);
    EXPECT_EQ(disks.m_nDiskZELCnt, 500);
}

// The 2.4 reader keeps its old samples by name: a counter that fell gives 0, a new disk its row of zeros at once.
TEST_F(DiskText24, FirstPassGivesNullAndTheSecondTheTable) {
    EXPECT_EQ(sampleHost(disks, "linux-2.4.21/t0"), nullptr);
    EXPECT_EQ(poll(disks), POLL_HEADER);
    EXPECT_EQ(disks.m_nDiskZELCnt, 0);
    EXPECT_EQ(sampleHost(disks, "linux-2.4.21/t1"), disks.m_pclList);

    EXPECT_EQ(poll(disks), std::string(POLL_HEADER) + "|1~/dev/sda~10.00~4.00~400.00~100.00~50.00~" +
                               "|2~/dev/sdb~0.00~0.00~0.00~0.00~0.00~" + "|3~/dev/hdc~0.00~0.00~0.00~0.00~0.00~");
    EXPECT_TRUE(disks.m_DiskMap.empty());
}

TEST_F(DiskText24, PushTextIsBuiltAsWell) {
    sampleHost(disks, "linux-2.4.21/t0", 1);
    EXPECT_EQ(sampleHost(disks, "linux-2.4.21/t1", 1), disks.m_pclList);
    EXPECT_THAT(push(disks), HasSubstr("|0~NULL~10.00~4.00~400.00~100.00~50.00~|1~/dev/sda~10.00~"));
}

} // namespace

// The push text of the disks: the busiest of them, after their sums.
#include "DiskTest.h"

#include <gmock/gmock.h>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char *pushHeader = "agent_key]4.5.11.0^INDEX~DISKNAME~READCNT~WRITECNT~READKB~WRITEKB~BUSY~";

class DiskPush : public DiskTest {
protected:
    DiskPush() : DiskTest("6.1.0-18-amd64", 1) { g_ptrAgentKey = key; }

    CSSList *samplePush(const std::string &diskstats) { return sampleText(disks, diskstats, 1); }

    /// `count` disks, disk i with i * `step` busy milliseconds.
    static std::string manyDisks(int count, int step) {
        std::string text;
        for (int i = 0; i < count; ++i)
            text += line("d" + std::to_string(i), 0, 0, 0, 0, static_cast<unsigned long long>(i * step));
        return text;
    }

    char key[16] = "agent_key";
    CMM_IO_Info disks;
};

TEST_F(DiskPush, FirstPassGivesNullAndTheHeaderAlone) {
    EXPECT_EQ(samplePush(line("sda", 0, 0, 0, 0, 0)), nullptr);
    EXPECT_EQ(push(disks), pushHeader);
    EXPECT_EQ(poll(disks), "");
    EXPECT_EQ(disks.m_stAllDiskList, nullptr);
}

// sda: 10 reads, 20 sectors, 500 ms of 5000. sdb: 5 writes, 40 sectors, 2500 ms. sdc: 5000 ms. The sums come first,
// then the busiest.
TEST_F(DiskPush, RowsFollowTheirSumsFromTheBusiestOn) {
    samplePush(line("sda", 0, 0, 0, 0, 0) + line("sdb", 0, 0, 0, 0, 0) + line("sdc", 0, 0, 0, 0, 0));
    EXPECT_EQ(
        samplePush(line("sda", 10, 20, 0, 0, 500) + line("sdb", 0, 0, 5, 40, 2500) + line("sdc", 0, 0, 0, 0, 5000)),
        disks.m_pclList);

    EXPECT_EQ(push(disks), std::string(pushHeader) + "|0~NULL~2.00~1.00~2.00~4.00~160.00~" +
                               "|1~/dev/sdc~0.00~0.00~0.00~0.00~100.00~" + "|2~/dev/sdb~0.00~1.00~0.00~4.00~50.00~" +
                               "|3~/dev/sda~2.00~0.00~2.00~0.00~10.00~");
    EXPECT_EQ(disks.m_nDiskPushCnt, 3);
    EXPECT_EQ(poll(disks), "");
    EXPECT_EQ(disks.m_stAllDiskList, nullptr);
}

TEST_F(DiskPush, EquallyBusyDisksKeepTheirOrder) {
    const std::string text = line("sdb", 0, 0, 0, 0, 0) + line("sda", 0, 0, 0, 0, 0) + line("sdc", 0, 0, 0, 0, 0);
    samplePush(text);
    samplePush(text);
    EXPECT_THAT(push(disks), HasSubstr("|1~/dev/sdb~0.00~0.00~0.00~0.00~0.00~|2~/dev/sda~"));
}

TEST_F(DiskPush, WithoutRowsThereIsNoSum) {
    samplePush(line("sda", 0, 0, 0, 0, 0));
    EXPECT_EQ(samplePush(""), disks.m_pclList);
    EXPECT_EQ(push(disks), pushHeader);
    EXPECT_EQ(disks.m_nDiskPushCnt, 0);
}

// -1.0 for the disk that fell and 0.2 for each of the five that read once: in binary the sum is a little below 0.
TEST_F(DiskPush, SumsNeverShowAMinusZero) {
    const auto sixDisks = [](unsigned long long fallen, unsigned long long reads) {
        std::string text = line("sda", fallen, 0, 0, 0, 0);
        for (const char *name : {"sdb", "sdc", "sdd", "sde", "sdf"})
            text += line(name, reads, 0, 0, 0, 0);
        return text;
    };
    samplePush(sixDisks(100, 0));
    samplePush(sixDisks(0, 1));
    EXPECT_THAT(push(disks), HasSubstr("|0~NULL~0.00~0.00~0.00~0.00~0.00~|1~/dev/sda~-1.00~"));
}

TEST_F(DiskPush, SumBelowZeroKeepsItsSign) {
    samplePush(line("sda", 100, 0, 0, 0, 0) + line("sdb", 0, 0, 0, 0, 0));
    samplePush(line("sda", 0, 0, 0, 0, 0) + line("sdb", 1, 0, 0, 0, 0));
    EXPECT_THAT(push(disks), HasSubstr("|0~NULL~-0.80~0.00~"));
}

// 60 disks with 0, 50, 100 ... 2950 ms of 5000, so 0 % to 59 %: the sum of all is 59 * 60 / 2 = 1770; the rows end with
// the 50th busiest, disk 10.
TEST_F(DiskPush, TableHoldsTheFiftyBusiestAndTheSumsOfAll) {
    samplePush(manyDisks(60, 0));
    samplePush(manyDisks(60, 50));

    EXPECT_THAT(push(disks), StartsWith(std::string(pushHeader) + "|0~NULL~0.00~0.00~0.00~0.00~1770.00~|1~/dev/d59~"));
    EXPECT_THAT(push(disks), EndsWith("|50~/dev/d10~0.00~0.00~0.00~0.00~10.00~"));
    EXPECT_EQ(disks.m_nDiskPushCnt, 50);
    EXPECT_EQ(disks.m_nNDev, 60);
}

TEST_F(DiskPush, MissingAgentKeyIsEmpty) {
    g_ptrAgentKey = nullptr;
    samplePush("");
    samplePush("");
    EXPECT_THAT(push(disks), StartsWith("]4.5.11.0^INDEX~"));
}

TEST_F(DiskPush, PollAndPushPassesShareTheOldSamples) {
    sampleText(disks, line("sda", 0, 0, 0, 0, 0));
    samplePush(line("sda", 10, 0, 0, 0, 0));
    EXPECT_THAT(push(disks), HasSubstr("|1~/dev/sda~2.00~"));
    EXPECT_EQ(poll(disks), "");
    sampleText(disks, line("sda", 15, 0, 0, 0, 0));
    EXPECT_THAT(poll(disks), HasSubstr("|1~/dev/sda~1.00~"));
    EXPECT_EQ(push(disks), "");
}

TEST_F(DiskPush, WaitsAreForPollRowsOnly) {
    g_nDiskWaitFlag = 100;
    samplePush(line("sda", 0, 0, 0, 0, 0));
    samplePush(line("sda", 0, 0, 0, 0, 0));
    EXPECT_TRUE(clock.sleeps().empty());
}

// The array holds 10000 rows: the 10001st disk is dropped, also from the sums, and the next pass has room for 11000.
TEST_F(DiskPush, DiskBeyondTheArrayIsDroppedUntilItHasGrown) {
    std::string idle = manyDisks(10000, 0) + line("last", 0, 0, 0, 0, 0);
    std::string busy = manyDisks(10000, 0) + line("last", 0, 0, 0, 0, 5000);
    samplePush(idle);
    samplePush(busy);
    EXPECT_THAT(push(disks), HasSubstr("|0~NULL~0.00~0.00~0.00~0.00~0.00~"));
    EXPECT_THAT(push(disks), Not(HasSubstr("/dev/last")));
    EXPECT_EQ(disks.m_nActiveSize, 11000);

    samplePush(idle);
    samplePush(busy);
    EXPECT_THAT(push(disks), HasSubstr("|0~NULL~0.00~0.00~0.00~0.00~100.00~|1~/dev/last~"));
    EXPECT_EQ(disks.m_nActiveSize, 11000);
}

TEST_F(DiskPush, SmallPassBringsTheArrayBackToItsUsualSize) {
    disks.m_nActiveSize = 11000;
    samplePush(manyDisks(9001, 0));
    samplePush(manyDisks(9001, 0));
    EXPECT_EQ(disks.m_nActiveSize, 11000);
    samplePush(manyDisks(9000, 0));
    EXPECT_EQ(disks.m_nActiveSize, 10000);
}

TEST_F(DiskPush, FurtherPassOverTheSameDisksAllocatesNothing) {
    const std::string text = manyDisks(200, 1);
    samplePush(text);
    samplePush(text);
    const std::string before = push(disks);
    clock.advance(SECONDS);
    systemHooks().failAllocationAfter = 0;
    systemHooks().failNewAfter = 0;
    const CSSList *result = disks.fMGetIoStat(0.0, 1, 1);
    systemHooks().failAllocationAfter = -1;
    systemHooks().failNewAfter = -1;
    EXPECT_EQ(result, disks.m_pclList);
    EXPECT_EQ(push(disks), before);
}

TEST_F(DiskPush, WithoutMemoryForTheArrayThePassGivesNull) {
    samplePush(line("sda", 0, 0, 0, 0, 0));
    disks.m_nActiveSize = 20000; // another array
    systemHooks().failAllocationAfter = 0;
    clock.advance(SECONDS);
    EXPECT_EQ(disks.fMGetIoStat(0.0, 1, 1), nullptr);
    EXPECT_EQ(disks.m_stAllDiskList, nullptr);
    systemHooks().failAllocationAfter = -1;
    EXPECT_EQ(samplePush(line("sda", 0, 0, 0, 0, 0)), disks.m_pclList);
}

TEST_F(DiskPush, RowThatHasNoMemoryEndsThePassWithNull) {
    const std::string text = line(std::string(900, 'n'), 0, 0, 0, 0, 0);
    samplePush(text);
    std::free(disks.m_pStrRealTimeDiskZEL);
    disks.m_nDiskRealZELSize = 512;
    disks.m_pStrRealTimeDiskZEL = fgNewTextBuffer(512);
    systemHooks().failAllocationAfter = 1; // the growth before the row, then the one that the row asks for
    EXPECT_EQ(disks.fMGetIoStat(0.0, 1, 1), nullptr);
    EXPECT_EQ(disks.m_stAllDiskList, nullptr);
    systemHooks().failAllocationAfter = -1;
    EXPECT_EQ(samplePush(text), disks.m_pclList);
}

TEST_F(DiskPush, PassIsReleasedWhenTheFileIsMissing) {
    samplePush(line("sda", 0, 0, 0, 0, 0));
    host.remove("proc/diskstats");
    EXPECT_EQ(sample(disks, 1), nullptr);
    EXPECT_EQ(disks.m_stAllDiskList, nullptr);
}

} // namespace

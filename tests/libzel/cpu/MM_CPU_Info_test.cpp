// CPU samples: shares, first samples, gatherings, interrupts, kernels.
#include "MM_CPU_Info.h"

#include "HostFixture.h"
#include "LogCapture.h"
#include "SettingGuard.h"
#include "Settings.h"
#include "StatText.h"
#include "SystemHooks.h"

#include <algorithm>
#include <ctime>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CpuSample : public testing::Test {
protected:
    CpuSample() {
        g_nCpuStrType = 1;
        g_nCpuUsedInWIO = 1;
        pretendKernelRelease("2.6.32-754.el6.x86_64");
    }

    zel::CpuRow *sample(CMM_CPU_Info &cpu, const std::vector<StatLine> &lines) const {
        m_host.write("proc/stat", statText(lines));
        return cpu.fMGetCpu();
    }

    HostFixture m_host;
};

std::vector<unsigned long long> row(const zel::CpuRow &tenths) {
    return {std::begin(tenths), std::end(tenths)};
}

// Deltas: user 150, nice 50, system 100, idle 600, wait 100; together 1000, so that a tick is a tenth of a percent.
const std::vector<StatLine> before = {
    {1000, 200, 300, 8000, 500}, {600, 100, 200, 4000, 250}, {400, 100, 100, 4000, 250}};
const std::vector<StatLine> after = {
    {1150, 250, 400, 8600, 600}, {720, 100, 280, 4250, 300}, {430, 150, 120, 4350, 300}};

TEST_F(CpuSample, FirstOneWithTextIsSwallowed) {
    CMM_CPU_Info cpu;

    EXPECT_EQ(sample(cpu, before), nullptr);

    EXPECT_EQ(cpu.m_nZELSkipChk, 1);
    EXPECT_EQ(cpu.m_nCpuZELCnt, 0);
    EXPECT_EQ(cpu.m_nNCpu, 0);
    EXPECT_EQ(cpu.fGetLogicalCpuCnt(), 2);
}

// Row 1: deltas 120 0 80 250 50 of 500 ticks, two tenths each. Row 2: 30 50 20 350 50 of 500.
TEST_F(CpuSample, SharesAreTenthsOfAPercentOfTheInterval) {
    CMM_CPU_Info cpu;
    sample(cpu, before);

    const zel::CpuRow *rows = sample(cpu, after);

    ASSERT_EQ(rows, cpu.m_pnCPU);
    EXPECT_THAT(row(rows[0]), ElementsAre(100, 150, 600, 100, 50));
    EXPECT_THAT(row(rows[1]), ElementsAre(160, 240, 500, 100, 0));
    EXPECT_THAT(row(rows[2]), ElementsAre(40, 60, 700, 100, 100));
    EXPECT_EQ(cpu.m_nNCpu, 2);
    EXPECT_EQ(cpu.fMGetNCpu(), 2);
    EXPECT_EQ(cpu.fMGetCpuSys(), 100U);
    EXPECT_EQ(cpu.fMGetCpuUser(), 150U);
    EXPECT_EQ(cpu.fMGetCpuIdle(), 600U);
    EXPECT_EQ(cpu.fMGetCpuWio(), 100U);
}

// Deltas 1 1 1 0 0 of 3: (1000 + 1) / 3 = 333, 99.9 percent in all. Deltas 1 0 0 1999 0 of 2000: half a tenth is
// (1000 + 1000) / 2000 = 1, and (1999000 + 1000) / 2000 = 1000.
TEST_F(CpuSample, SharesAreRoundedHalfUp) {
    CMM_CPU_Info cpu;
    sample(cpu, {{0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}});

    const zel::CpuRow *rows = sample(cpu, {{1, 1, 1, 0, 0}, {1, 0, 0, 1999, 0}});

    ASSERT_NE(rows, nullptr);
    EXPECT_THAT(row(rows[0]), ElementsAre(333, 333, 0, 0, 333));
    EXPECT_THAT(row(rows[1]), ElementsAre(0, 1, 1000, 0, 0));
}

TEST_F(CpuSample, WithoutTextTheFirstOneIsReturnedAndCoversTheTimeSinceBoot) {
    g_nCpuStrType = 0;
    CMM_CPU_Info cpu;

    // 10 + 20 + 30 + 120 + 20 = 200 ticks since boot, five tenths each.
    const zel::CpuRow *rows = sample(cpu, {{10, 20, 30, 120, 20}});

    ASSERT_EQ(rows, cpu.m_pnCPU);
    EXPECT_THAT(row(rows[0]), ElementsAre(150, 50, 600, 100, 100));
    EXPECT_EQ(cpu.m_nNCpu, 0);
    EXPECT_EQ(cpu.m_nCpuZELCnt, 0);
    EXPECT_EQ(cpu.m_pStrCpuZEL, nullptr);
    EXPECT_FLOAT_EQ(cpu.fGetUtilization(), -1.0F);
    EXPECT_EQ(cpu.m_nZELSkipChk, 0);
}

// Only the minor number of the release decides: 2.4, 4.4 and 5.4 kernels are read with four counters. Deltas 10 20 30
// 120 with the nice ticks counted twice make 200: (20 * 1000 + 100) / 200 = 100 in the wait and the nice column. With
// five, 10 20 30 80 60 are 200.
TEST_F(CpuSample, MinorNumberAloneDecidesOnFourFields) {
    for (const char *release : {"2.4.21-4.ELsmp", "4.4.0-210-generic", "5.4.0", "2.2.26", "3.0.101-default"}) {
        pretendKernelRelease(release);
        CMM_CPU_Info cpu;
        sample(cpu, {{0, 0, 0, 0, 0}});

        const zel::CpuRow *rows = sample(cpu, {{10, 20, 30, 120, 999}});

        ASSERT_NE(rows, nullptr);
        EXPECT_THAT(row(rows[0]), ElementsAre(150, 50, 600, 100, 100)) << release;
    }
    for (const char *release : {"2.5.1", "2.6.9-5.EL", "5.15.0-91-generic", "3.10.0-1160.el7.x86_64"}) {
        pretendKernelRelease(release);
        CMM_CPU_Info cpu;
        sample(cpu, {{0, 0, 0, 0, 0}});

        const zel::CpuRow *rows = sample(cpu, {{10, 20, 30, 80, 60}});

        ASSERT_NE(rows, nullptr);
        EXPECT_THAT(row(rows[0]), ElementsAre(150, 50, 400, 300, 100)) << release;
    }
}

// With the rule of 2.6, five counters on everything from 2.6 on: 10 20 15 50 5 make 100. By the letter the nice ticks
// count twice: (50 * 1000 + 57) / 115 = 435.
TEST_F(CpuSample, KernelRuleReadsFiveFieldsFrom26On) {
    const SettingGuard rule(g_nKernelRule);
    for (const char *release : {"2.6.0", "3.0.101", "4.4.0", "5.4.0", "6.1.0", "7.0.0", "10.2.1"}) {
        pretendKernelRelease(release);
        CMM_CPU_Info cpu;
        g_nKernelRule = 1;
        sample(cpu, {{0, 0, 0, 0, 0}});
        const zel::CpuRow *rows = sample(cpu, {{10, 20, 15, 50, 5}});
        ASSERT_NE(rows, nullptr);
        EXPECT_THAT(row(rows[0]), ElementsAre(150, 100, 500, 50, 200)) << release;
    }
    for (const char *release : {"5.4.0", "6.1.0", "7.0.0"}) {
        pretendKernelRelease(release);
        CMM_CPU_Info cpu;
        g_nKernelRule = 0;
        sample(cpu, {{0, 0, 0, 0, 0}});
        const zel::CpuRow *rows = sample(cpu, {{10, 20, 15, 50, 5}});
        ASSERT_NE(rows, nullptr);
        EXPECT_THAT(row(rows[0]), ElementsAre(130, 87, 435, 174, 174)) << release;
    }
}

TEST_F(CpuSample, KernelRuleLeavesOlderKernelsAsTheyAre) {
    const SettingGuard rule(g_nKernelRule);
    g_nKernelRule = 1;
    for (const char *release : {"2.4.21-4.ELsmp", "2.2.26"}) {
        pretendKernelRelease(release);
        CMM_CPU_Info cpu;
        sample(cpu, {{0, 0, 0, 0, 0}});
        const zel::CpuRow *rows = sample(cpu, {{10, 20, 15, 50, 5}});
        ASSERT_NE(rows, nullptr);
        EXPECT_THAT(row(rows[0]), ElementsAre(130, 87, 435, 174, 174)) << release;
    }
}

TEST_F(CpuSample, CountersThatDoNotMoveGiveZero) {
    CMM_CPU_Info cpu;
    sample(cpu, before);

    const zel::CpuRow *rows = sample(cpu, before);

    ASSERT_NE(rows, nullptr);
    EXPECT_THAT(row(rows[0]), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_THAT(row(rows[2]), ElementsAre(0, 0, 0, 0, 0));
}

// User passes 2^64: from 2^64 - 50 to 50 are 100 ticks; with 100 ticks of idle both are one half.
TEST_F(CpuSample, CounterThatWrapsGoesOnCounting) {
    g_nCpuStrType = 0;
    CMM_CPU_Info cpu;
    sample(cpu, {{18446744073709551566ULL, 0, 0, 1000, 0}});

    const zel::CpuRow *rows = sample(cpu, {{50, 0, 0, 1100, 0}});

    ASSERT_NE(rows, nullptr);
    EXPECT_THAT(row(rows[0]), ElementsAre(0, 500, 500, 0, 0));
}

TEST_F(CpuSample, ProcessorsThatWentOfflineLeaveNoResult) {
    CMM_CPU_Info cpu;
    sample(cpu, before);
    sample(cpu, after);

    const zel::CpuRow *rows = sample(cpu, {{1250, 250, 400, 8600, 600}, {820, 100, 280, 4250, 300}});

    ASSERT_NE(rows, nullptr);
    EXPECT_EQ(cpu.m_nNCpu, 1);
    EXPECT_EQ(cpu.fGetLogicalCpuCnt(), 1);
    EXPECT_THAT(row(rows[1]), ElementsAre(0, 1000, 0, 0, 0));
    EXPECT_THAT(row(rows[2]), ElementsAre(0, 0, 0, 0, 0));
}

TEST_F(CpuSample, IteratorWalksTheProcessorsAndEnds) {
    CMM_CPU_Info cpu;
    sample(cpu, before);
    EXPECT_EQ(cpu.fMGetCpuNext(), nullptr);
    sample(cpu, after);

    for (int walk = 0; walk < 2; ++walk) {
        EXPECT_EQ(cpu.fMGetCpuNext(), cpu.m_pnCPU[1]);
        EXPECT_EQ(cpu.fMGetCpuNext(), cpu.m_pnCPU[2]);
        EXPECT_EQ(cpu.fMGetCpuNext(), nullptr);
        EXPECT_EQ(cpu.fMGetCpuNext(), nullptr);
        sample(cpu, after);
    }
}

TEST_F(CpuSample, CountIsTakenFromASampleWhenThereIsNone) {
    g_nCpuStrType = 0;
    CMM_CPU_Info cpu;
    m_host.write("proc/stat", statText(before));

    EXPECT_EQ(cpu.fMGetNCpu(), 2);

    m_host.write("proc/stat", statText({before[0]}));
    EXPECT_EQ(cpu.fMGetNCpu(), 2);
}

TEST_F(CpuSample, OnlyTheFirst512ProcessorsAreKept) {
    CMM_CPU_Info cpu;
    std::vector<StatLine> early(601, StatLine{0, 0, 0, 0, 0});
    std::vector<StatLine> late(601, StatLine{25, 0, 25, 50, 0});
    sample(cpu, early);

    ASSERT_NE(sample(cpu, late), nullptr);

    EXPECT_EQ(cpu.m_nNCpu, 512);
    EXPECT_EQ(cpu.fGetLogicalCpuCnt(), 512);
    EXPECT_EQ(cpu.m_nCpuZELCnt, 513);
    EXPECT_THAT(row(cpu.m_pnCPU[512]), ElementsAre(250, 250, 500, 0, 0));
}

TEST_F(CpuSample, UnreadableFileFailsAndKeepsThePreviousCounters) {
    CMM_CPU_Info cpu;
    sample(cpu, before);
    LogCapture log;

    m_host.remove("proc/stat");
    EXPECT_EQ(cpu.fMGetCpu(), nullptr);
    m_host.write("proc/stat", "");
    EXPECT_EQ(cpu.fMGetCpu(), nullptr);

    EXPECT_THAT(log.messages(), ElementsAre("/proc/stat buff read failed", "/proc/stat buff read failed"));
    EXPECT_EQ(cpu.m_nNCpu, 0);
    const zel::CpuRow *rows = sample(cpu, after);

    ASSERT_NE(rows, nullptr);
    EXPECT_THAT(row(rows[0]), ElementsAre(100, 150, 600, 100, 50));
}

TEST_F(CpuSample, FileWithoutProcessorsFails) {
    CMM_CPU_Info cpu;
    sample(cpu, before);
    LogCapture log;

    m_host.write("proc/stat", "intr 1 2 3\nctxt 4\n");
    EXPECT_EQ(cpu.fMGetCpu(), nullptr);

    EXPECT_THAT(log.messages(), ElementsAre("cpu read failed"));
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_THAT(log.lines()[0], testing::StartsWith("[INFO][MM_CPU_Info]["));
}

TEST_F(CpuSample, MessagesHaveTheGateOfTheCollectors) {
    CMM_CPU_Info cpu;
    m_host.write("proc/stat", "none");
    {
        LogCapture open(128, 4096);
        cpu.fMGetCpu();
        EXPECT_EQ(open.messages().size(), 1U);
    }
    {
        LogCapture closed(127, 4096);
        cpu.fMGetCpu();
        EXPECT_THAT(closed.messages(), IsEmpty());
    }
    {
        LogCapture closed(128, 4095);
        cpu.fMGetCpu();
        EXPECT_THAT(closed.messages(), IsEmpty());
    }
}

TEST_F(CpuSample, ConstructionWithTextMakesTheBuffers) {
    CMM_CPU_Info cpu;

    EXPECT_STREQ(cpu.m_pStrCpuZEL, "");
    EXPECT_STREQ(cpu.m_pStrCpuINV, "");
    EXPECT_STREQ(cpu.m_pRealTimeStrCpuZEL, "");
    EXPECT_EQ(cpu.m_nCpuZELSize, 10240);
    EXPECT_EQ(cpu.m_nCpuINVSize, 10240);
    EXPECT_EQ(cpu.m_nCpuZELRealSize, 10240);
    EXPECT_STREQ(cpu.m_strDataPath, "../aproc/shell/CpuINVStrInfo.dat");
    EXPECT_STREQ(cpu.m_strSplit[0], "\x03\x1F|");
    EXPECT_STREQ(cpu.m_strSplit[1], "\x03\x1F~");
    EXPECT_STREQ(cpu.m_strPushSplit[0], "\x03\x1F]");
    EXPECT_STREQ(cpu.m_strPushSplit[1], "\x03\x1F^");
    EXPECT_FLOAT_EQ(cpu.fGetUtilization(), -1.0F);
    EXPECT_NE(cpu.m_pclUtil, nullptr);
}

TEST_F(CpuSample, ConstructionWithoutTextMakesNone) {
    g_nCpuStrType = 0;
    CMM_CPU_Info cpu;

    EXPECT_EQ(cpu.m_pStrCpuZEL, nullptr);
    EXPECT_EQ(cpu.m_pStrCpuINV, nullptr);
    EXPECT_EQ(cpu.m_pRealTimeStrCpuZEL, nullptr);
    EXPECT_EQ(cpu.m_nCpuZELSize, 0);
    EXPECT_STREQ(cpu.m_strDataPath, "");
    EXPECT_STREQ(cpu.m_strSplit[0], "\x03\x1F|");
    EXPECT_STREQ(cpu.m_strPushSplit[1], "\x03\x1F^");
}

TEST_F(CpuSample, MembersHaveTheirOrder) {
    CMM_CPU_Info cpu;
    const std::vector<const void *> members = {&cpu.m_plOldCPU,
                                               &cpu.m_pnCPU,
                                               &cpu.m_nNCpu,
                                               &cpu.m_nCpuIndex,
                                               &cpu.m_plIntr,
                                               &cpu.m_pdIntr,
                                               &cpu.m_pclUtil,
                                               &cpu.m_strLogMsg,
                                               &cpu.m_strSplit,
                                               &cpu.m_strPushSplit,
                                               &cpu.m_nCpuZELCnt,
                                               &cpu.m_pStrCpuZEL,
                                               &cpu.m_nCpuZELSize,
                                               &cpu.m_nCpuINVCnt,
                                               &cpu.m_pStrCpuINV,
                                               &cpu.m_nCpuINVSize,
                                               &cpu.m_strDataPath,
                                               &cpu.m_nZELSkipChk,
                                               &cpu.m_pRealTimeStrCpuZEL,
                                               &cpu.m_nCpuZELRealSize,
                                               &cpu.m_tOldTime,
                                               &cpu.m_nGatherCount,
                                               &cpu.m_pnCpus,
                                               &cpu.m_fUsed,
                                               &cpu.m_nLogicalCpuCnt,
                                               &cpu.m_nPushCpuCnt};

    EXPECT_TRUE(std::is_sorted(members.begin(), members.end(), std::less<>()));
    EXPECT_EQ(sizeof(cpu.m_plOldCPU), 513U * 5U * 8U);
    EXPECT_EQ(sizeof(cpu.m_pnCPU), 513U * 5U * 8U);
    EXPECT_EQ(sizeof(cpu.m_pnCpus), 513U * 5U * 8U);
    EXPECT_EQ(sizeof(cpu.m_strLogMsg), 1024U);
    EXPECT_EQ(sizeof(cpu.m_strDataPath), 512U);
}

// The gathering loop keeps counters of its own: samples in between do not shorten its interval.
class CpuGathering : public CpuSample {
protected:
    zel::CpuRow *gather(CMM_CPU_Info &cpu, const std::vector<StatLine> &lines, std::time_t second) const {
        systemHooks().time = [second] { return second; };
        m_host.write("proc/stat", statText(lines));
        return cpu.fMRulo6GatherCpu();
    }
};

TEST_F(CpuGathering, HasItsOwnInterval) {
    CMM_CPU_Info cpu;
    EXPECT_EQ(gather(cpu, before, 100), nullptr);
    sample(cpu, {{1100, 200, 300, 8400, 500}});
    sample(cpu, {{1101, 200, 300, 8401, 500}});

    const zel::CpuRow *rows = gather(cpu, after, 160);

    ASSERT_EQ(rows, cpu.m_pnCpus);
    EXPECT_THAT(row(rows[0]), ElementsAre(100, 150, 600, 100, 50));
    EXPECT_THAT(row(rows[1]), ElementsAre(160, 240, 500, 100, 0));
    EXPECT_THAT(row(rows[2]), ElementsAre(40, 60, 700, 100, 100));
    EXPECT_EQ(cpu.m_nGatherCount, 2);
    EXPECT_EQ(cpu.m_tOldTime, 160);
    EXPECT_EQ(cpu.fGetLogicalCpuCnt(), 2);
    // The sample in between still counts: one tick of user and one of idle.
    EXPECT_THAT(row(cpu.m_pnCPU[0]), ElementsAre(0, 500, 500, 0, 0));
}

TEST_F(CpuGathering, WithinTheSecondOfTheLastOneItReturnsThat) {
    CMM_CPU_Info cpu;
    EXPECT_EQ(gather(cpu, before, 100), nullptr);
    EXPECT_EQ(gather(cpu, after, 100), nullptr);
    EXPECT_EQ(cpu.m_nGatherCount, 1);
    ASSERT_NE(gather(cpu, after, 101), nullptr);

    const zel::CpuRow *rows = gather(cpu, before, 101);

    ASSERT_NE(rows, nullptr);
    EXPECT_THAT(row(rows[0]), ElementsAre(100, 150, 600, 100, 50));
    EXPECT_EQ(cpu.m_nGatherCount, 2);
}

TEST_F(CpuGathering, GoesOnWhenTheClockIsSetBack) {
    CMM_CPU_Info cpu;
    gather(cpu, before, 100);

    EXPECT_NE(gather(cpu, after, 50), nullptr);
    EXPECT_EQ(cpu.m_tOldTime, 50);
}

TEST_F(CpuGathering, FailureKeepsTheLastResult) {
    CMM_CPU_Info cpu;
    gather(cpu, before, 100);
    gather(cpu, after, 101);
    m_host.remove("proc/stat");
    systemHooks().time = [] { return std::time_t{102}; };
    LogCapture log;

    EXPECT_EQ(cpu.fMRulo6GatherCpu(), nullptr);

    EXPECT_THAT(log.messages(), ElementsAre("/proc/stat buff read failed"));
    EXPECT_THAT(row(cpu.m_pnCpus[0]), ElementsAre(100, 150, 600, 100, 50));
    EXPECT_EQ(cpu.m_nGatherCount, 2);
}

class CpuInterrupts : public CpuSample {
protected:
    double *rate(CMM_CPU_Info &cpu, const std::string &stat, double elapsed) const {
        m_host.write("proc/stat", "cpu  1 2 3 4 5\n" + stat);
        return cpu.fMGetCpuInterrupt(elapsed);
    }
};

TEST_F(CpuInterrupts, FirstCallHasNoRate) {
    CMM_CPU_Info cpu;

    const double *result = rate(cpu, "intr 5384898 17 0 0\n", 5.0);

    ASSERT_EQ(result, &cpu.m_pdIntr);
    EXPECT_DOUBLE_EQ(*result, 0.0);
    EXPECT_EQ(cpu.m_plIntr, 5384898);
}

TEST_F(CpuInterrupts, RateIsTheGrowthOfTheTotalPerSecond) {
    CMM_CPU_Info cpu;
    rate(cpu, "intr 1000 17 0 0\n", 5.0);

    // 12345 - 1000 = 11345 in 5 seconds
    EXPECT_DOUBLE_EQ(*rate(cpu, "intr 12345 9999 0 0\n", 5.0), 2269.0);
    // 100 in half a second
    EXPECT_DOUBLE_EQ(*rate(cpu, "intr 12445 9999 0 0\n", 0.5), 200.0);
}

TEST_F(CpuInterrupts, TotalThatWentBackGivesZeroAndIsTheNewBase) {
    CMM_CPU_Info cpu;
    rate(cpu, "intr 1000\n", 1.0);

    EXPECT_DOUBLE_EQ(*rate(cpu, "intr 400\n", 1.0), 0.0);
    EXPECT_DOUBLE_EQ(*rate(cpu, "intr 500\n", 1.0), 100.0);
}

TEST_F(CpuInterrupts, WithoutElapsedTimeThereIsNoRate) {
    CMM_CPU_Info cpu;
    rate(cpu, "intr 1000\n", 1.0);

    EXPECT_DOUBLE_EQ(*rate(cpu, "intr 2000\n", 0.0), 0.0);
    EXPECT_DOUBLE_EQ(*rate(cpu, "intr 3000\n", -1.0), 0.0);
    EXPECT_DOUBLE_EQ(*rate(cpu, "intr 4000\n", std::numeric_limits<double>::quiet_NaN()), 0.0);
    EXPECT_DOUBLE_EQ(*rate(cpu, "intr 5000\n", 1.0), 1000.0);
}

TEST_F(CpuInterrupts, TotalBeyondTheSignedRangeStillCounts) {
    CMM_CPU_Info cpu;
    rate(cpu, "intr 9223372036854775807\n", 1.0);

    EXPECT_DOUBLE_EQ(*rate(cpu, "intr 9223372036854775857\n", 1.0), 50.0);
    EXPECT_DOUBLE_EQ(*rate(cpu, "intr 18446744073709551615\n", 1.0), 9223372036854775758.0);
    EXPECT_DOUBLE_EQ(*rate(cpu, "intr 9\n", 1.0), 10.0);
}

// What the fixed buffer does not hold is not there.
TEST_F(CpuInterrupts, TotalBeyondTheFirst65535BytesCountsAsMissing) {
    CMM_CPU_Info cpu;
    const std::size_t machine = std::string("cpu  1 2 3 4 5\n").size();

    EXPECT_NE(rate(cpu, std::string(65535 - machine - 8, '\n') + "intr 100\n", 1.0), nullptr);
    EXPECT_EQ(cpu.m_plIntr, 100);
    EXPECT_EQ(rate(cpu, std::string(65535 - machine, '\n') + "intr 100\n", 1.0), nullptr);
}

TEST_F(CpuInterrupts, WithoutTheLineOrTheFileThereIsNoResult) {
    CMM_CPU_Info cpu;
    rate(cpu, "intr 1000\n", 1.0);

    EXPECT_EQ(rate(cpu, "ctxt 5\n", 1.0), nullptr);
    m_host.remove("proc/stat");
    EXPECT_EQ(cpu.fMGetCpuInterrupt(1.0), nullptr);

    EXPECT_DOUBLE_EQ(*rate(cpu, "intr 1010\n", 1.0), 10.0);
}

} // namespace

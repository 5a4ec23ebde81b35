// The performance text and the push text of the CPU collector.
#include "HostFixture.h"
#include "LogCapture.h"
#include "MM_CPU_Info.h"
#include "Separators.h"
#include "Settings.h"
#include "StatText.h"
#include "SystemHooks.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

const std::string header = "NAME" + C + "USED" + C + "USER" + C + "SYSTEM" + C + "IOWAIT" + C + "IDLE" + C;

std::string tableRow(const std::string &name, const std::vector<std::string> &values) {
    std::string text = R + name + C;
    for (const std::string &value : values)
        text += value + C;
    return text;
}

class CpuText : public testing::Test {
protected:
    CpuText() {
        g_nCpuStrType = 1;
        g_nCpuUsedInWIO = 1;
        pretendKernelRelease("2.6.32-754.el6.x86_64");
    }

    zel::CpuRow *sample(CMM_CPU_Info &cpu, const std::vector<StatLine> &lines) const {
        m_host.write("proc/stat", statText(lines));
        return cpu.fMGetCpu();
    }
    zel::CpuRow *push(CMM_CPU_Info &cpu, const std::vector<StatLine> &lines) const {
        m_host.write("proc/stat", statText(lines));
        return cpu.fMGetPushCpu();
    }

    HostFixture m_host;
};

const std::vector<StatLine> zero = {{0, 0, 0, 0, 0}};

// Machine: deltas 150 50 100 600 100 of 1000. Processors: 120 0 80 250 50 and 30 50 20 350 50, of 500 each.
TEST_F(CpuText, HoldsTheMachineAndEveryProcessorCountedFromOne) {
    CMM_CPU_Info cpu;
    sample(cpu, {{1000, 200, 300, 8000, 500}, {600, 100, 200, 4000, 250}, {400, 100, 100, 4000, 250}});
    sample(cpu, {{1150, 250, 400, 8600, 600}, {720, 100, 280, 4250, 300}, {430, 150, 120, 4350, 300}});

    EXPECT_EQ(cpu.m_pStrCpuZEL, header + tableRow("CPUS", {"40.00", "15.00", "10.00", "10.00", "60.00"}) +
                                    tableRow("CPU1", {"50.00", "24.00", "16.00", "10.00", "50.00"}) +
                                    tableRow("CPU2", {"30.00", "6.00", "4.00", "10.00", "70.00"}));
    EXPECT_EQ(cpu.m_nCpuZELCnt, 3);
    EXPECT_FLOAT_EQ(cpu.fGetUtilization(), 40.0F);
}

TEST_F(CpuText, UsedCountsTheWaitOnlyWhenTheSettingSaysSo) {
    // user 50, idle 30, wait 20 of 100
    for (const int setting : {1, 0, 2}) {
        g_nCpuUsedInWIO = setting;
        CMM_CPU_Info cpu;
        sample(cpu, zero);
        sample(cpu, {{50, 0, 0, 30, 20}});

        const std::string used = setting == 1 ? "70.00" : "50.00";
        EXPECT_EQ(cpu.m_pStrCpuZEL, header + tableRow("CPUS", {used, "50.00", "0.00", "20.00", "30.00"}));
        EXPECT_FLOAT_EQ(cpu.fGetUtilization(), setting == 1 ? 70.0F : 50.0F);
    }
}

TEST_F(CpuText, WithoutAnyTickUsedIsAllThatIsNotIdle) {
    CMM_CPU_Info cpu;
    sample(cpu, {{1, 2, 3, 4, 5}});
    sample(cpu, {{1, 2, 3, 4, 5}});

    EXPECT_EQ(cpu.m_pStrCpuZEL, header + tableRow("CPUS", {"100.00", "0.00", "0.00", "0.00", "0.00"}));
}

// idle (1001 * 1000 + 1000) / 2000 = 501, wait (999 * 1000 + 1000) / 2000 = 500: 100 - 50.1 - 50.0 is below 0.
TEST_F(CpuText, NegativeShareIsShownAsZero) {
    g_nCpuUsedInWIO = 0;
    CMM_CPU_Info cpu;
    sample(cpu, zero);
    sample(cpu, {{0, 0, 0, 1001, 999}});

    EXPECT_EQ(cpu.m_pStrCpuZEL, header + tableRow("CPUS", {"0.00", "0.00", "0.00", "50.00", "50.10"}));
    EXPECT_FLOAT_EQ(cpu.fGetUtilization(), 0.0F);
}

// User goes back by 6 while system gains 10 and idle 9990: together 9994.
//   user    (-6000 + 4997) wraps to about 1.8e19, / 9994: far above 100 percent
//   system  (10000 + 4997) / 9994 = 1
//   idle    (9990000 + 4997) / 9994 = 1000
TEST_F(CpuText, CounterThatWentBackIsShownAsMinusOne) {
    CMM_CPU_Info cpu;
    sample(cpu, {{1000, 0, 1000, 1000, 0}});
    ASSERT_NE(sample(cpu, {{994, 0, 1010, 10990, 0}}), nullptr);

    EXPECT_EQ(cpu.m_pStrCpuZEL, header + tableRow("CPUS", {"0.00", "-1.00", "0.10", "0.00", "100.00"}));
}

// Wait goes back by 1 while user and idle gain 2000 each: together 3999, and (-1000 + 1999) / 3999 = 0. The others:
// (2000000 + 1999) / 3999 = 500.
TEST_F(CpuText, CounterThatWentBackByATwoThousandthIsShownAsZero) {
    CMM_CPU_Info cpu;
    sample(cpu, {{1000, 0, 0, 1000, 100}});
    ASSERT_NE(sample(cpu, {{3000, 0, 0, 3000, 99}}), nullptr);

    EXPECT_EQ(cpu.m_pStrCpuZEL, header + tableRow("CPUS", {"50.00", "50.00", "0.00", "0.00", "50.00"}));
}

// All counters start anew: together they fall by 9900, which unsigned is near 2^64, and every share of it is 0.
TEST_F(CpuText, CountersThatFellTogetherAreAllZero) {
    CMM_CPU_Info cpu;
    sample(cpu, {{1000, 0, 1000, 8000, 0}});
    ASSERT_NE(sample(cpu, {{10, 0, 10, 80, 0}}), nullptr);

    EXPECT_EQ(cpu.m_pStrCpuZEL, header + tableRow("CPUS", {"100.00", "0.00", "0.00", "0.00", "0.00"}));
}

// Idle goes back by 100 while user gains 300: together 200, idle (-100000 + 100) wraps and is far above 100 percent.
TEST_F(CpuText, ImpossibleIdleOfTheMachineFailsTheSample) {
    CMM_CPU_Info cpu;
    sample(cpu, {{0, 0, 0, 1000, 0}, {0, 0, 0, 0, 0}});
    LogCapture log;

    EXPECT_EQ(sample(cpu, {{300, 0, 0, 900, 0}, {10, 0, 0, 10, 0}}), nullptr);

    EXPECT_THAT(log.messages(), ElementsAre("total cpu idle value collect failed"));
    EXPECT_EQ(cpu.m_nCpuZELCnt, 0);
    EXPECT_EQ(cpu.m_nNCpu, 0);
    EXPECT_EQ(cpu.m_pStrCpuZEL, header);
}

// The machine's counters are taken over by the failed sample, those of the processors are not: row 0 covers the second
// interval (100 user, 100 idle), row 1 both (10 + 30 user, 10 + 30 idle).
TEST_F(CpuText, FailedSampleIsFollowedByAPlainOne) {
    CMM_CPU_Info cpu;
    sample(cpu, {{0, 0, 0, 1000, 0}, {0, 0, 0, 0, 0}});
    sample(cpu, {{300, 0, 0, 900, 0}, {10, 0, 0, 10, 0}});

    ASSERT_NE(sample(cpu, {{400, 0, 0, 1000, 0}, {40, 0, 0, 40, 0}}), nullptr);

    EXPECT_EQ(cpu.m_pStrCpuZEL, header + tableRow("CPUS", {"50.00", "50.00", "0.00", "0.00", "50.00"}) +
                                    tableRow("CPU1", {"50.00", "50.00", "0.00", "0.00", "50.00"}));
}

TEST_F(CpuText, ImpossibleIdleOfAProcessorCountsAsAllIdle) {
    CMM_CPU_Info cpu;
    sample(cpu, {{0, 0, 0, 0, 0}, {0, 0, 0, 1000, 0}});
    LogCapture log;

    // Processor: user gains 300, idle goes back by 100, of 200: user (300000 + 100) / 200 = 1500, above 100 percent.
    ASSERT_NE(sample(cpu, {{50, 0, 0, 50, 0}, {300, 0, 0, 900, 0}}), nullptr);

    EXPECT_THAT(log.messages(), ElementsAre("total cpu idle value collect failed"));
    EXPECT_EQ(cpu.m_pStrCpuZEL, header + tableRow("CPUS", {"50.00", "50.00", "0.00", "0.00", "50.00"}) +
                                    tableRow("CPU1", {"0.00", "-1.00", "0.00", "0.00", "100.00"}));
}

TEST_F(CpuText, FourFieldKernelShowsTheNiceTicksAsWait) {
    pretendKernelRelease("2.4.21-4.ELsmp");
    CMM_CPU_Info cpu;
    sample(cpu, zero);
    // 10 20 30 120 and the nice ticks once more: 200, five tenths each
    sample(cpu, {{10, 20, 30, 120}});

    EXPECT_EQ(cpu.m_pStrCpuZEL, header + tableRow("CPUS", {"40.00", "5.00", "15.00", "10.00", "60.00"}));
}

// 46 bytes of header; a row is 3 + name + 3 + 5 * 8 bytes: 50 for CPUS, 50 for nine processors, 51 for 90, 52 for 413.
// 46 + 50 + 450 + 4590 + 21476 = 26612 bytes need two doublings of 10240.
TEST_F(CpuText, GrowsUntil512ProcessorsFit) {
    CMM_CPU_Info cpu;
    sample(cpu, std::vector<StatLine>(513, StatLine{0, 0, 0, 0, 0}));
    ASSERT_NE(sample(cpu, std::vector<StatLine>(513, StatLine{20, 0, 10, 60, 10})), nullptr);

    const std::vector<std::string> values = {"40.00", "20.00", "10.00", "10.00", "60.00"};
    std::string expected = header + tableRow("CPUS", values);
    for (int number = 1; number <= 512; ++number)
        expected += tableRow("CPU" + std::to_string(number), values);
    EXPECT_EQ(cpu.m_pStrCpuZEL, expected);
    EXPECT_EQ(expected.size(), 26612U);
    EXPECT_EQ(cpu.m_nCpuZELSize, 40960);
    EXPECT_EQ(cpu.m_nCpuZELCnt, 513);
}

TEST_F(CpuText, WithoutMemoryForTheTextTheSampleFails) {
    CMM_CPU_Info cpu;
    sample(cpu, zero);
    m_host.write("proc/stat", statText(std::vector<StatLine>(513, StatLine{20, 0, 10, 60, 10})));

    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(cpu.fMGetCpu(), nullptr);

    EXPECT_EQ(cpu.m_nCpuZELCnt, 0);
    EXPECT_EQ(cpu.m_nCpuZELSize, 10240);
}

TEST_F(CpuText, SteadyStateAllocatesNothing) {
    CMM_CPU_Info cpu;
    sample(cpu, std::vector<StatLine>(513, StatLine{0, 0, 0, 0, 0}));
    sample(cpu, std::vector<StatLine>(513, StatLine{20, 0, 10, 60, 10}));
    m_host.write("proc/stat", statText(std::vector<StatLine>(513, StatLine{40, 0, 20, 120, 20})));

    systemHooks().failAllocationAfter = 0;
    EXPECT_NE(cpu.fMGetCpu(), nullptr);
    EXPECT_NE(cpu.fMGetPushCpu(), nullptr);
    EXPECT_EQ(systemHooks().failAllocationAfter, 0) << "an allocation was tried";
}

TEST_F(CpuText, NextSampleStartsAnEmptyText) {
    CMM_CPU_Info cpu;
    sample(cpu, {{0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}});
    sample(cpu, {{5, 0, 0, 5, 0}, {5, 0, 0, 5, 0}, {5, 0, 0, 5, 0}});

    sample(cpu, {{10, 0, 0, 10, 0}});

    EXPECT_EQ(cpu.m_pStrCpuZEL, header + tableRow("CPUS", {"50.00", "50.00", "0.00", "0.00", "50.00"}));
    for (int i = static_cast<int>(std::strlen(cpu.m_pStrCpuZEL)); i < cpu.m_nCpuZELSize; ++i)
        ASSERT_EQ(cpu.m_pStrCpuZEL[i], '\0') << i;
}

TEST_F(CpuText, SettingSwitchedOnTooLateDoesNoHarm) {
    g_nCpuStrType = 0;
    CMM_CPU_Info cpu;
    g_nCpuStrType = 1;

    EXPECT_EQ(sample(cpu, zero), nullptr);
    EXPECT_NE(sample(cpu, {{5, 0, 0, 5, 0}}), nullptr);
    EXPECT_EQ(push(cpu, {{5, 0, 0, 5, 0}}), nullptr);
    EXPECT_EQ(cpu.fGetCpuINV(), -1);
}

TEST_F(CpuText, PushTextIsTheCodeAndTheTableOfTheMachineAlone) {
    CMM_CPU_Info cpu;

    // since boot: 10 + 20 + 30 + 120 + 20 = 200 ticks, five tenths each; no first sample is swallowed
    zel::CpuRow *rows = push(cpu, {{10, 20, 30, 120, 20}, {1, 1, 1, 1, 1}});

    ASSERT_EQ(rows, cpu.m_pnCPU);
    EXPECT_EQ(cpu.m_pRealTimeStrCpuZEL,
              "4.3.24.0" + F + header + tableRow("CPUS", {"40.00", "5.00", "15.00", "10.00", "60.00"}));
    EXPECT_EQ(cpu.m_nPushCpuCnt, 1);
    EXPECT_EQ(cpu.m_nCpuZELRealSize, 10240);
    EXPECT_FLOAT_EQ(cpu.fGetUtilization(), 40.0F);
    EXPECT_EQ(rows[1][zel::CPU_USER], 200U);
    EXPECT_EQ(cpu.m_nZELSkipChk, 0);
    EXPECT_STREQ(cpu.m_pStrCpuZEL, "");
}

TEST_F(CpuText, PushSharesTheCountersOfTheSample) {
    CMM_CPU_Info cpu;
    sample(cpu, {{100, 0, 0, 100, 0}, {100, 0, 0, 100, 0}});

    // 50 user and 150 idle since the sample
    zel::CpuRow *rows = push(cpu, {{150, 0, 0, 250, 0}, {120, 0, 0, 180, 0}});
    ASSERT_NE(rows, nullptr);
    EXPECT_EQ(cpu.m_pRealTimeStrCpuZEL,
              "4.3.24.0" + F + header + tableRow("CPUS", {"25.00", "25.00", "0.00", "0.00", "75.00"}));
    EXPECT_EQ(rows[1][zel::CPU_USER], 200U);

    // 30 user and 10 idle since the push
    ASSERT_NE(sample(cpu, {{180, 0, 0, 260, 0}, {120, 0, 0, 190, 0}}), nullptr);
    EXPECT_EQ(cpu.m_pStrCpuZEL, header + tableRow("CPUS", {"75.00", "75.00", "0.00", "0.00", "25.00"}) +
                                    tableRow("CPU1", {"0.00", "0.00", "0.00", "0.00", "100.00"}));
}

TEST_F(CpuText, PushGivesTheProcessorsOfItsSample) {
    CMM_CPU_Info cpu;

    push(cpu, {{1, 0, 0, 1, 0}, {1, 0, 0, 1, 0}, {1, 0, 0, 1, 0}});

    EXPECT_EQ(cpu.m_nNCpu, 2);
    EXPECT_EQ(cpu.fGetLogicalCpuCnt(), 2);
    EXPECT_EQ(cpu.fMGetCpuNext(), cpu.m_pnCPU[1]);
}

TEST_F(CpuText, PushWithoutTextBufferGivesNothingAndTakesNoSample) {
    g_nCpuStrType = 0;
    CMM_CPU_Info cpu;

    EXPECT_EQ(push(cpu, {{10, 20, 30, 120, 20}}), nullptr);

    EXPECT_EQ(cpu.m_nPushCpuCnt, 0);
    EXPECT_EQ(cpu.m_plOldCPU[0][zel::CPU_IDLE], 0U);
}

TEST_F(CpuText, PushFailsAsTheSampleDoes) {
    CMM_CPU_Info cpu;
    push(cpu, {{0, 0, 0, 1000, 0}});
    LogCapture log;

    EXPECT_EQ(push(cpu, {{300, 0, 0, 900, 0}}), nullptr);
    EXPECT_EQ(cpu.m_nPushCpuCnt, 0);
    m_host.write("proc/stat", "intr 5\n");
    EXPECT_EQ(cpu.fMGetPushCpu(), nullptr);
    m_host.remove("proc/stat");
    EXPECT_EQ(cpu.fMGetPushCpu(), nullptr);

    EXPECT_THAT(log.messages(),
                ElementsAre("total cpu idle value collect failed", "cpu read failed", "/proc/stat buff read failed"));
}

} // namespace

// Rates between two samples of a process, the clocks, and the previous samples.
#include "FrozenClock.h"
#include "MM_PROC_Info.h"
#include "ProcessHost.h"

#include <cmath>
#include <gtest/gtest.h>
#include <memory>

namespace {

// A process with 900 user and 300 system ticks and 5000 KB of I/O; it had 500, 200 and 3000 when the clock stood at
// 1000 hundredths.
struct Rates {
    std::unique_ptr<_ST_PROC> current = std::make_unique<_ST_PROC>();
    _ST_PROC_OLD_LIST old{42, 700, 500, 200, 3000.0, 1000.0, 0};
    CMM_PROC_Info collector;

    Rates() {
        current->l_nCTime = 1200;
        current->l_nUTime = 900;
        current->l_nSTime = 300;
        current->l_dIOByteCom = 5000.0;
    }
};

TEST(ProcessRates, ArePercentOfOneProcessorAndKilobytesPerSecond) {
    Rates rates;

    rates.collector.fMNewCompute(rates.current.get(), &rates.old, 1250.0); // 2.5 seconds

    EXPECT_FLOAT_EQ(rates.current->l_dPCPU, 200.0F) << "500 ticks in 250: two processors";
    EXPECT_DOUBLE_EQ(rates.current->l_dPUserCpu, 160.0) << "400 in 250";
    EXPECT_DOUBLE_EQ(rates.current->l_dPSysCpu, 40.0) << "100 in 250";
    EXPECT_DOUBLE_EQ(rates.current->l_dIOByte, 2000.0);
    EXPECT_DOUBLE_EQ(rates.current->l_dIOByteRate, 800.0) << "2000 KB in 2.5 seconds";
}

TEST(ProcessRates, CounterThatFellCountsWhole) {
    Rates rates;
    rates.current->l_nCTime = 50;
    rates.current->l_nUTime = 30;
    rates.current->l_nSTime = 20;

    rates.collector.fMNewCompute(rates.current.get(), &rates.old, 1100.0);

    EXPECT_FLOAT_EQ(rates.current->l_dPCPU, 50.0F);
    EXPECT_DOUBLE_EQ(rates.current->l_dPUserCpu, 30.0);
    EXPECT_DOUBLE_EQ(rates.current->l_dPSysCpu, 20.0);
}

TEST(ProcessRates, IoThatFellIsZero) {
    Rates rates;
    rates.current->l_dIOByteCom = 10.0;

    rates.collector.fMNewCompute(rates.current.get(), &rates.old, 1100.0);

    EXPECT_DOUBLE_EQ(rates.current->l_dIOByte, 0);
    EXPECT_DOUBLE_EQ(rates.current->l_dIOByteRate, 0);
}

TEST(ProcessRates, ClockThatWasSetBackGivesZeroRates) {
    Rates rates;

    rates.collector.fMNewCompute(rates.current.get(), &rates.old, 900.0);

    EXPECT_FLOAT_EQ(rates.current->l_dPCPU, 0);
    EXPECT_DOUBLE_EQ(rates.current->l_dPUserCpu, 0);
    EXPECT_DOUBLE_EQ(rates.current->l_dPSysCpu, 0);
    EXPECT_DOUBLE_EQ(rates.current->l_dIOByteRate, 0);
    EXPECT_DOUBLE_EQ(rates.current->l_dIOByte, 2000.0) << "the amount does not depend on the clock";
}

// Consumers would read "-0.00".
TEST(ProcessRates, ClockThatWasSetBackUnderUnchangedCountersGivesNoMinusZero) {
    const auto expectNoSign = [](const _ST_PROC &process) {
        EXPECT_FALSE(std::signbit(process.l_dPCPU));
        EXPECT_FALSE(std::signbit(process.l_dPUserCpu));
        EXPECT_FALSE(std::signbit(process.l_dPSysCpu));
        EXPECT_FALSE(std::signbit(process.l_dIOByte));
        EXPECT_FALSE(std::signbit(process.l_dIOByteRate));
    };
    Rates rates;
    rates.old = {42, 1200, 900, 300, 5000.0, 1000.0, 0};

    rates.collector.fMNewCompute(rates.current.get(), &rates.old, 900.0);
    expectNoSign(*rates.current);

    rates.collector.fMCompute(rates.current.get(), &rates.old, -100.0);
    expectNoSign(*rates.current);

    rates.collector.fMGetPCpu(rates.current.get(), rates.current.get(), -100.0);
    expectNoSign(*rates.current);
}

TEST(ProcessRates, NoTimeGivesZeroRates) {
    Rates rates;

    rates.collector.fMNewCompute(rates.current.get(), &rates.old, 1000.0);
    EXPECT_FLOAT_EQ(rates.current->l_dPCPU, 0);
    EXPECT_DOUBLE_EQ(rates.current->l_dIOByteRate, 0);
    EXPECT_DOUBLE_EQ(rates.current->l_dIOByte, 2000.0);

    rates.collector.fMCompute(rates.current.get(), &rates.old, 0.0);
    EXPECT_FLOAT_EQ(rates.current->l_dPCPU, 0);
    EXPECT_DOUBLE_EQ(rates.current->l_dPUserCpu, 0);
    EXPECT_DOUBLE_EQ(rates.current->l_dPSysCpu, 0);
    EXPECT_DOUBLE_EQ(rates.current->l_dIOByteRate, 0);
}

TEST(ProcessRates, CounterThatWrapsItsIntGoesOn) {
    Rates rates;
    rates.old.m_fOldCpuTime = 2147483647;
    rates.current->l_nCTime = -2147483647 - 1 + 99; // 100 ticks later

    rates.collector.fMNewCompute(rates.current.get(), &rates.old, 1200.0);

    EXPECT_FLOAT_EQ(rates.current->l_dPCPU, 50.0F);
}

// 1000.1 KB in 3 hundredths: 333.3666..., which single precision holds as 333.366668701171875.
TEST(ProcessRates, GivenElapsedTimeRoundsTheIoRateToSinglePrecision) {
    Rates rates;
    rates.current->l_dIOByteCom = 4000.1;

    rates.collector.fMCompute(rates.current.get(), &rates.old, 3.0);
    EXPECT_DOUBLE_EQ(rates.current->l_dIOByteRate, 33336.6668701171875);

    rates.collector.fMNewCompute(rates.current.get(), &rates.old, 1003.0);
    EXPECT_NEAR(rates.current->l_dIOByteRate, 33336.66666666667, 1e-8);
}

TEST(ProcessRates, GivenElapsedTimeComputesTheOthersAlike) {
    Rates rates;

    rates.collector.fMCompute(rates.current.get(), &rates.old, 250.0);

    EXPECT_FLOAT_EQ(rates.current->l_dPCPU, 200.0F);
    EXPECT_DOUBLE_EQ(rates.current->l_dPUserCpu, 160.0);
    EXPECT_DOUBLE_EQ(rates.current->l_dPSysCpu, 40.0);
    EXPECT_DOUBLE_EQ(rates.current->l_dIOByte, 2000.0);
    EXPECT_DOUBLE_EQ(rates.current->l_dIOByteRate, 800.0);
}

TEST(ProcessRates, CpuAloneComesFromTwoRecords) {
    Rates rates;
    auto previous = std::make_unique<_ST_PROC>();
    previous->l_nCTime = 1000;

    rates.collector.fMGetPCpu(rates.current.get(), previous.get(), 400.0);
    EXPECT_FLOAT_EQ(rates.current->l_dPCPU, 50.0F) << "200 ticks in 400";

    rates.collector.fMGetPCpu(rates.current.get(), nullptr, 400.0);
    EXPECT_FLOAT_EQ(rates.current->l_dPCPU, 300.0F) << "all 1200 ticks in 400";
}

TEST(OldSamples, AreErasedWhenTheyWereNotSeenSince) {
    ProcessHost host;
    FakeProcess process;
    for (process.pid = 10; process.pid < 15; ++process.pid)
        host.put(process);
    CMM_PROC_Info collector;
    ASSERT_NE(collector.fMGetProc(0), nullptr);
    ASSERT_EQ(collector.m_ProcMap.size(), 5U);

    host.remove(11);
    host.remove(14);
    ASSERT_NE(collector.fMGetProc(0), nullptr);
    EXPECT_EQ(collector.m_ProcMap.size(), 5U) << "a scan drops nothing by itself";

    collector.fProcMapUpdate();
    for (const auto &[pid, sample] : collector.m_ProcMap)
        EXPECT_EQ(sample->m_nDelFlag, 0);
    ASSERT_NE(collector.fMGetProc(0), nullptr);
    collector.fProcMapErase();

    EXPECT_EQ(collector.m_ProcMap.size(), 3U);
    EXPECT_FALSE(collector.m_ProcMap.contains(11));
    EXPECT_FALSE(collector.m_ProcMap.contains(14));
    EXPECT_EQ(collector.m_ProcMap.at(10)->m_nDelFlag, 1);
}

TEST(OldSamples, OfAKnownProcessAreReused) {
    ProcessHost host;
    FakeProcess process;
    process.pid = 10;
    host.put(process);
    CMM_PROC_Info collector;
    ASSERT_NE(collector.fMGetProc(0), nullptr);
    const _ST_PROC_OLD_LIST *sample = collector.m_ProcMap.at(10);

    ASSERT_NE(collector.fMGetProc(0), nullptr);

    EXPECT_EQ(collector.m_ProcMap.at(10), sample);
}

// The first scan never compares, also with a sample that an earlier reading left.
TEST(OldSamples, FirstScanReplacesWithoutComputing) {
    FrozenClock clock;
    ProcessHost host;
    FakeProcess process;
    process.pid = 10;
    process.utime = 100;
    host.put(process);
    CMM_PROC_Info collector;
    proc_s raw{};
    auto out = std::make_unique<_ST_PROC>();
    ASSERT_EQ(collector.fMReadProcTable(10, &raw, out.get(), 1, 0.0, 0), 1);
    const _ST_PROC_OLD_LIST *sample = collector.m_ProcMap.at(10);

    process.utime = 600;
    host.put(process);
    const ProcessTable table(collector.fMGetProc(0));

    EXPECT_EQ(collector.m_ProcMap.at(10), sample);
    EXPECT_EQ(sample->m_fOldCpuTime, 600);
    EXPECT_DOUBLE_EQ(sample->m_dCurTime, 170000000000.0);
}

} // namespace

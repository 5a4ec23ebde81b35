// VM counters in both layouts, their rates and the push text.
#include "MM_VM_Info.h"

#include "FrozenClock.h"
#include "HostFixture.h"
#include "Separators.h"
#include "Settings.h"
#include "SystemHooks.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using testing::Each;
using testing::ElementsAre;

struct NewCounters {
    long pgpgin = 0;
    long pgpgout = 0;
    long pswpin = 0;
    long pswpout = 0;
    long faults = 0;
    long majorFaults = 0;
    long switches = 0;
};

std::string vmstatText(const NewCounters &counters) {
    return "nr_free_pages 225718\nnr_dirty 21\npgpgin " + std::to_string(counters.pgpgin) + "\npgpgout " +
           std::to_string(counters.pgpgout) + "\npswpin " + std::to_string(counters.pswpin) + "\npswpout " +
           std::to_string(counters.pswpout) + "\npgalloc_dma 12\npgfault " + std::to_string(counters.faults) +
           "\npgmajfault " + std::to_string(counters.majorFaults) + "\npgrefill_dma 0\n";
}

std::string newStat(long switches) {
    return "cpu  1 2 3 4 5\nintr 100 1 2\nctxt " + std::to_string(switches) + "\nbtime 1711000123\n";
}

class VmSample : public testing::Test {
protected:
    VmSample() { m_host.write("proc/loadavg", "0.00 0.01 0.05 1/123 4567\n"); }

    double *sample(CMM_VM_Info &vm, const NewCounters &counters, double elapsed) const {
        m_host.write("proc/vmstat", vmstatText(counters));
        m_host.write("proc/stat", newStat(counters.switches));
        return vm.fMGetVmStat(elapsed);
    }

    HostFixture m_host;
};

// page, swap and ctxt of an older kernel
std::string oldStat(const std::string &page, const std::string &swap, const std::string &switches) {
    return "cpu  5000 100 2000 90000\npage " + page + "\nswap " + swap + "\nintr 250000 1 2\nctxt " + switches +
           "\nbtime 1041379200\n";
}

std::string processStat(const std::string &comm, const std::string &minorFaults, const std::string &majorFaults) {
    return "77 (" + comm + ") S 1 77 77 0 -1 256 " + minorFaults + " 2600 " + majorFaults +
           " 80 3 394 5 12 9 0 0 0 57 1417216 120 4294967295 134512640 0 0 0 0 0 0 0 0 0 0 0 0 0\n";
}

TEST_F(VmSample, FirstOneIsSwallowed) {
    CMM_VM_Info vm;

    EXPECT_EQ(sample(vm, {}, 1.0), nullptr);
    EXPECT_EQ(vm.m_nFirstFlag, 1);
    EXPECT_EQ(sample(vm, {}, 1.0), vm.m_pdVM);
}

// Over 4 seconds. Slots 12 and 13 count in steps of a page: (in / 4096) * 1024, and the same with other page sizes.
TEST_F(VmSample, CountersBecomeRatesPerSecond) {
    CMM_VM_Info vm;
    const long page = getpagesize();
    sample(vm, {10 * page, 20 * page, 100, 200, 5000, 50, 7000}, 4.0);

    const double *rates = sample(vm, {12 * page, 25 * page + page - 1, 140, 202, 5800, 90, 7001}, 4.0);

    ASSERT_NE(rates, nullptr);
    EXPECT_DOUBLE_EQ(rates[2], static_cast<double>(page) * 2 / 4);
    EXPECT_DOUBLE_EQ(rates[3], static_cast<double>(page * 6 - 1) / 4);
    EXPECT_DOUBLE_EQ(rates[4], 10.0);
    EXPECT_DOUBLE_EQ(rates[5], 0.5);
    EXPECT_DOUBLE_EQ(rates[7], 210.0); // 800 + 40 in four seconds
    EXPECT_DOUBLE_EQ(rates[9], 0.25);
    EXPECT_DOUBLE_EQ(rates[12], 512.0);  // 2 * 1024 / 4
    EXPECT_DOUBLE_EQ(rates[13], 1280.0); // 5 * 1024 / 4
    for (const int unused : {1, 6, 8, 10, 11})
        EXPECT_DOUBLE_EQ(rates[unused], 0.0) << unused;
}

TEST_F(VmSample, RunQueueIsNotARateAndLeavesOneTaskOut) {
    CMM_VM_Info vm;
    sample(vm, {}, 10.0);

    m_host.write("proc/loadavg", "0.00 0.01 0.05 2/123 4567\n");
    EXPECT_DOUBLE_EQ(sample(vm, {}, 10.0)[0], 1.0);
    m_host.write("proc/loadavg", "0.00 0.01 0.05 9/123 4567\n");
    EXPECT_DOUBLE_EQ(sample(vm, {}, 10.0)[0], 8.0);
    m_host.write("proc/loadavg", "0.00 0.01 0.05 0/123 4567\n");
    EXPECT_DOUBLE_EQ(sample(vm, {}, 10.0)[0], 0.0);
}

TEST_F(VmSample, CounterThatWentBackOrDidNotMoveGivesZero) {
    CMM_VM_Info vm;
    sample(vm, {100, 100, 100, 100, 100, 100, 100}, 1.0);

    const double *rates = sample(vm, {100, 50, 99, 0, 100, 100, 101}, 1.0);

    ASSERT_NE(rates, nullptr);
    for (const int still : {2, 3, 4, 5, 7})
        EXPECT_DOUBLE_EQ(rates[still], 0.0) << still;
    EXPECT_DOUBLE_EQ(rates[9], 1.0);
}

// Deltas are integers of 32 bits: one that does not fit comes out negative.
TEST_F(VmSample, GrowthBeyondAnIntegerGivesZero) {
    CMM_VM_Info vm;
    sample(vm, {}, 1.0);

    const double *rates = sample(vm, {0, 0, 0, 0, 0, 0, 3000000000}, 1.0);

    EXPECT_DOUBLE_EQ(rates[9], 0.0);
}

TEST_F(VmSample, NegativeCountersHaveNoPageCount) {
    CMM_VM_Info vm;
    long counters[14] = {};
    m_host.write("proc/vmstat", vmstatText({-8192000, 5, 0, 0, 0, 0, 0}));
    m_host.write("proc/stat", newStat(1));

    EXPECT_EQ(vm.fMGetStat(counters), 1);

    EXPECT_EQ(counters[2], -8192000);
    EXPECT_EQ(counters[12], 0);
    EXPECT_EQ(counters[13], 0);
}

// The clock was set back.
TEST_F(VmSample, OverNegativeTimeEveryRateIsZero) {
    CMM_VM_Info vm;
    sample(vm, {}, 1.0);

    const double *rates = sample(vm, {100, 50, 99, 0, 100, 100, 101}, -5.0);

    ASSERT_NE(rates, nullptr);
    for (int slot = 1; slot < VM_SLOTS; ++slot) {
        EXPECT_DOUBLE_EQ(rates[slot], 0.0) << slot;
        EXPECT_FALSE(std::signbit(rates[slot])) << slot;
    }
}

TEST_F(VmSample, WithoutElapsedTimeARateIsInfinite) {
    CMM_VM_Info vm;
    sample(vm, {}, 0.0);

    const double *rates = sample(vm, {0, 0, 0, 0, 0, 0, 5}, 0.0);

    EXPECT_EQ(rates[9], std::numeric_limits<double>::infinity());
    EXPECT_DOUBLE_EQ(rates[7], 0.0);
}

TEST_F(VmSample, EveryMissingFileFailsAndKeepsThePreviousCounters) {
    CMM_VM_Info vm;
    sample(vm, {0, 0, 0, 0, 0, 0, 1000}, 1.0);
    for (const char *file : {"proc/stat", "proc/vmstat", "proc/loadavg"}) {
        m_host.write("proc/vmstat", vmstatText({0, 0, 0, 0, 0, 0, 0}));
        m_host.write("proc/stat", newStat(9999));
        m_host.write("proc/loadavg", "0.00 0.01 0.05 1/123 4567\n");
        m_host.remove(file);
        EXPECT_EQ(vm.fMGetVmStat(1.0), nullptr) << file;
    }

    m_host.write("proc/loadavg", "0.00 0.01 0.05 1/123 4567\n");
    const double *rates = sample(vm, {0, 0, 0, 0, 0, 0, 1500}, 1.0);
    ASSERT_NE(rates, nullptr);
    EXPECT_DOUBLE_EQ(rates[9], 500.0);
}

TEST_F(VmSample, EveryMissingKeyFails) {
    CMM_VM_Info vm;
    long counters[14] = {};
    for (const char *key : {"pgpgin ", "pgpgout ", "pswpin ", "pswpout ", "pgfault ", "pgmajfault "}) {
        std::string vmstat = vmstatText({1, 2, 3, 4, 5, 6, 7});
        vmstat.replace(vmstat.find(std::string("\n") + key) + 1, 2, "xx");
        m_host.write("proc/vmstat", vmstat);
        m_host.write("proc/stat", newStat(7));
        EXPECT_EQ(vm.fMGetStat(counters), 0) << key;
        EXPECT_EQ(vm.fMGetStat_k2_6(counters), 0) << key;
    }
    m_host.write("proc/vmstat", vmstatText({1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(vm.fMGetStat(counters), 1);
    EXPECT_EQ(vm.fMGetStat_k2_6(counters), 1);
    m_host.write("proc/stat", "cpu  1 2 3 4 5\nbtime 5\n");
    EXPECT_EQ(vm.fMGetStat(counters), 0);
    EXPECT_EQ(vm.fMGetStat_k2_6(counters), 0);
}

TEST_F(VmSample, VmstatKeysBeyondTheFirst8191BytesCountAsMissing) {
    CMM_VM_Info vm;
    long counters[14] = {};
    const std::string vmstat = vmstatText({1, 2, 3, 4, 5, 6, 7});
    m_host.write("proc/stat", newStat(7));

    m_host.write("proc/vmstat", std::string(8191 - vmstat.size(), '\n') + vmstat);
    EXPECT_EQ(vm.fMGetStat(counters), 1);
    m_host.write("proc/vmstat", std::string(8191, '\n') + vmstat);
    EXPECT_EQ(vm.fMGetStat(counters), 0);
}

TEST_F(VmSample, SwitchesAreFoundBeyondTheFirst64Kilobytes) {
    CMM_VM_Info vm;
    long counters[14] = {};
    m_host.write("proc/vmstat", vmstatText({}));
    for (const std::size_t filler : {65500U, 65520U, 65530U, 65535U, 70000U, 300000U}) {
        m_host.write("proc/stat", "intr " + std::string(filler, '1') + "\nctxt 424242\nbtime 7\n");
        counters[9] = 0;
        EXPECT_EQ(vm.fMGetStat(counters), 1) << filler;
        EXPECT_EQ(counters[9], 424242) << filler;
    }
    CMM_VM_Info withoutMemory;
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(withoutMemory.fMGetStat(counters), 0);
}

TEST_F(VmSample, FileWithoutEndIsGivenUp) {
    CMM_VM_Info vm;
    long counters[14] = {};
    m_host.write("proc/vmstat", vmstatText({}));
    m_host.write("proc/stat", std::string(17 * 1024 * 1024, '1'));

    EXPECT_EQ(vm.fMGetStat(counters), 0);
}

// The older layout: pages of the "page " line count as they are and, in slots 2 and 3, as kilobytes.
TEST_F(VmSample, OlderLayoutIsReadFromStatAndTheProcesses) {
    CMM_VM_Info vm;
    long counters[14] = {};
    m_host.write("proc/stat", oldStat("1000 2000", "10 20", "30000"));
    m_host.write("proc/1/stat", processStat("init", "100", "50"));
    m_host.write("proc/77/stat", processStat("syslogd", "1000", "5"));
    m_host.write("proc/vmstat", "never read");

    EXPECT_EQ(vm.fMGetStat(counters), 1);

    const long kilobytesPerPage = getpagesize() / 1024;
    EXPECT_THAT(counters, ElementsAre(0, 0, 1000 * kilobytesPerPage, 2000 * kilobytesPerPage, 10, 20, 0, 1155, 0, 30000,
                                      0, 0, 1000, 2000));
}

TEST_F(VmSample, BasePrefixesAreAcceptedInThePageLineAlone) {
    CMM_VM_Info vm;
    long counters[14] = {};
    m_host.write("proc/stat", oldStat("0x10 010", "010 0x10", "010"));

    EXPECT_EQ(vm.fMGetStat(counters), 1);

    EXPECT_EQ(counters[12], 16);
    EXPECT_EQ(counters[13], 8);
    EXPECT_EQ(counters[4], 10);
    EXPECT_EQ(counters[5], 0);
    EXPECT_EQ(counters[9], 10);
}

TEST_F(VmSample, OlderLayoutWithoutSwapOrSwitchesFails) {
    CMM_VM_Info vm;
    long counters[14] = {};

    m_host.write("proc/stat", "page 1 2\nctxt 5\n");
    EXPECT_EQ(vm.fMGetStat(counters), 0);
    m_host.write("proc/stat", "page 1 2\nswap 1 2\n");
    EXPECT_EQ(vm.fMGetStat(counters), 0);
    m_host.write("proc/stat", "page 1 2\nswap 1 2\nctxt 5\n");
    EXPECT_EQ(vm.fMGetStat(counters), 1);
}

TEST_F(VmSample, NewerLayoutDoesNotWalkTheProcesses) {
    CMM_VM_Info vm;
    m_host.write("proc/77/stat", processStat("busy", "1000000", "1000000"));
    sample(vm, {}, 1.0);

    const double *rates = sample(vm, {0, 0, 0, 0, 7, 3, 0}, 1.0);

    EXPECT_DOUBLE_EQ(rates[7], 10.0);
}

TEST_F(VmSample, FaultsOfProcessesThatCannotBeReadAreLeftOut) {
    CMM_VM_Info vm;
    m_host.write("proc/1/stat", processStat("init", "100", "50"));
    m_host.write("proc/2/stat", "");
    m_host.write("proc/3/stat", "3 (short) S 1 3 3 0 -1 256 400");
    m_host.write("proc/4/stat", processStat("two words", "1000", "1000"));
    m_host.write("proc/5/status", "no stat file");
    m_host.write("proc/6file", "not a directory");
    m_host.write("proc/self/stat", processStat("no number", "1000", "1000"));
    m_host.write("proc/7x/stat", processStat("digit", "3", "4"));
    long counters[14] = {};
    counters[7] = 1;

    EXPECT_EQ(vm.fMGetPageFault(counters), 1);

    // 1 from before, 150 of init, 7 of the entry whose name begins with a digit
    EXPECT_EQ(counters[7], 158);
}

TEST_F(VmSample, WithoutAProcessDirectoryTheWalkFails) {
    CMM_VM_Info vm;
    long counters[14] = {};
    m_host.remove("proc");

    EXPECT_EQ(vm.fMGetPageFault(counters), 0);
}

TEST_F(VmSample, FaultsThatOverflowWrap) {
    CMM_VM_Info vm;
    long counters[14] = {};
    m_host.write("proc/1/stat", processStat("a", "9223372036854775807", "9223372036854775807"));

    EXPECT_EQ(vm.fMGetPageFault(counters), 1);

    EXPECT_EQ(counters[7], -2);
}

TEST_F(VmSample, RunQueueAloneIsAnInteger) {
    CMM_VM_Info vm;

    m_host.write("proc/loadavg", "12.34 5.67 0.89 3/456 7890\n");
    EXPECT_EQ(vm.fMGetVelmorRunque(), 2);
    m_host.write("proc/loadavg", "12.34 5.67 0.89 0/456 7890\n");
    EXPECT_EQ(vm.fMGetVelmorRunque(), 0);
    m_host.write("proc/loadavg", "12.34 5.67 0.89 -3/456 7890\n");
    EXPECT_EQ(vm.fMGetVelmorRunque(), 0);
    for (const char *text : {"", "12.34 5.67 0.89", "12.34 5.67 0.89 3", "12 5 0 3/4 5", "garbage"}) {
        m_host.write("proc/loadavg", text);
        EXPECT_EQ(vm.fMGetVelmorRunque(), 0) << text;
        long counters[14] = {};
        EXPECT_EQ(vm.fMGetRunque(counters), 0) << text;
    }
    m_host.remove("proc/loadavg");
    EXPECT_EQ(vm.fMGetVelmorRunque(), 0);
}

class VmPush : public VmSample {
protected:
    VmPush() { g_ptrAgentKey = m_key; }

    double *push(CMM_VM_Info &vm, const NewCounters &counters, int flag) const {
        m_host.write("proc/vmstat", vmstatText(counters));
        m_host.write("proc/stat", newStat(counters.switches));
        return vm.fMVelmorGetPage(flag);
    }

    char m_key[16] = "agent_key";
    FrozenClock m_clock;
};

TEST_F(VmPush, TextHoldsSixMetricsAfterTheKey) {
    CMM_VM_Info vm;
    const long page = getpagesize();
    m_clock.advance(2);
    EXPECT_EQ(push(vm, {0, 0, 0, 0, 0, 0, 0}, 1), nullptr);
    EXPECT_STREQ(vm.m_pStrRealTimePageZEL, "");
    m_clock.advance(2, 500000);

    // over 2.5 seconds
    EXPECT_EQ(push(vm, {10 * page, 30 * page, 9, 9, 40, 10, 1000}, 1), vm.m_pdVM);

    char in[32];
    char out[32];
    std::snprintf(in, sizeof(in), "%ld.00", 4 * page);    // 10 / 2.5
    std::snprintf(out, sizeof(out), "%ld.00", 12 * page); // 30 / 2.5
    EXPECT_EQ(vm.m_pStrRealTimePageZEL, "agent_key" + M + "4.9.1.0" + F + in + F + M + "4.9.2.0" + F + out + F + M +
                                            "4.9.5.0" + F + "20.00" + F + M + "4.9.6.0" + F + "400.00" + F + M +
                                            "4.9.11.0" + F + "4096.00" + F + M + "4.9.12.0" + F + "12288.00" + F);
    EXPECT_EQ(vm.m_nPageRealZELSize, 512);
}

TEST_F(VmPush, ClockStartsWithTheCollector) {
    CMM_VM_Info vm;

    m_clock.advance(3, 250000);
    EXPECT_DOUBLE_EQ(vm.fSetElapsedTime(), 3.25);
    EXPECT_DOUBLE_EQ(vm.m_dElapsedTime, 3.25);
    EXPECT_EQ(vm.m_stOldIoTime.tv_sec, 1700000003);
    EXPECT_EQ(vm.m_stOldIoTime.tv_usec, 250000);
    m_clock.advance(1);
    EXPECT_DOUBLE_EQ(vm.fSetElapsedTime(), 1.0);
}

TEST_F(VmPush, WithoutTheFlagTheTextStaysAsItWas) {
    CMM_VM_Info vm;
    push(vm, {}, 1);
    m_clock.advance(1);
    push(vm, {0, 0, 0, 0, 5, 0, 0}, 1);
    const std::string text = vm.m_pStrRealTimePageZEL;
    m_clock.advance(1);

    EXPECT_EQ(push(vm, {0, 0, 0, 0, 25, 0, 0}, 0), vm.m_pdVM);
    EXPECT_EQ(vm.m_pStrRealTimePageZEL, text);
    EXPECT_DOUBLE_EQ(vm.m_pdVM[7], 20.0);

    m_clock.advance(1);
    push(vm, {0, 0, 0, 0, 35, 0, 0}, 2);
    EXPECT_THAT(std::string(vm.m_pStrRealTimePageZEL), testing::HasSubstr("4.9.5.0" + F + "10.00"));
}

TEST_F(VmPush, FailedSampleLeavesTheTextAsItWas) {
    CMM_VM_Info vm;
    push(vm, {}, 1);
    m_clock.advance(1);
    push(vm, {0, 0, 0, 0, 5, 0, 0}, 1);
    const std::string text = vm.m_pStrRealTimePageZEL;
    m_host.remove("proc/loadavg");

    EXPECT_EQ(push(vm, {}, 1), nullptr);

    EXPECT_EQ(vm.m_pStrRealTimePageZEL, text);
}

TEST_F(VmPush, SteadyStateAllocatesNothing) {
    CMM_VM_Info vm;
    push(vm, {}, 1);

    systemHooks().failAllocationAfter = 0;
    EXPECT_NE(push(vm, {0, 0, 0, 0, 5, 0, 0}, 1), nullptr);
    EXPECT_EQ(systemHooks().failAllocationAfter, 0) << "an allocation was tried";
}

TEST_F(VmPush, NeverExceedsItsBuffer) {
    std::string longKey(500, 'k');
    g_ptrAgentKey = longKey.data();
    CMM_VM_Info vm;
    push(vm, {}, 1);
    push(vm, {}, 1);

    EXPECT_EQ(vm.m_pStrRealTimePageZEL, longKey);
    EXPECT_EQ(vm.m_nPageRealZELSize, 512);
}

TEST_F(VmPush, MembersHaveTheirOrder) {
    CMM_VM_Info vm;
    const std::vector<const void *> members = {&vm.m_pclUtil,      &vm.m_nFirstFlag,       &vm.m_pdVM,
                                               &vm.m_pdPAGE_AVG,   &vm.m_plOldVM,          &vm.m_pStrRealTimePageZEL,
                                               &vm.m_nGatherCount, &vm.m_nPageRealZELSize, &vm.m_dElapsedTime,
                                               &vm.m_stOldIoTime,  &vm.m_strPushSplit};

    EXPECT_TRUE(std::is_sorted(members.begin(), members.end(), std::less<>()));
    EXPECT_EQ(sizeof(vm.m_pdVM), 14U * sizeof(double));
    EXPECT_EQ(sizeof(vm.m_pdPAGE_AVG), 14U * sizeof(double));
    EXPECT_EQ(sizeof(vm.m_plOldVM), 14U * sizeof(long));
}

TEST_F(VmPush, ConstructionMakesAnEmptyTextAndTheSeparators) {
    CMM_VM_Info vm;

    EXPECT_EQ(vm.m_nFirstFlag, 0);
    EXPECT_NE(vm.m_pclUtil, nullptr);
    for (int i = 0; i < 512; ++i)
        ASSERT_EQ(vm.m_pStrRealTimePageZEL[i], '\0');
    EXPECT_STREQ(vm.m_strPushSplit[0], "\x03\x1F]");
    EXPECT_STREQ(vm.m_strPushSplit[1], "\x03\x1F^");
    EXPECT_THAT(vm.m_plOldVM, Each(0));
    EXPECT_THAT(vm.m_pdPAGE_AVG, Each(0.0));
}

} // namespace

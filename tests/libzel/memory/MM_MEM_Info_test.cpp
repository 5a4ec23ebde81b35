// Memory, swap and memory modules.
#include "MM_MEM_Info.h"

#include "HostFixture.h"
#include "ScratchHome.h"
#include "Separators.h"
#include "Settings.h"
#include "SystemHooks.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

std::string line(const char *key, const std::string &value) {
    return std::string(key) + "  " + value + " kB\n";
}

constexpr const char *plainMeminfo = "MemTotal:       16000000 kB\n"
                                     "MemFree:         4000000 kB\n"
                                     "MemAvailable:   11000000 kB\n"
                                     "Buffers:          500000 kB\n"
                                     "Cached:          6000000 kB\n"
                                     "SwapCached:           77 kB\n"
                                     "Active(file):    3200000 kB\n"
                                     "Inactive(file):  2800000 kB\n"
                                     "SwapTotal:       8000000 kB\n"
                                     "SwapFree:        7000000 kB\n"
                                     "SReclaimable:     700000 kB\n";

std::string without(const std::string &text, const std::string &key) {
    const std::size_t start = text.find("\n" + key) + 1;
    return key == "MemTotal:" ? text.substr(text.find('\n') + 1)
                              : text.substr(0, start) + text.substr(text.find('\n', start) + 1);
}

class MemoryReading : public testing::Test {
protected:
    unsigned long long *read(CMM_MEM_Info &memory, const std::string &meminfo) const {
        m_host.write("proc/meminfo", meminfo);
        return memory.fMGetMem();
    }

    HostFixture m_host;
};

// free 4000000 + 500000 + 6000000, used 16000000 - 10500000
TEST_F(MemoryReading, FreeCountsBuffersAndCacheByDefault) {
    CMM_MEM_Info memory;

    const unsigned long long *values = read(memory, plainMeminfo);

    ASSERT_EQ(values, memory.m_pulMEM);
    EXPECT_THAT(memory.m_pulMEM, ElementsAre(16000000, 5500000, 10500000, 500000, 6000000, 700000, 11000000));
    EXPECT_EQ(memory.fMGetTotMem(), 16000000U);
    EXPECT_EQ(memory.fMGetUsdMem(), 5500000U);
    EXPECT_EQ(memory.fMGetFreMem(), 10500000U);
}

TEST_F(MemoryReading, FlagChoosesWhatCountsAsFree) {
    const struct {
        int flag;
        unsigned long long free;
        unsigned long long cache;
    } cases[] = {{0, 0, 6000000},      {1, 4000000, 6000000}, {2, 500000, 6000000},   {4, 6000000, 6000000},
                 {8, 700000, 6700000}, {3, 4500000, 6000000}, {7, 10500000, 6000000}, {15, 11200000, 6700000}};
    for (const auto &expected : cases) {
        CMM_MEM_Info memory;
        memory.fSetMemFreeFlag(expected.flag);
        EXPECT_EQ(memory.m_nMemFreeFlag, expected.flag);

        ASSERT_NE(read(memory, plainMeminfo), nullptr);

        EXPECT_EQ(memory.fMGetFreMem(), expected.free) << expected.flag;
        EXPECT_EQ(memory.fMGetUsdMem(), 16000000 - expected.free) << expected.flag;
        EXPECT_EQ(memory.m_pulMEM[4], expected.cache) << expected.flag;
        EXPECT_EQ(memory.m_pulMEM[5], 700000U) << expected.flag;
        EXPECT_EQ(memory.m_pulMEM[6], 11000000U) << expected.flag;
    }
}

TEST_F(MemoryReading, MoreFreeThanTotalWraps) {
    CMM_MEM_Info memory;

    read(memory, line("MemTotal:", "100") + line("MemFree:", "90") + line("Buffers:", "10") + line("Cached:", "1"));

    EXPECT_EQ(memory.fMGetFreMem(), 101U);
    EXPECT_EQ(memory.fMGetUsdMem(), 18446744073709551615ULL);
}

TEST_F(MemoryReading, EveryMandatoryKeyThatIsMissingFails) {
    CMM_MEM_Info memory;
    for (const char *key : {"MemTotal:", "MemFree:", "Buffers:"})
        EXPECT_EQ(read(memory, without(plainMeminfo, key)), nullptr) << key;
    // Without "Cached:" the search would find "SwapCached:".
    EXPECT_EQ(read(memory, without(without(plainMeminfo, "Cached:"), "SwapCached:")), nullptr);
    EXPECT_NE(read(memory, without(plainMeminfo, "SReclaimable:")), nullptr);
    EXPECT_EQ(memory.m_pulMEM[5], 0U);
}

TEST_F(MemoryReading, UnreadableFileFailsAndKeepsTheLastReading) {
    CMM_MEM_Info memory;
    read(memory, plainMeminfo);

    EXPECT_EQ(read(memory, ""), nullptr);
    m_host.remove("proc/meminfo");
    EXPECT_EQ(memory.fMGetMem(), nullptr);

    EXPECT_EQ(memory.fMGetTotMem(), 16000000U);
}

TEST_F(MemoryReading, KeyBeyondTheFirst4095BytesCountsAsMissing) {
    CMM_MEM_Info memory;
    const std::string keys = line("MemTotal:", "100") + line("MemFree:", "40") + line("Buffers:", "10");

    EXPECT_NE(read(memory, keys + std::string(3900, '\n') + line("Cached:", "5")), nullptr);
    EXPECT_EQ(read(memory, keys + std::string(4095, '\n') + line("Cached:", "5")), nullptr);
}

// min_free_kbytes 4096: low watermark 4096 * 5 / 4 = 5120. Page cache 2800000 + 3200000 = 6000000, less 5120. Slab
// 700000, less 5120. 4000000 - 5120 + 5994880 + 694880 = 10684640.
TEST_F(MemoryReading, AvailableIsEstimatedWhenTheKernelDoesNotTellIt) {
    CMM_MEM_Info memory;
    m_host.write("proc/sys/vm/min_free_kbytes", "4096\n");

    ASSERT_NE(read(memory, without(plainMeminfo, "MemAvailable:")), nullptr);

    EXPECT_EQ(memory.m_pulMEM[6], 10684640U);
}

// Half of a small cache is all that is held back: 8000 - 4000 and 600 - 300, so 4000000 - 5120 + 4000 + 300.
TEST_F(MemoryReading, EstimateHoldsBackAtMostHalfOfACache) {
    CMM_MEM_Info memory;
    m_host.write("proc/sys/vm/min_free_kbytes", "4096\n");

    read(memory, line("MemTotal:", "16000000") + line("MemFree:", "4000000") + line("Buffers:", "1") +
                     line("Cached:", "2") + line("Active(file):", "5000") + line("Inactive(file):", "3000") +
                     line("SReclaimable:", "600"));

    EXPECT_EQ(memory.m_pulMEM[6], 3999180U);
}

TEST_F(MemoryReading, EstimateWithoutSlabHasNoSlabTerm) {
    CMM_MEM_Info memory;
    m_host.write("proc/sys/vm/min_free_kbytes", "4096\n");

    read(memory, without(without(plainMeminfo, "MemAvailable:"), "SReclaimable:"));

    EXPECT_EQ(memory.m_pulMEM[6], 9989760U); // 4000000 - 5120 + 5994880
}

// Without bit 1 the free memory counts as nothing: 5994880 + 694880 - 5120; and without any cache it wraps.
TEST_F(MemoryReading, EstimateTakesFreeMemoryOnlyWhenItCountsAsFree) {
    CMM_MEM_Info memory;
    memory.fSetMemFreeFlag(6);
    m_host.write("proc/sys/vm/min_free_kbytes", "4096\n");

    read(memory, without(plainMeminfo, "MemAvailable:"));
    EXPECT_EQ(memory.m_pulMEM[6], 6684640U);

    read(memory, line("MemTotal:", "9") + line("MemFree:", "5") + line("Buffers:", "1") + line("Cached:", "2") +
                     line("Active(file):", "0") + line("Inactive(file):", "0"));
    EXPECT_EQ(memory.m_pulMEM[6], 18446744073709546496ULL); // 2^64 - 5120
}

TEST_F(MemoryReading, EstimateThatCannotBeMadeGivesASentinel) {
    CMM_MEM_Info memory;
    const std::string meminfo = without(plainMeminfo, "MemAvailable:");

    ASSERT_NE(read(memory, meminfo), nullptr);
    EXPECT_EQ(memory.m_pulMEM[6], 888888888U) << "no min_free_kbytes";

    m_host.write("proc/sys/vm/min_free_kbytes", "4096\n");
    for (const char *key : {"Active(file):", "Inactive(file):"}) {
        ASSERT_NE(read(memory, without(meminfo, key)), nullptr);
        EXPECT_EQ(memory.m_pulMEM[6], 888888888U) << key;
    }
}

TEST_F(MemoryReading, AvailableThatIsCutOffIsEstimated) {
    CMM_MEM_Info memory;
    m_host.write("proc/sys/vm/min_free_kbytes", "4096\n");

    ASSERT_NE(read(memory, without(plainMeminfo, "MemAvailable:") + "MemAvailable:"), nullptr);

    EXPECT_EQ(memory.m_pulMEM[6], 10684640U);
}

TEST_F(MemoryReading, MinimumFreeIsADecimalNumber) {
    CMM_MEM_Info memory;
    unsigned long long value = 7;

    m_host.write("proc/sys/vm/min_free_kbytes", "67584\n");
    EXPECT_EQ(memory.fMGetMinFreePara(&value), 0);
    EXPECT_EQ(value, 67584U);
    m_host.write("proc/sys/vm/min_free_kbytes", "18446744073709551615");
    EXPECT_EQ(memory.fMGetMinFreePara(&value), 0);
    EXPECT_EQ(value, 18446744073709551615ULL);
    m_host.write("proc/sys/vm/min_free_kbytes", "5\nlower case in the next line\n");
    EXPECT_EQ(memory.fMGetMinFreePara(&value), 0);
    EXPECT_EQ(value, 5U);
}

TEST_F(MemoryReading, MinimumFreeWithoutANumberIsRefused) {
    CMM_MEM_Info memory;
    unsigned long long value = 7;

    EXPECT_EQ(memory.fMGetMinFreePara(&value), -1);
    for (const char *text : {"", "\n", "67584 kb\n", "none\n", "z"}) {
        m_host.write("proc/sys/vm/min_free_kbytes", text);
        EXPECT_EQ(memory.fMGetMinFreePara(&value), -1) << text;
    }
    EXPECT_EQ(value, 7U);
}

TEST_F(MemoryReading, MinimumIsTheSmallerValue) {
    CMM_MEM_Info memory;

    EXPECT_EQ(memory.fMGetMin(1, 2), 1U);
    EXPECT_EQ(memory.fMGetMin(2, 1), 1U);
    EXPECT_EQ(memory.fMGetMin(18446744073709551615ULL, 3), 3U);
    EXPECT_EQ(memory.fMGetMin(4, 4), 4U);
}

class SwapReading : public MemoryReading {
protected:
    SwapReading() {
        m_host.write("proc/meminfo", plainMeminfo);
        m_host.write("proc/stat", "cpu  1 2 3 4 5\nctxt 6\n");
        m_host.write("proc/vmstat", "nr_dirty 1\npswpin 1500\npswpout 35000\npgfault 7\n");
    }
};

TEST_F(SwapReading, OfANewerKernelComesFromMeminfoAndVmstat) {
    CMM_MEM_Info memory;

    EXPECT_EQ(memory.fMGetSwap(), memory.m_pulSWP);

    EXPECT_THAT(memory.m_pulSWP, ElementsAre(8000000, 1000000, 7000000, 1500, 35000));
    EXPECT_EQ(memory.fMGetTotSwap(), 8000000U);
    EXPECT_EQ(memory.fMGetUsdSwap(), 1000000U);
    EXPECT_EQ(memory.fMGetFreSwap(), 7000000U);
}

TEST_F(SwapReading, NewerLayoutCanBeAskedForDirectly) {
    CMM_MEM_Info memory;
    m_host.remove("proc/stat");

    EXPECT_EQ(memory.fMGetSwap(), nullptr);
    EXPECT_EQ(memory.fMGetSwap_k2_6(), memory.m_pulSWP);
    EXPECT_THAT(memory.m_pulSWP, ElementsAre(8000000, 1000000, 7000000, 1500, 35000));
}

TEST_F(SwapReading, EveryMissingFileOrKeyFails) {
    CMM_MEM_Info memory;
    for (const char *key : {"SwapTotal:", "SwapFree:"}) {
        m_host.write("proc/meminfo", without(plainMeminfo, key));
        EXPECT_EQ(memory.fMGetSwap(), nullptr) << key;
        EXPECT_EQ(memory.fMGetSwap_k2_6(), nullptr) << key;
    }
    m_host.write("proc/meminfo", plainMeminfo);
    for (const char *text : {"", "pswpin 1\n", "pswpout 1\n"}) {
        m_host.write("proc/vmstat", text);
        EXPECT_EQ(memory.fMGetSwap(), nullptr) << text;
        EXPECT_EQ(memory.fMGetSwap_k2_6(), nullptr) << text;
    }
    m_host.remove("proc/vmstat");
    EXPECT_EQ(memory.fMGetSwap(), nullptr);
    m_host.write("proc/vmstat", "pswpin 1\npswpout 2\n");
    m_host.write("proc/stat", "");
    EXPECT_EQ(memory.fMGetSwap(), nullptr);
    m_host.write("proc/stat", "cpu  1 2 3 4\n");
    EXPECT_NE(memory.fMGetSwap(), nullptr);
    m_host.remove("proc/meminfo");
    EXPECT_EQ(memory.fMGetSwap(), nullptr);
    EXPECT_EQ(memory.fMGetSwap_k2_6(), nullptr);
}

// Bytes of the summary line become kilobytes: 2146787328 / 1024 = 2096472, 8388608 / 1024 = 8192, 1023 / 1024 = 0.
TEST_F(SwapReading, OfAnOlderKernelComesFromTheSummaryLine) {
    CMM_MEM_Info memory;
    m_host.write("proc/meminfo", "        total:    used:    free:\nMem:  1055203328 1039011840 16191488\n"
                                 "Swap: 2146787328  8388608 1023\nMemTotal: 1030472 kB\nSwapTotal: 5 kB\n");
    m_host.write("proc/stat", "cpu  1 2 3 4\npage 1000 2000\nswap 10 20\nctxt 5\n");

    EXPECT_EQ(memory.fMGetSwap(), memory.m_pulSWP);

    EXPECT_THAT(memory.m_pulSWP, ElementsAre(2096472, 8192, 0, 10, 20));
}

TEST_F(SwapReading, SummaryLineWithoutSwapCountersIsTheNewerLayout) {
    CMM_MEM_Info memory;
    m_host.write("proc/meminfo", std::string("Swap: 1024 1024 1024\n") + plainMeminfo);

    EXPECT_EQ(memory.fMGetSwap(), memory.m_pulSWP);

    EXPECT_THAT(memory.m_pulSWP, ElementsAre(8000000, 1000000, 7000000, 1500, 35000));
}

TEST_F(SwapReading, SummaryLineThatIsCutOffFails) {
    CMM_MEM_Info memory;
    m_host.write("proc/stat", "swap 10 20\n");
    m_host.write("proc/meminfo", "MemTotal: 5 kB\nSwap:");
    EXPECT_EQ(memory.fMGetSwap(), nullptr);

    m_host.write("proc/meminfo", "Swap: 1024 1024 1024\n");
    EXPECT_NE(memory.fMGetSwap(), nullptr);
    m_host.write("proc/stat", "swap");
    EXPECT_EQ(memory.fMGetSwap(), nullptr);
}

// Every file of a swap reading is cut at 4095 bytes: the older layout without its page counts is the newer one.
TEST_F(SwapReading, KeyBeyondTheFirst4095BytesCountsAsMissing) {
    CMM_MEM_Info memory;
    m_host.write("proc/meminfo", std::string("Swap: 1024 1024 1024\n") + plainMeminfo);
    m_host.write("proc/stat", "cpu  1 2 3 4\n" + std::string(4095, '\n') + "swap 10 20\n");
    EXPECT_EQ(memory.fMGetSwap(), memory.m_pulSWP);
    EXPECT_THAT(memory.m_pulSWP, ElementsAre(8000000, 1000000, 7000000, 1500, 35000));

    m_host.write("proc/vmstat", std::string(4000, '\n') + "pswpin 1\npswpout 2\n");
    EXPECT_NE(memory.fMGetSwap(), nullptr);
    m_host.write("proc/vmstat", std::string(4095, '\n') + "pswpin 1\npswpout 2\n");
    EXPECT_EQ(memory.fMGetSwap(), nullptr);
    m_host.write("proc/vmstat", "pswpin 1\npswpout 2\n");
    m_host.write("proc/meminfo", std::string(4095, '\n') + plainMeminfo);
    EXPECT_EQ(memory.fMGetSwap(), nullptr);
}

class MemoryModules : public testing::Test {
protected:
    MemoryModules() {
        systemHooks().system = [this](const char *command) {
            m_commands.emplace_back(command);
            return 0;
        };
    }

    int *listOf(CMM_MEM_Info &memory, const std::string &text) const {
        m_home.write("agent/aproc/shell/MemCntInfo.dat", text);
        return memory.fMGetMemCnt();
    }

    ScratchHome m_home;
    std::vector<std::string> m_commands;
};

TEST_F(MemoryModules, AreWrittenByTheScript) {
    systemHooks().system = nullptr;
    m_home.plainCommandRunner();
    m_home.script("agent/bin/shell/LINUX/MemCntInfoLIN.sh",
                  "echo 4096 > ../aproc/shell/MemCntInfo.dat; echo 2048 >> ../aproc/shell/MemCntInfo.dat\n");
    CMM_MEM_Info memory;

    const int *sizes = memory.fMGetMemCnt();

    ASSERT_NE(sizes, nullptr);
    EXPECT_EQ(memory.fMGetMemTotCnt(), 2);
    EXPECT_EQ(sizes[0], 4096);
    EXPECT_EQ(sizes[1], 2048);
    EXPECT_EQ(sizes[2], 0);
}

TEST_F(MemoryModules, ScriptRunsUnderTheCommandRunnerWithATimeOut) {
    CMM_MEM_Info memory;

    listOf(memory, "1\n");

    EXPECT_THAT(m_commands, ElementsAre("../../utils/ETC/ShCmd 5 ./shell/LINUX/MemCntInfoLIN.sh"));
}

TEST_F(MemoryModules, OnlyPositiveSizesAreStored) {
    CMM_MEM_Info memory;

    const int *sizes = listOf(memory, "0\n-1\n4096\nnone\n\n 512 MB\n99999999999\n");

    ASSERT_EQ(sizes, memory.m_pnMemCnt);
    EXPECT_EQ(memory.fMGetMemTotCnt(), 3);
    EXPECT_EQ(sizes[0], 4096);
    EXPECT_EQ(sizes[1], 512);
    EXPECT_EQ(sizes[2], 2147483647);
}

TEST_F(MemoryModules, AtMost128AreStored) {
    CMM_MEM_Info memory;
    std::string text;
    for (int module = 1; module <= 200; ++module)
        text += std::to_string(module) + "\n";

    const int *sizes = listOf(memory, text);

    ASSERT_NE(sizes, nullptr);
    EXPECT_EQ(memory.fMGetMemTotCnt(), 128);
    EXPECT_EQ(sizes[127], 128);
}

TEST_F(MemoryModules, EachListStartsAnew) {
    CMM_MEM_Info memory;
    listOf(memory, "1\n2\n3\n");

    const int *sizes = listOf(memory, "8\n");

    ASSERT_NE(sizes, nullptr);
    EXPECT_EQ(memory.fMGetMemTotCnt(), 1);
    EXPECT_EQ(sizes[0], 8);
    EXPECT_EQ(sizes[1], 0);
}

TEST_F(MemoryModules, MissingListKeepsThePreviousOne) {
    CMM_MEM_Info memory;
    EXPECT_EQ(memory.fMGetMemCnt(), nullptr);
    EXPECT_EQ(memory.m_pnMemCnt, nullptr);
    listOf(memory, "1024\n");
    m_home.remove("agent/aproc/shell/MemCntInfo.dat");

    EXPECT_EQ(memory.fMGetMemCnt(), nullptr);

    ASSERT_NE(memory.m_pnMemCnt, nullptr);
    EXPECT_EQ(memory.m_pnMemCnt[0], 1024);
    EXPECT_EQ(memory.fMGetMemTotCnt(), 1);
}

TEST_F(MemoryModules, EmptyListHasNoSizes) {
    CMM_MEM_Info memory;

    EXPECT_NE(listOf(memory, ""), nullptr);
    EXPECT_EQ(memory.fMGetMemTotCnt(), 0);
}

TEST_F(MemoryModules, ListIsFreed) {
    CMM_MEM_Info memory;
    listOf(memory, "1024\n");

    memory.fFreeMemCnt();
    EXPECT_EQ(memory.m_pnMemCnt, nullptr);
    EXPECT_EQ(memory.fMGetMemTotCnt(), 0);
    memory.fFreeMemCnt();
}

class MemoryPush : public MemoryReading {
protected:
    MemoryPush() { g_ptrAgentKey = m_key; }

    char m_key[16] = "agent_key";
};

// used 5500000 / 16000000 = 34.375, rounded to even in the second place; cache 6000000 / 16000000 = 37.5
TEST_F(MemoryPush, TextHoldsSevenMetricsAfterTheKey) {
    CMM_MEM_Info memory;
    m_host.write("proc/meminfo", plainMeminfo);

    EXPECT_EQ(memory.fPushGatherMem(), 1);

    EXPECT_EQ(memory.m_pStrRealTimeMemZEL, "agent_key" + M + "4.4.1.0" + F + "16000000" + F + M + "4.4.3.0" + F +
                                               "5500000" + F + M + "4.4.4.0" + F + "10500000" + F + M + "4.4.12.0" + F +
                                               "500000" + F + M + "4.4.13.0" + F + "6000000" + F + M + "4.4.5.0" + F +
                                               "34.38" + F + M + "4.4.24.0" + F + "37.50" + F);
    EXPECT_EQ(memory.m_nMemZELSize, 512);
}

TEST_F(MemoryPush, ReadingThatMakesNoSenseLeavesTheTextAsItWas) {
    CMM_MEM_Info memory;
    m_host.write("proc/meminfo", plainMeminfo);
    memory.fPushGatherMem();
    const std::string text = memory.m_pStrRealTimeMemZEL;

    // nothing at all - no memory - more free than there is - a missing key
    for (const std::string &meminfo :
         {std::string(), line("MemTotal:", "0") + line("MemFree:", "0") + line("Buffers:", "0") + line("Cached:", "0"),
          line("MemTotal:", "100") + line("MemFree:", "90") + line("Buffers:", "10") + line("Cached:", "1"),
          line("MemTotal:", "100")}) {
        m_host.write("proc/meminfo", meminfo);
        EXPECT_EQ(memory.fPushGatherMem(), 1);
        EXPECT_EQ(memory.m_pStrRealTimeMemZEL, text) << meminfo;
    }
}

TEST_F(MemoryPush, ReadingAllocatesNothing) {
    CMM_MEM_Info memory;
    m_host.write("proc/meminfo", without(plainMeminfo, "MemAvailable:"));
    m_host.write("proc/sys/vm/min_free_kbytes", "4096\n");

    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(memory.fPushGatherMem(), 1);
    EXPECT_EQ(systemHooks().failAllocationAfter, 0) << "an allocation was tried";
}

TEST_F(MemoryPush, NeverExceedsItsBuffer) {
    const std::string largest = "18446744073709551615";
    std::string longKey(400, 'k');
    g_ptrAgentKey = longKey.data();
    CMM_MEM_Info memory;
    memory.fSetMemFreeFlag(0);
    m_host.write("proc/meminfo", line("MemTotal:", largest) + line("MemFree:", largest) + line("Buffers:", largest) +
                                     line("Cached:", largest));

    memory.fPushGatherMem();

    // 400 of the key; total and used take 36 each; free is one digit, 17; what follows does not fit.
    EXPECT_EQ(memory.m_pStrRealTimeMemZEL, longKey + M + "4.4.1.0" + F + largest + F + M + "4.4.3.0" + F + largest + F +
                                               M + "4.4.4.0" + F + "0" + F);
    EXPECT_EQ(memory.m_nMemZELSize, 512);
}

TEST_F(MemoryPush, MembersHaveTheirOrder) {
    CMM_MEM_Info memory;
    const std::vector<const void *> members = {&memory.m_pulMEM,        &memory.m_pulSWP,
                                               &memory.m_pclUtil,       &memory.m_nMemCnt,
                                               &memory.m_pnMemCnt,      &memory.m_strCurrentPath,
                                               &memory.m_nMemFreeFlag,  &memory.m_nMemZELSize,
                                               &memory.m_pStrMemoryZEL, &memory.m_pStrRealTimeMemZEL,
                                               &memory.m_strSplit,      &memory.m_strPushSplit};

    EXPECT_TRUE(std::is_sorted(members.begin(), members.end(), std::less<>()));
    EXPECT_EQ(sizeof(memory.m_pulMEM), 7U * 8U);
    EXPECT_EQ(sizeof(memory.m_pulSWP), 5U * 8U);
    EXPECT_EQ(sizeof(memory.m_strCurrentPath), 256U);
}

TEST_F(MemoryPush, ConstructionSetsTheDefaults) {
    CMM_MEM_Info memory;

    EXPECT_EQ(memory.m_nMemFreeFlag, 7);
    EXPECT_EQ(memory.m_nMemZELSize, 512);
    EXPECT_EQ(memory.m_pnMemCnt, nullptr);
    EXPECT_EQ(memory.m_nMemCnt, 0);
    EXPECT_NE(memory.m_pclUtil, nullptr);
    EXPECT_STREQ(memory.m_strSplit[0], "\x03\x1F|");
    EXPECT_STREQ(memory.m_strSplit[1], "\x03\x1F~");
    EXPECT_STREQ(memory.m_strPushSplit[0], "\x03\x1F]");
    EXPECT_STREQ(memory.m_strPushSplit[1], "\x03\x1F^");
    for (int i = 0; i < 512; ++i)
        ASSERT_EQ(memory.m_pStrRealTimeMemZEL[i], '\0');
}

} // namespace

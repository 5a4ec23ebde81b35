// The push scan: the list of all processes and the busiest of them.
#include "FrozenClock.h"
#include "MM_PROC_Info.h"
#include "ProcessHost.h"
#include "Separators.h"
#include "Settings.h"
#include "SystemHooks.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>

namespace {

FakeProcess numbered(int pid) {
    FakeProcess process;
    process.pid = pid;
    process.name = "p" + std::to_string(pid);
    return process;
}

class PushScan : public testing::Test {
protected:
    PushScan() { g_ptrAgentKey = key; }

    ProcessPush scan() { return ProcessPush(collector.fMGetProc(1)); }

    char key[16] = "agent_key";
    FrozenClock clock;
    ProcessHost host;
    CMM_PROC_Info collector;
};

TEST_F(PushScan, HeaderStandsBehindKeyAndCode) {
    FakeProcess process = numbered(7);
    process.residentPages = 2000;
    host.put(process);

    const char *text = collector.fMGetProc(1);

    ASSERT_NE(text, nullptr);
    std::string header = "agent_key" + M + "4.14.2.0" + F;
    for (const char *column : {"INDEX",    "PID",     "ARGS",      "PCPU",   "PMEM",       "VSZ",   "RSS",    "STAT",
                               "NICE",     "PPID",    "USER",      "STIME",  "CTIME",      "THCNT", "APPID",  "PRI",
                               "PUSERCPU", "PSYSCPU", "IOBYTECOM", "IOBYTE", "IOBYTERATE", "NAME",  "P100CPU"})
        header += column + C;
    EXPECT_EQ(std::string(text).substr(0, header.size()), header);
    EXPECT_EQ(std::string(text).find("torv_token_end"), std::string::npos) << "a push text has no end marker";
    EXPECT_EQ(scan().table.columns().size(), 23U);
}

TEST_F(PushScan, RowsDifferFromTextRowsInIndexTimeAndMachinePercent) {
    host.processors(2);
    FakeProcess process = numbered(7);
    process.name = "worker";
    process.utime = 1000;
    process.residentPages = 2000;
    process.session = 99;
    process.priority = 25;
    host.put(process);
    scan();
    clock.advance(1);
    process.utime += 350;
    process.io = std::pair(102400ULL, 0ULL);
    host.put(process);

    const ProcessPush push = scan();

    EXPECT_EQ(push.key, "agent_key");
    EXPECT_EQ(push.code, "4.14.2.0");
    ASSERT_EQ(push.table.size(), 1U);
    const auto shown = [&push](const char *column) { return push.table.value(7, column); };
    EXPECT_EQ(shown("INDEX"), "0");
    EXPECT_EQ(shown("ARGS"), "worker") << "the command name, not the command line";
    EXPECT_EQ(shown("NAME"), "worker");
    EXPECT_EQ(shown("CTIME"), "1350") << "ticks";
    EXPECT_EQ(shown("PCPU"), "350.00");
    EXPECT_EQ(shown("PUSERCPU"), "350.00");
    EXPECT_EQ(shown("P100CPU"), "100.00") << "175 limited to 100";
    EXPECT_EQ(shown("IOBYTERATE"), "100.00");
    EXPECT_EQ(shown("IOBYTE"), "100.00");
    EXPECT_EQ(shown("APPID"), "99");
    EXPECT_EQ(shown("PRI"), "25");
}

TEST_F(PushScan, MachinePercentIsTheShareOfAllProcessors) {
    host.processors(8);
    FakeProcess process = numbered(7);
    host.put(process);
    collector.fMGetProc(1);
    clock.advance(1);
    process.utime = 400;
    host.put(process);

    EXPECT_EQ(scan().table.value(7, "P100CPU"), "50.00");
}

TEST_F(PushScan, IdleProcessIsNeverListedButCounted) {
    host.put(numbered(7));
    FakeProcess process = numbered(8);
    process.residentPages = 2000;
    host.put(process);

    const ProcessPush push = scan();

    EXPECT_EQ(push.table.size(), 1U);
    EXPECT_FALSE(push.table.has(7));
    EXPECT_EQ(collector.fMGetNProcs(), 2);
}

TEST_F(PushScan, ProcessOfSeveralTopListsIsReportedOnceInPidOrder) {
    FakeProcess cpu = numbered(300);
    FakeProcess memory = numbered(20);
    FakeProcess io = numbered(1000);
    FakeProcess all = numbered(3);
    memory.residentPages = 2000;
    for (const FakeProcess &process : {cpu, memory, io, all})
        host.put(process);
    collector.fMGetProc(1);
    clock.advance(1);
    cpu.utime = all.utime = 10;
    all.residentPages = 2000;
    io.io = all.io = std::pair(4096ULL, 0ULL);
    for (const FakeProcess &process : {cpu, io, all})
        host.put(process);

    const ProcessTable table = scan().table;

    EXPECT_EQ(table.values("PID"), (std::vector<std::string>{"3", "20", "300", "1000"}));
    EXPECT_EQ(table.values("INDEX"), (std::vector<std::string>{"0", "1", "2", "3"}));
}

// 102 processes with CPU percents 1 to 102, memory and I/O for one other process each.
TEST_F(PushScan, HundredBusiestOfEachOrderAreReported) {
    for (int pid = 1; pid <= 104; ++pid)
        host.put(numbered(pid));
    collector.fMGetProc(1);
    clock.advance(1);
    for (int pid = 1; pid <= 102; ++pid) {
        FakeProcess process = numbered(pid);
        process.utime = pid;
        host.put(process);
    }
    FakeProcess memory = numbered(103);
    memory.residentPages = 1;
    host.put(memory);
    FakeProcess io = numbered(104);
    io.io = std::pair(1024ULL, 0ULL);
    host.put(io);

    const ProcessTable table = scan().table;

    EXPECT_EQ(table.size(), 102U);
    EXPECT_FALSE(table.has(2)) << "the 101st by CPU";
    EXPECT_TRUE(table.has(3));
    EXPECT_TRUE(table.has(102));
    EXPECT_TRUE(table.has(103));
    EXPECT_TRUE(table.has(104));
    EXPECT_EQ(collector.fMGetNProcs(), 104);
}

// Of 240 processes the first 70 use CPU, all the same, and the last 10 have more memory than the others, which have all
// the same: the first by memory are the 10, then the 70, then the 20 of the others that were listed first.
TEST_F(PushScan, OfEqualProcessesThoseThatPrecedeInTheOrderBeforeAreReported) {
    const auto putAll = [this](long ticks) {
        for (int pid = 1; pid <= 240; ++pid) {
            FakeProcess process = numbered(pid);
            process.utime = pid <= 70 ? ticks : 0;
            process.residentPages = pid > 230 ? 500 : 400;
            host.put(process);
        }
    };
    putAll(0);
    const ProcessTable listed(collector.fMGetProc(0));
    std::map<int, int> others; // pids by their places in the list
    for (int pid = 71; pid <= 230; ++pid)
        others[std::stoi(listed.value(pid, "INDEX"))] = pid;
    ASSERT_EQ(others.size(), 160U);
    clock.advance(1);
    putAll(50);

    const ProcessTable table = scan().table;

    EXPECT_EQ(table.size(), 100U);
    for (int pid = 1; pid <= 70; ++pid)
        EXPECT_TRUE(table.has(pid)) << pid;
    for (int pid = 231; pid <= 240; ++pid)
        EXPECT_TRUE(table.has(pid)) << pid;
    int place = 0;
    for (const auto &[index, pid] : others)
        EXPECT_EQ(table.has(pid), place++ < 20) << pid << " listed at " << index;
}

TEST_F(PushScan, AllocatesNothingForTheProcessesOfTheScanBefore) {
    for (int pid = 1; pid <= 120; ++pid) {
        FakeProcess process = numbered(pid);
        process.residentPages = 2000 + pid;
        host.put(process);
    }
    scan();
    const std::string before = collector.fMGetProc(1);
    systemHooks().failAllocationAfter = 0;
    systemHooks().failNewAfter = 0;
    const char *text = collector.fMGetProc(1);
    systemHooks().failAllocationAfter = -1;
    systemHooks().failNewAfter = -1;

    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text, before);
}

TEST_F(PushScan, ListAndTopProcessesAreGoneAndTheLineBufferIsClear) {
    FakeProcess process = numbered(7);
    process.residentPages = 2000;
    host.put(process);

    scan();

    EXPECT_EQ(collector.m_stAllProcList, nullptr);
    EXPECT_TRUE(collector.m_ProcTopMap.empty());
    EXPECT_STREQ(collector.m_pstrProcessInfo, "");
}

TEST_F(PushScan, CapacityReturnsToTenThousandBelowNineThousandProcesses) {
    host.put(numbered(7));
    collector.m_nActiveSize = 30000;
    collector.fMGetProc(1);
    EXPECT_EQ(collector.m_nActiveSize, 10000);
}

TEST_F(PushScan, ListNeverHoldsMoreThanItsCapacity) {
    for (int pid = 1; pid <= 12; ++pid) {
        FakeProcess process = numbered(pid);
        process.residentPages = 1000 + pid;
        host.put(process);
    }
    collector.m_nActiveSize = 5;

    const ProcessPush push = scan();

    EXPECT_EQ(push.table.size(), 5U);
    EXPECT_EQ(collector.fMGetNProcs(), 12);
    EXPECT_EQ(collector.m_nActiveSize, 10000) << "12 + 1000 at first, then below 9000";
    EXPECT_EQ(scan().table.size(), 12U) << "the next scan has room for all";
}

TEST_F(PushScan, CapacityOfNothingIsSurvived) {
    FakeProcess process = numbered(7);
    process.residentPages = 1000;
    host.put(process);
    for (const int capacity : {0, -1}) {
        collector.m_nActiveSize = capacity;
        EXPECT_EQ(scan().table.size(), 0U);
        EXPECT_EQ(collector.fMGetNProcs(), 1);
    }
}

TEST_F(PushScan, NullAgentKeyIsEmpty) {
    g_ptrAgentKey = nullptr;
    host.put(numbered(7));
    EXPECT_EQ(scan().key, "");
}

TEST_F(PushScan, LongAgentKeyIsWhole) {
    std::string longKey(30000, 'k');
    g_ptrAgentKey = longKey.data();
    host.put(numbered(7));
    EXPECT_EQ(scan().key, longKey);
}

TEST_F(PushScan, SettingsOfTheTextColumnsDoNotMatter) {
    host.put(numbered(7));
    g_nProcExtendFlag = 0;
    g_nExecedFileNameFlag = 2;
    EXPECT_EQ(scan().table.columns().size(), 23U);
}

TEST_F(PushScan, WithoutProcessesTheResultIsNull) {
    EXPECT_EQ(collector.fMGetProc(1), nullptr);
    EXPECT_EQ(collector.fMGetNProcs(), 0);
}

TEST_F(PushScan, WithoutMemoryForTheListTheScanEnds) {
    host.put(numbered(7));
    systemHooks().failAllocationAfter = 1; // the scratch records are had, the list is not
    EXPECT_EQ(collector.fMGetProc(1), nullptr);
    systemHooks().failAllocationAfter = -1;
    EXPECT_EQ(collector.m_stAllProcList, nullptr);
    EXPECT_EQ(collector.fGetProcInfo(), collector.g_stringPollProcess.c_str());
    EXPECT_EQ(scan().table.size(), 0U) << "and the next one works";
    EXPECT_EQ(collector.fMGetNProcs(), 1);
}

TEST_F(PushScan, WithoutMemoryForAnEntryTheProcessIsCountedButNotListed) {
    FakeProcess process = numbered(7);
    process.residentPages = 1000;
    host.put(process);
    process.pid = 8;
    host.put(process);
    systemHooks().failAllocationAfter = 2;
    const char *text = collector.fMGetProc(1);
    systemHooks().failAllocationAfter = -1;

    const ProcessPush push(text);

    EXPECT_EQ(push.table.size(), 1U);
    EXPECT_EQ(collector.fMGetNProcs(), 2);
}

TEST_F(PushScan, NamesCannotForgeARow) {
    FakeProcess process = numbered(7);
    process.name = "x\x03\x1F|9\x03\x1F~";
    process.residentPages = 1000;
    host.put(process);

    const ProcessTable table = scan().table;

    EXPECT_EQ(table.size(), 1U);
    EXPECT_EQ(table.value(7, "NAME"), "x  |9  ~");
}

TEST_F(PushScan, TextAndPushScansShareTheirSamples) {
    FakeProcess process = numbered(7);
    host.put(process);
    ASSERT_NE(collector.fMGetProc(0), nullptr);
    clock.advance(1);
    process.utime = 40;
    host.put(process);

    EXPECT_EQ(scan().table.value(7, "PCPU"), "40.00");
}

TEST(PushList, EntryIsCopied) {
    CMM_PROC_Info collector;
    auto first = std::make_unique<ST_PROCALL_LIST>();
    first->l_nPid = 77;
    std::strcpy(first->l_strPname, "name");
    ST_PROCALL_LIST *list[2] = {nullptr, first.get()};
    collector.m_stAllProcList = list;
    collector.m_nActiveSize = 2;
    auto copy = std::make_unique<ST_PROCALL_LIST>();

    EXPECT_EQ(collector.fMTopProcNew(copy.get(), 1), 1);
    EXPECT_EQ(copy->l_nPid, 77);
    EXPECT_STREQ(copy->l_strPname, "name");
    EXPECT_EQ(collector.fMTopProcNew(copy.get(), 0), 0);
    EXPECT_EQ(collector.fMTopProcNew(copy.get(), 2), 0);
    EXPECT_EQ(collector.fMTopProcNew(copy.get(), -1), 0);
    collector.m_stAllProcList = nullptr;
    EXPECT_EQ(collector.fMTopProcNew(copy.get(), 0), 0);
}

TEST(PushList, OrdersPutTheHighestFirst) {
    auto low = std::make_unique<ST_PROCALL_LIST>();
    auto high = std::make_unique<ST_PROCALL_LIST>();
    high->l_dPCPU = high->l_dPMEM = 0.5F;
    high->l_dIOByteRate = 0.25;
    const ST_PROCALL_LIST *a = high.get();
    const ST_PROCALL_LIST *b = low.get();

    for (const auto compare :
         {CMM_PROC_Info::compare_allcpu, CMM_PROC_Info::compare_allmem, CMM_PROC_Info::compare_allio}) {
        EXPECT_LT(compare(&a, &b), 0);
        EXPECT_GT(compare(&b, &a), 0);
        EXPECT_EQ(compare(&a, &a), 0);
    }
}

TEST(PushList, OrdersSortPointerArrays) {
    ST_PROCALL_LIST *list[20];
    for (int i = 0; i < 20; ++i) {
        list[i] = static_cast<ST_PROCALL_LIST *>(std::calloc(1, sizeof(ST_PROCALL_LIST)));
        list[i]->l_dPMEM = static_cast<float>(i * 7 % 20);
    }
    std::qsort(list, 20, sizeof(list[0]), CMM_PROC_Info::compare_allmem);
    for (int i = 0; i < 20; ++i) {
        EXPECT_FLOAT_EQ(list[i]->l_dPMEM, static_cast<float>(19 - i));
        std::free(list[i]);
    }
}

TEST(ProcessPredicates, TellGreaterNamesAndCpuAndEqualPidsAndFlags) {
    auto a = std::make_unique<_ST_PROC>();
    auto b = std::make_unique<_ST_PROC>();
    const auto name = [&](const std::string &left, const std::string &right) {
        std::strcpy(a->l_strPname, left.c_str());
        std::strcpy(b->l_strPname, right.c_str());
        return CMM_PROC_Info::fCMPProcName(a.get(), b.get());
    };
    EXPECT_EQ(name("b", "a"), 1);
    EXPECT_EQ(name("a", "b"), 0);
    EXPECT_EQ(name("a", "a"), 0);
    EXPECT_EQ(name("\xff", "a"), 1) << "by bytes, not by signed characters";
    EXPECT_EQ(name(std::string(10240, 'a'), std::string(10239, 'a')), 1);

    a->l_dPCPU = 1.5F;
    EXPECT_EQ(CMM_PROC_Info::fCMPProcCpu(a.get(), b.get()), 1);
    EXPECT_EQ(CMM_PROC_Info::fCMPProcCpu(b.get(), a.get()), 0);
    EXPECT_EQ(CMM_PROC_Info::fCMPProcCpu(a.get(), a.get()), 0);

    a->l_nPid = 5;
    EXPECT_EQ(CMM_PROC_Info::fCMPProcPid(a.get(), b.get()), 0);
    b->l_nPid = 5;
    EXPECT_EQ(CMM_PROC_Info::fCMPProcPid(a.get(), b.get()), 1);

    a->l_nIsUpNow = 1;
    EXPECT_EQ(CMM_PROC_Info::fCMPProcIsUpNow(a.get(), b.get()), 0);
    b->l_nIsUpNow = 1;
    EXPECT_EQ(CMM_PROC_Info::fCMPProcIsUpNow(a.get(), b.get()), 1);
}

} // namespace

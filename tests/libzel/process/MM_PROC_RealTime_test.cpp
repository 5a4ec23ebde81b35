// The real-time list.
#include "FrozenClock.h"
#include "MM_PROC_Info.h"
#include "ProcessHost.h"
#include "Separators.h"
#include "SystemHooks.h"

#include <gtest/gtest.h>
#include <string>

namespace {

FakeProcess numbered(int pid) {
    FakeProcess process;
    process.pid = pid;
    return process;
}

class RealTimeList : public testing::Test {
protected:
    RealTimeList() {
        static char name[] = "operator";
        static passwd entry;
        entry.pw_name = name;
        systemHooks().getpwuid = [](uid_t uid) {
            entry.pw_uid = uid;
            return &entry;
        };
    }

    ProcessTable list() { return ProcessPush(collector.fMGetRealProc()).table; }

    FrozenClock clock;
    ProcessHost host;
    CMM_PROC_Info collector;
};

TEST_F(RealTimeList, IsTimeHeaderRowsAndEndMarkerToTheByte) {
    FakeProcess process = numbered(7);
    process.name = "worker";
    process.commandLine = std::string("ls\0-l\0", 6);
    process.start = 12345;
    host.put(process);

    const char *text = collector.fMGetRealProc();

    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(text), "1700000000" + M + "INDEX" + C + "PID" + C + "ARGS" + C + "USER" + C + "NAME" + C +
                                     "STIME" + C + R + "1" + C + "7" + C + "ls -l" + C + "operator" + C + "worker" + C +
                                     "1699999123" + C + R + "torv_token_end");
    EXPECT_EQ(collector.fMGetNProcs(), 1);
    EXPECT_EQ(collector.fGetProcInfo(), text);
}

TEST_F(RealTimeList, FirstFieldIsTheTimeOfTheScan) {
    host.put(numbered(7));
    const std::string first = collector.fMGetRealProc();
    clock.advance(1);
    const std::string second = collector.fMGetRealProc();

    EXPECT_EQ(first.substr(0, 10), "1700000000");
    EXPECT_EQ(second.substr(0, 10), "1700000001");
}

TEST_F(RealTimeList, KernelThreadShowsItsNameInBracketsAndBare) {
    FakeProcess process = numbered(2);
    process.name = "kthreadd";
    process.commandLine = "";
    host.put(process);

    const ProcessTable table = list();

    EXPECT_EQ(table.value(2, "ARGS"), "[kthreadd]");
    EXPECT_EQ(table.value(2, "NAME"), "kthreadd");
}

TEST_F(RealTimeList, NamesOfBlanksAreDefunctAndHostileOnesForgeNothing) {
    FakeProcess process = numbered(7);
    process.commandLine = std::string(4, '\0');
    host.put(process);
    process.pid = 8;
    process.commandLine = "x" + R + "9" + C + "666" + C;
    host.put(process);

    const ProcessTable table = list();

    EXPECT_EQ(table.size(), 2U);
    EXPECT_EQ(table.value(7, "ARGS"), "<defunct>");
    EXPECT_EQ(table.value(8, "ARGS"), "x  |9  ~666  ~");
}

TEST_F(RealTimeList, TouchesNoSample) {
    FakeProcess process = numbered(7);
    process.utime = 100;
    host.put(process);
    ASSERT_NE(collector.fMGetProc(0), nullptr);
    process.utime = 900;
    host.put(process);
    host.put(numbered(8));
    clock.advance(1);

    list();

    EXPECT_EQ(collector.m_ProcMap.size(), 1U);
    EXPECT_EQ(collector.m_ProcMap.at(7)->m_fOldCpuTime, 100);
    EXPECT_EQ(collector.m_nInsertFirst, 1);
}

TEST_F(RealTimeList, DoesNotCountAsTheFirstScan) {
    host.put(numbered(7));
    list();
    EXPECT_EQ(collector.m_nInsertFirst, 0);
}

TEST_F(RealTimeList, NeedsNeitherStatmNorIo) {
    host.put(numbered(7));
    host.erase("proc/7/statm");
    host.erase("proc/7/io");
    EXPECT_TRUE(list().has(7));
}

TEST_F(RealTimeList, VanishedProcessesAreSkippedAndNotCounted) {
    for (int pid = 1; pid <= 4; ++pid)
        host.put(numbered(pid));
    host.erase("proc/2/stat");
    host.write("proc/3/stat", "3 (x)");

    const ProcessTable table = list();

    EXPECT_EQ(table.values("INDEX"), (std::vector<std::string>{"1", "2"}));
    EXPECT_EQ(collector.fMGetNProcs(), 2);
}

TEST_F(RealTimeList, ProcessWithoutAUserNameIsLeftOut) {
    host.put(numbered(7));
    static char empty[] = "";
    static passwd entry;
    entry.pw_name = empty;
    systemHooks().getpwuid = [](uid_t uid) {
        entry.pw_uid = uid;
        return &entry;
    };

    EXPECT_EQ(collector.fMGetRealProc(), nullptr);
    EXPECT_EQ(collector.fMGetNProcs(), 0);
}

// A buffer that is too small for the name and 256 bytes is replaced by one of twice the name's length.
TEST_F(RealTimeList, LongNameReplacesTheLineBuffer) {
    FakeProcess process = numbered(7);
    process.commandLine = std::string(9984, 'a'); // 9984 + 256 = 10240: just enough
    host.put(process);
    EXPECT_EQ(list().value(7, "ARGS"), std::string(9984, 'a'));
    EXPECT_EQ(collector.m_nProcessInfoBufSize, 10240);

    process.commandLine = std::string(9985, 'a');
    host.put(process);
    EXPECT_EQ(list().value(7, "ARGS"), std::string(9985, 'a'));
    EXPECT_EQ(collector.m_nProcessInfoBufSize, 19970);

    EXPECT_EQ(ProcessTable(collector.fMGetProc(0)).size(), 1U) << "the scan goes on with it";
    EXPECT_EQ(collector.m_nProcessInfoBufSize, 19970);
}

TEST_F(RealTimeList, WithoutProcessesTheResultIsNullAndTheTextStands) {
    EXPECT_EQ(collector.fMGetRealProc(), nullptr);

    EXPECT_EQ(collector.fMGetNProcs(), 0);
    EXPECT_EQ(collector.g_stringPollProcess, "1700000000" + M + "INDEX" + C + "PID" + C + "ARGS" + C + "USER" + C +
                                                 "NAME" + C + "STIME" + C + R + "torv_token_end");
    collector.fMClearRealProc();
    EXPECT_EQ(collector.g_stringPollProcess, "");
}

TEST_F(RealTimeList, MissingUptimeKeepsThePreviousOne) {
    host.put(numbered(7));
    list();
    host.erase("proc/uptime");
    EXPECT_EQ(list().value(7, "STIME"), "1699999000");
}

TEST_F(RealTimeList, WithoutMemoryOrProcTheResultIsNull) {
    host.put(numbered(7));
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(collector.fMGetRealProc(), nullptr);
    systemHooks().failAllocationAfter = -1;
    host.erase("proc");
    EXPECT_EQ(collector.fMGetRealProc(), nullptr);
}

} // namespace

// The text scan: columns, rows, rates between two scans, hostile names, slices, settings.
#include "FrozenClock.h"
#include "LogCapture.h"
#include "MM_PROC_Info.h"
#include "ProcessHost.h"
#include "Separators.h"
#include "Settings.h"
#include "SystemHooks.h"
#include "process/ProcessText.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <unistd.h>

namespace {

const std::vector<std::string> plainColumns = {"INDEX", "PID",  "ARGS", "PCPU", "PMEM",  "VSZ",   "RSS",
                                               "STAT",  "NICE", "PPID", "USER", "STIME", "CTIME", "THCNT"};

std::vector<std::string> withColumns(std::vector<std::string> columns, const std::vector<std::string> &more) {
    columns.insert(columns.end(), more.begin(), more.end());
    return columns;
}

FakeProcess sleeper(int pid) {
    FakeProcess process;
    process.pid = pid;
    return process;
}

class ProcessScan : public testing::Test {
protected:
    ProcessScan() {
        g_nProcExtendFlag = 1;
        static char name[] = "operator";
        static passwd entry;
        entry.pw_name = name;
        systemHooks().getpwuid = [](uid_t uid) {
            entry.pw_uid = uid;
            return &entry;
        };
    }

    ProcessTable scan() { return ProcessTable(collector.fMGetProc(0)); }

    FrozenClock clock;
    ProcessHost host;
    CMM_PROC_Info collector;
};

TEST_F(ProcessScan, RowHoldsEveryColumn) {
    FakeProcess process = sleeper(4321);
    process.name = "worker";
    process.commandLine = std::string("ls\0-l\0", 6);
    process.ppid = 12;
    process.session = 99;
    process.priority = 25;
    process.nice = -5;
    process.utime = 360000;
    process.stime = 6150;
    process.threads = 4000;
    process.start = 12345;
    process.virtualBytes = 2048000;
    process.residentPages = 20000;
    process.io = std::pair(2048ULL, 512ULL);
    host.put(process);

    const ProcessTable table = scan();

    EXPECT_EQ(table.columns(), withColumns(plainColumns, {"APPID", "PRI", "PUSERCPU", "PSYSCPU", "IOBYTECOM", "IOBYTE",
                                                          "IOBYTERATE", "NAME", "P100CPU"}));
    EXPECT_TRUE(table.ended());
    ASSERT_EQ(table.size(), 1U);
    const auto shown = [&table](const char *column) { return table.value(4321, column); };
    const int kilobytesPerPage = getpagesize() / 1024;
    EXPECT_EQ(shown("INDEX"), "1");
    EXPECT_EQ(shown("ARGS"), "ls -l");
    EXPECT_EQ(shown("PCPU"), "0.00");
    EXPECT_EQ(shown("PMEM"), kilobytesPerPage == 4 ? "1.00" : "4.00") << "20000 pages of 8000000 KB";
    EXPECT_EQ(shown("VSZ"), "2000");
    EXPECT_EQ(shown("RSS"), std::to_string(20000 * kilobytesPerPage));
    EXPECT_EQ(shown("STAT"), "S");
    EXPECT_EQ(shown("NICE"), "-5");
    EXPECT_EQ(shown("PPID"), "12");
    EXPECT_EQ(shown("USER"), "operator");
    EXPECT_EQ(shown("STIME"), "1699999123") << "1700000000 - 1000 + 123";
    EXPECT_EQ(shown("CTIME"), "3661") << "366150 ticks";
    EXPECT_EQ(shown("THCNT"), "4000");
    EXPECT_EQ(shown("APPID"), "99");
    EXPECT_EQ(shown("PRI"), "25");
    EXPECT_EQ(shown("PUSERCPU"), "0.00");
    EXPECT_EQ(shown("PSYSCPU"), "0.00");
    EXPECT_EQ(shown("IOBYTECOM"), "2.50");
    EXPECT_EQ(shown("IOBYTE"), "0.00");
    EXPECT_EQ(shown("IOBYTERATE"), "0.00");
    EXPECT_EQ(shown("NAME"), "worker");
    EXPECT_EQ(shown("P100CPU"), "0.00");
}

TEST_F(ProcessScan, TextIsHeaderRowsAndEndMarkerToTheByte) {
    g_nProcExtendFlag = 0;
    FakeProcess process = sleeper(7);
    process.residentPages = 0;
    process.start = 100;
    host.put(process);

    const char *text = collector.fMGetProc(0);

    ASSERT_NE(text, nullptr);
    std::string expected;
    for (const std::string &column : plainColumns)
        expected += column + C;
    expected += R + "1" + C + "7" + C + "/bin/sleeper" + C + "0.00" + C + "0.00" + C + "0" + C + "0" + C + "S" + C +
                "0" + C + "1" + C + "operator" + C + "1699999001" + C + "0" + C + "1" + C + R + "torv_token_end";
    EXPECT_EQ(std::string(text), expected);
    EXPECT_EQ(collector.fGetProcInfo(), text);
    EXPECT_EQ(collector.fGetProcessInfo(), text);
    EXPECT_EQ(collector.g_stringPollProcess.c_str(), text);
}

TEST_F(ProcessScan, FileNameColumnIsTheLastOfItsForm) {
    g_nProcExtendFlag = 0;
    g_nExecedFileNameFlag = 1;
    host.put(sleeper(7));

    const ProcessTable table = scan();

    EXPECT_EQ(table.columns(), withColumns(plainColumns, {"FNAME"}));
    EXPECT_EQ(table.value(7, "FNAME"), "sleeper");
}

TEST_F(ProcessScan, ExtendedFormNeedsNoOtherSetting) {
    g_nExecedFileNameFlag = 2;
    host.put(sleeper(7));

    EXPECT_EQ(scan().columns().size(), 23U);
}

TEST_F(ProcessScan, OtherSettingsGiveTheEndMarkerAloneAndTheCount) {
    host.put(sleeper(7));
    host.put(sleeper(8));
    for (const auto &[extended, fileName] : {std::pair(0, 2), std::pair(2, 0), std::pair(2, 1), std::pair(-1, 0)}) {
        g_nProcExtendFlag = extended;
        g_nExecedFileNameFlag = fileName;

        const char *text = collector.fMGetProc(0);

        ASSERT_NE(text, nullptr);
        EXPECT_EQ(std::string(text), R + "torv_token_end");
        EXPECT_EQ(collector.fMGetNProcs(), 2);
    }
}

TEST_F(ProcessScan, FirstScanHasNoRates) {
    FakeProcess process = sleeper(7);
    process.utime = 5000;
    process.stime = 5000;
    process.io = std::pair(1024000ULL, 0ULL);
    host.put(process);

    const ProcessTable table = scan();

    for (const char *column : {"PCPU", "PUSERCPU", "PSYSCPU", "IOBYTE", "IOBYTERATE", "P100CPU"})
        EXPECT_EQ(table.value(7, column), "0.00") << column;
    EXPECT_EQ(table.value(7, "IOBYTECOM"), "1000.00");
}

TEST_F(ProcessScan, SecondScanHasTheRatesSinceTheFirst) {
    FakeProcess process = sleeper(7);
    process.utime = 1000;
    process.stime = 500;
    process.io = std::pair(102400ULL, 0ULL);
    host.put(process);
    scan();

    clock.advance(4);
    process.utime += 100;
    process.stime += 33;
    process.io = std::pair(102400ULL, 4096ULL);
    host.put(process);
    FakeProcess fresh = sleeper(8);
    fresh.utime = 4000;
    fresh.io = std::pair(4096ULL, 4096ULL);
    host.put(fresh);
    const ProcessTable table = scan();

    EXPECT_EQ(table.value(7, "PCPU"), "33.25") << "133 ticks in 400";
    EXPECT_EQ(table.value(7, "PUSERCPU"), "25.00");
    EXPECT_EQ(table.value(7, "PSYSCPU"), "8.25");
    EXPECT_EQ(table.value(7, "IOBYTECOM"), "104.00");
    EXPECT_EQ(table.value(7, "IOBYTE"), "4.00");
    EXPECT_EQ(table.value(7, "IOBYTERATE"), "1.00");
    EXPECT_EQ(table.value(7, "P100CPU"), "33.25");
    EXPECT_EQ(table.value(8, "PCPU"), "0.00") << "seen for the first time";
    EXPECT_EQ(table.value(8, "IOBYTE"), "0.00");
    EXPECT_EQ(table.value(8, "IOBYTECOM"), "8.00");
}

TEST_F(ProcessScan, RatesOfEachScanStartFromTheScanBefore) {
    FakeProcess process = sleeper(7);
    host.put(process);
    scan();
    for (int cycle = 1; cycle <= 3; ++cycle) {
        clock.advance(2);
        process.utime += 50 * cycle;
        host.put(process);
        EXPECT_EQ(scan().value(7, "PCPU"), std::to_string(25 * cycle) + ".00");
    }
}

TEST_F(ProcessScan, PidThatIsReusedCountsItsWholeTime) {
    FakeProcess process = sleeper(7);
    process.utime = 90000;
    process.io = std::pair(1048576ULL, 0ULL);
    host.put(process);
    scan();

    clock.advance(1);
    process.utime = 20;
    process.io = std::pair(1024ULL, 0ULL);
    process.name = "newcomer";
    host.put(process);
    const ProcessTable table = scan();

    EXPECT_EQ(table.value(7, "PCPU"), "20.00");
    EXPECT_EQ(table.value(7, "IOBYTE"), "0.00");
    EXPECT_EQ(table.value(7, "IOBYTERATE"), "0.00");
    EXPECT_EQ(table.value(7, "NAME"), "newcomer");
}

TEST_F(ProcessScan, MachinePercentDividesByTheProcessorsWithoutALimit) {
    host.processors(8);
    FakeProcess process = sleeper(7);
    host.put(process);
    scan();

    clock.advance(1);
    process.utime = 400; // four processors
    host.put(process);
    ProcessTable table = scan();
    EXPECT_EQ(table.value(7, "PCPU"), "400.00");
    EXPECT_EQ(table.value(7, "P100CPU"), "50.00");

    host.processors(2);
    clock.advance(1);
    process.utime = 900;
    host.put(process);
    EXPECT_EQ(scan().value(7, "P100CPU"), "250.00");
}

TEST_F(ProcessScan, UnknownProcessorCountCountsAsOne) {
    FakeProcess process = sleeper(7);
    host.put(process);
    scan();

    host.erase("proc/stat");
    clock.advance(1);
    process.utime = 50;
    host.put(process);
    EXPECT_EQ(scan().value(7, "P100CPU"), "50.00");
}

TEST_F(ProcessScan, ClockThatWasSetBackGivesZerosWithoutASign) {
    host.put(sleeper(7));
    scan();

    clock.advance(-60);
    const ProcessTable table = scan();

    for (const char *column : {"PCPU", "PUSERCPU", "PSYSCPU", "IOBYTE", "IOBYTERATE", "P100CPU"})
        EXPECT_EQ(table.value(7, column), "0.00") << column;
}

TEST_F(ProcessScan, StandingClockGivesNumbersOnly) {
    FakeProcess process = sleeper(7);
    host.put(process);
    scan();

    process.utime = 100;
    process.io = std::pair(4096ULL, 0ULL);
    host.put(process);
    const ProcessTable table = scan();

    for (const char *column : {"PCPU", "PUSERCPU", "PSYSCPU", "IOBYTERATE", "P100CPU"})
        EXPECT_EQ(table.value(7, column), "0.00") << column;
    EXPECT_EQ(table.value(7, "IOBYTE"), "4.00");
}

TEST_F(ProcessScan, NamesOfEveryKind) {
    FakeProcess process = sleeper(1);
    process.name = "a) b (c";
    process.commandLine = "";
    host.put(process);
    process.pid = 2;
    process.name = "kthreadd";
    host.put(process);
    process.pid = 3;
    process.name = "zombie";
    process.state = 'Z';
    host.put(process);
    process.pid = 4;
    process.commandLine = std::string(5, '\0');
    host.put(process);
    process.pid = 5;
    process.commandLine = std::string("  two  words   \0\0", 17);
    host.put(process);
    process.pid = 6;
    process.name = "";
    host.put(process);

    const ProcessTable table = scan();

    EXPECT_EQ(table.value(1, "ARGS"), "[a) b (c]");
    EXPECT_EQ(table.value(1, "NAME"), "a) b (c");
    EXPECT_EQ(table.value(2, "ARGS"), "[kthreadd]");
    EXPECT_EQ(table.value(2, "NAME"), "kthreadd");
    EXPECT_EQ(table.value(3, "ARGS"), "[zombie]");
    EXPECT_EQ(table.value(3, "STAT"), "Z");
    EXPECT_EQ(table.value(4, "ARGS"), "<defunct>");
    EXPECT_EQ(table.value(5, "ARGS"), "  two  words");
    EXPECT_FALSE(table.has(6)) << "an empty command name cannot be parsed";
}

TEST_F(ProcessScan, ArgumentsCannotForgeARow) {
    FakeProcess process = sleeper(7);
    process.name = "evil" + C;
    process.commandLine = "x" + R + "2" + C + "666" + C + "root" + R + "torv_token_end";
    host.put(process);
    host.put(sleeper(8));

    const ProcessTable table = scan();

    EXPECT_EQ(table.size(), 2U);
    EXPECT_FALSE(table.has(666));
    EXPECT_EQ(table.value(7, "ARGS"), "x  |2  ~666  ~root  |torv_token_end");
    EXPECT_EQ(table.value(7, "NAME"), "evil  ~");
    EXPECT_TRUE(table.ended());
}

TEST_F(ProcessScan, LongCommandLineGrowsTheLineBufferAndIsWhole) {
    host.put(sleeper(1));
    FakeProcess process = sleeper(7);
    process.commandLine = std::string(20000, 'a');
    host.put(process);
    ASSERT_EQ(collector.m_nProcessInfoBufSize, 10240);

    ProcessTable table = scan();

    EXPECT_EQ(table.value(7, "ARGS"), std::string(10240, 'a'));
    EXPECT_EQ(table.value(1, "ARGS"), "/bin/sleeper");
    EXPECT_EQ(collector.m_nProcessInfoBufSize, 20480) << "10240 bytes cannot hold 10240 + 256";

    host.remove(7);
    table = scan();
    EXPECT_EQ(table.size(), 1U);
    EXPECT_EQ(collector.m_nProcessInfoBufSize, 20480) << "never shrunk";
}

// The room is what the previous row leaves of the buffer: 20480 - 10300 is less than 10240 + 256.
TEST_F(ProcessScan, RoomIsMeasuredAfterThePreviousRow) {
    FakeProcess process = sleeper(7);
    process.commandLine = std::string(20000, 'a');
    host.put(process);
    process.pid = 8;
    host.put(process);

    const ProcessTable table = scan();

    EXPECT_EQ(collector.m_nProcessInfoBufSize, 40960);
    EXPECT_EQ(table.value(7, "ARGS").size(), 10240U);
    EXPECT_EQ(table.value(8, "ARGS").size(), 10240U);
}

// 9970 characters leave the required room of 256, which the other columns of this row exceed.
TEST_F(ProcessScan, RowLongerThanItsRoomIsWhole) {
    FakeProcess process = sleeper(2147483647);
    process.name = std::string(64, 'n');
    process.commandLine = std::string(9500, 'a');
    process.ppid = process.session = process.priority = process.nice = -2147483647;
    process.virtualBytes = 18446744073709551615UL - 1024;
    process.residentPages = 2000000000000;
    process.threads = 2147483647;
    process.io = std::pair(18000000000000000000ULL, 0ULL);
    host.put(process);
    g_nProcExtendFlag = 1;

    const ProcessTable table = scan();

    EXPECT_EQ(table.size(), 1U);
    EXPECT_EQ(table.value(2147483647, "ARGS"), std::string(9500, 'a'));
    EXPECT_EQ(table.value(2147483647, "NAME"), std::string(64, 'n'));
    EXPECT_EQ(table.value(2147483647, "IOBYTECOM"), "17578125000000000.00");
    EXPECT_EQ(table.value(2147483647, "P100CPU"), "0.00");
}

TEST_F(ProcessScan, ProcessesThatVanishAreLeftOut) {
    for (int pid = 1; pid <= 6; ++pid)
        host.put(sleeper(pid));
    host.erase("proc/2/stat");
    host.erase("proc/3/statm");
    host.erase("proc/4/io");
    host.erase("proc/5/cmdline");

    const ProcessTable table = scan();

    EXPECT_EQ(table.size(), 4U);
    EXPECT_FALSE(table.has(2));
    EXPECT_FALSE(table.has(3));
    EXPECT_EQ(table.value(4, "IOBYTECOM"), "0.00");
    EXPECT_EQ(table.value(5, "ARGS"), "[sleeper]");
    std::vector<std::string> indexes = table.values("INDEX");
    EXPECT_EQ(indexes, (std::vector<std::string>{"1", "2", "3", "4"})) << "counted on without gaps";
    EXPECT_EQ(collector.fMGetNProcs(), 4);
}

TEST_F(ProcessScan, OnlyNamesThatBeginWithADigitAreProcesses) {
    host.put(sleeper(7));
    for (const char *name : {"self", "bus", "-5", " 7", "x7"})
        host.write(std::string("proc/") + name + "/stat", statLine(sleeper(7)));

    EXPECT_EQ(scan().size(), 1U);
}

TEST_F(ProcessScan, ProcessWithoutAUserNameIsLeftOut) {
    host.put(sleeper(7));
    static char empty[] = "";
    static passwd entry;
    entry.pw_name = empty;
    systemHooks().getpwuid = [](uid_t uid) {
        entry.pw_uid = uid;
        return &entry;
    };

    EXPECT_EQ(collector.fMGetProc(0), nullptr);
    EXPECT_EQ(collector.fMGetNProcs(), 0);
}

TEST_F(ProcessScan, UidWithoutANameShowsAsItsNumberAndIsLookedUpOnce) {
    for (int pid = 1; pid <= 20; ++pid)
        host.put(sleeper(pid));
    int lookups = 0;
    systemHooks().getpwuid = [&lookups](uid_t) -> passwd * {
        ++lookups;
        return nullptr;
    };

    scan();
    const ProcessTable table = scan();

    EXPECT_EQ(table.value(20, "USER"), std::to_string(geteuid()));
    EXPECT_EQ(lookups, 1);
}

TEST_F(ProcessScan, WithoutProcessesTheResultIsNullAndTheTextStands) {
    EXPECT_EQ(collector.fMGetProc(0), nullptr);

    EXPECT_EQ(collector.fMGetNProcs(), 0);
    EXPECT_EQ(collector.m_nInsertFirst, 1);
    EXPECT_NE(collector.g_stringPollProcess.find("torv_token_end"), std::string::npos);
    EXPECT_EQ(collector.fGetProcInfo(), collector.g_stringPollProcess.c_str());
}

TEST(ProcessScanFailure, WithoutProcTheResultIsNull) {
    HostFixture host;
    CMM_PROC_Info collector;

    EXPECT_EQ(collector.fMGetProc(0), nullptr);
    EXPECT_EQ(collector.fMGetProc(1), nullptr);
    EXPECT_EQ(collector.fGetProcInfo(), nullptr);
    EXPECT_EQ(collector.m_nInsertFirst, 0);
}

TEST_F(ProcessScan, WithoutMemoryForTheScratchRecordsTheScanEnds) {
    host.put(sleeper(7));
    systemHooks().failAllocationAfter = 0;

    EXPECT_EQ(collector.fMGetProc(0), nullptr);

    EXPECT_EQ(collector.m_nInsertFirst, 0);
    EXPECT_EQ(scan().size(), 1U) << "and the next one works";
}

TEST_F(ProcessScan, WithoutMemoryForASampleTheScanEnds) {
    host.put(sleeper(7));
    for (const int mode : {0, 1}) {
        systemHooks().failNewAfter = 0;

        EXPECT_EQ(collector.fMGetProc(mode), nullptr);

        EXPECT_EQ(collector.m_nInsertFirst, 0);
        EXPECT_EQ(collector.m_stAllProcList, nullptr);
        EXPECT_EQ(collector.fGetProcInfo(), collector.g_stringPollProcess.c_str());
    }
    EXPECT_EQ(scan().size(), 1U) << "and the next one works";
}

TEST_F(ProcessScan, EveryModeBelowOneIsTheTextReport) {
    FakeProcess process = sleeper(7);
    process.residentPages = 1000;
    host.put(process);

    const ProcessTable text(collector.fMGetProc(-1));
    EXPECT_TRUE(text.ended());
    EXPECT_EQ(text.value(7, "ARGS"), "/bin/sleeper");

    const ProcessPush push(collector.fMGetProc(2));
    EXPECT_EQ(push.code, "4.14.2.0");
    EXPECT_EQ(push.table.value(7, "ARGS"), "sleeper");
}

TEST_F(ProcessScan, RowIsWholeAlsoWhenItsRoomIsHadOnlyAtTheSecondTry) {
    FakeProcess process = sleeper(7);
    process.commandLine = std::string(20000, 'a');
    host.put(process);
    systemHooks().failAllocationAfter = 1; // the scratch records are had, the larger line buffer is not

    EXPECT_EQ(scan().value(7, "ARGS"), std::string(10240, 'a'));
}

TEST_F(ProcessScan, RowThatMemoryIsTooShortForIsLeftOutWhole) {
    zel::ProcessText steps(collector);
    steps.row.beginRow();
    systemHooks().failAllocationAfter = 0;
    steps.row.field(std::string(20000, 'a'));
    steps.row.field(1);

    steps.appendRow();
    EXPECT_EQ(collector.g_stringPollProcess, "");

    steps.row.clear();
    steps.row.beginRow();
    steps.row.field(2);
    steps.appendRow();
    EXPECT_EQ(collector.g_stringPollProcess, R + "2" + C);
}

TEST_F(ProcessScan, UptimeIsTheWholeSecondsAndAMissingFileKeepsIt) {
    host.put(sleeper(7));
    scan();
    EXPECT_STREQ(collector.m_strUpTime, "1000");
    EXPECT_EQ(collector.m_tTime, 1700000000);

    for (const char *text : {"2000 1\n", "", "garbage"}) {
        host.uptime(text);
        EXPECT_EQ(scan().value(7, "STIME"), "1699999000") << text;
        EXPECT_STREQ(collector.m_strUpTime, "1000") << "without a point";
    }
    host.erase("proc/uptime");
    scan();
    EXPECT_STREQ(collector.m_strUpTime, "1000");

    host.uptime("2500.99 1.00\n");
    EXPECT_EQ(scan().value(7, "STIME"), "1699997500");
    host.uptime(std::string(100, '1') + ".5");
    scan();
    EXPECT_EQ(std::string(collector.m_strUpTime), std::string(63, '1')) << "bounded";
}

TEST_F(ProcessScan, FiguresOfOneProcessNeverShowInAnother) {
    FakeProcess rich = sleeper(10);
    rich.name = "a-name-of-some-length";
    rich.commandLine = std::string(3000, 'r');
    rich.utime = 7777;
    rich.threads = 9;
    rich.io = std::pair(1048576ULL, 1048576ULL);
    host.put(rich);
    FakeProcess poor = sleeper(11);
    poor.name = "p";
    poor.commandLine = "";
    poor.io.reset();
    host.put(poor);
    FakeProcess broken = rich;
    broken.pid = 12;
    host.put(broken);
    host.write("proc/12/statm", "");
    scan();
    clock.advance(1);
    rich.utime += 50;
    host.put(rich);

    const ProcessTable table = scan();

    EXPECT_EQ(table.value(10, "PUSERCPU"), "50.00");
    EXPECT_EQ(table.value(11, "ARGS"), "[p]");
    EXPECT_EQ(table.value(11, "NAME"), "p");
    EXPECT_EQ(table.value(11, "PUSERCPU"), "0.00");
    EXPECT_EQ(table.value(11, "IOBYTECOM"), "0.00");
    EXPECT_EQ(table.value(11, "CTIME"), "0");
    EXPECT_EQ(table.value(11, "THCNT"), "1");
    FakeProcess late = sleeper(13); // new in the third scan: no rates of the process before it
    host.put(late);
    EXPECT_EQ(scan().value(13, "PUSERCPU"), "0.00");
}

TEST_F(ProcessScan, ManyProcessesAreAllListedOnceAndCounted) {
    for (int pid = 1; pid <= 150; ++pid)
        host.put(sleeper(pid));

    scan();
    const ProcessTable table = scan();

    ASSERT_EQ(table.size(), 150U);
    const std::vector<std::string> pids = table.values("PID");
    EXPECT_EQ(std::set<std::string>(pids.begin(), pids.end()).size(), 150U);
    const std::vector<std::string> indexes = table.values("INDEX");
    for (std::size_t i = 0; i < indexes.size(); ++i)
        ASSERT_EQ(indexes[i], std::to_string(i + 1));
    EXPECT_EQ(collector.fMGetNProcs(), 150);
}

// 40 processes among 250 entries in all: ".", "..", meminfo, uptime, stat and 205 others. Pauses of half a second fall
// on the entries 100 and 200.
void fillProc(const ProcessHost &host) {
    for (int pid = 1; pid <= 40; ++pid) {
        host.put(sleeper(pid));
        for (int i = 0; i < 5; ++i)
            host.write("proc/other" + std::to_string(pid * 5 + i), "");
    }
    for (int i = 0; i < 5; ++i)
        host.write("proc/more" + std::to_string(i), "");
}

TEST_F(ProcessScan, LargeTableIsReadInSlices) {
    fillProc(host);
    g_nProcSleepCnt = 100;

    EXPECT_EQ(scan().size(), 40U);

    EXPECT_EQ(clock.sleeps(), (std::vector<long>{500000, 500000}));
    std::set<double> times;
    for (const auto &[pid, sample] : collector.m_ProcMap)
        times.insert(sample->m_dCurTime);
    EXPECT_EQ(times, (std::set<double>{170000000000.0, 170000000050.0, 170000000100.0}))
        << "each slice is timed by its own clock reading";
}

TEST_F(ProcessScan, EveryEntryCountsTowardsAPause) {
    fillProc(host);
    g_nProcSleepCnt = 250;
    scan();
    EXPECT_EQ(clock.sleeps().size(), 1U);

    host.erase("proc/more0");
    scan();
    EXPECT_EQ(clock.sleeps().size(), 1U) << "249 entries";
}

TEST_F(ProcessScan, PausesNeedASettingAboveNinetyNineAndATextScan) {
    fillProc(host);

    g_nProcSleepCnt = 99;
    scan();
    g_nProcSleepCnt = -100;
    scan();
    g_nProcSleepCnt = 100;
    collector.fMGetProc(1);

    EXPECT_TRUE(clock.sleeps().empty());
}

TEST_F(ProcessScan, LogsItsSwitchesUnderTheNormalGate) {
    host.put(sleeper(7));
    pretendKernelRelease("6.18.0");
    CMM_INIT_Info().fMGetVersion();
    {
        LogCapture log;
        scan();
        EXPECT_EQ(log.messages(), std::vector<std::string>{"MinorNum[18]GtrProcType[0]GtrJavaProc[0]"});
    }
    LogCapture closed(16, 4096);
    scan();
    EXPECT_TRUE(closed.messages().empty());
}

TEST(ProcessCollector, StartsEmpty) {
    const CMM_PROC_Info collector;

    EXPECT_NE(collector.m_pclUser, nullptr);
    EXPECT_NE(collector.m_pclUtil, nullptr);
    EXPECT_EQ(collector.m_nProcessInfoBufSize, 10240);
    EXPECT_EQ(collector.m_nActiveSize, 10000);
    EXPECT_EQ(collector.m_nInsertFirst, 0);
    EXPECT_STREQ(collector.m_strPushSplit[0], "\x03\x1F]");
    EXPECT_STREQ(collector.m_strPushSplit[1], "\x03\x1F^");
    EXPECT_EQ(collector.fGetProcInfo(), nullptr);
    EXPECT_EQ(collector.fMGetNProcs(), 0);
}

} // namespace

// Reading one process: what a record holds, and when there is none.
#include "FrozenClock.h"
#include "MM_PROC_Info.h"
#include "ProcessHost.h"
#include "SystemHooks.h"

#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

constexpr unsigned long totalMemory = 8000000; // KB
constexpr double now = 100.0;                  // hundredths of a second

// The scratch records are large; they start as the caller of a reader leaves them.
struct Reading {
    std::unique_ptr<proc_s> raw = std::make_unique<proc_s>();
    std::unique_ptr<_ST_PROC> out = std::make_unique<_ST_PROC>();
    CMM_PROC_Info collector;

    int read(int pid, int mode = 0) {
        *out = _ST_PROC{};
        return collector.fMReadProcTable(pid, raw.get(), out.get(), totalMemory, now, mode);
    }
    int readReal(int pid) {
        *out = _ST_PROC{};
        return collector.fMRealReadProcTable(pid, raw.get(), out.get());
    }
};

void answerUserName(const char *name) {
    static passwd entry;
    static std::string text;
    text = name;
    systemHooks().getpwuid = [](uid_t uid) {
        entry.pw_uid = uid;
        entry.pw_name = text.data();
        return &entry;
    };
}

FakeProcess example() {
    FakeProcess process;
    process.pid = 4321;
    process.name = "worker";
    process.commandLine = std::string("ls\0-l\0", 6);
    process.ppid = 12;
    process.session = 99;
    process.priority = 25;
    process.nice = 5;
    process.utime = 360000;
    process.stime = 6100;
    process.threads = 4000;
    process.start = 12345;
    process.virtualBytes = 10 * 1024 + 600;
    process.residentPages = 20000;
    process.io = std::pair(2048ULL, 512ULL);
    return process;
}

TEST(ProcessReader, FillsTheReportRecord) {
    ProcessHost host;
    host.put(example());
    answerUserName("operator");
    Reading reading;
    reading.collector.m_tTime = 1700000000;
    std::strcpy(reading.collector.m_strUpTime, "1000");

    ASSERT_EQ(reading.read(4321), 1);

    const _ST_PROC &process = *reading.out;
    const auto kilobytesPerPage = static_cast<unsigned long>(getpagesize() / 1024);
    EXPECT_STREQ(process.l_strPname, "ls -l ") << "one blank after the last argument";
    EXPECT_STREQ(process.l_strUname, "operator");
    EXPECT_STREQ(process.l_strFName, "worker");
    EXPECT_STREQ(process.l_strCTime, "01:01:01") << "366100 ticks are 3661 seconds";
    EXPECT_EQ(process.l_nStart, 1699999123) << "1700000000 - 1000 + 123";
    EXPECT_STREQ(process.l_strStart, "2023-11-14 21:58:43") << "877 seconds before 22:13:20 UTC";
    EXPECT_EQ(process.l_nPid, 4321);
    EXPECT_EQ(process.l_nPPid, 12);
    EXPECT_EQ(process.l_uPSid, 99);
    EXPECT_EQ(process.l_nPriority, 25);
    EXPECT_EQ(process.l_nNice, 5);
    EXPECT_EQ(process.l_chStatus, 'S');
    EXPECT_EQ(process.l_ulVSZ, 11U) << "(10840 + 512) / 1024";
    EXPECT_EQ(process.l_ulRSS, 20000 * kilobytesPerPage);
    EXPECT_FLOAT_EQ(process.l_dPMEM, static_cast<float>(kilobytesPerPage) * 0.25F) << "20000 pages of 8000000 KB";
    EXPECT_EQ(process.l_nThreads, 4000);
    EXPECT_EQ(process.l_nCTime, 366100);
    EXPECT_EQ(process.l_nUTime, 360000);
    EXPECT_EQ(process.l_nSTime, 6100);
    EXPECT_EQ(process.l_nIsUpNow, 1);
    EXPECT_DOUBLE_EQ(process.l_dIOByteCom, 2.5) << "2560 bytes";
    EXPECT_DOUBLE_EQ(process.l_dIOByte, 0);
    EXPECT_DOUBLE_EQ(process.l_dIOByteRate, 0);
    EXPECT_FLOAT_EQ(process.l_dPCPU, 0);
    EXPECT_EQ(reading.raw->uid, static_cast<int>(geteuid()));
}

TEST(ProcessReader, RemembersTheSample) {
    ProcessHost host;
    host.put(example());
    Reading reading;

    ASSERT_EQ(reading.read(4321), 1);

    ASSERT_EQ(reading.collector.m_ProcMap.size(), 1U);
    const _ST_PROC_OLD_LIST &old = *reading.collector.m_ProcMap.at(4321);
    EXPECT_EQ(old.m_nPid, 4321);
    EXPECT_EQ(old.m_fOldCpuTime, 366100);
    EXPECT_EQ(old.m_fOldUserCpuTime, 360000);
    EXPECT_EQ(old.m_fOldSysCpuTime, 6100);
    EXPECT_DOUBLE_EQ(old.m_dIOByteCom, 2.5);
    EXPECT_DOUBLE_EQ(old.m_dCurTime, now);
    EXPECT_EQ(old.m_nDelFlag, 1);
}

TEST(ProcessReader, NameWithBracketsAndBlanksIsReadWhole) {
    ProcessHost host;
    FakeProcess process = example();
    process.name = "a) b (c";
    process.commandLine = "";
    host.put(process);
    Reading reading;

    ASSERT_EQ(reading.read(4321), 1);

    EXPECT_STREQ(reading.out->l_strFName, "a) b (c");
    EXPECT_STREQ(reading.out->l_strPname, "[a) b (c]");
}

TEST(ProcessReader, EmptyOrMissingCommandLineGivesTheNameInSquareBrackets) {
    ProcessHost host;
    FakeProcess process = example();
    process.commandLine = "";
    host.put(process);
    Reading reading;

    ASSERT_EQ(reading.read(4321), 1);
    EXPECT_STREQ(reading.out->l_strPname, "[worker]");

    host.erase("proc/4321/cmdline");
    ASSERT_EQ(reading.read(4321), 1);
    EXPECT_STREQ(reading.out->l_strPname, "[worker]");
}

TEST(ProcessReader, CommandLineOfZeroBytesIsBlanks) {
    ProcessHost host;
    FakeProcess process = example();
    process.commandLine = std::string(3, '\0');
    host.put(process);
    Reading reading;

    ASSERT_EQ(reading.read(4321), 1);
    EXPECT_STREQ(reading.out->l_strPname, "   ");
}

TEST(ProcessReader, LongCommandLineIsCut) {
    ProcessHost host;
    FakeProcess process = example();
    process.commandLine = std::string(20000, 'a') + '\0';
    host.put(process);
    Reading reading;

    ASSERT_EQ(reading.read(4321), 1);
    EXPECT_EQ(std::string(reading.out->l_strPname), std::string(10240, 'a'));
    EXPECT_STREQ(reading.out->l_strFName, "worker");
}

TEST(ProcessReader, LongCommandNameIsCutAtSixtyFourCharacters) {
    ProcessHost host;
    FakeProcess process = example();
    process.name = std::string(64, 'n') + "more";
    process.commandLine = "";
    host.put(process);
    Reading reading;

    ASSERT_EQ(reading.read(4321), 1);
    EXPECT_EQ(std::string(reading.out->l_strFName), std::string(64, 'n'));
    EXPECT_EQ(std::string(reading.out->l_strPname), "[" + std::string(64, 'n') + "]");
    EXPECT_EQ(std::string(reading.raw->cmd), std::string(39, 'n'));
}

TEST(ProcessReader, PushModeTakesTheCommandNameAndLeavesTheCommandLineAlone) {
    ProcessHost host;
    host.put(example());
    Reading reading;

    ASSERT_EQ(reading.read(4321, 1), 1);
    EXPECT_STREQ(reading.out->l_strPname, "worker");
}

TEST(ProcessReader, EveryModeBelowOneReadsTheCommandLine) {
    ProcessHost host;
    host.put(example());
    Reading reading;

    ASSERT_EQ(reading.read(4321, -1), 1);
    EXPECT_STREQ(reading.out->l_strPname, "ls -l ");
    ASSERT_EQ(reading.read(4321, 2), 1);
    EXPECT_STREQ(reading.out->l_strPname, "worker");
}

TEST(ProcessReader, WithoutMemoryForTheSampleTheProcessFails) {
    ProcessHost host;
    host.put(example());
    Reading reading;

    for (const int allocation : {0, 1}) { // the sample, its place in the map
        systemHooks().failNewAfter = allocation;
        EXPECT_EQ(reading.read(4321), 0);
        EXPECT_TRUE(reading.collector.m_ProcMap.empty());
    }
    EXPECT_EQ(reading.read(4321), 1) << "and the next time it is read";
}

TEST(ProcessReader, EachMissingOrBrokenFileFailsTheProcess) {
    ProcessHost host;
    Reading reading;
    EXPECT_EQ(reading.read(4321), 0) << "no directory";

    host.put(example());
    ASSERT_EQ(reading.read(4321), 1);

    for (const char *file : {"stat", "statm"}) {
        const std::string path = std::string("proc/4321/") + file;
        host.put(example());
        host.erase(path);
        EXPECT_EQ(reading.read(4321), 0) << file << " vanished";
        host.write(path, "");
        EXPECT_EQ(reading.read(4321), 0) << file << " empty";
        host.write(path, "12 13");
        EXPECT_EQ(reading.read(4321), 0) << file << " short";
        host.erase(path);
        host.write(path + "/x", "");
        EXPECT_EQ(reading.read(4321), 0) << file << " unreadable";
    }
    host.put(example());
    EXPECT_EQ(reading.read(4321), 1);
}

TEST(ProcessReader, FailedReadLeavesThePreviousSampleAlone) {
    ProcessHost host;
    host.put(example());
    Reading reading;
    ASSERT_EQ(reading.read(4321), 1);

    host.erase("proc/4321/statm");
    ASSERT_EQ(reading.read(4321), 0);

    EXPECT_EQ(reading.collector.m_ProcMap.at(4321)->m_fOldCpuTime, 366100);
}

TEST(ProcessReader, MissingIoFileShowsNoOtherProcessesFigures) {
    ProcessHost host;
    host.put(example());
    FakeProcess other = example();
    other.pid = 4322;
    other.io.reset();
    host.put(other);
    FakeProcess denied = example();
    denied.pid = 4323;
    denied.io.reset();
    host.put(denied);
    host.write("proc/4323/io/x", ""); // opens, but cannot be read
    Reading reading;

    for (const int pid : {4322, 4323}) {
        ASSERT_EQ(reading.read(4321), 1);
        ASSERT_DOUBLE_EQ(reading.out->l_dIOByteCom, 2.5);
        ASSERT_EQ(reading.read(pid), 1) << "a missing io file is no failure";
        EXPECT_DOUBLE_EQ(reading.out->l_dIOByteCom, 0) << pid;
    }
}

TEST(ProcessReader, PidIsTheOneThatStatTells) {
    ProcessHost host;
    host.put(example());
    host.write("proc/7/stat", statLine(example()));
    host.write("proc/7/statm", "1 2 3 4 5 6 7\n");
    Reading reading;

    ASSERT_EQ(reading.read(7), 1);
    EXPECT_EQ(reading.out->l_nPid, 4321);
    EXPECT_TRUE(reading.collector.m_ProcMap.contains(4321));
}

TEST(ProcessReader, StatesAreNormalised) {
    ProcessHost host;
    Reading reading;
    const auto shown = [&](char state) {
        FakeProcess process = example();
        process.state = state;
        host.put(process);
        EXPECT_EQ(reading.read(4321), 1);
        return reading.out->l_chStatus;
    };

    EXPECT_EQ(shown('D'), 'S');
    EXPECT_EQ(shown('S'), 'S');
    EXPECT_EQ(shown('R'), 'R');
    EXPECT_EQ(shown('T'), 'T');
    EXPECT_EQ(shown('Z'), 'Z');
    for (const char other : {'I', 't', 'X', 'W', 'P', 's'})
        EXPECT_EQ(shown(other), '?') << other;
}

TEST(ProcessReader, UnknownMemoryTotalGivesNoPercent) {
    ProcessHost host;
    host.put(example());
    Reading reading;

    ASSERT_EQ(reading.collector.fMReadProcTable(4321, reading.raw.get(), reading.out.get(), 0, now, 0), 1);
    EXPECT_FLOAT_EQ(reading.out->l_dPMEM, 0);
}

TEST(ProcessReader, CpuTimeOfDaysIsWritten) {
    ProcessHost host;
    FakeProcess process = example();
    process.utime = 9006100; // 90061 seconds and a tick
    process.stime = 1;
    host.put(process);
    Reading reading;

    ASSERT_EQ(reading.read(4321), 1);
    EXPECT_STREQ(reading.out->l_strCTime, "1 days 01:01:01");
}

// Files that lie: nothing may overflow, and texts stay within their fields.
TEST(ProcessReader, AbsurdFiguresAreSurvived) {
    ProcessHost host;
    FakeProcess process = example();
    process.utime = 9223372036854775807;
    process.stime = 9223372036854775807;
    process.start = 9223372036854775807;
    process.residentPages = 9223372036854775807;
    process.virtualBytes = 18446744073709551615UL;
    process.io = std::pair(18446744073709551615ULL, 18446744073709551615ULL);
    host.put(process);
    Reading reading;
    std::strcpy(reading.collector.m_strUpTime, "99999999999999999999999999999");

    ASSERT_EQ(reading.read(4321), 1);
    EXPECT_LE(std::strlen(reading.out->l_strCTime), 21U);
    EXPECT_LE(std::strlen(reading.out->l_strStart), 21U);
    EXPECT_EQ(reading.out->l_nCTime, -2) << "the low 32 bits of 2^64 - 2";
}

TEST(ProcessReader, LongUserNameIsBounded) {
    ProcessHost host;
    host.put(example());
    answerUserName("a-user-name-of-more-than-thirty-one-characters");
    Reading reading;

    ASSERT_EQ(reading.read(4321), 1);
    EXPECT_STREQ(reading.out->l_strUname, "a-user-name-of-more-than-thirty");
}

TEST(RealTimeReader, GivesNamesOwnerPidAndStartOnly) {
    ProcessHost host;
    host.put(example());
    host.erase("proc/4321/statm");
    host.erase("proc/4321/io");
    answerUserName("operator");
    Reading reading;
    reading.collector.m_tTime = 1700000000;
    std::strcpy(reading.collector.m_strUpTime, "1000");

    ASSERT_EQ(reading.readReal(4321), 1);

    EXPECT_EQ(reading.out->l_nPid, 4321);
    EXPECT_EQ(reading.out->l_nStart, 1699999123);
    EXPECT_STREQ(reading.out->l_strPname, "ls -l ");
    EXPECT_STREQ(reading.out->l_strFName, "worker");
    EXPECT_STREQ(reading.out->l_strUname, "operator");
    EXPECT_EQ(reading.out->l_ulRSS, 0U);
    EXPECT_EQ(reading.out->l_nIsUpNow, 0);
    EXPECT_TRUE(reading.collector.m_ProcMap.empty());
}

TEST(RealTimeReader, PidIsTheOneAskedFor) {
    ProcessHost host;
    host.write("proc/7/stat", statLine(example()));
    Reading reading;

    ASSERT_EQ(reading.readReal(7), 1);
    EXPECT_EQ(reading.out->l_nPid, 7);
    EXPECT_STREQ(reading.out->l_strPname, "[worker]") << "without a command line";
}

TEST(RealTimeReader, MissingDirectoryAndStatFail) {
    ProcessHost host;
    Reading reading;

    EXPECT_EQ(reading.readReal(4321), 0);
    host.put(example());
    host.write("proc/4321/stat", "");
    EXPECT_EQ(reading.readReal(4321), 0);
    host.write("proc/4321/stat", "4321 (worker) S 1\n");
    EXPECT_EQ(reading.readReal(4321), 0);
    host.erase("proc/4321/stat");
    EXPECT_EQ(reading.readReal(4321), 0);
}

TEST(ProcessReader, WithoutProcNothingIsRead) {
    HostFixture host;
    Reading reading;

    EXPECT_EQ(reading.read(1), 0);
    EXPECT_EQ(reading.readReal(1), 0);
}

} // namespace

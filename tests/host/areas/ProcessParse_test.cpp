// The parsers of stat, statm, cmdline and cgroup, by numbers computed by hand.
#include "host/areas/ProcessParse.h"

#include <gtest/gtest.h>

namespace {

using zel::Absence;
using zel::Process;
using zel::ProcessUnits;
using zel::StatLine;

constexpr ProcessUnits units{100, 4096, true};

// The columns of a 6.x kernel, each with a number of its own.
const std::string tail = " S 11 12 13 34816 15 4194304 16 17 18 19 250 130 400 75 20 -5 7 0 4200 1048576 25 "
                         "18446744073709551615 1 2 3 4 5 6 7 8 9 10 11 12 -1 3 40 2 150 60 90 1 2 3 4 5 6 7 0\n";

Process parsed(const std::string &text, const ProcessUnits &host = units) {
    StatLine line;
    Process process;
    if (zel::parseStatLine(text, line))
        zel::takeStatLine(line, host, process);
    else
        zel::loseStat(Absence::Malformed, process);
    return process;
}

TEST(ProcessStat, GivesEveryColumn) {
    const Process process = parsed("42 (daemon)" + tail);
    EXPECT_EQ(process.name, "daemon");
    EXPECT_EQ(*process.state, "S");
    EXPECT_EQ(*process.parentPid, 11u);
    EXPECT_EQ(*process.processGroup, 12u);
    EXPECT_EQ(*process.session, 13u);
    EXPECT_EQ(*process.terminal, 34816u); // major 136, minor 0: 136 * 256
    EXPECT_EQ(*process.minorFaults, 16u);
    EXPECT_EQ(*process.childrenMinorFaults, 17u);
    EXPECT_EQ(*process.majorFaults, 18u);
    EXPECT_EQ(*process.childrenMajorFaults, 19u);
    EXPECT_DOUBLE_EQ(*process.userSeconds, 2.5);
    EXPECT_DOUBLE_EQ(*process.systemSeconds, 1.3);
    EXPECT_DOUBLE_EQ(*process.childrenUserSeconds, 4);
    EXPECT_DOUBLE_EQ(*process.childrenSystemSeconds, 0.75);
    EXPECT_DOUBLE_EQ(*process.priority, 20);
    EXPECT_DOUBLE_EQ(*process.nice, -5);
    EXPECT_EQ(*process.threads, 7u);
    EXPECT_DOUBLE_EQ(*process.startSeconds, 42);
    EXPECT_EQ(*process.processor, 3u);
    EXPECT_EQ(*process.realtimePriority, 40u);
    EXPECT_EQ(*process.policy, 2u);
    EXPECT_DOUBLE_EQ(*process.delaySeconds, 1.5);
    EXPECT_DOUBLE_EQ(*process.guestSeconds, 0.6);
    EXPECT_DOUBLE_EQ(*process.childrenGuestSeconds, 0.9);
    EXPECT_EQ(*process.kernelThread, 0u);
}

TEST(ProcessStat, OtherClocksCountOtherTicks) {
    EXPECT_DOUBLE_EQ(*parsed("42 (a)" + tail, {250, 4096, true}).userSeconds, 1);
}

TEST(ProcessStat, NameEndsAtTheLastBracket) {
    EXPECT_EQ(parsed("42 (a) R 1 (b)" + tail).name, "a) R 1 (b");
    EXPECT_EQ(*parsed("42 (a) R 1 (b)" + tail).parentPid, 11u);
    EXPECT_EQ(parsed("42 ())" + tail).name, ")");
    EXPECT_EQ(parsed("42 ()" + tail).name, "");
    EXPECT_EQ(parsed("42 ( two words )" + tail).name, " two words ");
}

TEST(ProcessStat, NameKeepsItsBytes) {
    EXPECT_EQ(parsed("42 (a\nb\x1b[2J\xff\t)" + tail).name, "a\nb\x1b[2J\xff\t");
}

TEST(ProcessStat, NameIsCutAtItsLimit) {
    EXPECT_EQ(parsed("42 (" + std::string(5000, 'n') + ")" + tail).name, std::string(zel::PROCESS_NAME_LIMIT, 'n'));
}

TEST(ProcessStat, ThreadOfTheKernelHasItsFlag) {
    EXPECT_EQ(*parsed("2 (kthreadd) S 0 0 0 0 -1 2129984 0 0 0 0 0 0 0 0 20 0 1 0 21 0 0\n").kernelThread, 1u);
}

TEST(ProcessStat, NoTerminalAndNoGroupAreNoNumbers) {
    const Process process = parsed("42 (a) S 0 -1 -1 0 -1 64 0 0 0 0 0 0 0 0 20 0 1 0 21 0 0\n");
    EXPECT_EQ(process.terminal.absence(), Absence::Unsupported);
    EXPECT_EQ(process.processGroup.absence(), Absence::Unsupported);
    EXPECT_EQ(process.session.absence(), Absence::Unsupported);
    EXPECT_EQ(*process.parentPid, 0u); // that of the first process
}

TEST(ProcessStat, KernelThatWritesFewerColumnsLeavesTheRestUnsupported) {
    const Process process = parsed("42 (a) S 1 2 3 0 -1 64 5 6 7 8 9 10 11 12 20 0 0 0 21 4096 3\n");
    EXPECT_DOUBLE_EQ(*process.userSeconds, 0.09);
    EXPECT_DOUBLE_EQ(*process.startSeconds, 0.21);
    EXPECT_EQ(process.processor.absence(), Absence::Unsupported);
    EXPECT_EQ(process.policy.absence(), Absence::Unsupported);
    EXPECT_EQ(process.guestSeconds.absence(), Absence::Unsupported);
    EXPECT_EQ(process.threads.absence(), Absence::Unsupported); // kernels before 2.6 write 0
}

TEST(ProcessStat, ColumnsThatAKernelAppendsAreIgnored) {
    std::string text = "42 (a)" + tail;
    text.insert(text.size() - 1, " 1 2 3 4 5 6 7 8 9");
    EXPECT_DOUBLE_EQ(*parsed(text).childrenGuestSeconds, 0.9);
}

TEST(ProcessStat, LineThatBreaksOffIsMalformedFromThere) {
    const Process process = parsed("42 (a) R 1 2 3 0 -1 64 5 6 7 8 9");
    EXPECT_EQ(*process.state, "R");
    EXPECT_EQ(*process.minorFaults, 5u);
    EXPECT_EQ(process.systemSeconds.absence(), Absence::Malformed);
    EXPECT_EQ(process.startSeconds.absence(), Absence::Malformed);
    EXPECT_EQ(process.threads.absence(), Absence::Malformed);
    EXPECT_EQ(process.policy.absence(), Absence::Malformed);
}

TEST(ProcessStat, GarbageInAColumnEndsTheLine) {
    const Process process = parsed("42 (a) R 1 2 3 0 -1 64 5 6 7 8 9 x 11 12 20 0 1 0 21 4096 3\n");
    EXPECT_DOUBLE_EQ(*process.userSeconds, 0.09);
    EXPECT_EQ(process.systemSeconds.absence(), Absence::Malformed);
    EXPECT_EQ(process.nice.absence(), Absence::Malformed);
}

TEST(ProcessStat, NegativeCountIsMalformed) {
    const Process process = parsed("42 (a) R -7 2 3 0 -1 64 5 6 7 8 -9 10 11 12 -51 0 1 0 21 4096 3\n");
    EXPECT_EQ(process.parentPid.absence(), Absence::Malformed);
    EXPECT_EQ(process.userSeconds.absence(), Absence::Malformed);
    EXPECT_DOUBLE_EQ(*process.priority, -51); // a real-time process has one
}

TEST(ProcessStat, TextWithoutTheNumberAndANameIsNone) {
    for (const char *text : {"", "\n", "42", "42 ", "42 (", "42 (a", "42 a) S 1", "(a) S 1 2 3", "x (a) S 1 2", ")",
                             "42 )", "42 (a)", "42 (a) ", "42 (a)S 1", "-42 (a) S 1", "99999999999999999999 (a) S 1"}) {
        const Process process = parsed(text);
        EXPECT_EQ(process.state.absence(), Absence::Malformed) << text;
        EXPECT_EQ(process.startSeconds.absence(), Absence::Malformed) << text;
        EXPECT_EQ(process.delaySeconds.absence(), Absence::Malformed) << text;
        EXPECT_EQ(process.kernelThread.absence(), Absence::Malformed) << text;
        EXPECT_EQ(process.name, "") << text;
    }
}

TEST(ProcessStat, HugeLineIsTakenByItsColumns) {
    EXPECT_EQ(*parsed("42 (a) S 1 2 3" + std::string(100000, ' ') + "4 5 6\n").terminal, 4u);
    EXPECT_EQ(parsed("42 (a) S " + std::string(100000, '9') + "\n").name, "a");
}

TEST(ProcessStat, DelaysThatAreNotAccountedForAreNoZero) {
    EXPECT_EQ(parsed("42 (a)" + tail, {100, 4096, false}).delaySeconds.absence(), Absence::Unsupported);
}

TEST(ProcessStat, LineOfAProcessThatIsBeingRemovedIsKnown) {
    StatLine line;
    ASSERT_TRUE(zel::parseStatLine("42 (a) X 0 -1 -1 0 -1 64 0 0 0 0 0 0 0 0 20 0 0 0 21 0 0\n", line));
    EXPECT_TRUE(line.isRemoved());
    ASSERT_TRUE(zel::parseStatLine("42 (a) Z 1 42 42 0 -1 64 0 0 0 0 0 0 0 0 20 0 1 0 21 0 0\n", line));
    EXPECT_FALSE(line.isRemoved());
}

TEST(ProcessStatm, CountsPages) {
    Process process;
    zel::takeStatm("10 20 30 40 0 50 0\n", units, process);
    EXPECT_EQ(*process.virtualBytes, 40960u);
    EXPECT_EQ(*process.residentBytes, 81920u);
    EXPECT_EQ(*process.sharedBytes, 122880u);
    EXPECT_EQ(*process.textBytes, 163840u);
    EXPECT_EQ(*process.dataBytes, 204800u);
}

TEST(ProcessStatm, WhatIsMissingOrDoesNotFitIsMalformed) {
    Process process;
    zel::takeStatm("10 9999999999999999 30", units, process);
    EXPECT_EQ(*process.virtualBytes, 40960u);
    EXPECT_EQ(process.residentBytes.absence(), Absence::Malformed);
    EXPECT_EQ(*process.sharedBytes, 122880u);
    EXPECT_EQ(process.textBytes.absence(), Absence::Malformed);
    EXPECT_EQ(process.dataBytes.absence(), Absence::Malformed);
    zel::takeStatm("10 20 18446744073709551615 40 0 50 0\n", units, process); // some kernels count below 0
    EXPECT_EQ(process.sharedBytes.absence(), Absence::Malformed);
    EXPECT_EQ(*process.dataBytes, 204800u);
    zel::takeStatm("", units, process);
    EXPECT_EQ(process.virtualBytes.absence(), Absence::Malformed);
    zel::takeStatm("-1 2 3 4 5 6 7", units, process);
    EXPECT_EQ(process.virtualBytes.absence(), Absence::Malformed);
}

std::string commandLine(std::string text) {
    zel::Reading<std::string> reading;
    zel::takeCommandLine(text.data(), text.size(), reading);
    return reading ? *reading : std::string(zel::absenceName(reading.absence()));
}

TEST(ProcessCommandLine, HasBlanksBetweenArguments) {
    EXPECT_EQ(commandLine(std::string("/bin/sh\0-c\0echo  a\0", 19)), "/bin/sh -c echo  a");
    EXPECT_EQ(commandLine("nginx: worker process"), "nginx: worker process");
    EXPECT_EQ(commandLine(std::string("a\0\0b\0", 5)), "a  b"); // an empty argument
    EXPECT_EQ(commandLine(std::string("sshd: user [priv]\0\0\0\0\0", 22)), "sshd: user [priv]");
    EXPECT_EQ(commandLine(std::string("a\nb\x1b\0", 5)), "a\nb\x1b");
}

TEST(ProcessCommandLine, EmptyOneIsNone) {
    EXPECT_EQ(commandLine(""), "unsupported");
    EXPECT_EQ(commandLine(std::string("\0\0", 2)), "unsupported");
}

TEST(ProcessCgroup, IsThatOfTheOneHierarchy) {
    EXPECT_EQ(zel::cgroupPath("0::/user.slice/user-1000.slice\n"), "/user.slice/user-1000.slice");
    EXPECT_EQ(zel::cgroupPath("0::/\n"), "/");
    EXPECT_EQ(zel::cgroupPath("0::/no line end"), "/no line end");
    EXPECT_EQ(zel::cgroupPath("0::/a:b:c\n"), "/a:b:c");
}

TEST(ProcessCgroup, IsThatOfMemoryAmongSeveral) {
    EXPECT_EQ(zel::cgroupPath("12:cpu,cpuacct:/c\n11:memory:/m\n1:name=systemd:/s\n0::/u\n"), "/m");
    EXPECT_EQ(zel::cgroupPath("12:cpu,cpuacct:/c\n1:name=systemd:/s\n"), "/c");
    EXPECT_EQ(zel::cgroupPath("12:cpuset:/x\n1:name=systemd:/s\n0::/u\n"), "/u");
    EXPECT_EQ(zel::cgroupPath("12:cpuset:/x\n1:name=systemd:/s\n"), "/s");
    EXPECT_EQ(zel::cgroupPath("12:cpuset:/x\n"), "/x");
}

TEST(ProcessCgroup, RootOfAHierarchyTellsLeast) {
    EXPECT_EQ(zel::cgroupPath("4:memory:/\n3:cpu:/\n0::/system.slice/a.service\n"), "/system.slice/a.service");
    EXPECT_EQ(zel::cgroupPath("4:memory:/\n0::/\n"), "/");
}

TEST(ProcessCgroup, LinesOfAnotherShapeAreNone) {
    for (const char *text : {"", "\n", "0", "0:", "0::", "0::relative\n", "memory\n", "::\n"})
        EXPECT_EQ(zel::cgroupPath(text), "") << text;
}

} // namespace

// What outside scripts add to a scan: the process list and the java figures of 2.4 kernels, and VMware rows.
#include "FrozenClock.h"
#include "LogCapture.h"
#include "LogRecorder.h"
#include "MM_PROC_Info.h"
#include "ProcessHost.h"
#include "ScratchHome.h"
#include "Separators.h"
#include "SettingGuard.h"
#include "Settings.h"
#include "SystemHooks.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

constexpr const char *listCommand = "../../utils/ETC/ShCmd 5 ./shell/LINUX/PSInfoLIN.sh > ../aproc/shell/PSInfoLin.dat";
constexpr const char *topCommand = "../../utils/ETC/ShCmd 5 ./shell/LINUX/top_info > ../aproc/shell/top_info.dat";

std::string figureCommand(int pid) {
    return "../../utils/ETC/ShCmd 5 ./shell/LINUX/ProcCpuUseTop.sh " + std::to_string(pid) +
           " > ../aproc/shell/ProcessPCPU.dat 2>&1";
}

FakeProcess java(int pid) {
    FakeProcess process;
    process.pid = pid;
    process.name = "java";
    process.commandLine = "/usr/bin/java";
    return process;
}

class ScriptedScan : public testing::Test {
protected:
    explicit ScriptedScan(const char *release = "2.4.21-4.ELsmp") {
        g_nProcExtendFlag = 1;
        pretendKernelRelease(release);
        collector = std::make_unique<CMM_PROC_Info>();
        systemHooks().system = [this](const char *command) {
            commands.push_back(command);
            return 0;
        };
    }

    // Scripts run as the shell has them.
    void runScripts() {
        systemHooks().system = nullptr;
        home.plainCommandRunner();
    }
    void list(const std::string &text) const { home.write("agent/aproc/shell/PSInfoLin.dat", text); }
    void figure(const std::string &text) const { home.write("agent/aproc/shell/ProcessPCPU.dat", text); }
    ProcessTable scan(int mode = 0) const {
        return mode == 0 ? ProcessTable(collector->fMGetProc(0)) : ProcessPush(collector->fMGetProc(1)).table;
    }

    FrozenClock clock;
    ScratchHome home;
    ProcessHost host;
    std::unique_ptr<CMM_PROC_Info> collector;
    std::vector<std::string> commands;
};

class CurrentKernelScan : public ScriptedScan {
protected:
    CurrentKernelScan() : ScriptedScan("6.1.0") {}
};

// Minor number 4 alone decides.
class MinorFourScan : public ScriptedScan {
protected:
    MinorFourScan() : ScriptedScan("5.4.0") {}
};

TEST_F(ScriptedScan, ListComesFromTheScript) {
    for (const int pid : {7, 8, 9})
        host.put(java(pid));
    home.script("agent/bin/shell/LINUX/PSInfoLIN.sh", "echo 9; echo '  7'; echo PID; echo; echo 8888\n");
    runScripts();
    g_nGetProcessType = 1;

    const ProcessTable table = scan();

    EXPECT_THAT(table.values("PID"), ElementsAre("9", "7"));
    EXPECT_THAT(table.values("INDEX"), ElementsAre("1", "2"));
    EXPECT_TRUE(table.ended());
    EXPECT_EQ(collector->fMGetNProcs(), 2);
}

TEST_F(ScriptedScan, ScriptIsRunOncePerScanAndOnlyWhenItIsAskedFor) {
    host.put(java(7));
    EXPECT_EQ(scan().size(), 1U) << "from /proc";
    EXPECT_TRUE(commands.empty());

    g_nGetProcessType = 1;
    list("7\n");
    EXPECT_EQ(scan().size(), 1U);
    EXPECT_THAT(commands, ElementsAre(listCommand));

    g_nGetProcessType = 2;
    EXPECT_EQ(scan().size(), 1U);
    EXPECT_EQ(commands.size(), 1U);
}

TEST_F(MinorFourScan, LaterKernelsWithMinorNumberFourTakeTheListToo) {
    host.put(java(7));
    host.put(java(8));
    g_nGetProcessType = 1;
    list("8\n");

    EXPECT_THAT(scan().values("PID"), ElementsAre("8"));
}

TEST_F(MinorFourScan, KernelRuleLeavesTheScriptsToOldKernels) {
    const SettingGuard rule(g_nKernelRule, 1);
    host.put(java(7));
    g_nGetProcessType = g_nGetProcessJAVA = 1;
    list("8\n");

    EXPECT_THAT(scan().values("PID"), ElementsAre("7"));
    EXPECT_TRUE(commands.empty());
}

TEST_F(ScriptedScan, KernelRuleLeavesTheListOf24) {
    const SettingGuard rule(g_nKernelRule, 1);
    host.put(java(7));
    host.put(java(8));
    g_nGetProcessType = 1;
    list("8\n");

    EXPECT_THAT(scan().values("PID"), ElementsAre("8"));
}

TEST_F(CurrentKernelScan, OtherKernelsTakeNoList) {
    host.put(java(7));
    g_nGetProcessType = 1;
    g_nGetProcessJAVA = 1;
    list("8\n");

    EXPECT_THAT(scan().values("PID"), ElementsAre("7"));
    EXPECT_TRUE(commands.empty());
}

TEST_F(ScriptedScan, MissingListGivesNoRows) {
    host.put(java(7));
    g_nGetProcessType = 1;

    EXPECT_EQ(collector->fMGetProc(0), nullptr);
    EXPECT_EQ(collector->fMGetNProcs(), 0);
}

TEST_F(ScriptedScan, ProcMustExistAllTheSame) {
    host.erase("proc");
    g_nGetProcessType = 1;
    list("7\n");

    EXPECT_EQ(collector->fMGetProc(0), nullptr);
    EXPECT_TRUE(commands.empty());
}

TEST_F(ScriptedScan, OverlongLineIsOnePidOnly) {
    host.put(java(7));
    host.put(java(8));
    g_nGetProcessType = 1;
    list("7" + std::string(62, ' ') + "8\n"); // the 64th character would begin a line of its own

    EXPECT_THAT(scan().values("PID"), ElementsAre("7"));
}

TEST_F(ScriptedScan, LastLineNeedsNoLineFeed) {
    host.put(java(7));
    g_nGetProcessType = 1;
    list("7");

    EXPECT_EQ(scan().size(), 1U);
}

// The reader is handed the time since the previous scan instead of a clock reading: 1e11 at first, then 400, then 600.
// Rates are taken over the difference of two such figures, here 200 hundredths from the second to the third scan.
TEST_F(ScriptedScan, RatesCompareElapsedTimes) {
    FakeProcess process = java(7);
    host.put(process);
    g_nGetProcessType = 1;
    list("7\n");
    scan();
    EXPECT_DOUBLE_EQ(collector->m_ProcMap.at(7)->m_dCurTime, 1e11);

    clock.advance(4);
    process.utime = 100;
    host.put(process);
    EXPECT_EQ(scan().value(7, "PCPU"), "0.00") << "400 - 1e11 is negative";
    EXPECT_NEAR(collector->m_ProcMap.at(7)->m_dCurTime, 400.0, 1e-6);

    clock.advance(6);
    process.utime = 150;
    host.put(process);
    EXPECT_EQ(scan().value(7, "PCPU"), "25.00");

    clock.advance(6);
    process.utime = 250;
    host.put(process);
    EXPECT_EQ(scan().value(7, "PCPU"), "0.00") << "equal cycles: an elapsed time of 0";
}

// The second scan's elapsed time is far below the first one's.
TEST_F(ScriptedScan, UnchangedCountersOfTheSecondScanGiveZerosWithoutASign) {
    host.put(java(7));
    g_nGetProcessType = 1;
    list("7\n");
    scan();

    clock.advance(4);
    const ProcessTable table = scan();

    for (const char *column : {"PCPU", "PUSERCPU", "PSYSCPU", "IOBYTE", "IOBYTERATE", "P100CPU"})
        EXPECT_EQ(table.value(7, column), "0.00") << column;
}

TEST_F(ScriptedScan, ListIsNotReadInSlices) {
    std::string pids;
    host.put(java(7));
    for (int i = 0; i < 250; ++i)
        pids += "7\n";
    g_nGetProcessType = 1;
    g_nProcSleepCnt = 100;
    list(pids);

    EXPECT_EQ(scan().size(), 250U);
    EXPECT_TRUE(clock.sleeps().empty());
}

// In this list the machine percent has the limits that it lacks in the other.
TEST_F(ScriptedScan, MachinePercentIsLimitedInTheScriptedListOnly) {
    host.processors(2);
    FakeProcess process = java(7);
    host.put(process);
    g_nGetProcessType = 1;
    g_nGetProcessJAVA = 1;
    list("7\n");
    figure("350.0\n");
    EXPECT_EQ(scan().value(7, "PCPU"), "350.00");
    EXPECT_EQ(scan().value(7, "P100CPU"), "100.00");
    figure("-3\n");
    EXPECT_EQ(scan().value(7, "P100CPU"), "0.00");

    g_nGetProcessType = 0;
    figure("350.0\n");
    EXPECT_EQ(scan().value(7, "P100CPU"), "175.00");
}

TEST_F(ScriptedScan, PushReportOfTheScriptedList) {
    host.put(java(7));
    host.put(java(8));
    g_nGetProcessType = 1;
    g_nGetProcessJAVA = 1;
    list("8\n");
    figure("12\n");

    const ProcessTable table = scan(1);

    EXPECT_THAT(table.values("PID"), ElementsAre("8"));
    EXPECT_EQ(table.value(8, "P100CPU"), "12.00");
}

TEST_F(ScriptedScan, PidThatTheScriptRepeatsIsReportedOnceInThePushReport) {
    FakeProcess process = java(7);
    process.residentPages = 1000;
    host.put(process);
    g_nGetProcessType = 1;
    list("7\n7\n7\n");

    EXPECT_EQ(scan(1).size(), 1U);
    EXPECT_EQ(collector->fMGetNProcs(), 3);
    EXPECT_EQ(scan(0).size(), 3U);
}

TEST_F(ScriptedScan, JavaProcessesTakeTheirFigureFromTheScript) {
    host.put(java(7));
    FakeProcess other = java(8);
    other.commandLine = "/usr/sbin/cron";
    host.put(other);
    home.script("agent/bin/shell/LINUX/top_info", "echo top >> ../aproc/shell/top_runs\n");
    home.script("agent/bin/shell/LINUX/ProcCpuUseTop.sh", "echo $1.25\necho second line\n");
    runScripts();
    g_nGetProcessJAVA = 1;

    const ProcessTable table = scan();

    EXPECT_EQ(table.value(7, "PCPU"), "7.25") << "the pid was handed over, and decimals are kept";
    EXPECT_EQ(table.value(8, "PCPU"), "0.00");
    EXPECT_EQ(home.read("agent/aproc/shell/top_runs"), "top\n");
}

TEST_F(ScriptedScan, TopOfAllIsGatheredOncePerScan) {
    host.put(java(7));
    host.put(java(8));
    g_nGetProcessJAVA = 1;

    scan();

    ASSERT_EQ(commands.size(), 3U);
    EXPECT_EQ(commands[0], topCommand);
    EXPECT_THAT((std::vector<std::string>{commands[1], commands[2]}),
                testing::UnorderedElementsAre(figureCommand(7), figureCommand(8)));

    scan();
    EXPECT_EQ(commands.size(), 6U);
    EXPECT_EQ(commands[3], topCommand);
}

TEST_F(ScriptedScan, JavaNeedsItsSettingAndTheKernel) {
    host.put(java(7));
    figure("55\n");
    EXPECT_EQ(scan().value(7, "PCPU"), "0.00");
    EXPECT_TRUE(commands.empty());
}

TEST_F(ScriptedScan, TimeOfTheTopScriptIsLogged) {
    host.put(java(7));
    g_nGetProcessJAVA = 1;
    systemHooks().system = [this](const char *command) {
        if (std::string(command) == topCommand)
            clock.advance(3);
        return 0;
    };
    const LogCapture log;

    scan();

    EXPECT_THAT(log.messages(), ElementsAre("MinorNum[4]GtrProcType[0]GtrJavaProc[1]", "top_info gatherTime[3]"));
}

TEST_F(ScriptedScan, MissingFigureKeepsTheReadersValue) {
    FakeProcess process = java(7);
    host.put(process);
    g_nGetProcessJAVA = 1;
    scan();
    clock.advance(1);
    process.utime = 30;
    host.put(process);

    EXPECT_EQ(scan().value(7, "PCPU"), "30.00");
}

TEST_F(ScriptedScan, FigureIsADecimalNumberOrNothing) {
    host.put(java(7));
    g_nGetProcessJAVA = 1;
    const auto shown = [this](const std::string &text) {
        figure(text);
        return scan().value(7, "PCPU");
    };

    EXPECT_EQ(shown("12.5\n"), "12.50");
    EXPECT_EQ(shown("  7"), "7.00");
    EXPECT_EQ(shown("+3.25 %\n"), "3.25");
    EXPECT_EQ(shown("sh: not found\n"), "0.00");
    EXPECT_EQ(shown("\n12\n"), "0.00");
    EXPECT_EQ(shown("nan\n"), "0.00");
    EXPECT_EQ(shown("inf\n"), "0.00");
    EXPECT_EQ(shown("1e300\n"), "0.00");
    EXPECT_EQ(shown("1e999\n"), "0.00");
    EXPECT_EQ(shown("0x10\n"), "0.00");
}

class VMwareRows : public ScriptedScan {
protected:
    VMwareRows() {
        collector->fSetVMFlag(1, 1);
        host.put(java(7));
        g_nProcExtendFlag = 0; // 14 columns
    }

    static std::string guest(int pid) {
        return "9" + C + std::to_string(pid) + C + "guest" + C + "1.00" + C + "2.00" + C + "3" + C + "4" + C + "R" + C +
               "0" + C + "1" + C + "root" + C + "5" + C + "6" + C + "7" + C;
    }
};

TEST_F(VMwareRows, FollowTheProcesses) {
    home.write("agent/aproc/shell/vmware_proc.dat", guest(1001) + "\n" + guest(1002) + "\n");

    const ProcessTable table = scan();

    EXPECT_THAT(table.values("PID"), ElementsAre("7", "1001", "1002"));
    EXPECT_EQ(table.value(1002, "ARGS"), "guest");
    EXPECT_TRUE(table.ended());
    EXPECT_EQ(collector->fMGetNProcs(), 3);
}

TEST_F(VMwareRows, LastLineWithoutALineFeedLosesNothing) {
    home.write("agent/aproc/shell/vmware_proc.dat", guest(1001));

    const char *text = collector->fMGetProc(0);

    ASSERT_NE(text, nullptr);
    EXPECT_NE(std::string(text).find(R + guest(1001) + R + "torv_token_end"), std::string::npos);
}

TEST_F(VMwareRows, OlderFileIsTakenWhenTheNewOneIsMissing) {
    home.write("agent/aproc/shell/vmware_proc.dat_", guest(1003) + "\n");
    EXPECT_THAT(scan().values("PID"), ElementsAre("7", "1003"));

    home.write("agent/aproc/shell/vmware_proc.dat", guest(1001) + "\n");
    EXPECT_THAT(scan().values("PID"), ElementsAre("7", "1001"));
}

TEST_F(VMwareRows, MissingFilesAreLogged) {
    const LogCapture log;

    EXPECT_EQ(scan().size(), 1U);

    EXPECT_THAT(log.messages(), ElementsAre("MinorNum[4]GtrProcType[0]GtrJavaProc[0]",
                                            "VMWare PROC Gtr ../aproc/shell/vmware_proc.dat file not found"));
}

TEST_F(VMwareRows, NeedBothFlags) {
    home.write("agent/aproc/shell/vmware_proc.dat", guest(1001) + "\n");
    for (const auto &[flag, vmware] : {std::pair(0, 1), std::pair(1, 0), std::pair(0, 0), std::pair(2, 1)}) {
        collector->fSetVMFlag(flag, vmware);
        EXPECT_EQ(collector->m_nVMFlag, flag);
        EXPECT_EQ(collector->m_nIsVMWare, vmware);
        EXPECT_EQ(scan().size(), 1U);
    }
}

TEST_F(VMwareRows, AloneAreEnoughForAResult) {
    host.remove(7);
    home.write("agent/aproc/shell/vmware_proc.dat", guest(1001) + "\n");

    EXPECT_EQ(scan().size(), 1U);
}

TEST_F(VMwareRows, FollowTheScriptedListToo) {
    g_nGetProcessType = 1;
    list("7\n");
    home.write("agent/aproc/shell/vmware_proc.dat", guest(1001) + "\n");

    EXPECT_THAT(scan().values("PID"), ElementsAre("7", "1001"));
}

TEST_F(VMwareRows, OverlongLineIsCutToOneRow) {
    std::string line = guest(1001);
    line += std::string(600 - line.size(), 'x');
    home.write("agent/aproc/shell/vmware_proc.dat", line + "\n" + guest(1002) + "\n");

    const char *text = collector->fMGetProc(0);

    ASSERT_NE(text, nullptr);
    EXPECT_NE(std::string(text).find(R + line.substr(0, 511) + R + guest(1002) + R), std::string::npos);
    EXPECT_EQ(collector->fMGetNProcs(), 3);
}

TEST_F(VMwareRows, CannotForgeFurtherRows) {
    home.write("agent/aproc/shell/vmware_proc.dat",
               "9" + C + "1001" + C + "a" + R + "b" + guest(1).substr(guest(1).find(C + "1.00")) + "\n");

    const ProcessTable table = scan();

    EXPECT_EQ(table.size(), 2U);
    EXPECT_EQ(table.value(1001, "ARGS"), "a  |b");
}

// Counted, and written, but no entries of the push list.
TEST_F(VMwareRows, StandInThePushReportBeforeTheTopProcesses) {
    g_nProcExtendFlag = 1;
    FakeProcess process = java(7);
    process.residentPages = 1000;
    host.put(process);
    std::string rows;
    for (int i = 0; i < 150; ++i)
        rows += "guest row " + std::to_string(i) + "\n";
    home.write("agent/aproc/shell/vmware_proc.dat", rows);

    const char *text = collector->fMGetProc(1);

    ASSERT_NE(text, nullptr);
    EXPECT_EQ(collector->fMGetNProcs(), 151);
    const std::string all = text;
    const std::size_t last = all.find(R + "guest row 149" + R + "0" + C + "7" + C + "java" + C);
    EXPECT_NE(last, std::string::npos);
    EXPECT_EQ(all.find(R + "guest row 0" + R), all.find("P100CPU" + C) + 10);
    EXPECT_EQ(all.find(R, last + 17), std::string::npos) << "one top row";
}

// Guests count, so that they alone take the count beyond the capacity of the push list; the process is one more.
TEST_F(VMwareRows, CapacityOfTheNextPushScanFollowsTheCount) {
    const auto capacityAfter = [this](int guests, int capacity) {
        std::string rows;
        for (int i = 0; i < guests; ++i)
            rows += "x\n";
        home.write("agent/aproc/shell/vmware_proc.dat", rows);
        collector->m_nActiveSize = capacity;
        EXPECT_NE(collector->fMGetProc(1), nullptr);
        EXPECT_EQ(collector->fMGetNProcs(), guests + 1);
        return collector->m_nActiveSize;
    };

    EXPECT_EQ(capacityAfter(10000, 10000), 11001) << "1000 more than the count";
    EXPECT_EQ(capacityAfter(10000, 10001), 10001) << "not exceeded";
    EXPECT_EQ(capacityAfter(8999, 20000), 20000) << "9000 keep it";
    EXPECT_EQ(capacityAfter(8998, 20000), 10000);
}

TEST_F(VMwareRows, MessagesHaveTheirGatesAndLevels) {
    g_nGetProcessJAVA = 1;
    const LogRecorder log;
    {
        const OpenGate gate(g_nLogModNORMAL, 128, g_nLoggingNORMAL2, 4096);
        scan();
    }
    const LogCall switches{2, "MM_PROC_Info", "MinorNum[4]GtrProcType[0]GtrJavaProc[1]"};
    EXPECT_THAT(log.calls(), ElementsAre(switches));
    {
        const OpenGate gate(g_nLogModERROR, 128, g_nLoggingERROR2, 4096);
        scan();
    }
    EXPECT_THAT(log.calls(), ElementsAre(switches, LogCall{3, "MM_PROC_Info", "top_info gatherTime[0]"},
                                         LogCall{3, "MM_PROC_Info",
                                                 "VMWare PROC Gtr ../aproc/shell/vmware_proc.dat file not found"}));
}

} // namespace

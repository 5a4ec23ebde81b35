// The command scheduler: home directory, command files, the daemon's start and stop.
#include "FrozenClock.h"
#include "HeldThread.h"
#include "LogCapture.h"
#include "NCmdScheduler.h"
#include "OwnProcess.h"
#include "PrivateMounts.h"
#include "ScratchHome.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Scheduler : public testing::Test {
protected:
    Scheduler() {
        fs::create_directory("cmd");
        systemHooks().system = [this](const char *command) {
            commands.emplace_back(command);
            syncWhileRunning.push_back(g_nCmdSync);
            return 0;
        };
    }
    ~Scheduler() override { g_nCmdSync = 0; }

    ScratchHome home;
    CCmdScheduler scheduler;
    std::vector<std::string> commands;
    std::vector<int> syncWhileRunning;
};

TEST_F(Scheduler, StartValues) {
    EXPECT_EQ(scheduler.m_nCmdSaveFlag, 0);
    EXPECT_EQ(scheduler.m_nCmdRunFlag, 0);
    EXPECT_TRUE(scheduler.m_CmdList.empty());
    EXPECT_EQ(scheduler.m_nSyncFlag, 0);
    EXPECT_EQ(scheduler.m_pstrCmdSchedulerHome, nullptr);
    EXPECT_EQ(scheduler.m_nCmdSchedulerType, 0);
    EXPECT_EQ(scheduler.m_nThreadStart, 0);
    EXPECT_EQ(scheduler.m_pcQueue, nullptr);
}

// Embedding programs read the members: they come in this order.
TEST_F(Scheduler, MembersStandInTheirOrder) {
    const void *members[] = {
        &scheduler.m_nCmdSaveFlag, &scheduler.m_nCmdRunFlag,          &scheduler.m_CmdList,
        &scheduler.m_nSyncFlag,    &scheduler.m_pstrCmdSchedulerHome, &scheduler.m_nCmdSchedulerType,
        &scheduler.m_strLogMsg,    &scheduler.m_nThreadStart,         &scheduler.m_pcQueue};
    EXPECT_EQ(members[0], &scheduler);
    EXPECT_TRUE(std::is_sorted(std::begin(members), std::end(members), std::less<>()));
}

TEST_F(Scheduler, HomeEndsInASlash) {
    const LogCapture log;
    EXPECT_EQ(scheduler.fSetCmdSchedulerHomePath("/opt/cmd"), 1);
    EXPECT_STREQ(scheduler.m_pstrCmdSchedulerHome, "/opt/cmd/");
    EXPECT_EQ(scheduler.fSetCmdSchedulerHomePath("cmd/"), 1);
    EXPECT_STREQ(scheduler.m_pstrCmdSchedulerHome, "cmd/");
    EXPECT_THAT(log.messages(), ElementsAre("command schedule daemon home path set : /opt/cmd/",
                                            "command schedule daemon home path set : cmd/"));
}

TEST_F(Scheduler, NullHomeIsRefusedAndEmptyHomeStaysEmpty) {
    EXPECT_EQ(scheduler.fSetCmdSchedulerHomePath(nullptr), 0);
    EXPECT_EQ(scheduler.m_pstrCmdSchedulerHome, nullptr);
    EXPECT_EQ(scheduler.fSetCmdSchedulerHomePath(""), 1);
    EXPECT_STREQ(scheduler.m_pstrCmdSchedulerHome, "");
}

TEST_F(Scheduler, LongHomeIsCutToItsField) {
    scheduler.fSetCmdSchedulerHomePath(std::string(2000, 'h').c_str());
    EXPECT_EQ(scheduler.m_pstrCmdSchedulerHome, std::string(510, 'h') + "/");
    const std::string slashAtTheCut = std::string(509, 'h') + "/" + std::string(100, 'x');
    scheduler.fSetCmdSchedulerHomePath(slashAtTheCut.c_str());
    EXPECT_EQ(scheduler.m_pstrCmdSchedulerHome, std::string(509, 'h') + "/");
}

TEST_F(Scheduler, HomeWithoutMemoryIsRefused) {
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(scheduler.fSetCmdSchedulerHomePath("cmd"), 0);
    EXPECT_EQ(scheduler.m_pstrCmdSchedulerHome, nullptr);
}

TEST_F(Scheduler, SchedulerThatGoesUninstallsItself) {
    {
        CCmdScheduler other;
        g_pclCCmdScheduler = &other;
    }
    EXPECT_EQ(g_pclCCmdScheduler, nullptr);
}

using CommandFiles = Scheduler;

TEST_F(CommandFiles, CommandIsWrittenWithoutLineEnd) {
    const LogCapture log;
    scheduler.fSetCmdSchedulerHomePath("cmd");
    EXPECT_EQ(scheduler.fCmdSave("disk/usage", "df -k > x"), 0);
    EXPECT_EQ(home.read("agent/bin/cmd/shcmd_disk_usage.cmd"), "df -k > x");
    EXPECT_EQ(scheduler.m_nCmdSaveFlag, 1);
    EXPECT_THAT(log.messages(), testing::Contains("command save success[cmd/shcmd_disk_usage.cmd] : df -k > x"));
    EXPECT_EQ(log.lines()[0].substr(0, 22), "[INFO][NCmdScheduler][");
}

TEST_F(CommandFiles, EveryByteThatIsNoAsciiLetterOrDigitBecomesAnUnderscore) {
    scheduler.fSetCmdSchedulerHomePath("cmd");
    EXPECT_EQ(scheduler.fCmdSave("a.B-0 \xC3\xA9;..", "x"), 0); // two bytes of one letter
    EXPECT_TRUE(home.exists("agent/bin/cmd/shcmd_a_B_0______.cmd"));
}

// The signal of a full file ends the program unless it is kept away.
TEST_F(CommandFiles, LimitOfFileSizesLeavesNoHalfCommandAndEndsNoProgram) {
    scheduler.fSetCmdSchedulerHomePath("cmd");
    const auto body = [this] {
        limitFileSize(3);
        EXPECT_EQ(scheduler.fCmdSave("key", "command"), -1);
    };
    EXPECT_SURVIVED(body);
    EXPECT_FALSE(home.exists("agent/bin/cmd/shcmd_key.cmd"));
}

TEST_F(CommandFiles, PendingCommandIsSkipped) {
    scheduler.fSetCmdSchedulerHomePath("cmd");
    home.write("agent/bin/cmd/shcmd_key.cmd", "older");
    const LogCapture log;
    EXPECT_EQ(scheduler.fCmdSave("key", "newer"), 0);
    EXPECT_EQ(home.read("agent/bin/cmd/shcmd_key.cmd"), "older");
    EXPECT_EQ(scheduler.m_nCmdSaveFlag, 1);
    EXPECT_THAT(log.messages(), ElementsAre("command already save [cmd/shcmd_key.cmd]-skip : newer"));
}

TEST_F(CommandFiles, LinkIsNeverWrittenThrough) {
    scheduler.fSetCmdSchedulerHomePath("cmd");
    fs::create_symlink("../target", "cmd/shcmd_key.cmd");
    EXPECT_EQ(scheduler.fCmdSave("key", "command"), 0);
    EXPECT_FALSE(fs::exists("target"));
}

TEST_F(CommandFiles, RunningDaemonSavesNothing) {
    scheduler.fSetCmdSchedulerHomePath("cmd");
    scheduler.m_nCmdRunFlag = 1;
    const LogCapture log;
    EXPECT_EQ(scheduler.fCmdSave("key", "command"), 0);
    EXPECT_FALSE(home.exists("agent/bin/cmd/shcmd_key.cmd"));
    EXPECT_EQ(scheduler.m_nCmdSaveFlag, 0);
    EXPECT_THAT(log.messages(), ElementsAre("command now running(mode=1) : command"));
}

TEST_F(CommandFiles, NothingIsSavedWithoutHomeKeyOrCommand) {
    const LogCapture log;
    EXPECT_EQ(scheduler.fCmdSave("key", "command"), -1);
    scheduler.fSetCmdSchedulerHomePath("");
    EXPECT_EQ(scheduler.fCmdSave("key", "command"), -1);
    scheduler.fSetCmdSchedulerHomePath("cmd");
    EXPECT_EQ(scheduler.fCmdSave(nullptr, "command"), -1);
    EXPECT_EQ(scheduler.fCmdSave("", "command"), -1);
    EXPECT_EQ(scheduler.fCmdSave("key", nullptr), -1);
    EXPECT_EQ(scheduler.fCmdSave("key", ""), -1);
    EXPECT_THAT(log.messages(), ElementsAre("command save failed : home path strlen is null",
                                            "command schedule daemon home path set : ",
                                            "command save failed : home path strlen is zero",
                                            "command schedule daemon home path set : cmd/", "command save key is null",
                                            "command save key is strlen zero", "command save command is null",
                                            "command save command is strlen zero"));
    EXPECT_TRUE(fs::is_empty("cmd"));
}

TEST_F(CommandFiles, MissingHomeIsAnnounced) {
    scheduler.fSetCmdSchedulerHomePath("nowhere");
    const LogCapture log;
    EXPECT_EQ(scheduler.fCmdSave("key", "command"), -1);
    EXPECT_EQ(scheduler.m_nCmdSaveFlag, 0);
    EXPECT_THAT(log.messages(),
                ElementsAre("command save file(nowhere/shcmd_key.cmd) open failed : No such file or directory"));
}

TEST_F(CommandFiles, LongKeyIsCutAndTheNameRefusedByTheSystem) {
    scheduler.fSetCmdSchedulerHomePath("cmd");
    const LogCapture log;
    EXPECT_EQ(scheduler.fCmdSave(std::string(2000, 'k').c_str(), "command"), -1);
    EXPECT_THAT(log.messages(), ElementsAre("command save file(cmd/shcmd_" + std::string(511, 'k') +
                                            ".cmd) open failed : File name too long"));
}

TEST_F(CommandFiles, HomeAsLongAsItsFieldIsServed) {
    // Components of 100 characters, together longer than the field: it is cut inside the sixth.
    const std::string part(100, 'p');
    std::string path;
    for (int i = 0; i < 6; ++i)
        path += part + "/";
    scheduler.fSetCmdSchedulerHomePath(path.c_str());
    const std::string cut = path.substr(0, 510) + "/";
    EXPECT_EQ(scheduler.m_pstrCmdSchedulerHome, cut);
    fs::create_directories(cut);
    EXPECT_EQ(scheduler.fCmdSave("key", "command"), 0);
    EXPECT_EQ(home.read("agent/bin/" + cut + "shcmd_key.cmd"), "command");
}

TEST_F(CommandFiles, FailedWriteLeavesNoHalfCommand) {
    const std::string reason = withPrivateMounts([&] {
        ASSERT_TRUE(mountSmall("cmd", 16));
        home.write("agent/bin/cmd/filler", std::string(16384, 'x'));
        scheduler.fSetCmdSchedulerHomePath("cmd");
        const LogCapture log;
        EXPECT_EQ(scheduler.fCmdSave("key", "command"), -1);
        EXPECT_FALSE(fs::exists("cmd/shcmd_key.cmd"));
        EXPECT_EQ(scheduler.m_nCmdSaveFlag, 0);
        EXPECT_THAT(log.messages(), ElementsAre("command save failed[cmd/shcmd_key.cmd] : command"));
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(CommandFiles, MessagesHaveTheGateOfTheRuntime) {
    scheduler.fSetCmdSchedulerHomePath("cmd");
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB14);
        scheduler.fCmdSave("one", "command");
        scheduler.fCmdSave("", "command");
        EXPECT_THAT(log.messages(), IsEmpty());
    }
    const LogCapture log(zel::LOG_MODULE_UNI, zel::LOG_DETAIL_UNI);
    scheduler.fCmdSave("two", "command");
    scheduler.fCmdSave("", "command");
    EXPECT_THAT(log.messages(),
                ElementsAre("command save success[cmd/shcmd_two.cmd] : command", "command save key is strlen zero"));
}

TEST_F(CommandFiles, NoticesAndErrorsHaveTheirLevels) {
    scheduler.fSetCmdSchedulerHomePath("cmd");
    const LogCapture log(zel::LOG_MODULE_UNI, zel::LOG_DETAIL_UNI);
    g_nLogModNORMAL = 0;
    scheduler.fCmdSave("key", "command");
    scheduler.fCmdSave("key", "command");
    scheduler.fCmdSave("", "command");
    EXPECT_THAT(log.messages(), ElementsAre("command save key is strlen zero"));
}

TEST_F(CommandFiles, OtherModesAreServedLikeModeZero) {
    scheduler.m_nCmdSchedulerType = 7;
    scheduler.fSetCmdSchedulerHomePath("cmd");
    EXPECT_EQ(scheduler.fCmdSave("key", "command"), 0);
    EXPECT_TRUE(home.exists("agent/bin/cmd/shcmd_key.cmd"));
    EXPECT_EQ(scheduler.fCmdSchedulerStart(), 1);
    EXPECT_THAT(commands, ElementsAre("cmd/cmd_scd_start.sh cmd/"));
}

using Daemon = Scheduler;

TEST_F(Daemon, StartAndStopRunTheirScripts) {
    scheduler.fSetCmdSchedulerHomePath("cmd");
    const LogCapture log;
    EXPECT_EQ(scheduler.fCmdSchedulerStart(), 1);
    EXPECT_EQ(scheduler.fCmdSchedulerStop(), 1);
    EXPECT_THAT(commands, ElementsAre("cmd/cmd_scd_start.sh cmd/", "cmd/cmd_scd_stop.sh cmd/"));
    EXPECT_THAT(syncWhileRunning, ElementsAre(1, 1));
    EXPECT_EQ(g_nCmdSync, 0);
    EXPECT_THAT(log.messages(), ElementsAre("system command(cmd/cmd_scd_start.sh cmd/) exec end",
                                            "system command(cmd/cmd_scd_stop.sh cmd/) exec end"));
}

TEST_F(Daemon, StartForgetsThatACommandWasSaved) {
    scheduler.fSetCmdSchedulerHomePath("cmd");
    scheduler.fCmdSave("key", "command");
    scheduler.fCmdSchedulerStop();
    EXPECT_EQ(scheduler.m_nCmdSaveFlag, 1);
    scheduler.fCmdSchedulerStart();
    EXPECT_EQ(scheduler.m_nCmdSaveFlag, 0);
}

TEST_F(Daemon, RealScriptIsRunAndWaitedFor) {
    systemHooks().system = nullptr;
    home.script("agent/bin/cmd/cmd_scd_start.sh", "echo \"started in $1\" > \"$1\"state\n");
    scheduler.fSetCmdSchedulerHomePath("cmd");
    EXPECT_EQ(scheduler.fCmdSchedulerStart(), 1);
    EXPECT_EQ(home.read("agent/bin/cmd/state"), "started in cmd/\n");
}

TEST_F(Daemon, WaitsInSecondsWhileAnotherScriptRuns) {
    scheduler.fSetCmdSchedulerHomePath("cmd");
    const LogCapture log;
    g_nCmdSync = 1;
    std::vector<long> sleeps;
    systemHooks().select = [&](int, fd_set *, fd_set *, fd_set *, timeval *timeout) {
        sleeps.push_back(timeout->tv_sec * 1000000 + timeout->tv_usec);
        if (sleeps.size() == 3)
            g_nCmdSync = 0;
        return 0;
    };
    EXPECT_EQ(scheduler.fCmdSchedulerStart(), 1);
    EXPECT_THAT(sleeps, ElementsAre(1000000, 1000000, 1000000));
    const std::string waiting = "system command(cmd/cmd_scd_start.sh cmd/) execute waiting.....";
    EXPECT_THAT(log.messages(),
                ElementsAre(waiting, waiting, waiting, "system command(cmd/cmd_scd_start.sh cmd/) exec end"));
    systemHooks().select = nullptr;
}

TEST_F(Daemon, NothingRunsWithoutAUsableHome) {
    const LogCapture log;
    EXPECT_EQ(scheduler.fCmdSchedulerStart(), 0);
    EXPECT_EQ(scheduler.fCmdSchedulerStop(), 0);
    scheduler.fSetCmdSchedulerHomePath("");
    EXPECT_EQ(scheduler.fCmdSchedulerStart(), 0);
    scheduler.fSetCmdSchedulerHomePath("/x;id");
    EXPECT_EQ(scheduler.fCmdSchedulerStart(), 0);
    EXPECT_THAT(commands, IsEmpty());
    EXPECT_THAT(log.messages(), ElementsAre("command schedule daemon start failed : home path is null",
                                            "command schedule daemon start failed : home path is null",
                                            "command schedule daemon home path set : ",
                                            "command schedule daemon start failed : home path strlen is zero",
                                            "command schedule daemon home path set : /x;id/",
                                            "command schedule daemon start failed : home path is unsafe : /x;id/"));
}

} // namespace

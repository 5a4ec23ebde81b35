// The list mode of the command scheduler.
#include "FrozenClock.h"
#include "HeldThread.h"
#include "LogCapture.h"
#include "NCmdScheduler.h"
#include "ScratchHome.h"
#include "StreamCapture.h"
#include "ThreadWatch.h"
#include "scheduler/NCmdSchedulerList.h"

#include <atomic>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A scheduler in list mode at 1700000000, whose thread is driven by the test and whose commands are only noted.
class CommandList : public testing::Test {
protected:
    CommandList() {
        fs::create_directory("cmd");
        scheduler = std::make_unique<CCmdScheduler>();
        scheduler->m_nCmdSchedulerType = 1;
        scheduler->fSetCmdSchedulerHomePath("cmd");
        systemHooks().system = [this](const char *command) {
            commands.emplace_back(command);
            return 0;
        };
    }

    bool wakeUp() {
        zel::SchedulerLink link(scheduler.get());
        return zel::runCommandList(link, syncSteps);
    }

    std::vector<std::string> pending() const {
        std::vector<std::string> lines;
        for (const _CMD_SCHEDULER *command : scheduler->m_CmdList)
            lines.emplace_back(command->l_pstrCmdStr);
        return lines;
    }

    ScratchHome home;
    FrozenClock clock{1700000000};
    std::unique_ptr<CCmdScheduler> scheduler;
    std::vector<std::string> commands;
    int syncSteps = 0;
};

TEST_F(CommandList, SaveAddsARecordUnderATimedKey) {
    const LogCapture log;
    EXPECT_EQ(scheduler->fCmdSave("cpu_inv_1", "./libinvinfo 4 1"), 0);
    ASSERT_EQ(scheduler->m_CmdList.size(), 1U);
    const _CMD_SCHEDULER &record = *scheduler->m_CmdList.front();
    EXPECT_EQ(record.l_nStatus, 0);
    EXPECT_STREQ(record.l_strCmdReqKey, "cpu_inv_1_1700000000");
    EXPECT_STREQ(record.l_pstrResultFile, "cmd/cpu_inv_1_1700000000");
    EXPECT_STREQ(record.l_pstrCmdStr, "./libinvinfo 4 1;echo $? > cmd/cpu_inv_1_1700000000 &");
    EXPECT_EQ(scheduler->m_nSyncFlag, 0);
    EXPECT_THAT(log.messages(), ElementsAre("command_key[cpu_inv_1_1700000000]"));
}

TEST_F(CommandList, SyncFlagStandsWhileTheListChanges) {
    int seen = -1;
    const LogCapture log; // the key's message, and with it a look at the clock, comes in the middle of the change
    systemHooks().time = [&]() -> std::time_t {
        seen = std::max(seen, scheduler->m_nSyncFlag);
        return 1700000000;
    };
    scheduler->fCmdSave("key", "command");
    EXPECT_EQ(seen, 1);
    EXPECT_EQ(scheduler->m_nSyncFlag, 0);
}

TEST_F(CommandList, SameCommandWithinOneSecondIsDropped) {
    const LogCapture log;
    EXPECT_EQ(scheduler->fCmdSave("key", "command"), 0);
    EXPECT_EQ(scheduler->fCmdSave("key", "command"), 0);
    EXPECT_EQ(scheduler->m_CmdList.size(), 1U);
    EXPECT_THAT(log.messages(), ElementsAre("command_key[key_1700000000]", "command_key[key_1700000000]",
                                            "exists command in linked-list[command;echo $? > cmd/key_1700000000 &]"));
    clock.advance(1);
    EXPECT_EQ(scheduler->fCmdSave("key", "command"), 0);
    EXPECT_EQ(scheduler->fCmdSave("key", "other"), 0);
    EXPECT_EQ(scheduler->m_CmdList.size(), 3U);
}

TEST_F(CommandList, PushTakesTheKeyAsItIs) {
    EXPECT_EQ(scheduler->fCmdPush("key", "command"), 0);
    EXPECT_THAT(pending(), ElementsAre("command;echo $? > cmd/key &"));
}

TEST_F(CommandList, RefusesWhatIsMissing) {
    CCmdScheduler fresh;
    fresh.m_nCmdSchedulerType = 1;
    const LogCapture log;
    EXPECT_EQ(fresh.fCmdPush("key", "command"), -1);
    fresh.fSetCmdSchedulerHomePath("");
    EXPECT_EQ(fresh.fCmdPush("key", "command"), -1);
    EXPECT_EQ(scheduler->fCmdPush(nullptr, "command"), -1);
    EXPECT_EQ(scheduler->fCmdPush("", "command"), -1);
    EXPECT_EQ(scheduler->fCmdSave(nullptr, "command"), -1);
    EXPECT_EQ(scheduler->fCmdPush("key", nullptr), -1);
    EXPECT_EQ(scheduler->fCmdSave("key", ""), -1);
    EXPECT_TRUE(scheduler->m_CmdList.empty());
    EXPECT_THAT(
        log.messages(),
        ElementsAre("command save failed : home path strlen is null",
                    "command schedule daemon home path set : ", "command save failed : home path strlen is zero",
                    "command save key is null", "command save key is strlen zero", "command save key is null",
                    "command save command is null", "command save command is strlen zero"));
}

TEST_F(CommandList, RefusesNamesThatAreUnsafeForTheShell) {
    const LogCapture log;
    EXPECT_EQ(scheduler->fCmdSave("eth0;id", "command"), -1);
    EXPECT_EQ(scheduler->fCmdPush("a/b c", "command"), -1);
    scheduler->fSetCmdSchedulerHomePath("my cmd");
    EXPECT_EQ(scheduler->fCmdPush("key", "command"), -1);
    EXPECT_TRUE(scheduler->m_CmdList.empty());
    EXPECT_THAT(log.messages(), ElementsAre("command save failed : home path or key is unsafe : cmd/eth0;id_1700000000",
                                            "command save failed : home path or key is unsafe : cmd/a/b c",
                                            "command schedule daemon home path set : my cmd/",
                                            "command save failed : home path or key is unsafe : my cmd/key"));
}

TEST_F(CommandList, KeyOfPathsHasItsResultFileInTheHome) {
    EXPECT_EQ(scheduler->fCmdPush("duplex_eth0_../aproc/t.dat", "command"), 0);
    ASSERT_EQ(scheduler->m_CmdList.size(), 1U);
    EXPECT_STREQ(scheduler->m_CmdList.front()->l_strCmdReqKey, "duplex_eth0_../aproc/t.dat");
    EXPECT_THAT(pending(), ElementsAre("command;echo $? > cmd/duplex_eth0_.._aproc_t.dat &"));
}

TEST_F(CommandList, RequestThatEndsInTheBackgroundIsValidForTheShell) {
    scheduler->fCmdPush("one", "./program 1 2&");
    scheduler->fCmdPush("two", "./program 1 2 &");
    EXPECT_EQ(pending().front(), "./program 1 2&;echo $? > cmd/one &");
    wakeUp();
    EXPECT_THAT(commands, ElementsAre("./program 1 2& echo $? > cmd/one &", "./program 1 2 & echo $? > cmd/two &"));
}

TEST_F(CommandList, RequestThatEndsInAnEscapedAmpersandIsRunAsItIs) {
    scheduler->fCmdPush("one", "./program a\\&");
    scheduler->fCmdPush("two", "./program a\\\\&"); // an escaped backslash in the background
    wakeUp();
    EXPECT_THAT(commands, ElementsAre("./program a\\&;echo $? > cmd/one &", "./program a\\\\& echo $? > cmd/two &"));
}

TEST_F(CommandList, LongKeysAreCutToTheirField) {
    const std::string key(2000, 'k');
    EXPECT_EQ(scheduler->fCmdPush(key.c_str(), "command"), 0);
    EXPECT_EQ(scheduler->m_CmdList.front()->l_strCmdReqKey, std::string(511, 'k'));
    // The time stays in sight: a saved key is cut before it.
    EXPECT_EQ(scheduler->fCmdSave(key.c_str(), "command"), 0);
    EXPECT_EQ(scheduler->m_CmdList.back()->l_strCmdReqKey, std::string(488, 'k') + "_1700000000");
}

TEST_F(CommandList, WithoutMemoryNothingIsAdded) {
    for (int failing = 0; failing < 3; ++failing) { // record, result file, command line
        systemHooks().failAllocationAfter = failing;
        EXPECT_EQ(scheduler->fCmdPush("key", "command"), -1);
    }
    systemHooks().failAllocationAfter = -1;
    EXPECT_TRUE(scheduler->m_CmdList.empty());
}

TEST_F(CommandList, WorkerStartsEveryNewCommandOnce) {
    scheduler->fCmdPush("a", "one");
    scheduler->fCmdPush("b", "two");
    const LogCapture log;
    EXPECT_TRUE(wakeUp());
    EXPECT_THAT(commands, ElementsAre("one;echo $? > cmd/a &", "two;echo $? > cmd/b &"));
    EXPECT_THAT(clock.sleeps(), ElementsAre(100000, 100000));
    EXPECT_EQ(scheduler->m_CmdList.front()->l_nStatus, 1);
    EXPECT_EQ(scheduler->m_CmdList.back()->l_nStatus, 1);
    EXPECT_THAT(log.messages(), ElementsAre("CmdScheduler Thread Start[2]", "CmdScheduler Thread end[2]"));

    EXPECT_TRUE(wakeUp()) << "no result: never run again, never forgotten";
    EXPECT_EQ(commands.size(), 2U);
    EXPECT_EQ(scheduler->m_CmdList.size(), 2U);
}

TEST_F(CommandList, FinishedCommandIsForgottenWithItsResultFile) {
    scheduler->fCmdPush("a", "one");
    scheduler->fCmdPush("b", "two");
    wakeUp();
    home.write("agent/bin/cmd/a", "0\n");
    const LogCapture log;
    wakeUp();
    EXPECT_FALSE(home.exists("agent/bin/cmd/a"));
    EXPECT_THAT(pending(), ElementsAre("two;echo $? > cmd/b &"));
    EXPECT_THAT(log.messages(), ElementsAre("CmdScheduler Thread Start[2]", "CmdScheduler Thread end[1]"));
}

TEST_F(CommandList, CommandThatFinishesAtOnceIsForgottenInTheSameRound) {
    systemHooks().system = nullptr;
    scheduler->fCmdPush("a", "exit_with() { return 3; }; exit_with");
    systemHooks().select = [&](int, fd_set *, fd_set *, fd_set *, timeval *) {
        for (int waited = 0; waited < 5000 && !home.exists("agent/bin/cmd/a"); ++waited)
            usleep(1000);
        return 0;
    };
    wakeUp();
    EXPECT_TRUE(scheduler->m_CmdList.empty());
    EXPECT_FALSE(home.exists("agent/bin/cmd/a"));
}

TEST_F(CommandList, CommandWithoutAResultFileRunsOnceAndStays) {
    systemHooks().system = nullptr;
    const StreamCapture streams;
    fs::remove("cmd"); // the shell cannot write the result
    scheduler->fCmdPush("a", "echo x >> ran");
    wakeUp();
    for (int waited = 0; waited < 5000 && streams.err().empty(); ++waited)
        usleep(1000); // the shell's complaint comes last
    wakeUp();
    EXPECT_EQ(home.read("agent/bin/ran"), "x\n");
    EXPECT_EQ(scheduler->m_CmdList.size(), 1U);
}

TEST_F(CommandList, EmptyListIsPassedOverInSilence) {
    const LogCapture log;
    scheduler->m_nSyncFlag = 1;
    EXPECT_TRUE(wakeUp());
    EXPECT_THAT(clock.sleeps(), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(CommandList, WaitsForACallerAtMostFiveSteps) {
    scheduler->fCmdPush("a", "one");
    scheduler->m_nSyncFlag = 1;
    wakeUp();
    EXPECT_THAT(clock.sleeps(), ElementsAre(500000, 500000, 500000, 500000, 500000, 100000));
    EXPECT_EQ(commands.size(), 1U);
    EXPECT_EQ(syncSteps, 0);
}

TEST_F(CommandList, StepsCarryOverBetweenRounds) {
    scheduler->fCmdPush("a", "one");
    scheduler->m_nSyncFlag = 1;
    int steps = 0;
    systemHooks().select = [&](int, fd_set *, fd_set *, fd_set *, timeval *timeout) {
        steps += timeout->tv_usec == 500000 ? 1 : 0;
        if (steps == 2)
            scheduler->m_nSyncFlag = 0;
        return 0;
    };
    wakeUp();
    EXPECT_EQ(steps, 2);
    EXPECT_EQ(syncSteps, 2);
    scheduler->m_nSyncFlag = 1;
    steps = 10;
    wakeUp(); // three steps are left
    EXPECT_EQ(steps, 13);
    EXPECT_EQ(syncSteps, 0);
}

TEST_F(CommandList, CommandAddedWhileOthersStartIsStartedToo) {
    scheduler->fCmdPush("a", "one");
    systemHooks().system = [this](const char *command) {
        commands.emplace_back(command);
        if (commands.size() == 1)
            scheduler->fCmdPush("b", "two");
        return 0;
    };
    wakeUp();
    EXPECT_EQ(commands.size(), 2U);
}

TEST_F(CommandList, StopForgetsEverything) {
    scheduler->fCmdPush("a", "one");
    wakeUp();
    scheduler->fCmdPush("b", "two");
    EXPECT_EQ(scheduler->fCmdSchedulerStop(), 1);
    EXPECT_TRUE(scheduler->m_CmdList.empty());
    EXPECT_TRUE(wakeUp());
    EXPECT_EQ(commands.size(), 1U);
}

TEST_F(CommandList, StopWhileACommandIsStartedIsSafe) {
    scheduler->fCmdPush("a", "one");
    scheduler->fCmdPush("b", "two");
    systemHooks().system = [this](const char *command) {
        commands.emplace_back(command);
        scheduler->fCmdSchedulerStop();
        return 0;
    };
    EXPECT_TRUE(wakeUp());
    EXPECT_EQ(commands.size(), 1U);
}

TEST_F(CommandList, SchedulerThatGoesWhileACommandIsStartedEndsTheWorker) {
    scheduler->fCmdPush("a", "one");
    systemHooks().select = [](int, fd_set *, fd_set *, fd_set *, timeval *) { return 0; };
    systemHooks().system = [this](const char *command) {
        commands.emplace_back(command);
        scheduler.reset();
        return 0;
    };
    EXPECT_EQ(fCmdSchedulerTh(scheduler.get()), nullptr);
    EXPECT_EQ(commands.size(), 1U);
}

TEST_F(CommandList, SchedulerThatGoesWhileTheWorkerWaitsIsNotReported) {
    const LogCapture log;
    scheduler->fCmdPush("a", "one");
    scheduler->m_nSyncFlag = 1;
    systemHooks().select = [this](int, fd_set *, fd_set *, fd_set *, timeval *timeout) {
        if (timeout->tv_sec == 0) // the wait for the callers, not the sleep before it
            scheduler.reset();
        return 0;
    };
    EXPECT_EQ(fCmdSchedulerTh(scheduler.get()), nullptr);
    EXPECT_THAT(log.messages(), ElementsAre("command_key[a]", "fCmdSchedulerTh init"));
    EXPECT_THAT(commands, IsEmpty());
}

TEST_F(CommandList, StartStartsOneDetachedThread) {
    const HeldThread thread;
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB14);
        EXPECT_EQ(scheduler->fCmdSchedulerStart(), 1);
        EXPECT_EQ(scheduler->fCmdSchedulerStart(), 1);
        EXPECT_THAT(log.messages(), ElementsAre("pthread_create scheduler success"));
    }
    EXPECT_EQ(thread.started(), 1);
    EXPECT_TRUE(thread.detached());
    EXPECT_EQ(scheduler->m_nThreadStart, 1);
    EXPECT_EQ(scheduler->m_pcQueue, nullptr);
    scheduler.reset();
}

TEST_F(CommandList, ThreadThatCannotBeStartedIsAnnounced) {
    systemHooks().pthreadCreate = [](pthread_t *, const pthread_attr_t *, void *(*)(void *), void *) { return EAGAIN; };
    const LogCapture log;
    EXPECT_EQ(scheduler->fCmdSchedulerStart(), -1);
    EXPECT_EQ(scheduler->m_nThreadStart, 0);
    EXPECT_THAT(log.messages(), ElementsAre("pthread_create scheduler failed.[Resource temporarily unavailable]"));
}

TEST_F(CommandList, ThreadAnnouncesItselfAndSleepsTenSeconds) {
    const LogCapture log;
    std::vector<long> sleeps;
    systemHooks().select = [&](int, fd_set *, fd_set *, fd_set *, timeval *timeout) {
        sleeps.push_back(timeout->tv_sec * 1000000 + timeout->tv_usec);
        if (sleeps.size() == 3)
            scheduler.reset();
        return 0;
    };
    EXPECT_EQ(fCmdSchedulerTh(scheduler.get()), nullptr);
    EXPECT_THAT(sleeps, ElementsAre(10000000, 10000000, 10000000));
    EXPECT_THAT(log.messages(), ElementsAre("fCmdSchedulerTh init"));
}

// The real thread with real commands; only its sleeps are short.
TEST(CommandListThread, RunsCommandsOfManyCallers) {
    const ScratchHome home;
    fs::create_directory("cmd");
    systemHooks().select = [](int, fd_set *, fd_set *, fd_set *, timeval *) { return usleep(500); };
    std::atomic<int> forgotten{0}; // a command is finished when its result file is removed
    systemHooks().unlink = [&](const char *path) {
        ++forgotten;
        return unlinkat(AT_FDCWD, path, 0);
    };
    const ThreadWatch threads;
    auto scheduler = std::make_unique<CCmdScheduler>();
    scheduler->m_nCmdSchedulerType = 1;
    scheduler->fSetCmdSchedulerHomePath("cmd");
    ASSERT_EQ(scheduler->fCmdSchedulerStart(), 1);
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 4; ++caller)
        callers.emplace_back([&, caller] {
            for (int i = 0; i < 5; ++i) {
                const std::string name = std::to_string(caller) + "_" + std::to_string(i);
                scheduler->fCmdSave(name.c_str(), ("echo x >> done_" + name).c_str());
            }
        });
    for (std::thread &caller : callers)
        caller.join();
    for (int waited = 0; waited < 10000 && forgotten < 20; ++waited)
        usleep(1000);
    EXPECT_EQ(forgotten, 20);
    for (int caller = 0; caller < 4; ++caller) {
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(home.read("agent/bin/done_" + std::to_string(caller) + "_" + std::to_string(i)), "x\n");
    }
    EXPECT_TRUE(fs::is_empty("cmd"));
    scheduler.reset();
}

TEST(CommandListThread, StartsAndStopsInAnyOrder) {
    const ScratchHome home;
    fs::create_directory("cmd");
    systemHooks().select = [](int, fd_set *, fd_set *, fd_set *, timeval *) { return usleep(200); };
    systemHooks().system = [](const char *) { return 0; };
    const ThreadWatch threads;
    std::atomic<bool> stop{false};
    for (int round = 0; round < 5; ++round) {
        auto scheduler = std::make_unique<CCmdScheduler>();
        scheduler->m_nCmdSchedulerType = 1;
        scheduler->fSetCmdSchedulerHomePath("cmd");
        stop = false;
        std::vector<std::thread> callers;
        for (int caller = 0; caller < 3; ++caller)
            callers.emplace_back([&, caller] {
                for (int i = 0; i == 0 || !stop; ++i) { // each starts it at least once
                    scheduler->fCmdSave(std::to_string(caller * 1000 + i % 50).c_str(), "command");
                    scheduler->fCmdSchedulerStart();
                    if (i % 10 == 0)
                        scheduler->fCmdSchedulerStop();
                    usleep(100);
                }
            });
        usleep(30000);
        stop = true;
        for (std::thread &caller : callers)
            caller.join();
        scheduler.reset();
    }
    EXPECT_EQ(threads.started(), 5) << "one per scheduler";
}

} // namespace

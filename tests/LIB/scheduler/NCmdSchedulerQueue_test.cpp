// The queue mode of the command scheduler.
#include "Cancellation.h"
#include "FrozenClock.h"
#include "HeldThread.h"
#include "LogCapture.h"
#include "NCmdScheduler.h"
#include "ScratchHome.h"
#include "ThreadWatch.h"
#include "scheduler/NCmdSchedulerQueue.h"
#include "threads/SharedValue.h"

#include <atomic>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::unique_ptr<CCmdScheduler> newScheduler() {
    auto scheduler = std::make_unique<CCmdScheduler>();
    scheduler->m_nCmdSchedulerType = 2;
    return scheduler;
}

// A started scheduler whose thread is driven by the test and whose commands are only noted.
class CommandQueue : public testing::Test {
protected:
    CommandQueue() {
        systemHooks().system = [this](const char *command) {
            commands.emplace_back(command);
            return 0;
        };
        EXPECT_EQ(scheduler->fCmdSchedulerStart(), 1);
    }

    int wakeUp() {
        zel::SchedulerLink link(scheduler.get());
        return zel::runQueuedCommands(link);
    }

    ScratchHome home;
    HeldThread thread;
    std::unique_ptr<CCmdScheduler> scheduler = newScheduler();
    std::vector<std::string> commands;
};

TEST_F(CommandQueue, StartMakesTheQueueAndOneDetachedThread) {
    EXPECT_NE(scheduler->m_pcQueue, nullptr);
    EXPECT_EQ(scheduler->m_nThreadStart, 1);
    EXPECT_EQ(scheduler->fCmdSchedulerStart(), 1);
    EXPECT_EQ(thread.started(), 1);
    EXPECT_TRUE(thread.detached());
}

TEST_F(CommandQueue, StartIsLogged) {
    auto other = newScheduler();
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB14);
        systemHooks().pthreadCreate = [](pthread_t *, const pthread_attr_t *, void *(*)(void *), void *) {
            return EAGAIN;
        };
        EXPECT_EQ(other->fCmdSchedulerStart(), -1);
        EXPECT_EQ(other->m_pcQueue, nullptr);
        EXPECT_EQ(other->m_nThreadStart, 0);
        EXPECT_THAT(log.messages(),
                    ElementsAre("pthread_create queue_scheduler failed.[Resource temporarily unavailable]"));
    }
    const HeldThread held;
    const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB14);
    EXPECT_EQ(other->fCmdSchedulerStart(), 1);
    EXPECT_THAT(log.messages(), ElementsAre("pthread_create queue_scheduler success"));
    other.reset();
}

TEST_F(CommandQueue, NothingIsQueuedBeforeTheStart) {
    auto fresh = newScheduler();
    EXPECT_EQ(fresh->fCmdSave("key", "command"), -1);
    EXPECT_EQ(fresh->fCmdQueuePush("command"), -1);
}

TEST_F(CommandQueue, SaveQueuesTheCommandWithItsTime) {
    const FrozenClock clock(1700000000);
    EXPECT_EQ(scheduler->fCmdSave("key is not used; really", "command"), 0);
    ASSERT_EQ(scheduler->m_pcQueue->getCount(), 1);
    EXPECT_STREQ(scheduler->m_pcQueue->_list.front()->m_pstrCollectData, "command");
    EXPECT_EQ(scheduler->m_pcQueue->_list.front()->m_nCollectTime, 1700000000);
}

TEST_F(CommandQueue, WorkerRunsCommandsInTheirOrder) {
    scheduler->fCmdSave("a", "one");
    scheduler->fCmdSave("a", "two &");
    const LogCapture log(0, 0); // every gate closed: a logger is enough
    EXPECT_EQ(wakeUp(), 10000);
    EXPECT_THAT(commands, ElementsAre("one", "two &"));
    EXPECT_THAT(log.messages(), ElementsAre("CmdSchedulercmd[one]", "CmdSchedulercmd[two &]"));
    EXPECT_EQ(wakeUp(), 100000);
}

TEST_F(CommandQueue, MessagesWithoutCommandAndNullMessagesAreAnnounced) {
    const LogCapture log;
    EXPECT_EQ(scheduler->fCmdQueuePush(nullptr), 0);
    scheduler->m_pcQueue->push(nullptr);
    scheduler->fCmdQueuePush("one");
    EXPECT_EQ(wakeUp(), 10000);
    EXPECT_THAT(commands, ElementsAre("one"));
    EXPECT_THAT(log.messages(),
                ElementsAre("l_pstrCollectData == NULL", "l_pclMsgQData===NULL", "CmdSchedulercmd[one]"));
}

TEST_F(CommandQueue, FiftySecondCommandIsDropped) {
    const LogCapture log(zel::LOG_MODULE_UNI, zel::LOG_DETAIL_UNI);
    for (int i = 0; i < 51; ++i)
        EXPECT_EQ(scheduler->fCmdSave("key", "command"), 0) << i;
    EXPECT_THAT(log.messages(), IsEmpty());
    EXPECT_EQ(scheduler->fCmdSave("key", "command"), -1);
    EXPECT_THAT(log.messages(), ElementsAre("cmdQueue count overflow-skip [51]"));
    EXPECT_EQ(scheduler->m_pcQueue->getCount(), 51);
}

TEST_F(CommandQueue, CommandOfAnyLengthIsRunWhole) {
    const std::string command = "echo " + std::string(100000, 'x');
    scheduler->fCmdSave("key", command.c_str());
    wakeUp();
    EXPECT_THAT(commands, ElementsAre(command));
}

TEST_F(CommandQueue, WithoutMemoryNothingIsQueued) {
    for (int failing = 0; failing < 2; ++failing) { // message, text
        systemHooks().failAllocationAfter = failing;
        EXPECT_EQ(scheduler->fCmdQueuePush("command"), -1);
    }
    systemHooks().failAllocationAfter = -1;
    EXPECT_EQ(scheduler->m_pcQueue->getCount(), 0);
}

TEST_F(CommandQueue, StopRunsTheDaemonsStopScript) {
    EXPECT_EQ(scheduler->fCmdSchedulerStop(), 0) << "without a home directory";
    scheduler->fSetCmdSchedulerHomePath("cmd");
    EXPECT_EQ(scheduler->fCmdSchedulerStop(), 1);
    EXPECT_THAT(commands, ElementsAre("cmd/cmd_scd_stop.sh cmd/"));
}

TEST_F(CommandQueue, SchedulerThatGoesWhileACommandRunsEndsTheWorker) {
    scheduler->fCmdSave("key", "one");
    scheduler->fCmdSave("key", "given up");
    systemHooks().system = [this](const char *command) {
        commands.emplace_back(command);
        scheduler.reset();
        return 0;
    };
    EXPECT_EQ(fCmdQueueSchedulerTh(scheduler.get()), nullptr);
    EXPECT_THAT(commands, ElementsAre("one"));
}

TEST_F(CommandQueue, ThreadSleepsByWhatItFound) {
    std::vector<long> sleeps;
    systemHooks().select = [&](int, fd_set *, fd_set *, fd_set *, timeval *timeout) {
        sleeps.push_back(timeout->tv_sec * 1000000 + timeout->tv_usec);
        if (sleeps.size() == 2)
            scheduler->fCmdQueuePush("command");
        if (sleeps.size() == 4)
            scheduler.reset();
        return 0;
    };
    EXPECT_EQ(fCmdQueueSchedulerTh(scheduler.get()), nullptr);
    // Nothing found yet, nothing found, then a command, then the end.
    EXPECT_THAT(sleeps, ElementsAre(10000, 100000, 10000, 100000));
}

TEST(CommandQueueThread, RunsRealCommandsUnderLoad) {
    const ScratchHome home;
    const ThreadWatch threads;
    auto scheduler = newScheduler();
    ASSERT_EQ(scheduler->fCmdSchedulerStart(), 1);
    std::atomic<int> accepted{0};
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 4; ++caller)
        callers.emplace_back([&] {
            for (int i = 0; i < 40; ++i)
                accepted += scheduler->fCmdSave("key", "echo x >> done") == 0 ? 1 : 0;
        });
    for (std::thread &caller : callers)
        caller.join();
    EXPECT_GE(accepted, 51);
    const auto lines = [&] {
        if (!home.exists("agent/bin/done"))
            return std::ptrdiff_t{0};
        const std::string text = home.read("agent/bin/done");
        return std::count(text.begin(), text.end(), '\n');
    };
    for (int waited = 0; waited < 20000 && lines() < accepted; ++waited)
        usleep(1000);
    EXPECT_EQ(lines(), accepted);
    scheduler.reset();
    EXPECT_TRUE(threads.allEnded(5000));
}

TEST(CommandQueueThread, StartsAndStopsInAnyOrderUnderALoggerThatComesAndGoes) {
    const ScratchHome home;
    systemHooks().system = [](const char *) { return usleep(100); };
    systemHooks().select = [](int, fd_set *, fd_set *, fd_set *, timeval *) { return usleep(100); };
    const ThreadWatch threads;
    CVornLog::fSetLogModeBit("DEBUG");
    for (int round = 0; round < 10; ++round) {
        auto log = std::make_unique<CVornLog>(2, "app", 2, 1);
        log->fSetLogSize(100, 1);
        auto scheduler = newScheduler();
        zel::writeShared(g_pclVornLog, log.get());
        std::vector<std::thread> callers;
        for (int caller = 0; caller < 4; ++caller)
            callers.emplace_back([&] {
                scheduler->fCmdSchedulerStart();
                for (int i = 0; i < 100; ++i)
                    scheduler->fCmdSave("key", "command");
            });
        if (round % 2 == 0)
            log.reset();
        for (std::thread &caller : callers)
            caller.join();
        if (round % 3 == 0)
            log.reset();
        scheduler.reset();
    }
    CVornLog::fSetLogModeBit("NOLOG");
}

TEST(CommandQueueThread, CommandThatNeverEndsHoldsNeitherCallersNorTheEnd) {
    const ScratchHome home;
    std::atomic<bool> started{false};
    std::atomic<bool> mayEnd{false};
    systemHooks().system = [&](const char *) {
        started = true;
        while (!mayEnd)
            usleep(1000);
        return 0;
    };
    const ThreadWatch threads;
    auto scheduler = newScheduler();
    ASSERT_EQ(scheduler->fCmdSchedulerStart(), 1);
    EXPECT_EQ(scheduler->fCmdSave("key", "sleep forever"), 0);
    while (!started)
        usleep(1000);
    for (int i = 0; i < 51; ++i)
        EXPECT_EQ(scheduler->fCmdSave("key", "behind"), 0);
    EXPECT_EQ(scheduler->fCmdSave("key", "too many"), -1);
    scheduler.reset();
    EXPECT_EQ(threads.running(), 1);
    mayEnd = true;
    EXPECT_TRUE(threads.allEnded(5000));
}

TEST(CommandQueueThread, CancelledWorkerEndsItsCommand) {
    SKIP_WHERE_CANCELLATION_IS_NOT_FOLLOWED();
    const ScratchHome home;
    auto scheduler = newScheduler();
    {
        const HeldThread none;
        ASSERT_EQ(scheduler->fCmdSchedulerStart(), 1);
        systemHooks().pthreadCreate = nullptr;
        pthread_t worker{};
        ASSERT_EQ(pthread_create(&worker, nullptr, &fCmdQueueSchedulerTh, scheduler.get()), 0);
        scheduler->fCmdQueuePush("echo x > started; exec sleep 60");
        for (int waited = 0; waited < 5000 && !home.exists("agent/bin/started"); ++waited)
            usleep(1000);
        ASSERT_EQ(pthread_cancel(worker), 0);
        void *result = nullptr;
        ASSERT_EQ(pthread_join(worker, &result), 0);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        EXPECT_EQ(scheduler->fCmdQueuePush("later"), 0) << "the queue is not locked";
        scheduler.reset();
    }
}

} // namespace

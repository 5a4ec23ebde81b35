// The command scheduler in the child of a program that forks.
#include "HeldThread.h"
#include "NCmdScheduler.h"
#include "OwnProcess.h"
#include "ScratchHome.h"

#include <atomic>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <unistd.h>

namespace {

class SchedulerFork : public testing::Test {
protected:
    SchedulerFork() { std::filesystem::create_directory("cmd"); }
    ~SchedulerFork() override { g_nCmdSync = 0; }

    static std::unique_ptr<CCmdScheduler> newScheduler(int mode) {
        auto scheduler = std::make_unique<CCmdScheduler>();
        scheduler->m_nCmdSchedulerType = mode;
        scheduler->fSetCmdSchedulerHomePath("cmd");
        return scheduler;
    }

    ScratchHome home;
};

TEST_F(SchedulerFork, CommandFilesGoOnInTheChild) {
    const auto scheduler = newScheduler(0);
    EXPECT_TRUE(trueInChild([&] { return scheduler->fCmdSave("key", "command") == 0; }));
    EXPECT_EQ(home.read("agent/bin/cmd/shcmd_key.cmd"), "command");
}

// Another thread of the parent waits for a start script for ever: in the child no script runs.
TEST_F(SchedulerFork, ChildDoesNotWaitForAScriptOfTheParent) {
    const auto scheduler = newScheduler(0);
    std::atomic<bool> running{false};
    std::atomic<bool> mayEnd{false};
    systemHooks().system = [&](const char *) {
        running = true;
        while (!mayEnd)
            usleep(1000);
        return 0;
    };
    std::thread other([&] { scheduler->fCmdSchedulerStart(); });
    while (!running)
        usleep(1000);
    EXPECT_TRUE(trueInChild([&] {
        systemHooks().system = [](const char *) { return 0; };
        return g_nCmdSync == 0 && scheduler->fCmdSchedulerStart() == 1;
    }));
    EXPECT_EQ(g_nCmdSync, 1);
    mayEnd = true;
    other.join();
}

TEST_F(SchedulerFork, ListOfTheChildIsItsOwn) {
    const HeldThread thread;
    auto scheduler = newScheduler(1);
    ASSERT_EQ(scheduler->fCmdSchedulerStart(), 1);
    scheduler->fCmdPush("parent", "command");
    EXPECT_TRUE(trueInChild([&] {
        const bool fresh = scheduler->m_CmdList.empty() && scheduler->m_nThreadStart == 0;
        scheduler->fCmdPush("child", "command");
        return fresh && scheduler->m_CmdList.size() == 1 && scheduler->fCmdSchedulerStart() == 1 &&
               thread.started() == 2;
    }));
    EXPECT_EQ(scheduler->m_CmdList.size(), 1U);
    EXPECT_EQ(scheduler->m_nThreadStart, 1);
    scheduler.reset();
}

TEST_F(SchedulerFork, QueueOfTheChildIsItsOwn) {
    const HeldThread thread;
    auto scheduler = newScheduler(2);
    ASSERT_EQ(scheduler->fCmdSchedulerStart(), 1);
    scheduler->fCmdQueuePush("parent");
    EXPECT_TRUE(trueInChild([&] {
        const bool fresh = scheduler->m_pcQueue == nullptr && scheduler->fCmdQueuePush("too early") == -1;
        return fresh && scheduler->fCmdSchedulerStart() == 1 && scheduler->fCmdQueuePush("child") == 0 &&
               scheduler->m_pcQueue->getCount() == 1;
    }));
    EXPECT_EQ(scheduler->m_pcQueue->getCount(), 1);
    scheduler.reset();
}

} // namespace

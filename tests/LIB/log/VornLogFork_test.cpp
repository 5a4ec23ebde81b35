// The logger in the child of a program that forks while its other threads log.
#include "HeldThread.h"
#include "OwnProcess.h"
#include "ScratchHome.h"
#include "ThreadWatch.h"
#include "VornLog.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <unistd.h>

namespace {

constexpr const char *logFile = "agent/bin/20231114_app.log";

// A staged home at 2023-11-14 22:13:20.
class LoggerFork : public testing::Test {
protected:
    LoggerFork() {
        systemHooks().time = [] { return std::time_t{1700000000}; };
    }

    static std::unique_ptr<CVornLog> newLog(int threadMode) {
        auto log = std::make_unique<CVornLog>(2, "app", 2, threadMode);
        log->fSetLogSize(100, 1);
        return log;
    }

    // Installs the logger with every gate open, until the end of the test.
    static void install(CVornLog &log) {
        CVornLog::fSetLogModeBit("DEBUG");
        g_pclVornLog = &log;
    }

    static void say(const char *text) {
        char message[64];
        ZEL_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "unit", message, "%s", text);
    }

    ~LoggerFork() override { CVornLog::fSetLogModeBit("NOLOG"); }

    ScratchHome home;
};

// Another thread stays inside the logger, with every lock that a message takes.
TEST_F(LoggerFork, ChildWritesWhileAThreadOfTheParentIsInsideTheLogger) {
    SKIP_WHERE_FORKS_ARE_NOT_FOLLOWED();
    const auto log = newLog(0);
    log->fSetThreadChk(1);
    install(*log);
    std::atomic<bool> inside{false};
    std::atomic<bool> mayEnd{false};
    systemHooks().opendir = [&](const char *) -> DIR * { // the purge before the day's first file
        inside = true;
        while (!mayEnd)
            usleep(1000);
        return nullptr;
    };
    std::thread other([] { say("parent"); });
    while (!inside)
        usleep(1000);
    EXPECT_TRUE(trueInChild([] {
        systemHooks().opendir = nullptr;
        say("child");
        g_pclVornLog->fLogWrite(3, 7, "unit", "child, directly");
        return true;
    }));
    EXPECT_EQ(home.read(logFile).substr(0, 20), "[221320][INFO][unit]");
    EXPECT_NE(home.read(logFile).find("]child\n[221320][INFO][unit][7]child, directly\n"), std::string::npos);
    mayEnd = true;
    other.join();
}

TEST_F(LoggerFork, ChildOfAThreadedLoggerWritesDirectlyAndLeavesTheQueueToTheParent) {
    const HeldThread thread;
    auto log = newLog(1);
    install(*log);
    log->fLogWrite(3, 1, "unit", "of the parent");
    EXPECT_TRUE(trueInChild([&] {
        const bool direct = log->m_nThreadMode == 0 && log->m_pcQueue == nullptr && log->m_nThreadChk == 1;
        log->fLogWrite(3, 2, "unit", "of the child");
        log.reset();
        return direct;
    }));
    EXPECT_EQ(home.read(logFile), "[221320][INFO][unit][2]of the child\n");
    EXPECT_EQ(log->m_nThreadMode, 1);
    log.reset();
    EXPECT_EQ(home.read(logFile), "[221320][INFO][unit][2]of the child\n[221320][INFO][unit][1]of the parent\n");
}

TEST_F(LoggerFork, ChildMakesAThreadedLoggerOfItsOwn) {
    SKIP_WHERE_FORKS_ARE_NOT_FOLLOWED();
    const ThreadWatch threads;
    auto log = newLog(1);
    log->fLogWrite(3, 1, "unit", "of the parent");
    log.reset();
    EXPECT_TRUE(trueInChild([] {
        auto own = newLog(1);
        own->fLogWrite(3, 2, "unit", "of the child");
        own.reset();
        return true;
    }));
    EXPECT_EQ(home.read(logFile), "[221320][INFO][unit][1]of the parent\n[221320][INFO][unit][2]of the child\n");
}

// Forks at every moment of four threads that log.
TEST_F(LoggerFork, EveryChildWritesUnderLoad) {
    SKIP_WHERE_FORKS_ARE_NOT_FOLLOWED();
    for (const int threadMode : {0, 1}) {
        const ThreadWatch threads;
        auto log = newLog(threadMode);
        log->fSetThreadChk(1);
        install(*log);
        std::atomic<bool> stop{false};
        std::vector<std::thread> writers;
        for (int writer = 0; writer < 4; ++writer)
            writers.emplace_back([&] {
                while (!stop)
                    say("parent");
            });
        for (int round = 0; round < 40; ++round) {
            const std::string text = "child " + std::to_string(threadMode) + "/" + std::to_string(round);
            const auto write = [&] {
                say(text.c_str());
                return true;
            };
            EXPECT_TRUE(trueInChild(write)) << text;
        }
        stop = true;
        for (std::thread &writer : writers)
            writer.join();
        log.reset();
    }
    const std::string text = home.read(logFile);
    for (const char *mode : {"0", "1"}) {
        for (int round = 0; round < 40; ++round) {
            const std::string line = "]child " + std::string(mode) + "/" + std::to_string(round) + "\n";
            EXPECT_NE(text.find(line), std::string::npos) << line;
        }
    }
}

} // namespace

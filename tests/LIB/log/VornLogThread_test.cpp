// The logger in thread mode.
#include "Cancellation.h"
#include "HeldThread.h"
#include "ScratchHome.h"
#include "StreamCapture.h"
#include "ThreadWatch.h"
#include "VornLog.h"
#include "log/LogWriter.h"
#include "threads/SharedValue.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace {

constexpr const char *logFile = "agent/bin/20231114_app.log";

// A staged home at 2023-11-14 22:13:20, for loggers with a large file. The clock is set before any thread starts.
class LoggerThread : public testing::Test {
protected:
    LoggerThread() {
        systemHooks().time = [] { return std::time_t{1700000000}; };
    }

    static std::unique_ptr<CVornLog> newLog(int mode = 2) {
        auto log = std::make_unique<CVornLog>(mode, "app", 2, 1);
        log->fSetLogSize(100, 1);
        return log;
    }

    std::vector<std::string> writtenLines() const {
        std::vector<std::string> lines;
        std::istringstream text(home.read(logFile));
        for (std::string line; std::getline(text, line);)
            lines.push_back(line);
        return lines;
    }

    ScratchHome home;
};

TEST_F(LoggerThread, WritesWhatWasQueued) {
    const ThreadWatch threads;
    const auto log = newLog();
    EXPECT_EQ(log->m_nThreadMode, 1);
    EXPECT_NE(log->m_pcQueue, nullptr);
    log->fLogWrite(3, 17, "unit", "message");
    for (int waited = 0; waited < 5000 && !home.exists(logFile); ++waited)
        usleep(1000);
    while (log->m_pcQueue->getCount() > 0)
        usleep(1000);
    usleep(20000);
    EXPECT_EQ(home.read(logFile), "[221320][INFO][unit][17]message\n");
    EXPECT_EQ(threads.running(), 1);
}

TEST_F(LoggerThread, OtherThreadModesAreDirect) {
    const ThreadWatch threads;
    for (const int mode : {0, 2, -1}) {
        CVornLog log(2, "app", 2, mode);
        EXPECT_EQ(log.m_nThreadMode, 0);
        EXPECT_EQ(log.m_pcQueue, nullptr);
    }
    EXPECT_EQ(threads.started(), 0);
}

TEST_F(LoggerThread, ThreadIsDetached) {
    const HeldThread thread;
    const auto log = newLog();
    EXPECT_EQ(thread.started(), 1);
    EXPECT_TRUE(thread.detached());
}

TEST_F(LoggerThread, LevelIsNotQueued) {
    const ThreadWatch threads;
    auto log = newLog();
    log->fLogWrite(1, 5, "unit", "debug");
    log->fLogWrite(9, 6, "unit", "unknown level");
    log.reset();
    EXPECT_EQ(home.read(logFile), "[221320][INFO][unit][5]debug\n[221320][INFO][unit][6]unknown level\n");
}

TEST_F(LoggerThread, FormWithoutLineStoresItsOwnSourceName) {
    const ThreadWatch threads;
    auto log = newLog();
    log->fLogWrite(3, "unit", "message");
    log.reset();
    EXPECT_EQ(home.read(logFile), "[221320][INFO][src][0]message\n");
}

TEST_F(LoggerThread, LongTextsAreCutToTheirFields) {
    const ThreadWatch threads;
    auto log = newLog();
    log->fLogWrite(3, 1, std::string(100, 'f').c_str(), std::string(3000, 'm').c_str());
    log->fLogWrite(3, 2, nullptr, nullptr);
    log.reset();
    // 64 and 2048 bytes, each with its terminating zero.
    EXPECT_EQ(home.read(logFile),
              "[221320][INFO][" + std::string(63, 'f') + "][1]" + std::string(2047, 'm') + "\n[221320][INFO][][2]\n");
}

TEST_F(LoggerThread, MessagesBeyondTheLimitAreDropped) {
    const HeldThread thread;
    auto log = newLog();
    for (int i = 0; i < 600; ++i)
        log->fLogWrite(3, i, "unit", "m");
    EXPECT_EQ(log->m_pcQueue->getCount(), 501);
    log.reset();
    const std::vector<std::string> lines = writtenLines();
    ASSERT_EQ(lines.size(), 501U);
    EXPECT_EQ(lines.front(), "[221320][INFO][unit][0]m");
    EXPECT_EQ(lines.back(), "[221320][INFO][unit][500]m");
}

TEST_F(LoggerThread, RoomInTheQueueIsUsedAgain) {
    const HeldThread thread;
    const auto log = newLog();
    for (int i = 0; i < 600; ++i)
        log->fLogWrite(3, i, "unit", "m");
    EXPECT_EQ(zel::writeQueuedMessages(*log->m_link), zel::LOG_WRITER_BUSY);
    EXPECT_EQ(log->m_pcQueue->getCount(), 0);
    log->fLogWrite(3, 999, "unit", "m");
    zel::writeQueuedMessages(*log->m_link);
    EXPECT_EQ(writtenLines().back(), "[221320][INFO][unit][999]m");
}

TEST_F(LoggerThread, PausesLongWhenItFoundNothing) {
    const HeldThread thread;
    const auto log = newLog();
    EXPECT_EQ(zel::writeQueuedMessages(*log->m_link), 100000);
    log->fLogWrite(3, 1, "unit", "m");
    EXPECT_EQ(zel::writeQueuedMessages(*log->m_link), 5000);
    EXPECT_EQ(zel::writeQueuedMessages(*log->m_link), 100000);
}

TEST_F(LoggerThread, NullMessageIsAnnouncedAndEndsTheRound) {
    const HeldThread thread;
    const StreamCapture streams;
    const auto log = newLog();
    log->m_pcQueue->push(nullptr);
    log->fLogWrite(3, 1, "unit", "behind");
    zel::writeQueuedMessages(*log->m_link);
    EXPECT_EQ(streams.err(), "l_pclMsgQData===NULL");
    EXPECT_FALSE(home.exists(logFile));
    zel::writeQueuedMessages(*log->m_link);
    EXPECT_EQ(home.read(logFile), "[221320][INFO][unit][1]behind\n");
}

TEST_F(LoggerThread, WriterFindsItsLoggerGone) {
    const HeldThread thread;
    auto log = newLog();
    const zel::SharedLink<CVornLog> link = log->m_link;
    log.reset();
    EXPECT_EQ(zel::writeQueuedMessages(*link), zel::LOG_WRITER_ENDS);
}

TEST_F(LoggerThread, DestroyedLoggerLeavesAnEmptyValidQueueAndNoThread) {
    const ThreadWatch threads;
    auto log = newLog();
    Queue<MessageQWriteLog *> *queue = log->m_pcQueue;
    for (int i = 0; i < 300; ++i)
        log->fLogWrite(3, i, "unit", "m");
    queue->push(nullptr);
    log.reset();
    EXPECT_EQ(writtenLines().size(), 300U);
    EXPECT_EQ(queue->getCount(), 0);
    EXPECT_TRUE(threads.allEnded(5000));
}

TEST_F(LoggerThread, ThreadThatCannotBeStartedLeavesDirectModeUnderTheMutex) {
    systemHooks().pthreadCreate = [](pthread_t *, const pthread_attr_t *, void *(*)(void *), void *) { return EAGAIN; };
    CVornLog log(2, "app", 2, 1);
    EXPECT_EQ(log.m_nThreadMode, 0);
    EXPECT_EQ(log.m_pcQueue, nullptr);
    EXPECT_EQ(log.m_nThreadChk, 1);
    log.fLogWrite(3, 4, "unit", "direct");
    EXPECT_EQ(home.read(logFile), "[221320][INFO][unit][4]direct\n");
}

TEST_F(LoggerThread, MutexCoversTheQueuingToo) {
    const ThreadWatch threads;
    auto log = newLog();
    log->fSetThreadChk(1);
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([&log] {
            for (int i = 0; i < 100; ++i)
                log->fLogWrite(3, i, "unit", "m");
        });
    for (std::thread &writer : writers)
        writer.join();
    log.reset();
    EXPECT_EQ(writtenLines().size(), 400U); // fewer than the limit were sent
}

TEST_F(LoggerThread, ProgramsOwnThreadMayRunTheWriter) {
    const HeldThread none;
    auto log = newLog();
    std::thread writer(&fLogThreadQ, log.get());
    while (log->m_link.use_count() < 3) // the logger's, the held thread's and this one's
        usleep(1000);
    log->fLogWrite(3, 1, "unit", "m");
    for (int waited = 0; waited < 5000 && log->m_pcQueue->getCount() > 0; ++waited)
        usleep(1000);
    EXPECT_EQ(log->m_pcQueue->getCount(), 0);
    log.reset();
    writer.join();
    EXPECT_EQ(writtenLines().size(), 1U);
}

TEST_F(LoggerThread, DirectLoggerHasNoWriter) {
    CVornLog log(2, "app", 2);
    EXPECT_EQ(fLogThreadQ(&log), nullptr);
}

TEST_F(LoggerThread, CancelledWriterHarmsNothing) {
    SKIP_WHERE_CANCELLATION_IS_NOT_FOLLOWED();
    const HeldThread none;
    auto log = newLog();
    pthread_t writer{};
    systemHooks().pthreadCreate = nullptr;
    ASSERT_EQ(pthread_create(&writer, nullptr, &fLogThreadQ, log.get()), 0);
    for (int i = 0; i < 200; ++i)
        log->fLogWrite(3, i, "unit", "m");
    ASSERT_EQ(pthread_cancel(writer), 0);
    void *result = nullptr;
    ASSERT_EQ(pthread_join(writer, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    log->fLogWrite(3, 200, "unit", "m");
    log.reset();
    EXPECT_EQ(writtenLines().size(), 201U);
}

TEST_F(LoggerThread, FourWritersKeepTheirOrder) {
    const ThreadWatch threads;
    auto log = newLog();
    constexpr int perWriter = 2000;
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([&log, writer] {
            for (int i = 0; i < perWriter; ++i)
                log->fLogWrite(3, i, std::to_string(writer).c_str(), "m");
        });
    for (std::thread &writer : writers)
        writer.join();
    log.reset();

    int last[4] = {-1, -1, -1, -1};
    const std::vector<std::string> lines = writtenLines();
    EXPECT_GE(lines.size(), 501U);
    EXPECT_LE(lines.size(), 4U * perWriter);
    for (const std::string &line : lines) {
        int writer = -1;
        int number = -1;
        ASSERT_EQ(std::sscanf(line.c_str(), "[221320][INFO][%d][%d]m", &writer, &number), 2) << line;
        ASSERT_GT(number, last[writer]);
        last[writer] = number;
    }
}

TEST_F(LoggerThread, SettingsMayChangeUnderLoad) {
    const ThreadWatch threads;
    auto log = newLog();
    log->m_nCompressChk = 0; // no outside command for every rotation
    std::atomic<bool> stop{false};
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([&] {
            for (int i = 0; !stop; ++i)
                log->fLogWrite(3, i, "unit", "m");
        });
    for (int round = 0; round < 200; ++round) {
        log->fSetLogPath(round % 2 == 0 ? "./shell/" : "./");
        log->fSetLogSize(1 + round % 3, 2);
        log->fSetLogMode(1 + round % 3);
        log->fSetValidDay(round);
        log->fSetLogCompress(round % 2);
        log->fSetThreadChk(round % 2);
        CVornLog::fSetLogModeBit(round % 2 == 0 ? "NORMAL:LAB:14" : "NOLOG");
        usleep(500);
    }
    stop = true;
    for (std::thread &writer : writers)
        writer.join();
    CVornLog::fSetLogModeBit("NOLOG");
}

// Threads that log through the gate never notice that loggers come and go.
TEST_F(LoggerThread, InstalledLoggersComeAndGoUnderLoad) {
    const ThreadWatch threads;
    CVornLog::fSetLogModeBit("DEBUG");
    std::atomic<bool> stop{false};
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([&] {
            char message[64];
            while (!stop)
                ZEL_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "unit", message, "m%d", 1);
        });
    for (int round = 0; round < 30; ++round) {
        auto log = std::make_unique<CVornLog>(2, "app", 2, round % 3 == 0 ? 0 : 1);
        log->fSetLogSize(100, 1);
        log->fSetThreadChk(1);
        zel::writeShared(g_pclVornLog, log.get());
        usleep(1000);
        if (round % 2 == 0)
            zel::writeShared(g_pclVornLog, nullptr);
    }
    stop = true;
    for (std::thread &writer : writers)
        writer.join();
    EXPECT_EQ(g_pclVornLog, nullptr);
    CVornLog::fSetLogModeBit("NOLOG");
    for (const std::string &line : writtenLines())
        ASSERT_NE(line.find("[221320][INFO][unit]["), std::string::npos) << line;
}

TEST_F(LoggerThread, LoggersStartAndStopInAnyOrder) {
    const ThreadWatch threads;
    std::vector<std::unique_ptr<CVornLog>> loggers;
    for (int i = 0; i < 6; ++i)
        loggers.push_back(newLog());
    for (const std::size_t next : {3U, 0U, 3U, 0U, 1U, 0U}) {
        for (const auto &log : loggers)
            log->fLogWrite(3, 1, "unit", "m");
        loggers.erase(loggers.begin() + next);
        loggers.push_back(newLog());
    }
    loggers.clear();
    EXPECT_EQ(writtenLines().size(), 36U); // six loggers each of six times, all in the one file
    EXPECT_EQ(threads.started(), 12);
}

} // namespace

// The logger in thread mode.
#include "Cancellation.h"
#include "Faults.h"
#include "HeldThread.h"
#include "ScratchHome.h"
#include "StreamCapture.h"
#include "ThreadWatch.h"
#include "VornLog.h"
#include "log/VornLogThread.h"
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

    // One wake-up of the writer thread, on the test's own.
    static int writeOut(CVornLog &log) {
        zel::WorkerLink<CVornLog> link(&log);
        return zel::writeQueuedMessages(link);
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

TEST_F(LoggerThread, MessagesBeyondTheLimitAreLostWithAnAccount) {
    const HeldThread thread;
    auto log = newLog();
    for (int i = 0; i < 600; ++i)
        log->fLogWrite(3, i, "unit", "m");
    EXPECT_EQ(log->m_pcQueue->getCount(), 501);
    log.reset();
    const std::vector<std::string> lines = writtenLines();
    ASSERT_EQ(lines.size(), 502U);
    EXPECT_EQ(lines[0], "[221320][INFO][VornLog]99 messages lost");
    EXPECT_EQ(lines[1], "[221320][INFO][unit][0]m");
    EXPECT_EQ(lines[501], "[221320][INFO][unit][500]m");
}

// Fewer than 501 queued: the next one is taken. 501 queued: it is lost.
TEST_F(LoggerThread, QueueTakesItsLastMessageAtFiveHundred) {
    const HeldThread thread;
    const auto log = newLog();
    for (int i = 0; i < 500; ++i)
        log->m_pcQueue->push(new MessageQWriteLog{});
    log->fLogWrite(3, 1, "unit", "the last one");
    EXPECT_EQ(log->m_pcQueue->getCount(), 501);
    EXPECT_STREQ(log->m_pcQueue->_list.back()->m_strCollectData, "the last one");
    log->fLogWrite(3, 2, "unit", "one too many");
    EXPECT_EQ(log->m_pcQueue->getCount(), 501);
    EXPECT_STREQ(log->m_pcQueue->_list.back()->m_strCollectData, "the last one");
}

TEST_F(LoggerThread, MessageForAFullQueueTakesNoMemory) {
    const HeldThread thread;
    const auto log = newLog();
    for (int i = 0; i < 501; ++i)
        log->m_pcQueue->push(new MessageQWriteLog{});
    const Fault counting(Call::Allocation, 0);
    log->fLogWrite(3, 1, "unit", "one too many");
    EXPECT_EQ(Fault::calls(), 0);
}

TEST_F(LoggerThread, MessageWithoutMemoryIsAccountedFor) {
    const HeldThread thread;
    auto log = newLog();
    systemHooks().failNewAfter = 0;
    log->fLogWrite(3, 1, "unit", "lost");
    systemHooks().failNewAfter = -1;
    log->fLogWrite(3, 2, "unit", "m");
    log.reset();
    EXPECT_EQ(home.read(logFile), "[221320][INFO][VornLog]1 messages lost\n[221320][INFO][unit][2]m\n");
}

TEST_F(LoggerThread, RoomInTheQueueIsUsedAgain) {
    const HeldThread thread;
    const auto log = newLog();
    for (int i = 0; i < 600; ++i)
        log->fLogWrite(3, i, "unit", "m");
    EXPECT_EQ(writeOut(*log), zel::LOG_WRITER_BUSY);
    EXPECT_EQ(log->m_pcQueue->getCount(), 0);
    log->fLogWrite(3, 999, "unit", "m");
    writeOut(*log);
    EXPECT_EQ(writtenLines().back(), "[221320][INFO][unit][999]m");
}

TEST_F(LoggerThread, PausesLongWhenItFoundNothing) {
    const HeldThread thread;
    const auto log = newLog();
    EXPECT_EQ(writeOut(*log), 100000);
    log->fLogWrite(3, 1, "unit", "m");
    EXPECT_EQ(writeOut(*log), 5000);
    EXPECT_EQ(writeOut(*log), 100000);
}

TEST_F(LoggerThread, NullMessageIsAnnouncedAndEndsTheRound) {
    const HeldThread thread;
    const StreamCapture streams;
    const auto log = newLog();
    log->m_pcQueue->push(nullptr);
    log->fLogWrite(3, 1, "unit", "behind");
    writeOut(*log);
    EXPECT_EQ(streams.err(), "l_pclMsgQData===NULL");
    EXPECT_FALSE(home.exists(logFile));
    writeOut(*log);
    EXPECT_EQ(home.read(logFile), "[221320][INFO][unit][1]behind\n");
}

TEST_F(LoggerThread, WriterFindsItsLoggerGone) {
    zel::WorkerLink<CVornLog> link(nullptr);
    EXPECT_EQ(zel::writeQueuedMessages(link), zel::LOG_WRITER_ENDS);
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
    unsigned long accounted = 0;
    unsigned long messages = 0;
    for (const std::string &line : writtenLines()) {
        if (unsigned long lost = 0; std::sscanf(line.c_str(), "[221320][INFO][VornLog]%lu messages lost", &lost) == 1) {
            accounted += lost;
            continue;
        }
        ++messages;
        int writer = -1;
        int number = -1;
        ASSERT_EQ(std::sscanf(line.c_str(), "[221320][INFO][%d][%d]m", &writer, &number), 2) << line;
        ASSERT_GT(number, last[writer]);
        last[writer] = number;
    }
    EXPECT_GE(messages, 501U);
    EXPECT_EQ(messages + accounted, 4U * perWriter);
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
        ASSERT_TRUE(line.starts_with("[221320][INFO][unit][") || line.ends_with(" messages lost")) << line;
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

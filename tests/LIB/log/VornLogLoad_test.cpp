// Many messages through every mode of the logger, with rotation and purge at work: every message is accounted for.
//
// ZEL_LOG_LOAD_MESSAGES sets the number of messages per mode (default 20000). Each run prints its counts, its rate and
// the processor time per message, writers and background thread together. Every line is also printed on standard error
// (a file): that is how the lines are counted that a rotation then swallows.
#include "ScratchHome.h"
#include "StreamCapture.h"
#include "SystemHooks.h"
#include "ThreadWatch.h"
#include "VornLog.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr std::time_t firstDay = 1700000000; // 2023-11-14
constexpr int queueAllowance = 450;          // writers that must not lose a message wait beyond this

long messageCount() {
    const char *text = std::getenv("ZEL_LOG_LOAD_MESSAGES");
    return text == nullptr ? 20000 : std::atol(text);
}

// Which message numbers of which writer were found, and how often each.
class Found {
public:
    Found(int writers, long perWriter) : m_seen(writers, std::vector<char>(perWriter)) {}

    void read(const std::string &line) {
        if (long lost = 0; std::sscanf(line.c_str(), "[%*6d][INFO][VornLog]%ld messages lost", &lost) == 1) {
            m_lost += lost;
            return;
        }
        int writer = 0;
        int number = 0;
        ASSERT_EQ(std::sscanf(line.c_str(), "[%*6d][INFO][w%d][%d]", &writer, &number), 2) << line;
        ASSERT_EQ(line.substr(line.size() - 7), "message") << line;
        ASSERT_EQ(m_seen.at(writer).at(number)++, 0) << "twice: " << line;
        ++m_count;
    }

    long count() const { return m_count; }
    /// Messages that the accounts of the log call lost.
    long lost() const { return m_lost; }

private:
    std::vector<std::vector<char>> m_seen;
    long m_count = 0;
    long m_lost = 0;
};

struct Load {
    const char *name;
    int writers;
    int threadMode;
    bool mutex;
    bool waitForRoom; // false: the writers flood the queue, and what is dropped is counted
};

void PrintTo(const Load &load, std::ostream *stream) {
    *stream << load.name;
}

class LoggerLoad : public testing::TestWithParam<Load> {
protected:
    LoggerLoad() {
        systemHooks().time = [this] { return firstDay + (sent < messageCount() / 2 ? 0 : 86400); };
        home.write("agent/bin/logs/20231101_app.log", "purged");
        home.write("agent/bin/logs/20231101_app_1.log", "purged");
    }

    void write(CVornLog &log, const Load &load, int writer, long messages) {
        const std::string source = "w" + std::to_string(writer);
        for (int i = 0; i < messages; ++i) {
            while (load.waitForRoom && load.threadMode == 1 && log.m_pcQueue->getCount() >= queueAllowance)
                usleep(100);
            ++sent;
            log.fLogWrite(3, i, source.c_str(), "message");
        }
    }

    std::unique_ptr<CVornLog> newLog(const Load &load) const {
        auto log = std::make_unique<CVornLog>(2, "app", 2, load.threadMode);
        log->fSetLogPath("logs/");
        log->fSetLogSize(64, 2);
        log->m_nCompressChk = 0;
        log->fSetThreadChk(load.mutex ? 1 : 0);
        return log;
    }

    ScratchHome home;
    std::atomic<long> sent{0};
};

TEST_P(LoggerLoad, EveryMessageIsAccountedFor) {
    const Load load = GetParam();
    const long perWriter = messageCount() / load.writers;
    const ThreadWatch threads;
    std::string printed;
    double seconds = 0;
    double cpuSeconds = 0;
    {
        const StreamCapture streams;
        auto log = newLog(load);
        g_nPrint = 1; // every line that reaches the writer, whether it is then written or lost to a rotation
        const auto start = std::chrono::steady_clock::now();
        const std::clock_t cpuStart = std::clock();
        std::vector<std::thread> writers;
        for (int writer = 0; writer < load.writers; ++writer)
            writers.emplace_back([&, writer] { write(*log, load, writer, perWriter); });
        for (std::thread &writer : writers)
            writer.join();
        log.reset();
        seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        cpuSeconds = static_cast<double>(std::clock() - cpuStart) / CLOCKS_PER_SEC;
        g_nPrint = 0;
        printed = streams.err();
    }

    Found arrived(load.writers, perWriter);
    std::istringstream lines(printed);
    for (std::string line; std::getline(lines, line);)
        ASSERT_NO_FATAL_FAILURE(arrived.read(line));
    Found written(load.writers, perWriter);
    long rotations = 0;
    for (const auto &entry : fs::directory_iterator("logs")) {
        const std::string name = entry.path().filename();
        EXPECT_GE(name, "20231114") << "old files are purged";
        rotations += std::count(name.begin(), name.end(), '_') == 2 ? 1 : 0; // date_name_number
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);)
            ASSERT_NO_FATAL_FAILURE(written.read(line));
    }

    const long dropped = sent - arrived.count();
    const auto total = static_cast<double>(sent);
    std::printf("load %-20s sent %ld = written %ld + lost to rotations %ld + dropped %ld; %.0f/s, %.2f us CPU each\n",
                load.name, sent.load(), written.count(), rotations, dropped, total / seconds, cpuSeconds * 1e6 / total);
    EXPECT_EQ(sent, perWriter * load.writers);
    EXPECT_EQ(arrived.count(), written.count() + rotations) << "each rotation loses the line that started it";
    EXPECT_EQ(written.lost(), dropped);
    if (load.waitForRoom) {
        EXPECT_EQ(dropped, 0);
        EXPECT_GE(rotations, 2);
        EXPECT_TRUE(fs::exists("logs/20231115_app.log"));
    } else {
        EXPECT_GE(arrived.count(), 501) << "the queue takes that many at once";
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, LoggerLoad,
                         testing::Values(Load{"Direct", 1, 0, false, true}, Load{"DirectFourWriters", 4, 0, true, true},
                                         Load{"QueuedFourWriters", 4, 1, false, true},
                                         Load{"QueuedUnderTheMutex", 4, 1, true, true},
                                         Load{"FloodedFourWriters", 4, 1, false, false}),
                         [](const auto &load) { return std::string(load.param.name); });

} // namespace

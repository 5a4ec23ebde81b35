// The logger in direct mode: settings, lines and levels, the mutex.
#include "FrozenClock.h"
#include "ScratchHome.h"
#include "StreamCapture.h"
#include "VornLog.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <thread>

namespace {

// 1700000000 is 2023-11-14 22:13:20 UTC.
constexpr const char *firstFile = "agent/bin/20231114_app.log";

TEST(LoggerSettings, StartValues) {
    const CVornLog log(2, "app", 2);
    EXPECT_EQ(log.m_pcQueue, nullptr);
    EXPECT_EQ(log.m_nThreadMode, 0);
    EXPECT_EQ(log.m_pstrLogFile, nullptr);
    EXPECT_STREQ(log.m_pstrLogPath, "./");
    EXPECT_STREQ(log.m_strMCName, "app");
    EXPECT_STREQ(log.m_strCurrentDate, "EMPTY");
    EXPECT_EQ(log.m_nValidDay, 2);
    EXPECT_EQ(log.m_nLogMode, 2);
    EXPECT_EQ(log.m_nFileFd, 0);
    EXPECT_EQ(log.m_nThreadChk, 0);
    EXPECT_EQ(log.m_nLogCnt, 0);
    EXPECT_EQ(log.m_nLogCompress, 0);
    EXPECT_EQ(log.m_ulLogSize, 10240UL);
    EXPECT_EQ(log.m_nLivInvLogFlag, 1);
}

// Embedding programs read the members: they come in this order.
TEST(LoggerSettings, MembersStandInTheirOrder) {
    const CVornLog log(2, "app", 2);
    const void *members[] = {&log.m_pcQueue,   &log.m_nThreadMode,    &log.m_pstrLogFile,     &log.m_pstrLogPath,
                             &log.m_strMCName, &log.m_strCurrentDate, &log.m_strCompressPath, &log.m_nCompressChk,
                             &log.m_nValidDay, &log.m_nLogMode,       &log.m_nFileFd,         &log.m_nThreadChk,
                             &log.m_nLogCnt,   &log.m_nLogCompress,   &log.m_ulLogSize,       &log.m_nLivInvLogFlag};
    EXPECT_EQ(members[0], &log);
    EXPECT_TRUE(std::is_sorted(std::begin(members), std::end(members), std::less<>()));
}

TEST(LoggerSettings, AgentInTheNameIsNoticed) {
    EXPECT_EQ(CVornLog(2, "agent", 2).m_nLivInvLogFlag, 0);
    EXPECT_EQ(CVornLog(2, "myAGENTx", 2).m_nLivInvLogFlag, 0);
    EXPECT_EQ(CVornLog(2, "Agent", 2).m_nLivInvLogFlag, 1);
    EXPECT_EQ(CVornLog(2, nullptr, 2).m_nLivInvLogFlag, 1);
}

TEST(LoggerSettings, LongNameIsCut) {
    const CVornLog log(2, "abcdefghijklmnopqrst", 2);
    EXPECT_STREQ(log.m_strMCName, "abcdefghijklmno");
}

TEST(LoggerSettings, FirstCompressorThatExistsIsTaken) {
    const CVornLog log(2, "app", 2);
    std::string expected;
    for (const char *path : {"/usr/sbin/compress", "/usr/bin/compress", "/bin/compress", "/sbin/compress",
                             "/usr/sbin/gzip", "/usr/bin/gzip", "/bin/gzip", "/sbin/gzip"}) {
        if (expected.empty() && std::filesystem::exists(path))
            expected = path;
    }
    EXPECT_EQ(log.m_strCompressPath, expected);
    EXPECT_EQ(log.m_nCompressChk, expected.empty() ? 0 : 1);
}

TEST(LoggerSettings, ModeTakesOneToThree) {
    CVornLog log(1, "app", 2);
    EXPECT_EQ(log.fGetLogMode(), 1);
    EXPECT_EQ(log.fSetLogMode(3), 1);
    EXPECT_EQ(log.fGetLogMode(), 3);
    for (const int wrong : {0, 4, -1}) {
        log.fSetLogMode(1);
        EXPECT_EQ(log.fSetLogMode(wrong), 0);
        EXPECT_EQ(log.fGetLogMode(), 2);
    }
    EXPECT_EQ(CVornLog(9, "app", 2).m_nLogMode, 2);
}

TEST(LoggerSettings, NegativeValidDaysAreRefused) {
    CVornLog log(2, "app", -5);
    EXPECT_EQ(log.m_nValidDay, 2);
    EXPECT_EQ(log.fSetValidDay(0), 1);
    EXPECT_EQ(log.m_nValidDay, 0);
    EXPECT_EQ(log.fSetValidDay(-1), 0);
    EXPECT_EQ(log.m_nValidDay, 2);
}

TEST(LoggerSettings, SizeHasUnits) {
    CVornLog log(2, "app", 2);
    EXPECT_EQ(log.fSetLogSize(3, 1), 1);
    EXPECT_EQ(log.m_ulLogSize, 3145728UL); // 3 * 1048576
    EXPECT_EQ(log.fSetLogSize(3, 2), 1);
    EXPECT_EQ(log.m_ulLogSize, 3072UL); // 3 * 1024
    EXPECT_EQ(log.fSetLogSize(3, 3), 1);
    EXPECT_EQ(log.m_ulLogSize, 0UL);
    EXPECT_EQ(log.fSetLogSize(-1, 1), 0);
    EXPECT_EQ(log.m_ulLogSize, 10240UL);
    EXPECT_EQ(log.fSetLogSize(2147483647, 1), 1);
    EXPECT_EQ(log.m_ulLogSize, 2251799812636672UL); // 2147483647 * 1048576, beyond 32 bits
}

TEST(LoggerSettings, SwitchesTakeOneOrMore) {
    CVornLog log(2, "app", 2);
    log.fSetThreadChk(5);
    log.fSetLogCompress(5);
    EXPECT_EQ(log.m_nThreadChk, 1);
    EXPECT_EQ(log.m_nLogCompress, 1);
    log.fSetThreadChk(0);
    log.fSetLogCompress(-1);
    EXPECT_EQ(log.m_nThreadChk, 0);
    EXPECT_EQ(log.m_nLogCompress, 0);
}

TEST(LoggerSettings, NullPathKeepsTheDirectory) {
    CVornLog log(2, "app", 2);
    EXPECT_EQ(log.fSetLogPath("/var/log/zel/"), 1);
    EXPECT_EQ(log.fSetLogPath(nullptr), 0);
    EXPECT_STREQ(log.m_pstrLogPath, "/var/log/zel/");
}

TEST(LoggerTime, HasThreeForms) {
    char text[16];
    EXPECT_EQ(CVornLog::fGetDayTime(1700000000, text, 1), 1700000000);
    EXPECT_STREQ(text, "20231114");
    CVornLog::fGetDayTime(1700000000, text, 2);
    EXPECT_STREQ(text, "221320");
    CVornLog::fGetThreadDayTime(1700000000, text, 3);
    EXPECT_STREQ(text, "20231114-221320");
    CVornLog::fGetThreadDayTime(1700000000, text, 4);
    EXPECT_STREQ(text, "");
}

TEST(LoggerTime, BelowOneIsNow) {
    const FrozenClock clock(1700000000);
    char text[16];
    EXPECT_EQ(CVornLog::fGetDayTime(0, text, 3), 1700000000);
    EXPECT_STREQ(text, "20231114-221320");
    EXPECT_EQ(CVornLog::fGetThreadDayTime(-5, text, 1), 1700000000);
    EXPECT_STREQ(text, "20231114");
}

TEST(LoggerTime, TimesAfter2038AreWritten) {
    char text[16];
    // 2147483648 is one second after 2038-01-19 03:14:07.
    EXPECT_EQ(CVornLog::fGetThreadDayTime(2147483648L, text, 3), 2147483648L);
    EXPECT_STREQ(text, "20380119-031408");
}

TEST(LoggerTime, TimeBeyondTheCalendarIsRefusedAndNeverOverruns) {
    char text[16];
    EXPECT_EQ(CVornLog::fGetThreadDayTime(std::numeric_limits<std::time_t>::max(), text, 3), 0);
    EXPECT_STREQ(text, "");
    // The year 33658: one digit more than the text has room for.
    CVornLog::fGetThreadDayTime(1000000000000L, text, 1);
    EXPECT_EQ(std::string(text).size(), 8U);
    CVornLog::fGetThreadDayTime(1000000000000L, text, 3);
    EXPECT_EQ(std::string(text).size(), 15U);
}

TEST(LoggerLine, InformationWithAndWithoutLine) {
    const ScratchHome home;
    const FrozenClock clock(1700000000);
    CVornLog log(2, "app", 2);
    log.fLogWrite(2, "unit", "notice");
    log.fLogWrite(3, "unit", "error");
    log.fLogWrite(2, 17, "unit", "notice with line");
    log.fLogWrite(3, 18, "unit", "error with line");
    EXPECT_EQ(home.read(firstFile), "[221320][INFO][unit]notice\n"
                                    "[221320][INFO][unit]error\n"
                                    "[221320][INFO][unit][17]notice with line\n"
                                    "[221320][INFO][unit][18]error with line\n");
}

TEST(LoggerLine, DebugIsWrittenInModeOneOnly) {
    const ScratchHome home;
    const FrozenClock clock(1700000000);
    CVornLog log(1, "app", 2);
    log.fLogWrite(1, "unit", "plain");
    log.fLogWrite(1, 5, "unit", "lined");
    log.fSetLogMode(2);
    log.fLogWrite(1, "unit", "unwanted");
    log.fSetLogMode(3);
    log.fLogWrite(1, 5, "unit", "unwanted");
    EXPECT_EQ(home.read(firstFile), "[221320][DEBUG][unit]plain\n[221320][DEBUG][unit][5]lined\n");
}

TEST(LoggerLine, OtherLevelsGiveNothing) {
    const ScratchHome home;
    const FrozenClock clock(1700000000);
    CVornLog log(1, "app", 2);
    log.fLogWrite(0, "unit", "below");
    log.fLogWrite(4, 3, "unit", "above");
    EXPECT_EQ(home.read(firstFile), "");
}

TEST(LoggerLine, SuppressedLineStillRunsTheChecks) {
    const ScratchHome home;
    FrozenClock clock(1700000000);
    CVornLog log(2, "app", 2);
    log.fLogWrite(1, "unit", "unwanted");
    EXPECT_TRUE(home.exists(firstFile));
    home.remove(firstFile);
    log.fLogWrite(1, "unit", "unwanted");
    EXPECT_EQ(home.read(firstFile), "");
    clock.advance(86400);
    log.fLogWrite(1, "unit", "unwanted");
    EXPECT_TRUE(home.exists("agent/bin/20231115_app.log"));
}

TEST(LoggerLine, MessageOfAnyLengthIsWhole) {
    const ScratchHome home;
    const FrozenClock clock(1700000000);
    CVornLog log(2, "app", 2);
    log.fSetLogSize(10, 1);
    // Around the room of an ordinary line, and far beyond it.
    std::string expected;
    for (const std::size_t length : {4070, 4071, 4072, 4073, 4074, 4075, 4076, 1000000}) {
        const std::string message(length, 'm');
        log.fLogWrite(3, "unit", message.c_str());
        expected += "[221320][INFO][unit]" + message + "\n";
    }
    EXPECT_EQ(home.read(firstFile), expected);
}

TEST(LoggerLine, LongMessageIsCutToALineWithoutMemory) {
    const ScratchHome home;
    const FrozenClock clock(1700000000);
    CVornLog log(2, "app", 2);
    log.fSetLogSize(1, 1);
    log.fLogWrite(3, "unit", "short");
    const std::string message(5000, 'm');
    systemHooks().failAllocationAfter = 0;
    log.fLogWrite(3, 17, "unit", message.c_str());
    systemHooks().failAllocationAfter = -1;
    // The room of an ordinary line, 4096 bytes: 24 before the message, and the line end.
    EXPECT_EQ(home.read(firstFile),
              "[221320][INFO][unit]short\n[221320][INFO][unit][17]" + std::string(4071, 'm') + "\n");
}

TEST(LoggerLine, LineNumbersAreWrittenWhole) {
    const ScratchHome home;
    const FrozenClock clock(1700000000);
    CVornLog log(2, "app", 2);
    log.fLogWrite(3, std::numeric_limits<int>::min(), "unit", "m");
    log.fLogWrite(3, std::numeric_limits<int>::max(), "unit", "m");
    EXPECT_EQ(home.read(firstFile), "[221320][INFO][unit][-2147483648]m\n[221320][INFO][unit][2147483647]m\n");
}

TEST(LoggerLine, NullTextsAreEmptyAndFormatsAreText) {
    const ScratchHome home;
    const FrozenClock clock(1700000000);
    CVornLog log(2, "app", 2);
    log.fLogWrite(3, nullptr, nullptr);
    log.fLogWrite(3, 1, nullptr, "%s%n");
    EXPECT_EQ(home.read(firstFile), "[221320][INFO][]\n[221320][INFO][][1]%s%n\n");
}

TEST(LoggerLine, PrintFlagRepeatsEveryLineOnStandardError) {
    const ScratchHome home;
    const FrozenClock clock(1700000000);
    const StreamCapture streams;
    CVornLog log(2, "app", 2);
    log.fLogWrite(3, "unit", "quiet");
    g_nPrint = 1;
    log.fLogWrite(3, "unit", "loud");
    log.fLogWrite(1, "unit", "unwanted");
    g_nPrint = 0;
    EXPECT_EQ(streams.err(), "[221320][INFO][unit]loud\n");
    EXPECT_EQ(home.read(firstFile), "[221320][INFO][unit]quiet\n[221320][INFO][unit]loud\n");
}

TEST(LoggerLine, DirectWriteHasTheSameForms) {
    const ScratchHome home;
    const FrozenClock clock(1700000000);
    CVornLog log(1, "app", 2);
    log.fWrite(1, "unit", "a");
    log.fWrite(3, 4, "unit", "b");
    EXPECT_EQ(home.read(firstFile), "[221320][DEBUG][unit]a\n[221320][INFO][unit][4]b\n");
}

TEST(LoggerMutex, IsHeldDuringAWrite) {
    const ScratchHome home;
    CVornLog log(2, "app", 2);
    log.fSetThreadChk(1);
    int busy = 0;
    systemHooks().time = [&]() -> std::time_t {
        busy = pthread_mutex_trylock(&l_gstLogMutexLock);
        return 1700000000;
    };
    log.fLogWrite(3, "unit", "message");
    EXPECT_EQ(busy, EBUSY);
    EXPECT_EQ(pthread_mutex_trylock(&l_gstLogMutexLock), 0) << "free after the write";
    pthread_mutex_unlock(&l_gstLogMutexLock);
    systemHooks().time = nullptr;
}

TEST(LoggerMutex, IsLeftAloneWithoutTheCheck) {
    const ScratchHome home;
    CVornLog other(2, "other", 2);
    other.fSetThreadChk(1); // keeps the mutex ready
    CVornLog log(2, "app", 2);
    pthread_mutex_lock(&l_gstLogMutexLock);
    log.fLogWrite(3, "unit", "message"); // would wait for ever
    pthread_mutex_unlock(&l_gstLogMutexLock);
}

TEST(LoggerMutex, ServesLaterLoggersAfterItWasDestroyed) {
    const ScratchHome home;
    const FrozenClock clock(1700000000);
    for (int round = 0; round < 3; ++round) {
        CVornLog log(2, "app", 2);
        log.fSetThreadChk(1);
        log.fSetThreadChk(1);
        CVornLog other(2, "other", 2);
        other.fSetThreadChk(1);
        log.fLogWrite(3, "unit", "message");
        other.fLogWrite(3, "unit", "message");
    }
    EXPECT_EQ(home.read(firstFile), "[221320][INFO][unit]message\n[221320][INFO][unit]message\n"
                                    "[221320][INFO][unit]message\n");
}

TEST(LoggerMutex, OneLoggerThatGoesLeavesItToTheOther) {
    const ScratchHome home;
    CVornLog log(2, "app", 2);
    log.fSetThreadChk(1);
    {
        CVornLog other(2, "other", 2);
        other.fSetThreadChk(1);
    }
    EXPECT_EQ(pthread_mutex_trylock(&l_gstLogMutexLock), 0);
    pthread_mutex_unlock(&l_gstLogMutexLock);
}

TEST(LoggerMutex, MakesDirectModeSafeForFourThreads) {
    const ScratchHome home;
    CVornLog log(2, "app", 2);
    log.fSetLogSize(100, 1);
    log.fSetThreadChk(1);
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([&log, writer] {
            for (int i = 0; i < 500; ++i)
                log.fLogWrite(3, i, "unit", std::string(static_cast<std::size_t>(writer) + 1, 'x').c_str());
        });
    for (std::thread &writer : writers)
        writer.join();
    std::size_t lines = 0;
    for (const auto &entry : std::filesystem::directory_iterator(home.path() / "agent/bin")) {
        if (entry.is_regular_file()) {
            const std::string text = home.read("agent/bin/" + entry.path().filename().string());
            lines += static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
        }
    }
    EXPECT_EQ(lines, 2000U);
}

} // namespace

// The log gate: when it is open and what passes it.
#include "LogCapture.h"

#include <gtest/gtest.h>

namespace {

int evaluations;

int counted(int value) {
    ++evaluations;
    return value;
}

TEST(LogGate, ClosedWithoutALogger) {
    CVornLog::fSetLogModeBit("DEBUG");
    EXPECT_FALSE(zel::errorLogOpen());
    EXPECT_FALSE(zel::normalLogOpen());
    EXPECT_FALSE(zel::debugLogOpen());
    EXPECT_FALSE(zel::loggerInstalled());
    CVornLog::fSetLogModeBit("NOLOG");
}

TEST(LogGate, NeedsModuleAndDetailOfItsLevel) {
    const LogCapture log(0, 0);
    EXPECT_TRUE(zel::loggerInstalled());
    EXPECT_FALSE(zel::errorLogOpen());

    CVornLog::fSetLogModeBit("ERROR:LAB:14");
    EXPECT_TRUE(zel::errorLogOpen());
    EXPECT_FALSE(zel::normalLogOpen());
    EXPECT_FALSE(zel::debugLogOpen());
    EXPECT_FALSE(zel::errorLogOpen(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB6));
    EXPECT_FALSE(zel::errorLogOpen(zel::LOG_MODULE_UNI, zel::LOG_DETAIL_LAB14));

    CVornLog::fSetLogModeBit("NORMAL:LAB:14");
    EXPECT_TRUE(zel::normalLogOpen());
    CVornLog::fSetLogModeBit("DEBUG:LAB:14");
    EXPECT_TRUE(zel::debugLogOpen());
}

TEST(LogGate, AllOnesOpenEveryBit) {
    const LogCapture log(-1, -1);
    for (int bit = 0; bit < 32; ++bit)
        EXPECT_TRUE(zel::errorLogOpen(static_cast<int>(1U << bit), static_cast<int>(1U << bit))) << bit;
}

TEST(LogGate, ClosedGateEvaluatesNothing) {
    const LogCapture log(0, 0);
    char message[64] = "untouched";
    evaluations = 0;
    ZEL_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "unit", message, "value %d", counted(1));
    EXPECT_EQ(evaluations, 0);
    EXPECT_STREQ(message, "untouched");
    EXPECT_TRUE(log.lines().empty());
}

TEST(LogGate, OpenGateWritesWithTheLineOfTheCall) {
    const LogCapture log;
    char message[64];
    ZEL_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "unit", message, "value %d", 7);
    const int line = __LINE__ - 1;
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0], "[INFO][unit][" + std::to_string(line) + "]value 7");
}

TEST(LogGate, MessageIsCutAtItsBuffer) {
    const LogCapture log;
    char message[8];
    ZEL_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "unit", message, "%s", std::string(100, 'x').c_str());
    EXPECT_THAT(log.messages(), testing::ElementsAre("xxxxxxx"));
}

TEST(LogGate, NameWithLineFeedsForgesNoLine) {
    const LogCapture log;
    zel::writeLog(zel::LOG_LEVEL_ERROR, 7, "LogGate_test",
                  "mount /a\n[20260101-000000][INFO][x][1]forged\x03\x1f|\x1b\x7f");
    const std::vector<std::string> lines = log.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], "[INFO][LogGate_test][7]mount /a [20260101-000000][INFO][x][1]forged  |  ");
}

TEST(LogGate, WritingWithoutALoggerDoesNothing) {
    StreamCapture streams;
    zel::writeLog(zel::LOG_LEVEL_ERROR, 1, "unit", "message");
    EXPECT_EQ(streams.err(), "");
}

TEST(LogGate, LoggerThatGoesUninstallsItself) {
    {
        CVornLog log(2, "app", 2);
        g_pclVornLog = &log;
    }
    EXPECT_EQ(g_pclVornLog, nullptr);
    CVornLog other(2, "app", 2);
    g_pclVornLog = &other;
    { CVornLog log(2, "app", 2); }
    EXPECT_EQ(g_pclVornLog, &other);
    g_pclVornLog = nullptr;
}

} // namespace

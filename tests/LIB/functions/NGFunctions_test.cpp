// The general functions: sleep, clocks, settings, alarm handler and hash.
#include "FrozenClock.h"
#include "NGFunctions.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

TEST(Sleep, LastsTheMicrosecondsOfTheCall) {
    FrozenClock clock;

    EXPECT_EQ(fgUSleep(1), 1);
    EXPECT_EQ(fgUSleep(999999), 1);
    EXPECT_EQ(fgUSleep(5000000), 1);
    EXPECT_EQ(fgUSleep(2147483647), 1);

    EXPECT_THAT(clock.sleeps(), ElementsAre(1, 999999, 5000000, 2147483647));
}

TEST(Sleep, BelowOneLastsAMillisecond) {
    FrozenClock clock;

    EXPECT_EQ(fgUSleep(0), 1);
    EXPECT_EQ(fgUSleep(-5), 1);

    EXPECT_THAT(clock.sleeps(), ElementsAre(1000, 1000));
}

TEST(Sleep, GivesSelectNoDescriptorsAndATimeOutBelowASecondOfMicroseconds) {
    timeval given{};
    systemHooks().select = [&given](int count, fd_set *read, fd_set *write, fd_set *except, timeval *timeout) {
        EXPECT_EQ(count, 0);
        EXPECT_TRUE(read == nullptr && write == nullptr && except == nullptr);
        given = *timeout;
        return 0;
    };

    fgUSleep(1234567);

    EXPECT_EQ(given.tv_sec, 1);
    EXPECT_EQ(given.tv_usec, 234567);
}

TEST(Sleep, ReallyWaits) {
    timespec before{}, after{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    fgUSleep(20000);
    clock_gettime(CLOCK_MONOTONIC, &after);

    EXPECT_GE((after.tv_sec - before.tv_sec) * 1000000000 + (after.tv_nsec - before.tv_nsec), 20000000);
}

TEST(Clocks, ReadTheTimeOfDay) {
    const FrozenClock clock(1700000000, 250000);

    EXPECT_DOUBLE_EQ(fGetCurVelmorTime(), 1700000000.25);
    EXPECT_EQ(fGetPushCurVelmorTime(), 1700000000);
}

TEST(RuntimeSettings, AreZeroUntilTheyAreAssigned) {
    for (const int value : {g_nIPv6Flag, g_nSignalPid, g_nAlarmSec, g_nAlarmThStatus, g_nBlockChkFlag, g_nBlockTimeOut,
                            g_nBlockChkSec, g_stMemUse.m_nMemSize})
        EXPECT_EQ(value, 0);
}

TEST(AlarmHandler, OnlyInterruptsTheBlockingCall) {
    struct sigaction action {
    }, previous{};
    action.sa_handler = fgCNSocket_CathAlam;
    ASSERT_EQ(sigaction(SIGALRM, &action, &previous), 0);

    EXPECT_EQ(raise(SIGALRM), 0); // without the handler this ends the program

    sigaction(SIGALRM, &previous, nullptr);
}

TEST(Hash, EmptyTextGivesZero) {
    EXPECT_EQ(ELFHash(""), 0);
}

TEST(Hash, MultipliesBy131AndAddsTheCharacter) {
    EXPECT_EQ(ELFHash("a"), 97);
    EXPECT_EQ(ELFHash("ab"), 97 * 131 + 98);
    // s 115, d 100, a 97: (115 * 131 + 100) * 131 + 97
    EXPECT_EQ(ELFHash("sda"), 1986712);
}

TEST(Hash, WrapsIn32BitsAndDropsTheTopBit) {
    // e 101, t 116, h 104, 0 48: 101 * 131 + 116 = 13347; * 131 + 104 = 1748561; * 131 + 48 = 229061539
    // "1" 49: 229061539 * 131 + 49 = 30007061658 = 6 * 4294967296 + 4237257882; - 2147483648 = 2089774234
    EXPECT_EQ(ELFHash("eth0"), 229061539);
    EXPECT_EQ(ELFHash("eth01"), 2089774234);
}

TEST(Hash, CharactersAreSigned) {
    // 0xff is -1: 4294967295 without the top bit
    EXPECT_EQ(ELFHash("\xff"), 2147483647);
    // 1 * 131 + (-128) = 3
    EXPECT_EQ(ELFHash("\x01\x80"), 3);
}

TEST(Hash, DifferentNamesMayShareAHash) {
    // 98 * 131 - 127 = 12711 = 97 * 131 + 4
    EXPECT_EQ(ELFHash("b\x81"), 12711);
    EXPECT_EQ(ELFHash("a\x04"), 12711);
}

} // namespace

// The watchdog thread: its block check, its signal and the alarm.
#include "FrozenClock.h"
#include "LogRecorder.h"
#include "NGFunctions.h"
#include "functions/Watchdog.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <thread>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int startTime = 1700000000;
constexpr int watchedPid = 4711;

int load(int &word) {
    return std::atomic_ref<int>(word).load();
}

void store(int &word, int value) {
    std::atomic_ref<int>(word).store(value);
}

void clearSharedWords() {
    for (int *word :
         {&g_nSignalPid, &g_nAlarmSec, &g_nAlarmThStatus, &g_nBlockChkFlag, &g_nBlockTimeOut, &g_nBlockChkSec})
        store(*word, 0);
}

LogCall unimessage(const std::string &message) {
    return {3, "UNI", message};
}

class Watchdog : public testing::Test {
protected:
    Watchdog() {
        clearSharedWords();
        systemHooks().kill = [this](pid_t pid, int number) {
            EXPECT_EQ(number, SIGALRM);
            EXPECT_EQ(pid, watchedPid);
            m_signals.push_back(m_second);
            m_alarmAtSignal = g_nAlarmSec;
            return 0;
        };
    }
    ~Watchdog() override { clearSharedWords(); }

    void start(int blockTimeOut) {
        g_nSignalPid = watchedPid;
        zel::watchdogStart(blockTimeOut);
    }

    // Lets so many seconds pass, one pass at the end of each.
    void pass(int seconds) {
        for (int i = 0; i < seconds; ++i) {
            m_clock.advance(1);
            ++m_second;
            zel::watchdogPass(m_counters);
        }
    }

    FrozenClock m_clock{startTime};
    zel::WatchdogCounters m_counters;
    int m_second = 0;
    std::vector<int> m_signals; // seconds since the start
    int m_alarmAtSignal = -1;
};

TEST_F(Watchdog, StartGivesTheSharedWordsTheirValues) {
    g_nAlarmSec = 9;
    g_nBlockTimeOut = 9;

    zel::watchdogStart(30);

    EXPECT_EQ(g_nAlarmThStatus, 1);
    EXPECT_EQ(g_nAlarmSec, 0);
    EXPECT_EQ(g_nBlockChkSec, startTime);
    EXPECT_EQ(g_nBlockTimeOut, 30);
    EXPECT_EQ(g_nSignalPid, getpid());
    EXPECT_EQ(g_nBlockChkFlag, 0);
}

TEST_F(Watchdog, StartKeepsAGivenProcess) {
    g_nSignalPid = watchedPid;

    zel::watchdogStart(30);

    EXPECT_EQ(g_nSignalPid, watchedPid);
}

TEST_F(Watchdog, BlockTimeOutBelowOneIsZero) {
    zel::watchdogStart(-5);
    EXPECT_EQ(g_nBlockTimeOut, 0);
    zel::watchdogStart(0);
    EXPECT_EQ(g_nBlockTimeOut, 0);
    zel::watchdogStart(1);
    EXPECT_EQ(g_nBlockTimeOut, 1);
}

TEST_F(Watchdog, LogsThenSignalsThenDisarmsThenLogs) {
    LogRecorder log;
    const OpenGate gate(g_nLogModERROR, 16, g_nLoggingERROR2, 1);
    std::vector<std::string> events;
    const auto note = [&events](const std::string &event) {
        events.push_back(event + ", armed " + std::to_string(g_nAlarmSec));
    };
    systemHooks().writeLog = [&note](int, int, const char *, const char *message) {
        note(std::string(message).substr(0, std::string(message).find('[')));
    };
    systemHooks().kill = [&note](pid_t, int) {
        note("signal");
        return 0;
    };
    start(0);
    g_nAlarmSec = 1;

    pass(2);

    EXPECT_THAT(events, testing::ElementsAre("signal alarm sending-alarm, armed 1", "signal, armed 1",
                                             "signal alarm send-alarm, armed 0"));
}

TEST_F(Watchdog, BlockCheckRefreshesTheHeartbeatBehindTheSignal) {
    LogRecorder log;
    const OpenGate gate(g_nLogModERROR, 16, g_nLoggingERROR2, 1);
    std::vector<int> heartbeats;
    systemHooks().writeLog = [&heartbeats](int, int, const char *, const char *) {
        heartbeats.push_back(g_nBlockChkSec);
    };
    systemHooks().kill = [&heartbeats](pid_t, int) {
        heartbeats.push_back(g_nBlockChkSec);
        return 0;
    };
    start(5);
    g_nBlockChkFlag = 1;

    pass(11);

    EXPECT_THAT(heartbeats, testing::ElementsAre(startTime, startTime, startTime + 11));
}

TEST_F(Watchdog, ProcessGroupIsNeverSignalled) {
    std::vector<pid_t> signalled;
    systemHooks().kill = [&signalled](pid_t pid, int) {
        signalled.push_back(pid);
        return 0;
    };
    start(0);
    for (const int pid : {0, -1}) {
        g_nSignalPid = pid;
        g_nAlarmSec = 0;
        pass(1);
        g_nAlarmSec = 1;
        pass(2);
    }
    EXPECT_THAT(signalled, testing::ElementsAre(getpid(), getpid()));
}

TEST_F(Watchdog, AlarmFiresAfterItsSecondsAndDisarmsItself) {
    start(0);
    pass(2);
    g_nAlarmSec = 3; // armed at second 2: passes 3, 4 and 5 count, pass 6 finds three seconds over

    pass(30);

    EXPECT_THAT(m_signals, ElementsAre(6));
    EXPECT_EQ(m_alarmAtSignal, 3) << "disarmed only behind the signal";
    EXPECT_EQ(g_nAlarmSec, 0);
}

TEST_F(Watchdog, DisarmedAlarmDoesNotFire) {
    start(0);
    g_nAlarmSec = 3;
    pass(3);
    g_nAlarmSec = 0;

    pass(10);

    EXPECT_THAT(m_signals, IsEmpty());
}

TEST_F(Watchdog, NegativeAlarmIsDisarmed) {
    start(0);
    g_nAlarmSec = -1;

    pass(10);

    EXPECT_THAT(m_signals, IsEmpty());
    EXPECT_EQ(g_nAlarmSec, -1);
}

TEST_F(Watchdog, SecondsCountAnewAfterAPassWithoutAlarm) {
    start(0);
    g_nAlarmSec = 3;
    pass(2);
    g_nAlarmSec = 0;
    pass(1);
    g_nAlarmSec = 3; // at second 3: 4, 5, 6 count

    pass(10);

    EXPECT_THAT(m_signals, ElementsAre(7));
}

TEST_F(Watchdog, FiresAgainWhenArmedAgain) {
    start(0);
    g_nAlarmSec = 1; // second 1 counts, 2 fires
    pass(5);
    g_nAlarmSec = 2; // seconds 6 and 7 count, 8 fires
    pass(5);

    EXPECT_THAT(m_signals, ElementsAre(2, 8));
}

TEST_F(Watchdog, BlockIsSignalledAtTheCheckAfterItsTimeOut) {
    start(30);
    g_nBlockChkFlag = 1;

    pass(43);

    // checks at 11, 22 and 33: 33 - 0 exceeds 30
    EXPECT_THAT(m_signals, ElementsAre(33));
    EXPECT_EQ(g_nBlockChkSec, startTime + 33);
}

TEST_F(Watchdog, BlockSignalComesBetweenTimeOutAndElevenSecondsLater) {
    for (int heartbeat = 0; heartbeat < 11; ++heartbeat) {
        m_signals.clear();
        m_counters = {};
        m_second = 0;
        m_clock.set(startTime);
        start(30);
        g_nBlockChkFlag = 1;
        pass(heartbeat);
        g_nBlockChkSec = startTime + heartbeat;

        pass(42);

        ASSERT_EQ(m_signals.size(), 1U) << heartbeat;
        EXPECT_GT(m_signals[0] - heartbeat, 30);
        EXPECT_LE(m_signals[0] - heartbeat, 41);
    }
}

TEST_F(Watchdog, BlockTimeOutMustBeExceeded) {
    start(11);
    g_nBlockChkFlag = 1;

    pass(11); // 11 - 0 does not exceed 11
    EXPECT_THAT(m_signals, IsEmpty());
    pass(11);
    EXPECT_THAT(m_signals, ElementsAre(22));
}

TEST_F(Watchdog, HeartbeatKeepsTheBlockCheckQuiet) {
    start(30);
    g_nBlockChkFlag = 1;

    for (int i = 0; i < 10; ++i) {
        g_nBlockChkSec = startTime + m_second;
        pass(25);
    }

    EXPECT_THAT(m_signals, IsEmpty());
}

TEST_F(Watchdog, BlockIsSignalledAgainWhileItLasts) {
    start(30);
    g_nBlockChkFlag = 1;

    pass(70); // 33, then the check that is more than 30 seconds later: 66

    EXPECT_THAT(m_signals, ElementsAre(33, 66));
}

TEST_F(Watchdog, BlockCheckNeedsItsFlagAndATimeOut) {
    start(30);
    for (const int flag : {0, 2, -1}) {
        g_nBlockChkFlag = flag;
        pass(100);
    }
    g_nBlockChkFlag = 1;
    g_nBlockTimeOut = 0;
    pass(100);

    EXPECT_THAT(m_signals, IsEmpty());
}

TEST_F(Watchdog, HeartbeatOfTheFutureIsNoBlock) {
    start(30);
    g_nBlockChkFlag = 1;
    g_nBlockChkSec = startTime + 1000;

    pass(100);

    EXPECT_THAT(m_signals, IsEmpty());
}

TEST_F(Watchdog, BlockCheckSurvivesTheWrapOf32BitSeconds) {
    m_clock.set(2147483640); // 7 seconds before the largest int
    start(30);
    g_nBlockChkFlag = 1;

    pass(33);

    EXPECT_THAT(m_signals, ElementsAre(33));
}

// --- Messages ------------------------------------------------------------------------------------------------------

TEST_F(Watchdog, AlarmIsLoggedBeforeAndBehindTheSignal) {
    const LogRecorder log;
    const OpenGate gate(g_nLogModERROR, 16, g_nLoggingERROR2, 1);
    start(0);
    g_nAlarmSec = 3;

    pass(10);

    EXPECT_THAT(log.calls(),
                ElementsAre(unimessage("signal alarm sending-alarm[pid:4711] time out[3 sec](DEBUG NO : 0)"),
                            unimessage("signal alarm send-alarm[pid:4711] time out[0 sec](DEBUG NO : 0)")));
}

TEST_F(Watchdog, BlockIsLoggedBeforeAndBehindTheSignal) {
    const LogRecorder log;
    const OpenGate gate(g_nLogModERROR, 16, g_nLoggingERROR2, 1);
    start(30);
    g_nBlockChkFlag = 1;

    pass(40);

    EXPECT_THAT(log.calls(),
                ElementsAre(unimessage("signal alarm sending-block[pid:4711] time out[30 sec](DEBUG NO : 0)"),
                            unimessage("signal alarm send-block[pid:4711] time out[30 sec](DEBUG NO : 0)")));
}

TEST_F(Watchdog, ClosedGateKeepsTheSignalAndDropsTheMessages) {
    const LogRecorder log;
    // every bit but the module's, every bit but the detail's
    for (const auto &[module, detail] : {std::pair{~16, -1}, std::pair{-1, ~1}}) {
        const OpenGate gate(g_nLogModERROR, module, g_nLoggingERROR2, detail);
        start(0);
        g_nAlarmSec = 1;
        pass(4);
    }

    EXPECT_EQ(m_signals.size(), 2U);
    EXPECT_THAT(log.calls(), IsEmpty());
}

// --- The thread ----------------------------------------------------------------------------------------------------

bool alarmSignalBlocked() {
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return sigismember(&mask, SIGALRM) == 1;
}

// The sleep of the watchdog is where the watched code acts.
TEST_F(Watchdog, ThreadFunctionSleepsASecondPerPassAndEndsWhenToldSo) {
    const LogRecorder log;
    const OpenGate gate(g_nLogModERROR, 16, g_nLoggingERROR2, 1);
    std::vector<long> sleeps;
    systemHooks().select = [&](int, fd_set *, fd_set *, fd_set *, timeval *timeout) {
        sleeps.push_back(timeout->tv_sec * 1000000 + timeout->tv_usec);
        m_second = static_cast<int>(sleeps.size());
        EXPECT_EQ(g_nAlarmThStatus, 1);
        EXPECT_EQ(g_nBlockTimeOut, 45);
        EXPECT_TRUE(alarmSignalBlocked());
        if (m_second == 1)
            g_nAlarmSec = 3; // passes 1, 2 and 3 count, pass 4 fires
        if (m_second == 6)
            g_nAlarmThStatus = 0;
        return 0;
    };
    g_nSignalPid = watchedPid;
    int blockTimeOut = 45;

    std::thread([&] { EXPECT_EQ(fgAlarmTh(&blockTimeOut), nullptr); }).join();

    EXPECT_THAT(sleeps, ElementsAre(1000000, 1000000, 1000000, 1000000, 1000000, 1000000));
    EXPECT_THAT(m_signals, ElementsAre(4));
    ASSERT_EQ(log.calls().size(), 3U);
    EXPECT_EQ(log.calls()[2], unimessage("signal alarm thread exit"));
}

TEST_F(Watchdog, StoppedThreadSendsNothingMore) {
    systemHooks().select = [&](int, fd_set *, fd_set *, fd_set *, timeval *) {
        g_nBlockChkFlag = 1;
        g_nBlockChkSec = 0;
        if (++m_second == 11)
            g_nAlarmThStatus = 2;
        return 0;
    };
    g_nSignalPid = watchedPid;
    int blockTimeOut = 30;

    std::thread([&] { fgAlarmTh(&blockTimeOut); }).join();

    EXPECT_EQ(m_second, 11);
    EXPECT_THAT(m_signals, IsEmpty()) << "the eleventh pass would have checked the heartbeat";
}

TEST_F(Watchdog, ThreadWithoutATimeOutChecksNoBlock) {
    systemHooks().select = [&](int, fd_set *, fd_set *, fd_set *, timeval *) {
        g_nAlarmThStatus = 0;
        return 0;
    };

    std::thread([] { fgAlarmTh(nullptr); }).join();

    EXPECT_EQ(g_nBlockTimeOut, 0);
}

pthread_t watchedThread;
std::atomic<int> alarmsOnWatchedThread;

void countAlarm(int) {
    if (pthread_equal(pthread_self(), watchedThread))
        ++alarmsOnWatchedThread;
}

// The real thread and the real signal; only the seconds are short.
TEST(WatchdogThread, SignalInterruptsTheBlockingCallOfTheWatchedThread) {
    clearSharedWords();
    systemHooks().select = [](int, fd_set *, fd_set *, fd_set *, timeval *) { return usleep(1000); };
    watchedThread = pthread_self();
    struct sigaction action {
    }, previous{};
    action.sa_handler = countAlarm;
    ASSERT_EQ(sigaction(SIGALRM, &action, &previous), 0);
    int blockTimeOut = 0;
    pthread_t watchdog{};
    ASSERT_EQ(pthread_create(&watchdog, nullptr, fgAlarmTh, &blockTimeOut), 0);
    while (load(g_nAlarmThStatus) != 1 || load(g_nSignalPid) != getpid())
        usleep(1000);

    // Blocked until the blocking call, so that the signal cannot come before it.
    sigset_t alarm, before;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &alarm, &before);
    usleep(20000); // the watchdog writes its start values in between
    store(g_nAlarmSec, 3);
    const timespec tooLong{20, 0};
    const int result = ppoll(nullptr, 0, &tooLong, &before);
    const int error = errno;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    store(g_nAlarmThStatus, 0);
    ASSERT_EQ(pthread_join(watchdog, nullptr), 0);
    sigaction(SIGALRM, &previous, nullptr);

    EXPECT_EQ(result, -1);
    EXPECT_EQ(error, EINTR);
    EXPECT_EQ(alarmsOnWatchedThread, 1);
    EXPECT_EQ(g_nAlarmSec, 0);
    clearSharedWords();
}

} // namespace

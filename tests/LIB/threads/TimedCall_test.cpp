#include "SystemHooks.h"
#include "threads/TimedCall.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace {

using namespace std::chrono_literals;

// Work that hangs until the test ends it.
class HangingWork {
public:
    ~HangingWork() { end(); }

    std::function<void()> work() {
        return [gate = m_gate] { gate.wait(); };
    }
    void end() {
        if (!m_ended)
            m_release.set_value();
        m_ended = true;
        while (zel::abandonedCalls() != 0)
            std::this_thread::sleep_for(1ms);
    }

private:
    std::promise<void> m_release;
    std::shared_future<void> m_gate = m_release.get_future().share();
    bool m_ended = false;
};

TEST(TimedCall, WorkWithinTheLimitIsDone) {
    const auto result = std::make_shared<int>(0);

    EXPECT_EQ(zel::runWithin(10s, "key", [result] { *result = 42; }), 0);
    EXPECT_EQ(*result, 42);
    EXPECT_EQ(zel::abandonedCalls(), 0);
}

TEST(TimedCall, WorkBeyondTheLimitIsAbandoned) {
    HangingWork hanging;
    const auto started = std::chrono::steady_clock::now();

    EXPECT_EQ(zel::runWithin(50ms, "key", hanging.work()), ETIMEDOUT);

    const auto waited = std::chrono::steady_clock::now() - started;
    EXPECT_GE(waited, 50ms);
    EXPECT_LT(waited, 5s);
    EXPECT_EQ(zel::abandonedCalls(), 1);
}

TEST(TimedCall, AKeyWhoseCallHangsFailsAtOnceUntilItEnds) {
    HangingWork hanging;
    ASSERT_EQ(zel::runWithin(20ms, "key", hanging.work()), ETIMEDOUT);
    const auto runs = std::make_shared<std::atomic<int>>(0);
    const auto started = std::chrono::steady_clock::now();

    EXPECT_EQ(zel::runWithin(10s, "key", [runs] { ++*runs; }), ETIMEDOUT);
    EXPECT_LT(std::chrono::steady_clock::now() - started, 5s);
    EXPECT_EQ(*runs, 0);
    EXPECT_EQ(zel::runWithin(10s, "other", [runs] { ++*runs; }), 0);

    hanging.end();
    EXPECT_EQ(zel::runWithin(10s, "key", [runs] { ++*runs; }), 0);
    EXPECT_EQ(*runs, 2);
}

TEST(TimedCall, NoMoreCallsThanTheLimitHang) {
    HangingWork hanging;
    for (int i = 0; i < zel::TIMED_CALL_MAX_ABANDONED; ++i)
        ASSERT_EQ(zel::runWithin(1ms, std::to_string(i), hanging.work()), ETIMEDOUT);

    EXPECT_EQ(zel::runWithin(10s, "one more", [] {}), EAGAIN);

    hanging.end();
    EXPECT_EQ(zel::runWithin(10s, "one more", [] {}), 0);
}

TEST(TimedCall, WithoutAThreadTheWorkIsNotDone) {
    systemHooks().pthreadCreate = [](auto...) { return EAGAIN; };
    const auto ran = std::make_shared<bool>(false);

    EXPECT_EQ(zel::runWithin(10s, "key", [ran] { *ran = true; }), EAGAIN);
    EXPECT_FALSE(*ran);
    EXPECT_EQ(zel::abandonedCalls(), 0);
}

TEST(TimedCall, TheWorkGetsNoSignalsAndTheCallerKeepsItsMask) {
    sigset_t before;
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    const auto blocked = std::make_shared<bool>(false);

    ASSERT_EQ(zel::runWithin(10s, "key",
                             [blocked] {
                                 sigset_t mask;
                                 pthread_sigmask(SIG_SETMASK, nullptr, &mask);
                                 *blocked = sigismember(&mask, SIGALRM) == 1 && sigismember(&mask, SIGTERM) == 1;
                             }),
              0);

    EXPECT_TRUE(*blocked);
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, nullptr, &after);
    EXPECT_EQ(sigismember(&after, SIGALRM), sigismember(&before, SIGALRM));
    EXPECT_EQ(sigismember(&after, SIGTERM), 0);
}

TEST(TimedCall, SeveralThreadsMayCallAtOnce) {
    std::atomic<int> done = 0;
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 4; ++caller)
        callers.emplace_back([&done] {
            for (int i = 0; i < 20; ++i) {
                const auto result = std::make_shared<int>(0);
                if (zel::runWithin(10s, "same key", [result] { *result = 1; }) == 0 && *result == 1)
                    ++done;
            }
        });
    for (std::thread &caller : callers)
        caller.join();

    EXPECT_EQ(done, 80);
}

TEST(TimedCall, WorkThatFindsNoMemoryIsAnErrorAndEndsNothing) {
    EXPECT_EQ(zel::runWithin(std::chrono::seconds(5), "hungry", [] { throw std::bad_alloc(); }), ENOMEM);
    EXPECT_EQ(zel::runWithin(std::chrono::seconds(5), "hungry", [] {}), 0);
    EXPECT_EQ(zel::abandonedCalls(), 0);
}

// An abandoned call that ends without memory gives its key back too.
TEST(TimedCall, AbandonedWorkThatFindsNoMemoryIsForgotten) {
    const auto go = std::make_shared<std::atomic<bool>>(false);
    EXPECT_EQ(zel::runWithin(std::chrono::milliseconds(1), "late",
                             [go] {
                                 while (!*go)
                                     usleep(100);
                                 throw std::bad_alloc();
                             }),
              ETIMEDOUT);
    *go = true;
    for (int waited = 0; zel::abandonedCalls() > 0 && waited < 50000; ++waited)
        usleep(100);
    EXPECT_EQ(zel::abandonedCalls(), 0);
}

} // namespace

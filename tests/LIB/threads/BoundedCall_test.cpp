// Calls held to a limit: answers, subjects that fall silent and answer again, and one thread for each.
#include "threads/BoundedCall.h"

#include "OwnProcess.h"
#include "SystemHooks.h"
#include "ThreadWatch.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <new>
#include <thread>

namespace {

using namespace std::chrono_literals;
using zel::Silence;
using Call = zel::BoundedCall<int>;

double secondsOf(const std::function<void()> &work) {
    const auto started = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
}

void waitForTheThreads() {
    while (zel::boundedCallsRunning() != 0)
        std::this_thread::sleep_for(1ms);
}

// Work that hangs until the test ends it, and then gives `error`.
class HangingWork {
public:
    explicit HangingWork(int error = 0) : m_error(error) {}
    ~HangingWork() { end(); }
    HangingWork(const HangingWork &) = delete;
    HangingWork &operator=(const HangingWork &) = delete;

    std::function<int(int &)> work() {
        return [gate = m_gate, error = m_error](int &) {
            gate.wait();
            return error;
        };
    }
    void end() {
        if (!m_ended)
            m_release.set_value();
        m_ended = true;
        waitForTheThreads();
    }

private:
    int m_error;
    std::promise<void> m_release;
    std::shared_future<void> m_gate = m_release.get_future().share();
    bool m_ended = false;
};

int answers42(int &answer) {
    answer = 42;
    return 0;
}

int answersTooLate(int &answer) {
    std::this_thread::sleep_for(2ms);
    return answers42(answer);
}

zel::CallEnd endOf(const std::string &subject, std::chrono::milliseconds limit, std::function<int(int &)> work) {
    return Call(subject, limit, std::move(work)).wait();
}

TEST(BoundedCall, WorkWithinTheLimitAnswers) {
    Call call("answers", 10s, answers42);
    const zel::CallEnd end = call.wait();

    EXPECT_EQ(end.error, 0);
    EXPECT_EQ(end.silence, Silence::None);
    EXPECT_EQ(call.answer(), 42);
    EXPECT_EQ(zel::boundedCallsRunning(), 0);
}

TEST(BoundedCall, AnErrorOfTheWorkIsPassedOn) {
    const zel::CallEnd end = endOf("fails", 10s, [](int &) { return EACCES; });

    EXPECT_EQ(end.error, EACCES);
    EXPECT_EQ(end.silence, Silence::None);
}

TEST(BoundedCall, WorkBeyondTheLimitIsLeftAlone) {
    HangingWork hanging;
    zel::CallEnd end;
    const double waited = secondsOf([&] { end = endOf("hangs", 50ms, hanging.work()); });

    EXPECT_EQ(end.error, ETIMEDOUT);
    EXPECT_EQ(end.silence, Silence::Begins);
    EXPECT_GE(waited, 0.05);
    EXPECT_LT(waited, 5.0);
    EXPECT_EQ(zel::boundedCallsRunning(), 1);
}

TEST(BoundedCall, ASubjectThatHangsHasOneThreadAndIsNotWaitedForAgain) {
    HangingWork hanging;
    const ThreadWatch threads;
    endOf("one thread", 300ms, hanging.work());
    const auto runs = std::make_shared<std::atomic<int>>(0);

    const double waited = secondsOf([&] {
        for (int pass = 0; pass < 100; ++pass) {
            const zel::CallEnd end = endOf("one thread", 10s, [runs](int &) { return ++*runs, 0; });
            EXPECT_EQ(end.error, ETIMEDOUT);
            EXPECT_EQ(end.silence, Silence::Lasts);
        }
    });

    EXPECT_LT(waited, 2.0);
    EXPECT_EQ(*runs, 0);
    EXPECT_EQ(threads.started(), 1);
    EXPECT_EQ(endOf("another", 10s, answers42).error, 0);
    hanging.end();
}

TEST(BoundedCall, ASilentSubjectThatAnswersInTimeIsTrustedAgain) {
    HangingWork hanging;
    endOf("returns", 20ms, hanging.work());
    hanging.end();

    EXPECT_EQ(endOf("returns", 10s, answers42).silence, Silence::Ends);

    EXPECT_EQ(endOf("returns", 10s, answers42).silence, Silence::None);
    // Its limit counts in full again.
    EXPECT_EQ(endOf("returns", 10s,
                    [](int &) {
                        std::this_thread::sleep_for(2 * zel::BOUNDED_CALL_PATIENCE);
                        return 0;
                    })
                  .error,
              0);
}

// A server that gives an error after minutes.
TEST(BoundedCall, ASubjectThatFailsLateIsNotWaitedForAgain) {
    for (int failure = 0; failure < 3; ++failure) {
        HangingWork hanging(EIO);
        zel::CallEnd end;
        const double waited = secondsOf([&] { end = endOf("late error", 1s, hanging.work()); });
        EXPECT_EQ(end.error, ETIMEDOUT);
        EXPECT_EQ(end.silence, failure == 0 ? Silence::Begins : Silence::Lasts);
        if (failure == 0)
            EXPECT_GE(waited, 1.0);
        else
            EXPECT_LT(waited, 0.9);
        hanging.end(); // with the error
    }
}

TEST(BoundedCall, AnErrorThatTookLongerThanThePatienceIsSilence) {
    const auto fail = [](int &) {
        std::this_thread::sleep_for(zel::BOUNDED_CALL_PATIENCE + 50ms);
        return EIO;
    };
    const zel::CallEnd first = endOf("slow error", 10s, fail);
    EXPECT_EQ(first.error, EIO);
    EXPECT_EQ(first.silence, Silence::Begins);

    const zel::CallEnd second = endOf("slow error", 10s, fail);
    EXPECT_EQ(second.error, ETIMEDOUT); // given up with the patience
    EXPECT_EQ(second.silence, Silence::Lasts);
    waitForTheThreads();
}

TEST(BoundedCall, AQuickErrorDoesNotEndASilence) {
    HangingWork hanging;
    endOf("still silent", 20ms, hanging.work());
    hanging.end();

    const zel::CallEnd end = endOf("still silent", 10s, [](int &) { return ENOTCONN; });
    EXPECT_EQ(end.error, ENOTCONN);
    EXPECT_EQ(end.silence, Silence::Lasts);
    EXPECT_EQ(endOf("still silent", 10s, answers42).silence, Silence::Ends);
}

// It takes longer than the patience, so that nobody waits for the answer; the pass after it trusts the subject.
TEST(BoundedCall, ASilentSubjectProvesItselfWithoutAnyoneWaiting) {
    HangingWork hanging;
    endOf("proves itself", 20ms, hanging.work());
    hanging.end();
    const auto slowAnswer = [](int &answer) {
        std::this_thread::sleep_for(2 * zel::BOUNDED_CALL_PATIENCE);
        return answers42(answer);
    };
    EXPECT_EQ(endOf("proves itself", 10s, slowAnswer).error, ETIMEDOUT);
    waitForTheThreads();

    const zel::CallEnd end = endOf("proves itself", 10s, slowAnswer);

    EXPECT_EQ(end.error, 0);
    EXPECT_EQ(end.silence, Silence::Ends);
}

TEST(BoundedCall, AnAnswerThatAlwaysComesTooLateNeverCounts) {
    const auto tooLate = [](int &answer) {
        std::this_thread::sleep_for(100ms);
        return answers42(answer);
    };
    for (int pass = 0; pass < 3; ++pass) {
        const zel::CallEnd end = endOf("too late", 50ms, tooLate);
        EXPECT_EQ(end.error, ETIMEDOUT);
        EXPECT_EQ(end.silence, pass == 0 ? Silence::Begins : Silence::Lasts);
        waitForTheThreads();
    }
}

TEST(BoundedCall, CallsThatAreStartedFirstShareTheirLimit) {
    HangingWork hanging;
    const double waited = secondsOf([&hanging] {
        std::vector<std::unique_ptr<Call>> calls;
        for (int i = 0; i < 200; ++i)
            calls.push_back(std::make_unique<Call>("dead " + std::to_string(i), 500ms, hanging.work()));
        EXPECT_EQ(zel::boundedCallsRunning(), 200);
        for (const auto &call : calls)
            EXPECT_EQ(call->wait().error, ETIMEDOUT);
    });

    EXPECT_GE(waited, 0.5);
    EXPECT_LT(waited, 5.0);
}

TEST(BoundedCall, SettledSaysWhetherWaitWouldReturnAtOnce) {
    HangingWork hanging;
    Call hangs("unsettled", 100ms, hanging.work());
    EXPECT_FALSE(hangs.settledWithin(1ms));
    EXPECT_TRUE(hangs.settledWithin(10s)); // its limit is over

    Call answers("settled", 10s, answers42);
    EXPECT_TRUE(answers.settledWithin(10s));
    EXPECT_EQ(answers.wait().error, 0);
}

TEST(BoundedCall, WhatIsOverIsNotWaitedForAgainByTheSystem) {
    HangingWork hanging;
    Call hangs("is over", 1ms, hanging.work());
    EXPECT_TRUE(hangs.settledWithin(10s));
    double least = 1;
    for (int batch = 0; batch < 10; ++batch) {
        least = std::min(least, secondsOf([&hangs] {
                             for (int i = 0; i < 100; ++i)
                                 EXPECT_TRUE(hangs.settledWithin(1ms));
                         }));
    }
    EXPECT_LT(least, 1e-3) << "asking the system takes 50 us each";
}

TEST(BoundedCall, NoMoreCallsThanTheLimitRun) {
    HangingWork hanging;
    std::vector<std::unique_ptr<Call>> calls;
    for (int i = 0; i < zel::BOUNDED_CALLS_AT_MOST; ++i)
        calls.push_back(std::make_unique<Call>(std::to_string(i), 1ms, hanging.work()));
    ASSERT_EQ(zel::boundedCallsRunning(), zel::BOUNDED_CALLS_AT_MOST);

    EXPECT_EQ(endOf("one more", 10s, answers42).error, EAGAIN);

    hanging.end();
    EXPECT_EQ(endOf("one more", 10s, answers42).error, 0);
}

TEST(BoundedCall, WithoutAThreadTheWorkIsNotDone) {
    systemHooks().pthreadCreate = [](auto...) { return EAGAIN; };
    const auto ran = std::make_shared<bool>(false);

    EXPECT_EQ(endOf("no thread", 10s, [ran](int &) { return *ran = true, 0; }).error, EAGAIN);
    EXPECT_FALSE(*ran);
    EXPECT_EQ(zel::boundedCallsRunning(), 0);
}

TEST(BoundedCall, TheWorkGetsNoSignalsAndTheCallerKeepsItsMask) {
    sigset_t before;
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    zel::BoundedCall<bool> call("signals", 10s, [](bool &blocked) {
        sigset_t mask;
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        blocked = sigismember(&mask, SIGALRM) == 1 && sigismember(&mask, SIGTERM) == 1;
        return 0;
    });

    ASSERT_EQ(call.wait().error, 0);
    EXPECT_TRUE(call.answer());
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, nullptr, &after);
    EXPECT_EQ(sigismember(&after, SIGALRM), sigismember(&before, SIGALRM));
    EXPECT_EQ(sigismember(&after, SIGTERM), 0);
}

// Callers at the same time share one thread and its answer.
TEST(BoundedCall, SeveralThreadsMayAskForOneSubject) {
    const auto atOnce = std::make_shared<std::atomic<int>>(0);
    const auto most = std::make_shared<std::atomic<int>>(0);
    std::atomic<int> answered = 0;
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 4; ++caller)
        callers.emplace_back([&answered, atOnce, most] {
            for (int i = 0; i < 20; ++i) {
                Call call("shared", 10s, [atOnce, most](int &answer) {
                    const int now = ++*atOnce;
                    *most = std::max(most->load(), now);
                    std::this_thread::sleep_for(1ms);
                    --*atOnce;
                    return answers42(answer);
                });
                if (call.wait().error == 0 && call.answer() == 42)
                    ++answered;
            }
        });
    for (std::thread &caller : callers)
        caller.join();

    EXPECT_EQ(answered, 80);
    EXPECT_EQ(*most, 1);
}

TEST(BoundedCall, OneSubjectWithTwoTypesOfAnswersIsTwo) {
    HangingWork hanging;
    endOf("typed", 1ms, hanging.work());

    zel::BoundedCall<std::string> other("typed", 10s, [](std::string &answer) { return answer = "text", 0; });
    EXPECT_EQ(other.wait().error, 0);
    EXPECT_EQ(other.answer(), "text");
}

TEST(BoundedCall, ACallWithinACallNeedsNoSecondThread) {
    const ThreadWatch threads;
    Call outer("outer", 10s, [](int &answer) {
        Call inner("inner", 10s, answers42);
        const int error = inner.wait().error;
        answer = inner.answer();
        return error;
    });

    EXPECT_EQ(outer.wait().error, 0);
    EXPECT_EQ(outer.answer(), 42);
    EXPECT_EQ(threads.started(), 1);
}

TEST(BoundedCall, WorkThatFindsNoMemoryIsAnErrorAndEndsNothing) {
    EXPECT_EQ(endOf("hungry", 5s, [](int &) -> int { throw std::bad_alloc(); }).error, ENOMEM);
    EXPECT_EQ(endOf("hungry", 5s, answers42).error, 0);
    EXPECT_EQ(zel::boundedCallsRunning(), 0);
}

// A call that hung and then ends without memory gives its thread back too.
TEST(BoundedCall, HangingWorkThatFindsNoMemoryEndsItsThread) {
    const auto go = std::make_shared<std::atomic<bool>>(false);
    EXPECT_EQ(endOf("late and hungry", 1ms,
                    [go](int &) -> int {
                        while (!*go)
                            std::this_thread::sleep_for(100us);
                        throw std::bad_alloc();
                    })
                  .error,
              ETIMEDOUT);
    *go = true;
    waitForTheThreads();
}

// Mounts that come, hang and go for years: what is remembered of them has an end.
TEST(BoundedCall, SilentSubjectsThatNobodyAsksForAreForgotten) {
    const auto tooLate = [](int &) {
        std::this_thread::sleep_for(2ms);
        return 0;
    };
    for (int round = 0; round < 6; ++round) {
        for (int i = 0; i < 500; ++i)
            Call("gone " + std::to_string(round * 500 + i), 1ms, tooLate).wait();
        waitForTheThreads();
    }
    // 3000 subjects fell silent; the first of them is asked as if for the first time.
    EXPECT_NE(endOf("gone 0", 10s, answers42).silence, Silence::Ends);
}

// In a child, which knows no subjects of other tests. What has answered since, without anybody asking how, can be
// forgotten; what is silent would be waited for again.
TEST(BoundedCall, ASilentSubjectIsNotForgottenForOneThatAnswersAgain) {
    SKIP_WHERE_FORKS_ARE_NOT_FOLLOWED();
    EXPECT_TRUE(trueInChild([] {
        endOf("a silent one", 1ms, answersTooLate); // the first in the order of the names
        waitForTheThreads();
        for (int round = 0; round < 5; ++round) {
            const std::string name = "b answers again " + std::to_string(round);
            for (int i = 0; i < 500; ++i)
                endOf(name + std::to_string(i), 1ms, answersTooLate);
            waitForTheThreads();
            for (int i = 0; i < 500; ++i)
                static_cast<void>(Call(name + std::to_string(i), 10s, answers42));
            waitForTheThreads();
        }
        return endOf("a silent one", 10s, answers42).silence == Silence::Ends;
    }));
}

TEST(BoundedCall, ASubjectThatIsAskedAgainTakesNoOthersPlace) {
    SKIP_WHERE_FORKS_ARE_NOT_FOLLOWED();
    EXPECT_TRUE(trueInChild([] {
        constexpr int remembered = 2 * zel::BOUNDED_CALLS_AT_MOST;
        for (int i = 0; i < remembered; ++i) {
            endOf("c " + std::to_string(remembered + i), 1ms, answersTooLate);
            if (i % 500 == 0)
                waitForTheThreads();
        }
        waitForTheThreads();
        endOf("c " + std::to_string(2 * remembered - 1), 1ms, answersTooLate);
        waitForTheThreads();
        return endOf("c " + std::to_string(remembered), 10s, answers42).silence == Silence::Ends;
    }));
}

// The threads of the parent are not in the child: what hangs in them would be waited for again and again.
TEST(BoundedCall, ChildOfAForkAsksAgainWhatHangsInTheParent) {
    SKIP_WHERE_FORKS_ARE_NOT_FOLLOWED();
    HangingWork hanging;
    ASSERT_EQ(endOf("hangs", 1ms, hanging.work()).error, ETIMEDOUT);
    EXPECT_TRUE(trueInChild([] {
        const bool none = zel::boundedCallsRunning() == 0;
        Call call("hangs", 10s, answers42);
        const zel::CallEnd end = call.wait();
        return none && end.error == 0 && end.silence == Silence::None && call.answer() == 42;
    }));
    EXPECT_EQ(zel::boundedCallsRunning(), 1);
}

} // namespace

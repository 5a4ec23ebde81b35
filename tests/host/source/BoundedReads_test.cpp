// Passes over objects that may not answer: their time, their threads, and since when they are silent.
#include "host/source/BoundedReads.h"

#include "SystemHooks.h"
#include "ThreadWatch.h"

#include <cerrno>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Reads = zel::BoundedReads<int>;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// An object that does not answer until the test lets it.
class Hanging {
public:
    ~Hanging() { end(); }
    std::function<int(int &)> work() const {
        return [gate = m_gate](int &answer) {
            gate.wait();
            answer = 7;
            return 0;
        };
    }
    void end() {
        if (!m_ended)
            m_release.set_value();
        m_ended = true;
        while (zel::boundedCallsRunning() != 0)
            std::this_thread::sleep_for(1ms);
    }

private:
    std::promise<void> m_release;
    std::shared_future<void> m_gate = m_release.get_future().share();
    bool m_ended = false;
};

// A name that no pass had before, also when the tests are repeated: silence is remembered.
std::string fresh(const std::string &kind) {
    static int count = 0;
    return kind + std::to_string(++count);
}

int answers42(int &answer) {
    answer = 42;
    return 0;
}

TEST(BoundedReads, AnObjectThatAnswersGivesItsAnswer) {
    Reads reads(fresh("plain"));
    reads.begin(Clock::now() + 10s, 1);
    const std::size_t place = reads.ask("a", answers42);
    const zel::BoundedRead<int> read = reads.wait(place);

    ASSERT_NE(read.answer, nullptr);
    EXPECT_EQ(*read.answer, 42);
    EXPECT_EQ(read.error, 0);
    EXPECT_EQ(read.silentSeconds, 0);
}

TEST(BoundedReads, AnErrorIsPassedOnWithoutAnAnswer) {
    Reads reads(fresh("fails"));
    reads.begin(Clock::now() + 10s, 1);
    const zel::BoundedRead<int> read = reads.wait(reads.ask("a", [](int &) { return EIO; }));

    EXPECT_EQ(read.error, EIO);
    EXPECT_EQ(read.answer, nullptr);
    EXPECT_EQ(read.silentSeconds, 0);
}

TEST(BoundedReads, ObjectsThatAnswerHaveOneThreadAtATime) {
    const auto running = std::make_shared<std::atomic<int>>(0);
    const auto most = std::make_shared<std::atomic<int>>(0);
    Reads reads(fresh("in turn"));
    reads.begin(Clock::now() + 60s, 20);
    for (int object = 0; object < 20; ++object)
        reads.ask(std::to_string(object), [running, most](int &answer) {
            *most = std::max(most->load(), ++*running);
            --*running;
            return answers42(answer);
        });
    for (std::size_t place = 0; place < reads.size(); ++place)
        EXPECT_EQ(reads.wait(place).error, 0);
    EXPECT_EQ(*most, 1);
}

TEST(BoundedReads, SilentObjectsAreWaitedForTogetherUntilTheDeadline) {
    const Hanging hanging;
    Reads reads(fresh("together"));
    const Clock::time_point start = Clock::now();
    reads.begin(start + 400ms, 30);
    for (int object = 0; object < 30; ++object)
        reads.ask(std::to_string(object), hanging.work());
    const std::size_t healthy = reads.ask("healthy", answers42);
    for (std::size_t place = 0; place < healthy; ++place)
        EXPECT_EQ(reads.wait(place).error, ETIMEDOUT);
    const double waited = secondsSince(start);

    EXPECT_EQ(reads.wait(healthy).error, 0); // its answer came long before
    EXPECT_GE(waited, 0.4);
    EXPECT_LT(waited, 5.0);
}

TEST(BoundedReads, AnObjectThatStillHangsIsNeitherAskedNorWaitedForAgain) {
    const ThreadWatch threads;
    const Hanging hanging;
    Reads reads(fresh("hangs"));
    reads.begin(Clock::now() + 50ms, 1);
    EXPECT_EQ(reads.wait(reads.ask("a", hanging.work())).error, ETIMEDOUT);

    const Clock::time_point start = Clock::now();
    double silent = 0;
    for (int sample = 0; sample < 10; ++sample) {
        reads.begin(Clock::now() + 60s, 1);
        const zel::BoundedRead<int> read = reads.wait(reads.ask("a", answers42));
        EXPECT_EQ(read.error, ETIMEDOUT);
        EXPECT_GT(read.silentSeconds, silent);
        silent = read.silentSeconds;
    }
    EXPECT_GE(silent, 0.05);
    EXPECT_LT(secondsSince(start), 5.0);
    EXPECT_EQ(threads.started(), 1);
}

TEST(BoundedReads, AnObjectThatAnswersAgainIsSilentNoLonger) {
    Hanging hanging;
    Reads reads(fresh("returns"));
    reads.begin(Clock::now() + 20ms, 1);
    EXPECT_EQ(reads.wait(reads.ask("a", hanging.work())).error, ETIMEDOUT);
    hanging.end();

    reads.begin(Clock::now() + 60s, 1);
    EXPECT_EQ(reads.wait(reads.ask("a", answers42)).error, 0);

    const Hanging again;
    reads.begin(Clock::now() + 20ms, 1);
    const zel::BoundedRead<int> read = reads.wait(reads.ask("a", again.work()));
    EXPECT_EQ(read.error, ETIMEDOUT);
    EXPECT_GE(read.silentSeconds, 0.02);
    EXPECT_LT(read.silentSeconds, 5.0); // since the second time
}

// It gives an answer each time, but never in time.
TEST(BoundedReads, SilenceCountsFromTheFirstQuestionInVain) {
    const auto tooLate = [](int &answer) {
        std::this_thread::sleep_for(60ms);
        return answers42(answer);
    };
    Reads reads(fresh("late"));
    const Clock::time_point start = Clock::now();
    for (int sample = 0; sample < 3; ++sample) {
        reads.begin(Clock::now() + 30ms, 1);
        const zel::BoundedRead<int> read = reads.wait(reads.ask("a", tooLate));
        EXPECT_EQ(read.error, ETIMEDOUT);
        EXPECT_GE(read.silentSeconds, 0.03 + 0.06 * sample);
        EXPECT_LE(read.silentSeconds, secondsSince(start));
        while (zel::boundedCallsRunning() != 0)
            std::this_thread::sleep_for(1ms);
    }
}

TEST(BoundedReads, AnObjectThatIsNotAskedForAnyMoreIsForgotten) {
    Hanging hanging;
    Reads reads(fresh("forgets"));
    reads.begin(Clock::now() + 10ms, 1);
    EXPECT_EQ(reads.wait(reads.ask("a", hanging.work())).error, ETIMEDOUT);
    hanging.end();
    std::this_thread::sleep_for(100ms);
    reads.begin(Clock::now() + 10ms, 0); // it is gone
    reads.begin(Clock::now() + 10ms, 1);

    const Hanging again;
    const zel::BoundedRead<int> read = reads.wait(reads.ask("a", again.work()));
    EXPECT_EQ(read.error, ETIMEDOUT);
    EXPECT_LT(read.silentSeconds, 0.1);
}

TEST(BoundedReads, AfterTheDeadlineNothingIsStarted) {
    const ThreadWatch threads;
    Reads reads(fresh("over"));
    reads.begin(Clock::now() - 1ms, 2);
    const std::size_t place = reads.ask("a", answers42);
    EXPECT_TRUE(reads.settledWithin(place, 60s));
    const zel::BoundedRead<int> read = reads.wait(place);

    EXPECT_EQ(read.error, ETIMEDOUT);
    EXPECT_EQ(read.answer, nullptr);
    EXPECT_EQ(read.silentSeconds, 0); // it was not asked
    EXPECT_EQ(threads.started(), 0);
}

TEST(BoundedReads, ASilentObjectThatIsNotAskedForWantOfTimeStaysSilent) {
    const Hanging hanging;
    Reads reads(fresh("stays"));
    reads.begin(Clock::now() + 30ms, 1);
    EXPECT_EQ(reads.wait(reads.ask("a", hanging.work())).error, ETIMEDOUT);
    for (int sample = 0; sample < 2; ++sample) {
        reads.begin(Clock::now() - 1ms, 1);
        const zel::BoundedRead<int> read = reads.wait(reads.ask("a", answers42));
        EXPECT_EQ(read.error, ETIMEDOUT);
        EXPECT_GE(read.silentSeconds, 0.03);
    }
}

// The first has more time than the second, which joins its call.
TEST(BoundedReads, TwoPassesShareTheThreadOfOneObjectAndKeepTheirDeadlines) {
    const ThreadWatch threads;
    const Hanging hanging;
    const std::string kind = fresh("shared");
    Reads patient(kind), hasty(kind);
    patient.begin(Clock::now() + 60s, 1);
    patient.ask("a", hanging.work());
    const Clock::time_point start = Clock::now();
    hasty.begin(start + 50ms, 1);
    EXPECT_EQ(hasty.wait(hasty.ask("a", hanging.work())).error, ETIMEDOUT);

    EXPECT_LT(secondsSince(start), 5.0);
    EXPECT_EQ(threads.started(), 1);
}

TEST(BoundedReads, WithoutAThreadTheObjectCannotBeAsked) {
    systemHooks().pthreadCreate = [](auto...) { return EAGAIN; };
    Reads reads(fresh("no thread"));
    reads.begin(Clock::now() + 10s, 1);
    EXPECT_EQ(reads.wait(reads.ask("a", answers42)).error, EAGAIN);
}

TEST(BoundedReads, WithinABoundedCallTheWorkIsDoneOnItsThread) {
    const ThreadWatch threads;
    zel::BoundedCall<int> outer("outer of reads", 10s, [](int &answer) {
        Reads reads(fresh("inside"));
        reads.begin(Clock::now() + 10s, 1);
        const zel::BoundedRead<int> read = reads.wait(reads.ask("a", answers42));
        answer = read.answer == nullptr ? 0 : *read.answer;
        return read.error;
    });
    ASSERT_EQ(outer.wait().error, 0);
    EXPECT_EQ(outer.answer(), 42);
    EXPECT_EQ(threads.started(), 1);
}

TEST(BoundedReads, WhatHangsOutlivesThePass) {
    Hanging hanging;
    {
        Reads reads(fresh("outlives"));
        reads.begin(Clock::now() + 10ms, 1);
        reads.wait(reads.ask("a", hanging.work()));
    }
    EXPECT_EQ(zel::boundedCallsRunning(), 1);
    hanging.end();
}

} // namespace

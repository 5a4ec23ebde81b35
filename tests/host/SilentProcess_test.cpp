// Processes of this host that hold up whoever reads their command line: the sample comes in time, with all others.
#include "host/Sampler.h"

#include "Faults.h"
#include "FuseMounts.h"
#include "MemoryLockHolder.h"
#include "OwnProcess.h"
#include "PrivateMounts.h"
#include "SystemHooks.h"
#include "TempDirectory.h"
#include "ThreadWatch.h"
#include "threads/BoundedCall.h"

#include <algorithm>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using zel::Absence;
using zel::Area;
using zel::Process;
using zel::Sample;
using zel::Sampler;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr double secondsOver = 1.0; // instrumented code is slow
#else
constexpr double secondsOver = 0.05;
#endif

const Process *find(const Sample &sample, pid_t pid) {
    for (const Process &each : sample.processes) {
        if (each.pid == static_cast<std::uint64_t>(pid))
            return &each;
    }
    return nullptr;
}

void waitForTheThreads() {
    while (zel::boundedCallsRunning() != 0)
        std::this_thread::sleep_for(1ms);
}

// So many processes that are about to hold the lock of their memory, and their server.
class Scene {
public:
    explicit Scene(int count) {
        std::vector<std::string> files;
        for (int number = 0; number < count; ++number)
            files.push_back(m_scratch.write("file" + std::to_string(number), ""));
        m_mounts = std::make_unique<FuseMounts>(files);
        if (!m_mounts->work())
            return;
        for (const std::string &file : files)
            m_holders.push_back(std::make_unique<MemoryLockHolder>(file));
    }
    ~Scene() {
        if (works())
            resume();
        waitForTheThreads();
    }
    Scene(const Scene &) = delete;
    Scene &operator=(const Scene &) = delete;

    bool works() const { return m_mounts->work(); }
    pid_t pid(std::size_t number) const { return m_holders[number]->pid(); }
    void hang() const {
        m_mounts->stop();
        for (const auto &holder : m_holders)
            ASSERT_TRUE(holder->hold());
    }
    void resume() const { m_mounts->resume(); }
    bool isHolder(const Process &process) const {
        return std::any_of(m_holders.begin(), m_holders.end(), [&process](const auto &holder) {
            return process.pid == static_cast<std::uint64_t>(holder->pid());
        });
    }

    // What a sample has while they hang: everything of all others, and of them what no lock is needed for.
    void expectAllButTheirs(const Sample &sample) const {
        EXPECT_EQ(sample.area(Area::Processes).absence, Absence::None);
        EXPECT_EQ(sample.area(Area::Processes).error, ETIMEDOUT);
        EXPECT_GT(sample.area(Area::Processes).silentSeconds, 0.09);
        for (const auto &holder : m_holders) {
            ASSERT_NE(find(sample, holder->pid()), nullptr);
            expectSilent(*find(sample, holder->pid()));
        }
        ASSERT_NE(find(sample, getpid()), nullptr);
        for (const Process &process : sample.processes) {
            if (isHolder(process))
                continue;
            EXPECT_NE(process.commandLine.absence(), Absence::TimedOut) << process.name;
            EXPECT_NE(process.descriptors.absence(), Absence::TimedOut) << process.name;
        }
        EXPECT_TRUE(find(sample, getpid())->commandLine);
        EXPECT_TRUE(find(sample, getpid())->readBytes);
        EXPECT_TRUE(find(sample, getpid())->descriptors);
    }

private:
    static void expectSilent(const Process &process) {
        EXPECT_EQ(process.commandLine.absence(), Absence::TimedOut);
        EXPECT_EQ(process.cgroup.absence(), Absence::TimedOut);
        EXPECT_EQ(process.container.absence(), Absence::TimedOut);
        EXPECT_EQ(process.descriptors.absence(), Absence::TimedOut);
        EXPECT_EQ(process.readBytes.absence(), Absence::TimedOut);
        EXPECT_EQ(process.writeCalls.absence(), Absence::TimedOut);
        EXPECT_EQ(*process.state, "D");
        EXPECT_EQ(*process.userId, getuid());
        EXPECT_EQ(*process.parentPid, static_cast<std::uint64_t>(getpid()));
        EXPECT_GT(*process.residentBytes, 0u);
    }

    TempDirectory m_scratch;
    std::unique_ptr<FuseMounts> m_mounts;
    std::vector<std::unique_ptr<MemoryLockHolder>> m_holders; // they go before their server does
};

// Runs the body with so many of them; the reason to skip, or an empty text.
std::string with(int count, const std::function<void(const Scene &)> &body) {
    return withPrivateMounts([&] {
        setpriority(PRIO_PROCESS, 0, -15); // the sampler is measured, not what else this machine does
        alarm(60);                         // what is tested is that nothing waits for ever
        const Scene scene(count);
        if (scene.works())
            body(scene);
        else
            std::puts("no FUSE here: nothing was tested");
    });
}

// Every process in time, with nothing but the silent ones left out.
void takeInTime(Sampler &sampler, double deadline, Sample &sample) {
    const auto start = std::chrono::steady_clock::now();
    sampler.take(sample);
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), deadline + secondsOver);
}

TEST(SilentProcess, ASampleHasAllOthersAndItsThreadsAreOne) {
    const std::string skip = with(1, [](const Scene &scene) {
        Sampler sampler({.areas = {Area::Processes}, .deadline = 1s});
        Sample sample;
        sampler.take(sample);
        EXPECT_TRUE(find(sample, scene.pid(0))->commandLine);
        const std::string commandLine = *find(sample, scene.pid(0))->commandLine;
        scene.hang();
        for (int round = 0; round < 11; ++round) {
            takeInTime(sampler, 1, sample);
            scene.expectAllButTheirs(sample);
            EXPECT_EQ(sample.area(Area::Processes).file, "proc/" + std::to_string(scene.pid(0)));
            EXPECT_EQ(zel::boundedCallsRunning(), 1) << round;
        }
        scene.resume();
        waitForTheThreads();
        sampler.take(sample);
        EXPECT_EQ(sample.area(Area::Processes).error, 0);
        EXPECT_EQ(*find(sample, scene.pid(0))->commandLine, commandLine);
        EXPECT_TRUE(find(sample, scene.pid(0))->readBytes);
        EXPECT_TRUE(find(sample, scene.pid(0))->descriptors);
        EXPECT_TRUE(find(sample, scene.pid(0))->cgroup);
    });
    if (!skip.empty())
        GTEST_SKIP() << skip;
}

// Once it is known it costs no time: a sample starts the one thread that every sample starts.
TEST(SilentProcess, FurtherSamplesNeitherWaitForItNorStartMoreThreads) {
    const std::string skip = with(1, [](const Scene &scene) {
        scene.hang();
        Sampler sampler({.areas = {Area::Processes}, .deadline = 2s});
        Sample sample;
        takeInTime(sampler, 2, sample);
        const auto start = std::chrono::steady_clock::now();
        {
            const ThreadWatch threads;
            for (int round = 0; round < 10; ++round)
                sampler.take(sample);
            EXPECT_EQ(threads.started(), 10);
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, 1s); // less than the patience, each
        EXPECT_EQ(zel::boundedCallsRunning(), 1);
    });
    if (!skip.empty())
        GTEST_SKIP() << skip;
}

TEST(SilentProcess, TwoAreFoundWithinOneDeadline) {
    const std::string skip = with(2, [](const Scene &scene) {
        scene.hang();
        Sampler sampler({.areas = {Area::Processes, Area::Load}, .deadline = 2s});
        Sample sample;
        for (int round = 0; round < 11; ++round) {
            takeInTime(sampler, 2, sample);
            scene.expectAllButTheirs(sample);
            EXPECT_TRUE(sample.load.load1);
            EXPECT_EQ(zel::boundedCallsRunning(), 2) << round;
        }
        scene.resume();
        waitForTheThreads();
        sampler.take(sample);
        EXPECT_EQ(sample.area(Area::Processes).error, 0);
        EXPECT_TRUE(find(sample, scene.pid(0))->commandLine);
        EXPECT_TRUE(find(sample, scene.pid(1))->commandLine);
    });
    if (!skip.empty())
        GTEST_SKIP() << skip;
}

// A deadline too short to find it in: the area is timed out, and the next sample has it.
TEST(SilentProcess, WhatOneDeadlineDoesNotFindTheNextDoes) {
    const std::string skip = with(1, [](const Scene &scene) {
        scene.hang();
        Sampler sampler({.areas = {Area::Processes, Area::Load}, .deadline = 90ms});
        Sample sample;
        takeInTime(sampler, 0.09, sample);
        EXPECT_EQ(sample.area(Area::Processes).absence, Absence::TimedOut);
        EXPECT_GT(sample.area(Area::Processes).silentSeconds, 0.05);
        EXPECT_TRUE(sample.processes.empty());
        EXPECT_TRUE(sample.load.load1);
        std::this_thread::sleep_for(100ms);
        // The next one does, where the machine has the time for a reading within the deadline.
        for (int tries = 0; tries < 20 && sample.area(Area::Processes).absence != Absence::None; ++tries)
            takeInTime(sampler, 0.09, sample);
        scene.expectAllButTheirs(sample);
        EXPECT_EQ(zel::boundedCallsRunning(), 1);
    });
    if (!skip.empty())
        GTEST_SKIP() << skip;
}

TEST(SilentProcess, TheSamplerGoesWithoutWaitingAndTheChildOfAForkAsksAnew) {
    SKIP_WHERE_FORKS_ARE_NOT_FOLLOWED();
    const std::string skip = with(1, [](const Scene &scene) {
        scene.hang();
        auto sampler = std::make_unique<Sampler>(zel::Options{.areas = {Area::Processes}, .deadline = 1s});
        Sample sample;
        sampler->take(sample);
        EXPECT_TRUE(trueInChild([&] {
            sampler->take(sample);
            const Process *process = find(sample, scene.pid(0));
            return process != nullptr && process->commandLine.absence() == Absence::TimedOut &&
                   zel::boundedCallsRunning() == 1;
        }));
        const auto start = std::chrono::steady_clock::now();
        sampler.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 500ms);
        EXPECT_EQ(zel::boundedCallsRunning(), 1);
    });
    if (!skip.empty())
        GTEST_SKIP() << skip;
}

TEST(SilentProcess, WithoutThreadsTheAreaSaysSo) {
    Sampler sampler({.areas = {Area::Processes, Area::Load}});
    systemHooks().pthreadCreate = [](auto...) { return EAGAIN; };
    const Sample sample = sampler.take();
    systemHooks().pthreadCreate = nullptr;
    EXPECT_EQ(sample.area(Area::Processes).error, EAGAIN);
    EXPECT_EQ(sample.area(Area::Processes).absence, Absence::TimedOut);
    EXPECT_TRUE(sample.load.load1);
    EXPECT_NE(find(sampler.take(), getpid()), nullptr);
}

TEST(SilentProcess, WithoutMemoryTheAreaSaysSoAndTheNextSampleIsWhole) {
    constexpr long atMost = 2000;
    long number = 1;
    for (bool happened = true; happened && number < atMost; ++number) {
        Sampler sampler({.areas = {Area::Processes}});
        Sample sample;
        {
            const Fault fault(Call::Allocation, number);
            sampler.take(sample);
            happened = Fault::happened();
        }
        EXPECT_TRUE(sample.area(Area::Processes).error == ENOMEM || find(sample, getpid()) != nullptr) << number;
        sampler.take(sample);
        ASSERT_NE(find(sample, getpid()), nullptr) << number;
        EXPECT_TRUE(find(sample, getpid())->commandLine) << number;
        number += number / 20; // the first ones one by one
    }
    EXPECT_GT(number, 10);
    waitForTheThreads();
}

TEST(SilentProcess, ASampleOfProcessesStartsOneThreadAndOthersNone) {
    const ThreadWatch threads;
    Sampler others({.areas = {Area::Load, Area::Memory}});
    others.take();
    EXPECT_EQ(threads.started(), 0);
    Sampler sampler({.areas = {Area::Processes}});
    sampler.take();
    sampler.take();
    EXPECT_EQ(threads.started(), 2);
}

} // namespace

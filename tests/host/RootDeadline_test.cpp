// A sample of a root whose files hang: it comes in time, with everything else in it.
#include "host/Sampler.h"

#include "FuseMounts.h"
#include "HostFixture.h"
#include "OwnProcess.h"
#include "Paths.h"
#include "PrivateMounts.h"
#include "SystemHooks.h"
#include "TempDirectory.h"
#include "ThreadWatch.h"
#include "threads/BoundedCall.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace {

using namespace std::chrono_literals;
using zel::Absence;
using zel::Area;
using zel::Sample;
using zel::Sampler;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr double secondsOver = 1.0; // instrumented code is slow
#else
constexpr double secondsOver = 0.05;
#endif

// A host that a test may change.
class Tree {
public:
    Tree() {
        std::filesystem::copy(std::string(paths::fixtures) + "/linux-6.18/t0", m_scratch.path(),
                              std::filesystem::copy_options::recursive);
    }
    std::string path(const std::string &below = "") const { return (m_scratch.path() / below).string(); }
    void replaceByPipe(const std::string &file) const {
        m_scratch.remove(file);
        ASSERT_EQ(mkfifo(path(file).c_str(), 0644), 0);
    }

private:
    TempDirectory m_scratch;
};

double takeSeconds(Sampler &sampler, Sample &sample) {
    const auto start = std::chrono::steady_clock::now();
    sampler.take(sample);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void waitForTheThreads() {
    while (zel::boundedCallsRunning() != 0)
        std::this_thread::sleep_for(1ms);
}

// Mounts a filesystem that stops answering, and runs the body. No reason to skip: the text is empty.
std::string withHangingMount(const std::string &directory, const std::function<void(const FuseMounts &)> &body) {
    bool works = true;
    const std::string reason = withPrivateMounts([&] {
        setpriority(PRIO_PROCESS, 0, -15); // the sampler is measured, not what else this machine does
        const FuseMounts mounts({directory});
        works = mounts.work();
        if (works)
            body(mounts);
        else
            std::puts("no FUSE here: nothing was tested");
    });
    return reason;
}

TEST(RootDeadline, ARootIsReadAreaByAreaOnThreadsThatEnd) {
    const Tree tree;
    const ThreadWatch threads;
    Sampler sampler({.root = tree.path(), .areas = {Area::Load, Area::Memory}});
    const Sample sample = sampler.take();

    EXPECT_TRUE(sample.load.load1.has());
    EXPECT_TRUE(sample.memory.totalBytes.has());
    EXPECT_EQ(sample.area(Area::Load).absence, Absence::None);
    EXPECT_EQ(sample.area(Area::Load).silentSeconds, 0);
    EXPECT_FALSE(sample.area(Area::Cpu).asked);
    EXPECT_EQ(threads.started(), 3); // the root, and two areas
}

TEST(RootDeadline, ThisHostIsReadWithoutThreads) {
    const ThreadWatch threads;
    Sampler sampler({.areas = {Area::Cpu, Area::Load, Area::Memory, Area::Vm, Area::Interrupts}});
    EXPECT_TRUE(sampler.take().load.load1.has());
    EXPECT_EQ(threads.started(), 0);
}

TEST(RootDeadline, ARootThatIsMissingIsInTheStateOfEveryArea) {
    const TempDirectory scratch;
    Sampler sampler({.root = (scratch.path() / "none").string(), .areas = {Area::Load, Area::Vm}});
    const Sample sample = sampler.take();
    for (const Area area : {Area::Load, Area::Vm}) {
        EXPECT_TRUE(sample.area(area).asked);
        EXPECT_EQ(sample.area(area).error, ENOENT);
        EXPECT_EQ(sample.area(area).file, (scratch.path() / "none").string());
        EXPECT_EQ(sample.area(area).absence, Absence::Unsupported);
    }
    EXPECT_EQ(sample.load.load1.absence(), Absence::Unsupported);
    std::filesystem::create_directories(scratch.path() / "none/proc");
    scratch.write("none/proc/loadavg", "0.50 0.25 0.10 1/2 3\n");
    EXPECT_TRUE(sampler.take().load.load1.has()); // it has come
}

TEST(RootDeadline, WithoutThreadsNothingIsReadAndEveryAreaSaysSo) {
    const Tree tree;
    Sampler sampler({.root = tree.path(), .areas = {Area::Load, Area::Vm}});
    EXPECT_TRUE(sampler.take().load.load1.has());
    systemHooks().pthreadCreate = [](auto...) { return EAGAIN; };
    const Sample sample = sampler.take();
    systemHooks().pthreadCreate = nullptr;
    for (const Area area : {Area::Load, Area::Vm}) {
        EXPECT_EQ(sample.area(area).absence, Absence::TimedOut);
        EXPECT_EQ(sample.area(area).error, EAGAIN);
    }
    EXPECT_TRUE(sampler.take().load.load1.has());
}

// Nobody writes to it: a plain open would wait for ever.
TEST(RootDeadline, APipeInThePlaceOfAKernelFileHoldsNothingUp) {
    for (const char *file : {"proc/stat", "proc/meminfo", "proc/vmstat", "proc/loadavg", "proc/diskstats"}) {
        const Tree tree;
        tree.replaceByPipe(file);
        Sampler sampler({.root = tree.path(), .deadline = 500ms});
        Sample sample;
        EXPECT_LT(takeSeconds(sampler, sample), 0.5 + secondsOver) << file;
        EXPECT_TRUE(sample.identity.uptimeSeconds.has()) << file;
        waitForTheThreads();
    }
}

// cpu0's frequency is an attribute of a driver that does not answer.
TEST(RootDeadline, AnAttributeThatHangsCostsItsAreaAlone) {
    const Tree tree;
    const std::string skip =
        withHangingMount(tree.path("sys/devices/system/cpu/cpu0/cpufreq"), [&tree](const FuseMounts &mounts) {
            Sampler sampler({.root = tree.path(), .deadline = 500ms});
            Sample sample;
            mounts.stop();
            EXPECT_LT(takeSeconds(sampler, sample), 0.5 + secondsOver);
            EXPECT_EQ(sample.area(Area::Cpu).absence, Absence::TimedOut);
            EXPECT_EQ(sample.area(Area::Cpu).error, ETIMEDOUT);
            EXPECT_EQ(sample.area(Area::Cpu).file, tree.path());
            EXPECT_EQ(sample.cpu.userSeconds.absence(), Absence::TimedOut);
            EXPECT_TRUE(sample.processors.empty());
            for (const Area area : {Area::Load, Area::Memory, Area::Vm, Area::Interrupts, Area::Identity})
                EXPECT_EQ(sample.area(area).absence, Absence::None) << zel::areaName(area);
            EXPECT_TRUE(sample.load.load1.has());

            double silent = sample.area(Area::Cpu).silentSeconds;
            EXPECT_GE(silent, 0.45);
            for (int again = 0; again < 10; ++again) {
                EXPECT_LT(takeSeconds(sampler, sample), 0.5 + secondsOver);
                EXPECT_EQ(sample.area(Area::Cpu).absence, Absence::TimedOut);
                EXPECT_GT(sample.area(Area::Cpu).silentSeconds, silent);
                silent = sample.area(Area::Cpu).silentSeconds;
                EXPECT_TRUE(sample.load.load1.has());
                EXPECT_EQ(zel::boundedCallsRunning(), 1);
            }
            mounts.resume();
            waitForTheThreads();
            sampler.take(sample);
            EXPECT_EQ(sample.area(Area::Cpu).absence, Absence::None);
            EXPECT_EQ(sample.area(Area::Cpu).silentSeconds, 0);
            EXPECT_TRUE(sample.cpu.userSeconds.has());
        });
    if (!skip.empty())
        GTEST_SKIP() << skip;
}

TEST(RootDeadline, ARootThatCannotEvenBeOpenedIsTimedOut) {
    const TempDirectory scratch;
    const std::string mount = (scratch.path() / "mount").string();
    const std::string skip = withHangingMount(mount, [&mount](const FuseMounts &mounts) {
        mounts.stop();
        const ThreadWatch threads;
        Sampler sampler({.root = mount + "/host", .deadline = 300ms});
        Sample sample;
        for (int again = 0; again < 3; ++again) {
            EXPECT_LT(takeSeconds(sampler, sample), 0.3 + secondsOver);
            EXPECT_EQ(sample.area(Area::Load).absence, Absence::TimedOut);
            EXPECT_GE(sample.area(Area::Load).silentSeconds, 0.25);
            EXPECT_EQ(threads.started(), 1);
        }
        mounts.resume();
        waitForTheThreads();
        sampler.take(sample);
        EXPECT_EQ(sample.area(Area::Load).error, ENOENT); // it answers: there is no such directory
    });
    if (!skip.empty())
        GTEST_SKIP() << skip;
}

TEST(RootDeadline, EveryAreaThatHangsHasOneThreadAndTheSamplerMayGo) {
    const TempDirectory scratch;
    const std::string mount = (scratch.path() / "mount").string();
    const std::string skip = withHangingMount(mount, [&mount](const FuseMounts &mounts) {
        mounts.stop();
        const auto start = std::chrono::steady_clock::now();
        {
            Sampler one({.root = mount, .areas = {Area::Load, Area::Vm}, .deadline = 200ms});
            Sampler other({.root = mount, .areas = {Area::Load, Area::Vm}, .deadline = 200ms});
            for (int again = 0; again < 3; ++again) {
                EXPECT_EQ(one.take().area(Area::Vm).absence, Absence::TimedOut);
                EXPECT_EQ(other.take().area(Area::Vm).absence, Absence::TimedOut);
            }
            EXPECT_EQ(zel::boundedCallsRunning(), 4);
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
        EXPECT_EQ(zel::boundedCallsRunning(), 4);
        mounts.resume();
        waitForTheThreads();
    });
    if (!skip.empty())
        GTEST_SKIP() << skip;
}

// Its descriptor of the root is of a filesystem that does not answer.
TEST(RootDeadline, ASamplerWhoseRootHangsGoesWithoutWaiting) {
    const TempDirectory scratch;
    const std::string mount = (scratch.path() / "mount").string();
    const std::string skip = withHangingMount(mount, [&mount](const FuseMounts &mounts) {
        auto sampler = std::make_unique<Sampler>(zel::Options{.root = mount, .areas = {Area::Load}});
        EXPECT_EQ(sampler->take().area(Area::Load).error, ENOENT);
        waitForTheThreads();
        mounts.stop();
        const auto start = std::chrono::steady_clock::now();
        alarm(20);
        sampler.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
        alarm(0);
    });
    if (!skip.empty())
        GTEST_SKIP() << skip;
}

// The child has none of the threads: it asks anew, and never touches what one of them was writing.
TEST(RootDeadline, TheChildOfAForkAsksAgainWhatHangsInTheParent) {
    SKIP_WHERE_FORKS_ARE_NOT_FOLLOWED();
    const Tree tree;
    const std::string skip =
        withHangingMount(tree.path("sys/devices/system/cpu/cpu0/cpufreq"), [&tree](const FuseMounts &mounts) {
            Sampler sampler({.root = tree.path(), .areas = {Area::Cpu, Area::Load}, .deadline = 300ms});
            mounts.stop();
            EXPECT_EQ(sampler.take().area(Area::Cpu).absence, Absence::TimedOut);
            EXPECT_TRUE(trueInChild([&] {
                const Sample hanging = sampler.take();
                mounts.resume();
                waitForTheThreads();
                const Sample sample = sampler.take();
                return hanging.area(Area::Cpu).absence == Absence::TimedOut && sample.cpu.userSeconds.has() &&
                       sample.load.load1.has();
            }));
            waitForTheThreads();
            EXPECT_TRUE(sampler.take().cpu.userSeconds.has());
        });
    if (!skip.empty())
        GTEST_SKIP() << skip;
}

} // namespace

// An attribute of sysfs whose driver does not answer: the sample comes in time, with everything else in it.
#include "host/Sampler.h"

#include "FuseMounts.h"
#include "PrivateMounts.h"
#include "TempDirectory.h"
#include "ThreadWatch.h"
#include "threads/BoundedCall.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>

namespace {

using namespace std::chrono_literals;
using zel::Absence;
using zel::Area;
using zel::Interface;
using zel::Sample;
using zel::Sampler;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr double secondsOver = 1.0; // instrumented code is slow
#else
constexpr double secondsOver = 0.05;
#endif

constexpr double bytesPerSecond = 125000000; // of the 1000 Mbit/s that the file of the tests' server states

const Interface *named(const Sample &sample, const std::string &name) {
    for (const Interface &interface : sample.interfaces) {
        if (interface.name == name)
            return &interface;
    }
    ADD_FAILURE() << "no " << name;
    return nullptr;
}

double takeSeconds(Sampler &sampler, Sample &sample) {
    const auto start = std::chrono::steady_clock::now();
    sampler.take(sample);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void waitForTheThreads() {
    while (zel::boundedCallsRunning() != 0)
        std::this_thread::sleep_for(1ms);
}

// With a server in the place of the attribute.
void withSlowAttribute(const std::string &path, const std::function<void(const FuseMounts &)> &body) {
    const std::string reason = withPrivateMounts([&] {
        setpriority(PRIO_PROCESS, 0, -15); // the sampler is measured, not what else this machine does
        const FuseMounts mounts({path});
        if (mounts.work())
            body(mounts);
        else
            std::puts("no FUSE here: nothing was tested");
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST(SlowAttribute, TheSpeedOfALinkOfThisHostIsTimedOutAndNothingElse) {
    withSlowAttribute("/sys/class/net/lo/speed", [](const FuseMounts &mounts) {
        mounts.stop();
        const ThreadWatch threads;
        Sampler sampler({.areas = {Area::Interfaces, Area::Load, Area::Cpu}, .deadline = 300ms});
        Sample sample;
        double silent = 0;
        for (int again = 0; again < 11; ++again) {
            const double seconds = takeSeconds(sampler, sample);
            EXPECT_LT(seconds, 0.3 + secondsOver);
            EXPECT_TRUE(again == 0 || seconds < 0.25) << seconds; // it is not waited for again
            EXPECT_EQ(named(sample, "lo")->speedBytesPerSecond.absence(), Absence::TimedOut);
            EXPECT_TRUE(named(sample, "lo")->receiveBytes.has());
            EXPECT_TRUE(named(sample, "lo")->mtuBytes.has());
            EXPECT_TRUE(sample.load.load1.has());
            EXPECT_TRUE(sample.cpu.userSeconds.has());
            EXPECT_EQ(sample.area(Area::Interfaces).absence, Absence::None);
            EXPECT_EQ(sample.area(Area::Interfaces).error, ETIMEDOUT);
            EXPECT_GT(sample.area(Area::Interfaces).silentSeconds, silent);
            silent = sample.area(Area::Interfaces).silentSeconds;
            EXPECT_EQ(threads.running(), 1);
        }
        mounts.resume();
        waitForTheThreads();
        sampler.take(sample);
        EXPECT_EQ(named(sample, "lo")->speedBytesPerSecond.valueOr(0), bytesPerSecond);
        EXPECT_EQ(sample.area(Area::Interfaces).silentSeconds, 0);
    });
}

TEST(SlowAttribute, BelowARootDirectoryItsAreaIsTimedOutAndNothingElse) {
    const TempDirectory tree;
    tree.write("proc/loadavg", "0.50 0.25 0.10 1/2 3\n");
    tree.write("proc/net/dev", "Inter-|   Receive                |  Transmit\n"
                               " face |bytes packets errs drop fifo frame compressed multicast|bytes packets errs drop "
                               "fifo colls carrier compressed\n"
                               "  eth0: 1 2 0 0 0 0 0 0 3 4 0 0 0 0 0 0\n");
    const std::string speed = tree.write("sys/class/net/eth0/speed", "");
    withSlowAttribute(speed, [&tree](const FuseMounts &mounts) {
        Sampler sampler({.root = tree.path().string(), .areas = {Area::Interfaces, Area::Load}, .deadline = 300ms});
        Sample sample;
        sampler.take(sample);
        EXPECT_EQ(named(sample, "eth0")->speedBytesPerSecond.valueOr(0), bytesPerSecond);
        waitForTheThreads();
        mounts.stop();
        for (int again = 0; again < 11; ++again) {
            EXPECT_LT(takeSeconds(sampler, sample), 0.3 + secondsOver);
            EXPECT_EQ(sample.area(Area::Interfaces).absence, Absence::TimedOut);
            EXPECT_GT(sample.area(Area::Interfaces).silentSeconds, 0);
            EXPECT_TRUE(sample.interfaces.empty());
            EXPECT_TRUE(sample.load.load1.has());
            EXPECT_EQ(zel::boundedCallsRunning(), 1);
        }
        mounts.resume();
        waitForTheThreads();
        sampler.take(sample);
        EXPECT_EQ(named(sample, "eth0")->speedBytesPerSecond.valueOr(0), bytesPerSecond);
    });
}

} // namespace

// A chip that does not answer: the sample comes in time, with all others in it.
#include "FuseMounts.h"
#include "PrivateMounts.h"
#include "SampledHost.h"
#include "SensorTree.h"
#include "ThreadWatch.h"
#include "threads/BoundedCall.h"

#include <chrono>
#include <sys/mount.h>
#include <thread>

namespace {

using namespace std::chrono_literals;
using zel::Absence;
using zel::Area;
using zel::Sample;

constexpr double secondsOver = 1.0; // this machine may be busy

void waitForTheThreads() {
    while (zel::boundedCallsRunning() != 0)
        std::this_thread::sleep_for(1ms);
}

// The threads of what answered end a little after their answer.
bool oneThreadStays(const ThreadWatch &threads) {
    const auto end = std::chrono::steady_clock::now() + 5s;
    while (threads.running() != 1 && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(1ms);
    return threads.running() == 1;
}

double takeSeconds(zel::Sampler &sampler, Sample &sample) {
    const auto start = std::chrono::steady_clock::now();
    sampler.take(sample);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Shows the classes of a tree in the place of those of this host, with a server in the place of one file.
void withSlowFile(const std::string &file, const std::function<void(const FuseMounts &)> &body) {
    const TempDirectory directory;
    const SensorTree tree(directory.path());
    tree.device("hwmon/hwmon0", {{"name", "fast\n"}, {"temp1_input", "45000\n"}, {"temp1_max", "80000\n"}});
    tree.device("hwmon/hwmon1", {{"name", "slow\n"}, {"temp1_input", ""}, {"temp1_max", "90000\n"}});
    tree.device("power_supply/BAT0", {{"capacity", "50\n"}});
    const std::string reason = withPrivateMounts([&] {
        const FuseMounts mounts({directory.path().string() + "/sys/class/" + file});
        const std::string classes = directory.path().string() + "/sys/class";
        if (mounts.work() && mount(classes.c_str(), "/sys/class", nullptr, MS_BIND | MS_REC, nullptr) == 0)
            body(mounts);
        else
            std::puts("no FUSE here: nothing was tested");
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST(SlowSensor, OfThisHostIsTimedOutAndNothingElse) {
    withSlowFile("hwmon/hwmon1/temp1_input", [](const FuseMounts &mounts) {
        zel::Sampler sampler({.areas = {Area::Sensors, Area::Load}, .deadline = 300ms});
        Sample sample;
        sampler.take(sample);
        ASSERT_EQ(sample.temperatures.size(), 2U);
        EXPECT_TRUE(holds(sample.temperatures[1].input, 1)); // the file of the tests' server holds 1000
        waitForTheThreads();
        mounts.stop();
        const ThreadWatch threads;
        double silent = 0;
        for (int again = 0; again < 5; ++again) {
            EXPECT_LT(takeSeconds(sampler, sample), 0.3 + secondsOver);
            ASSERT_EQ(sample.temperatures.size(), 2U);
            EXPECT_TRUE(holds(sample.temperatures[0].input, 45));
            EXPECT_TRUE(lacks(sample.temperatures[1].input, Absence::TimedOut));
            EXPECT_TRUE(holds(sample.temperatures[1].max, 90)) << "it was known before";
            EXPECT_TRUE(holds(sample.sensorChips[0].silentSeconds, 0));
            EXPECT_GT(sample.sensorChips[1].silentSeconds.valueOr(0), silent);
            silent = sample.sensorChips[1].silentSeconds.valueOr(0);
            EXPECT_TRUE(holds(sample.powerSupplies[0].capacity, 0.5));
            EXPECT_TRUE(sample.load.load1.has());
            EXPECT_EQ(failureOf(sample, Area::Sensors), std::pair(ETIMEDOUT, std::string("sys/class/hwmon/hwmon1")));
            EXPECT_GT(sample.area(Area::Sensors).silentSeconds, 0);
            EXPECT_TRUE(oneThreadStays(threads)) << threads.running();
        }
        mounts.resume();
        waitForTheThreads();
        sampler.take(sample);
        EXPECT_TRUE(holds(sample.temperatures[1].input, 1));
        EXPECT_EQ(sample.area(Area::Sensors).silentSeconds, 0);
    });
}

TEST(SlowSensor, ThatNeverAnsweredHasARowThatSaysSo) {
    withSlowFile("hwmon/hwmon1/temp1_input", [](const FuseMounts &mounts) {
        mounts.stop();
        zel::Sampler sampler({.areas = {Area::Sensors}, .deadline = 300ms});
        const Sample sample = sampler.take();
        ASSERT_EQ(sample.sensorChips.size(), 2U);
        EXPECT_EQ(sample.sensorChips[1].chip, "hwmon1");
        EXPECT_TRUE(lacks(sample.sensorChips[1].name, Absence::TimedOut));
        EXPECT_GT(sample.sensorChips[1].silentSeconds.valueOr(0), 0);
        EXPECT_EQ(sample.temperatures.size(), 1U);
        mounts.resume();
        waitForTheThreads();
    });
}

TEST(SlowSensor, BatteryThatHangsIsTimedOut) {
    withSlowFile("power_supply/BAT0/capacity", [](const FuseMounts &mounts) {
        zel::Sampler sampler({.areas = {Area::Sensors}, .deadline = 300ms});
        Sample sample = sampler.take();
        EXPECT_TRUE(holds(sample.powerSupplies[0].capacity, 10)); // 1000 percent
        waitForTheThreads();
        mounts.stop();
        sampler.take(sample);
        EXPECT_EQ(sample.powerSupplies[0].supply, "BAT0");
        EXPECT_TRUE(lacks(sample.powerSupplies[0].capacity, Absence::TimedOut));
        EXPECT_TRUE(holds(sample.temperatures[0].input, 45));
        mounts.resume();
        waitForTheThreads();
    });
}

TEST(SlowSensor, ANewDeviceUnderAnOldNameHasItsOwnLimits) {
    const std::string reason = withPrivateMounts([] {
        const TempDirectory directory;
        const SensorTree tree(directory.path());
        const std::string chip = directory.path().string() + "/sys/class/hwmon/hwmon0";
        tree.device("hwmon/hwmon0", {{"name", "one\n"}, {"temp1_input", "45000\n"}, {"temp1_max", "80000\n"}});
        const std::string classes = directory.path().string() + "/sys/class";
        ASSERT_EQ(mount(classes.c_str(), "/sys/class", nullptr, MS_BIND | MS_REC, nullptr), 0);
        zel::Sampler sampler({.areas = {Area::Sensors}});
        Sample sample = sampler.take();
        EXPECT_EQ(sample.temperatures[0].chip, "one");
        std::filesystem::rename(chip, directory.path() / "old");
        tree.device("hwmon/hwmon0", {{"name", "two\n"}, {"temp1_input", "46000\n"}, {"temp1_max", "90000\n"}});
        sampler.take(sample);
        ASSERT_EQ(sample.temperatures.size(), 1U);
        EXPECT_EQ(sample.temperatures[0].chip, "two");
        EXPECT_TRUE(holds(sample.temperatures[0].max, 90));
        std::filesystem::remove_all(chip);
        sampler.take(sample);
        EXPECT_TRUE(sample.sensorChips.empty());
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

} // namespace

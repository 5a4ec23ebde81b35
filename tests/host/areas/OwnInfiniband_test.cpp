// InfiniBand ports of this host, whose class is a directory of the test's own: one whose firmware does not answer, one
// that goes, and what is asked for again.
#include "FuseMounts.h"
#include "PrivateMounts.h"
#include "SampledHost.h"
#include "threads/BoundedCall.h"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

namespace {

using namespace std::chrono_literals;
using zel::Absence;
using zel::Area;
using zel::Sample;
using zel::Sampler;

const std::string adapter = "/sys/class/infiniband/mlx5_0/";

void write(const std::string &file, const std::string &text) {
    std::filesystem::create_directories(std::filesystem::path(adapter + file).parent_path());
    std::ofstream(adapter + file) << text;
}

// With an own /sys/class, in which an adapter with two ports is.
void withPorts(const std::function<void()> &body) {
    const std::string reason = withPrivateMounts([&body] {
        if (!mountSmall("/sys/class", 1024)) {
            std::puts("nothing can be mounted here: nothing was tested");
            return;
        }
        write("fw_ver", "1.0\n");
        for (const char *port : {"ports/1/", "ports/2/"}) {
            write(std::string(port) + "state", "4: ACTIVE\n");
            write(std::string(port) + "counters/symbol_error", "5\n");
            write(std::string(port) + "counters/port_rcv_errors", "0\n");
            write(std::string(port) + "hw_counters/out_of_buffer", "6\n");
        }
        body();
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST(OwnInfiniband, APortWhoseFirmwareDoesNotAnswerIsTimedOutAndTheOtherIsThere) {
    withPorts([] {
        const FuseMounts mounts({adapter + "ports/1/counters/port_rcv_errors"});
        if (!mounts.work())
            return;
        mounts.stop();
        Sampler sampler({.areas = {Area::Interfaces}, .deadline = 300ms});
        Sample sample;
        for (int again = 0; again < 2; ++again) {
            const auto start = std::chrono::steady_clock::now();
            sampler.take(sample);
            EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
            ASSERT_EQ(sample.infinibandPorts.size(), 2U);
            EXPECT_EQ(sample.infinibandPorts[0].port, 1U);
            EXPECT_TRUE(lacks(sample.infinibandPorts[0].state, Absence::TimedOut));
            EXPECT_TRUE(lacks(sample.infinibandPorts[0].symbolErrors, Absence::TimedOut));
            EXPECT_EQ(sample.infinibandPorts[1].port, 2U);
            EXPECT_TRUE(holds(sample.infinibandPorts[1].symbolErrors, 5));
            ASSERT_EQ(sample.infinibandCounters.size(), 1U);
            EXPECT_EQ(sample.infinibandCounters[0].port, 2U);
            EXPECT_EQ(failureOf(sample, Area::Interfaces),
                      std::make_pair(ETIMEDOUT, std::string("sys/class/infiniband/mlx5_0/ports/1")));
            EXPECT_GT(sample.area(Area::Interfaces).silentSeconds, 0);
            EXPECT_EQ(zel::boundedCallsRunning(), 1);
        }
        mounts.resume();
        while (zel::boundedCallsRunning() != 0)
            std::this_thread::sleep_for(1ms);
        sampler.take(sample);
        EXPECT_EQ(failureOf(sample, Area::Interfaces), NO_FAILURE);
        EXPECT_TRUE(holds(sample.infinibandPorts[0].symbolErrors, 5));
        EXPECT_TRUE(holds(sample.infinibandPorts[0].receiveErrors, 1000));
        EXPECT_EQ(sample.infinibandCounters.size(), 2U);
    });
}

TEST(OwnInfiniband, CountersAreReadInEachSampleAndWhatDescribesThePortWhenItIsDue) {
    withPorts([] {
        Sampler sampler({.areas = {Area::Interfaces}});
        Sample sample = sampler.take();
        EXPECT_TRUE(holds(sample.infinibandPorts[0].firmware, "1.0"));
        EXPECT_TRUE(lacks(sample.infinibandPorts[0].linkDowned, Absence::Unsupported));
        write("fw_ver", "2.0\n");
        write("ports/1/state", "1: DOWN\n");
        write("ports/1/counters/symbol_error", "7\n");
        write("ports/1/counters/link_downed", "8\n");
        write("ports/1/hw_counters/out_of_buffer", "9\n");
        sampler.take(sample);
        EXPECT_TRUE(holds(sample.infinibandPorts[0].state, "DOWN"));
        EXPECT_TRUE(holds(sample.infinibandPorts[0].stateNumber, 1));
        EXPECT_TRUE(holds(sample.infinibandPorts[0].symbolErrors, 7));
        EXPECT_TRUE(holds(sample.infinibandCounters[0].value, 9));
        // What the port did not support is asked for again later, and so is what describes it.
        EXPECT_TRUE(lacks(sample.infinibandPorts[0].linkDowned, Absence::Unsupported));
        EXPECT_TRUE(holds(sample.infinibandPorts[0].firmware, "1.0"));
    });
}

TEST(OwnInfiniband, APortThatGoesIsLeftOutAndTheOtherStays) {
    withPorts([] {
        Sampler sampler({.areas = {Area::Interfaces}});
        Sample sample = sampler.take();
        ASSERT_EQ(sample.infinibandPorts.size(), 2U);
        std::filesystem::remove_all(adapter + "ports/1");
        for (int again = 0; again < 2; ++again) {
            sampler.take(sample);
            ASSERT_EQ(sample.infinibandPorts.size(), 1U);
            EXPECT_EQ(sample.infinibandPorts[0].port, 2U);
            EXPECT_EQ(sample.infinibandCounters.size(), 1U);
            EXPECT_EQ(failureOf(sample, Area::Interfaces), NO_FAILURE);
        }
    });
}

} // namespace

// Fibre Channel ports of this host, whose class is a directory of the test's own: one whose firmware does not answer,
// one that goes, and what is asked for again.
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

const std::string ports = "/sys/class/fc_host/";

void write(const std::string &file, const std::string &text) {
    std::filesystem::create_directories(std::filesystem::path(ports + file).parent_path());
    std::ofstream(ports + file) << text;
}

// With an own /sys/class, in which two ports are.
void withPorts(const std::function<void()> &body) {
    const std::string reason = withPrivateMounts([&body] {
        if (!mountSmall("/sys/class", 1024)) {
            std::puts("nothing can be mounted here: nothing was tested");
            return;
        }
        for (const char *name : {"host1/", "host2/"}) {
            write(std::string(name) + "port_state", "Online\n");
            write(std::string(name) + "symbolic_name", "first\n");
            write(std::string(name) + "statistics/tx_frames", "0x5\n");
            write(std::string(name) + "statistics/lip_count", "0xffffffffffffffff\n");
        }
        body();
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST(OwnFibreChannel, APortWhoseFirmwareDoesNotAnswerIsTimedOutAndTheOtherIsThere) {
    withPorts([] {
        const FuseMounts mounts({ports + "host1/statistics/rx_frames"});
        if (!mounts.work())
            return;
        mounts.stop();
        Sampler sampler({.areas = {Area::FibreChannel}, .deadline = 300ms});
        Sample sample;
        for (int again = 0; again < 3; ++again) {
            const auto start = std::chrono::steady_clock::now();
            sampler.take(sample);
            EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
            ASSERT_EQ(sample.fibreChannelPorts.size(), 2U);
            EXPECT_EQ(sample.fibreChannelPorts[0].name, "host1");
            EXPECT_TRUE(lacks(sample.fibreChannelPorts[0].transmitFrames, Absence::TimedOut));
            EXPECT_TRUE(lacks(sample.fibreChannelPorts[0].state, Absence::TimedOut));
            EXPECT_TRUE(lacks(sample.fibreChannelEvents[0].linkNotices, Absence::TimedOut));
            EXPECT_EQ(sample.fibreChannelPorts[1].name, "host2");
            EXPECT_TRUE(holds(sample.fibreChannelPorts[1].transmitFrames, 5));
            EXPECT_EQ(failureOf(sample, Area::FibreChannel),
                      std::make_pair(ETIMEDOUT, std::string("sys/class/fc_host/host1")));
            EXPECT_GT(sample.area(Area::FibreChannel).silentSeconds, 0);
            EXPECT_EQ(zel::boundedCallsRunning(), 1);
        }
        mounts.resume();
        while (zel::boundedCallsRunning() != 0)
            std::this_thread::sleep_for(1ms);
        sampler.take(sample);
        EXPECT_EQ(failureOf(sample, Area::FibreChannel), NO_FAILURE);
        EXPECT_TRUE(holds(sample.fibreChannelPorts[0].transmitFrames, 5));
        EXPECT_TRUE(holds(sample.fibreChannelPorts[0].symbolicName, "first"));
        EXPECT_TRUE(lacks(sample.fibreChannelPorts[0].receiveFrames, Absence::Malformed)); // "1000", which is no hex
    });
}

TEST(OwnFibreChannel, CountersAreReadInEachSampleAndNamesWhenTheyAreDue) {
    withPorts([] {
        Sampler sampler({.areas = {Area::FibreChannel}});
        Sample sample;
        sampler.take(sample);
        EXPECT_TRUE(holds(sample.fibreChannelPorts[0].transmitFrames, 5));
        EXPECT_TRUE(lacks(sample.fibreChannelPorts[0].loopInitialisations, Absence::Unsupported));
        write("host1/statistics/tx_frames", "0x6\n");
        write("host1/statistics/lip_count", "0x7\n");
        write("host1/port_state", "Linkdown\n");
        write("host1/symbolic_name", "second\n");
        sampler.take(sample);
        EXPECT_TRUE(holds(sample.fibreChannelPorts[0].transmitFrames, 6));
        EXPECT_TRUE(holds(sample.fibreChannelPorts[0].state, "Linkdown"));
        // What the port did not support is asked for again later, and so are its names.
        EXPECT_TRUE(lacks(sample.fibreChannelPorts[0].loopInitialisations, Absence::Unsupported));
        EXPECT_TRUE(holds(sample.fibreChannelPorts[0].symbolicName, "first"));
    });
}

TEST(OwnFibreChannel, APortThatGoesIsLeftOutAndTheOthersStay) {
    withPorts([] {
        Sampler sampler({.areas = {Area::FibreChannel}});
        Sample sample;
        sampler.take(sample);
        ASSERT_EQ(sample.fibreChannelPorts.size(), 2U);
        std::filesystem::remove_all(ports + "host1");
        for (int again = 0; again < 2; ++again) {
            sampler.take(sample);
            ASSERT_EQ(sample.fibreChannelPorts.size(), 1U);
            EXPECT_EQ(sample.fibreChannelPorts[0].name, "host2");
            EXPECT_EQ(failureOf(sample, Area::FibreChannel), NO_FAILURE);
        }
    });
}

TEST(OwnFibreChannel, WithoutPortsNoThreadIsStarted) {
    if (std::filesystem::exists("/sys/class/fc_host"))
        GTEST_SKIP() << "this host has ports";
    Sampler sampler({.areas = {Area::FibreChannel}});
    const Sample sample = sampler.take();
    EXPECT_EQ(sample.area(Area::FibreChannel).absence, Absence::Unsupported);
    EXPECT_EQ(zel::boundedCallsRunning(), 0);
}

} // namespace

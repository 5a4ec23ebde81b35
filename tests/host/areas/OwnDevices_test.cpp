// Disks and interfaces of this host: what stays open, what is read again and when, and what a sample of them costs.
#include "FuseMounts.h"
#include "NetworkNamespace.h"
#include "PrivateMounts.h"
#include "SampledHost.h"
#include "SystemCalls.h"
#include "SystemHooks.h"
#include "host/Rates.h"
#include "threads/BoundedCall.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <net/if.h>
#include <sched.h>
#include <thread>

namespace {

using namespace std::chrono_literals;
using zel::Absence;
using zel::Area;
using zel::Disk;
using zel::Interface;
using zel::Sample;
using zel::Sampler;

std::string firstWord(const std::string &path) {
    std::ifstream file(path);
    std::string word;
    file >> word;
    return word;
}

template<class Row> const Row *named(const zel::Rows<Row> &rows, const std::string &name) {
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const Row &row) { return row.name == name; });
    return found == rows.end() ? nullptr : found;
}

TEST(OwnDisks, HaveTheValuesOfTheirFiles) {
    Sampler sampler({.areas = {Area::Disks}});
    const Sample sample = sampler.take();
    for (const Disk &disk : sample.disks) {
        const std::string directory = "/sys/class/block/" + disk.name + "/";
        if (disk.name.find('/') != std::string::npos || !std::filesystem::exists(directory))
            continue;
        EXPECT_TRUE(holds(disk.sizeBytes, std::stoull(firstWord(directory + "size")) * 512)) << disk.name;
        EXPECT_TRUE(holds(disk.readOnly, std::stoull(firstWord(directory + "ro")))) << disk.name;
        if (std::filesystem::exists(directory + "partition"))
            continue;
        EXPECT_TRUE(holds(disk.rotational, std::stoull(firstWord(directory + "queue/rotational")))) << disk.name;
    }
}

template<class Check> void forBothAreas(Check check) {
    for (const Area area : {Area::Disks, Area::Interfaces})
        check(area);
}

TEST(OwnDevices, NothingIsAllocatedInSteadyState) {
    forBothAreas([](Area area) {
        Sampler sampler({.areas = {area}});
        Sample sample;
        for (int warm = 0; warm < 3; ++warm)
            sampler.take(sample);
        const long before = allocationsSoFar();
        for (int again = 0; again < 5; ++again)
            sampler.take(sample);
        EXPECT_EQ(allocationsSoFar(), before) << zel::areaName(area);
    });
}

// The files of the area, of a disk whose line changed, and the clocks.
TEST(OwnDevices, ASteadySampleTakesAFewSystemCallsHoweverManyDevicesThereAre) {
    forBothAreas([](Area area) {
        const auto calls = [area](int samples) {
            return systemCallsOf([&] {
                Sampler sampler({.areas = {area}});
                Sample sample;
                for (int i = 0; i < samples; ++i)
                    sampler.take(sample);
            });
        };
        const long first = calls(2);
        if (first < 0)
            GTEST_SKIP() << "nobody may trace here";
        constexpr long samples = 10;
        const long each = (calls(2 + samples) - first) / samples;
        EXPECT_GT(each, 0);
        EXPECT_LE(each, 24) << zel::areaName(area);
    });
}

TEST(OwnDevices, WithoutABudgetNothingStaysOpenAndTheValuesAreTheSame) {
    forBothAreas([](Area area) {
        const auto openFiles = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
        const auto before = openFiles();
        Sampler sampler({.areas = {area}, .keptFiles = 0});
        Sample sample;
        for (int again = 0; again < 3; ++again)
            sampler.take(sample);
        EXPECT_EQ(openFiles(), before) << zel::areaName(area);
        Sampler keeping({.areas = {area}});
        const Sample other = keeping.take();
        EXPECT_GT(openFiles(), before) << zel::areaName(area);
        ASSERT_EQ(sample.disks.size(), other.disks.size());
        for (std::size_t i = 0; i < sample.disks.size(); ++i)
            EXPECT_EQ(sample.disks[i].sizeBytes.valueOr(7), other.disks[i].sizeBytes.valueOr(7));
        ASSERT_EQ(sample.interfaces.size(), other.interfaces.size());
        for (std::size_t i = 0; i < sample.interfaces.size(); ++i)
            EXPECT_EQ(sample.interfaces[i].mtuBytes.valueOr(7), other.interfaces[i].mtuBytes.valueOr(7));
    });
}

// The queue of a disk is a mount that does not answer.
TEST(OwnDisks, AQueueThatHangsIsTimedOutAndTheRestOfTheDiskIsThere) {
    const std::string queue = "/sys/block/loop0/queue";
    if (!std::filesystem::exists(queue))
        GTEST_SKIP() << "no loop0 here";
    const std::string skip = withPrivateMounts([&queue] {
        const FuseMounts mounts({queue});
        if (!mounts.work())
            return;
        mounts.stop();
        Sampler sampler({.areas = {Area::Disks}, .deadline = 300ms});
        for (int again = 0; again < 3; ++again) {
            const auto start = std::chrono::steady_clock::now();
            const Sample sample = sampler.take();
            EXPECT_LT(std::chrono::steady_clock::now() - start, 350ms);
            const Disk *loop = named(sample.disks, "loop0");
            ASSERT_NE(loop, nullptr);
            EXPECT_TRUE(loop->sizeBytes.has());
            EXPECT_TRUE(loop->reads.has());
            EXPECT_TRUE(lacks(loop->scheduler, Absence::TimedOut));
            EXPECT_TRUE(lacks(loop->rotational, Absence::TimedOut));
            EXPECT_EQ(failureOf(sample, Area::Disks), std::make_pair(ETIMEDOUT, std::string("sys/class/block/loop0")));
            EXPECT_GT(sample.area(Area::Disks).silentSeconds, 0);
            EXPECT_EQ(zel::boundedCallsRunning(), 1);
        }
        mounts.resume();
        while (zel::boundedCallsRunning() != 0)
            std::this_thread::sleep_for(1ms);
        const Sample sample = sampler.take();
        EXPECT_EQ(failureOf(sample, Area::Disks), NO_FAILURE);
        EXPECT_TRUE(lacks(named(sample.disks, "loop0")->scheduler, Absence::Unsupported)); // the mount is empty
    });
    if (!skip.empty())
        GTEST_SKIP() << skip;
}

void inNamespace(const std::function<void()> &body) {
    if (const std::string skip = inNetworkNamespace(body); !skip.empty())
        GTEST_SKIP() << skip;
}

// Announcements come a moment after the change.
template<class Condition> bool comesTrue(Condition condition) {
    for (int step = 0; step < 300; ++step) {
        if (condition())
            return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

TEST(OwnInterfaces, WhatChangesIsThereInTheNextSample) {
    inNamespace([] {
        if (!showOwnInterfaces())
            return;
        makePair("a0", "b0");
        Sampler sampler({.areas = {Area::Interfaces}});
        Sample sample;
        const auto interface = [&](const char *name) {
            sampler.take(sample);
            return named(sample.interfaces, name);
        };
        const Interface *a0 = interface("a0");
        ASSERT_NE(a0, nullptr);
        EXPECT_TRUE(holds(a0->index, if_nametoindex("a0")));
        EXPECT_TRUE(holds(a0->linkIndex, if_nametoindex("b0")));
        EXPECT_TRUE(holds(a0->operationalState, "up"));
        EXPECT_TRUE(holds(a0->up, 1));
        EXPECT_TRUE(holds(a0->carrier, 1));
        EXPECT_TRUE(holds(a0->mtuBytes, 1500));
        EXPECT_TRUE(holds(a0->speedBytesPerSecond, 1250000000)); // what the kernel says of every veth
        EXPECT_TRUE(holds(a0->duplex, "full"));
        EXPECT_TRUE(lacks(a0->master, Absence::Unsupported));

        ASSERT_EQ(runIp({"link", "set", "a0", "mtu", "1400"}), 0);
        EXPECT_TRUE(holds(interface("a0")->mtuBytes, 1400));
        ASSERT_EQ(runIp({"link", "set", "a0", "alias", "uplink"}), 0);
        EXPECT_TRUE(holds(interface("a0")->alias, "uplink"));
        const std::uint64_t changes = *interface("a0")->carrierChanges;
        ASSERT_EQ(runIp({"link", "set", "b0", "down"}), 0);
        EXPECT_TRUE(comesTrue([&] { return interface("a0")->operationalState.valueOr("") == "lowerlayerdown"; }));
        EXPECT_TRUE(holds(interface("a0")->carrier, 0));
        EXPECT_TRUE(holds(interface("a0")->carrierChanges, changes + 1));
        ASSERT_EQ(runIp({"link", "set", "a0", "down"}), 0);
        EXPECT_TRUE(holds(interface("a0")->up, 0));
        EXPECT_TRUE(comesTrue([&] { return lacks(interface("a0")->carrier, Absence::Unsupported); }));
    });
}

TEST(OwnInterfaces, AnotherInterfaceUnderAnOldNameHasItsOwnValues) {
    inNamespace([] {
        if (!showOwnInterfaces())
            return;
        makePair("a0", "b0");
        Sampler sampler({.areas = {Area::Interfaces}});
        Sample sample = sampler.take();
        ASSERT_EQ(runIp({"link", "set", "a0", "down"}), 0);
        ASSERT_EQ(runIp({"link", "set", "b0", "down"}), 0);
        ASSERT_EQ(runIp({"link", "set", "b0", "mtu", "1300"}), 0);
        ASSERT_EQ(runIp({"link", "set", "a0", "name", "c0"}), 0);
        ASSERT_EQ(runIp({"link", "set", "b0", "name", "a0"}), 0);
        const Sample renamed = sampler.take();
        EXPECT_TRUE(holds(named(renamed.interfaces, "a0")->index, *named(sample.interfaces, "b0")->index));
        EXPECT_TRUE(holds(named(renamed.interfaces, "a0")->mtuBytes, 1300));
        EXPECT_EQ(named(renamed.interfaces, "b0"), nullptr);
        EXPECT_TRUE(lacks(zel::between(sample, renamed).interfaces[1].receiveBytes, Absence::NotYet));

        ASSERT_EQ(runIp({"link", "del", "a0"}), 0);
        ASSERT_EQ(runIp({"link", "add", "a0", "type", "veth", "peer", "name", "b0"}), 0);
        const Sample again = sampler.take();
        EXPECT_TRUE(holds(named(again.interfaces, "a0")->index, if_nametoindex("a0")));
        EXPECT_TRUE(holds(named(again.interfaces, "a0")->mtuBytes, 1500));
    });
}

// /sys is that of the machine, whose interface has the same name and the same index.
TEST(OwnInterfaces, AStrangerOfTheSameNameGivesNoAttributes) {
    std::string name;
    for (const auto &entry : std::filesystem::directory_iterator("/sys/class/net")) {
        if (entry.path().filename() != "lo" && std::filesystem::exists(entry.path() / "ifindex"))
            name = entry.path().filename();
    }
    if (name.empty())
        GTEST_SKIP() << "only lo here";
    const std::string index = firstWord("/sys/class/net/" + name + "/ifindex");
    inNamespace([&] {
        ASSERT_EQ(
            runIp({"link", "add", name, "index", index, "type", "veth", "peer", "name", "zelpeer", "index", "9999"}),
            0);
        Sampler sampler({.areas = {Area::Interfaces}});
        for (int again = 0; again < 2; ++again) {
            const Sample sample = sampler.take();
            ASSERT_EQ(sample.interfaces.size(), 3U);
            for (const char *own : {name.c_str(), "zelpeer", "lo"}) {
                const Interface *interface = named(sample.interfaces, own);
                ASSERT_NE(interface, nullptr) << own;
                EXPECT_TRUE(holds(interface->receiveBytes, 0)) << own;
                EXPECT_TRUE(holds(interface->index, if_nametoindex(own))) << own;
                EXPECT_TRUE(lacks(interface->mtuBytes, Absence::Unsupported)) << own;
                EXPECT_TRUE(lacks(interface->address, Absence::Unsupported)) << own;
                EXPECT_TRUE(lacks(interface->up, Absence::Unsupported)) << own;
            }
        }
    });
}

TEST(OwnInterfaces, AThreadThatLeftItsNamespaceSeesTheNextOne) {
    inNamespace([] {
        makePair("a0", "b0");
        Sampler sampler({.areas = {Area::Interfaces}});
        EXPECT_EQ(sampler.take().interfaces.size(), 3U);
        ASSERT_EQ(unshare(CLONE_NEWNET), 0);
        const Sample sample = sampler.take();
        ASSERT_EQ(sample.interfaces.size(), 1U);
        EXPECT_EQ(sample.interfaces[0].name, "lo");
        makePair("c0", "d0");
        EXPECT_TRUE(holds(named(sampler.take().interfaces, "c0")->index, if_nametoindex("c0")));
    });
}

TEST(OwnInterfaces, WhatFindsNoTimeIsReadInALaterSample) {
    inNamespace([] {
        if (!showOwnInterfaces())
            return;
        makePair("a0", "b0");
        Sampler hurried({.areas = {Area::Interfaces}, .deadline = 0ms});
        const Sample sample = hurried.take();
        EXPECT_EQ(failureOf(sample, Area::Interfaces), std::make_pair(ETIMEDOUT, std::string("sys/class/net")));
        const Interface *a0 = named(sample.interfaces, "a0");
        ASSERT_NE(a0, nullptr);
        EXPECT_TRUE(a0->receiveBytes.has());
        EXPECT_TRUE(lacks(a0->mtuBytes, Absence::TimedOut));
        EXPECT_TRUE(lacks(a0->speedBytesPerSecond, Absence::TimedOut));
        EXPECT_EQ(zel::boundedCallsRunning(), 0);
    });
}

// Parent and child would take the announcements away from each other.
TEST(OwnInterfaces, TheChildOfAForkHearsOfChangesToo) {
    inNamespace([] {
        if (!showOwnInterfaces())
            return;
        makePair("a0", "b0");
        Sampler sampler({.areas = {Area::Interfaces}});
        sampler.take();
        const auto mtuOf = [&] { return named(sampler.take().interfaces, "a0")->mtuBytes.valueOr(0); };
        const pid_t child = fork();
        if (child == 0) {
            mtuOf();
            const bool changed = runIp({"link", "set", "a0", "mtu", "1450"}) == 0 && mtuOf() == 1450;
            _exit(changed && runIp({"link", "set", "a0", "mtu", "1460"}) == 0 && mtuOf() == 1460 ? 0 : 1);
        }
        int status = 1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(mtuOf(), 1460U);
    });
}

TEST(OwnInterfaces, MoreChangesThanThereIsRoomForAreNotLost) {
    inNamespace([] {
        if (!showOwnInterfaces())
            return;
        makePair("a0", "b0");
        Sampler sampler({.areas = {Area::Interfaces}});
        sampler.take();
        std::string lines;
        for (int i = 0; i < 20000; ++i)
            lines += "link set b0 mtu " + std::to_string(1300 + i % 2) + "\n";
        const TempDirectory scratch;
        const std::string batch = scratch.write("batch", lines + "link set a0 mtu 1234\n");
        ASSERT_EQ(runIp({"-batch", batch}), 0);
        const Sample sample = sampler.take();
        EXPECT_TRUE(holds(named(sample.interfaces, "a0")->mtuBytes, 1234));
        EXPECT_TRUE(holds(named(sample.interfaces, "b0")->mtuBytes, 1301));
    });
}

TEST(OwnInterfaces, CountWhatIsSent) {
    inNamespace([] {
        makePair("a0", "b0");
        Sampler sampler({.areas = {Area::Interfaces}});
        const Sample before = sampler.take();
        sendFrames("a0", 10, 1000);
        const Sample now = sampler.take();
        EXPECT_TRUE(
            holds(named(now.interfaces, "a0")->transmitBytes, *named(before.interfaces, "a0")->transmitBytes + 10000));
        EXPECT_TRUE(
            holds(named(now.interfaces, "b0")->receivePackets, *named(before.interfaces, "b0")->receivePackets + 10));
    });
}

} // namespace

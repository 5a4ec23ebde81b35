// A bond of this host and its port, real interfaces whose /sys is a directory of the test's own: what is read in each
// sample, and what when the kernel announces a change.
#include "NetworkNamespace.h"
#include "PrivateMounts.h"
#include "SampledHost.h"

#include <filesystem>
#include <fstream>

namespace {

using zel::Absence;
using zel::Area;
using zel::Sample;
using zel::Sampler;

const std::string net = "/sys/class/net/";

std::string lineOf(const std::string &path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

void write(const std::string &file, const std::string &text) {
    std::filesystem::create_directories(std::filesystem::path(net + file).parent_path());
    std::ofstream(net + file) << text << '\n';
}

const zel::Interface &named(const Sample &sample, const std::string &name) {
    return *std::find_if(sample.interfaces.begin(), sample.interfaces.end(),
                         [&name](const zel::Interface &interface) { return interface.name == name; });
}

// With a0 as a bond and b0 as its port. Both are found to be interfaces of the namespace by what they really say.
void withBond(const std::function<void()> &body) {
    const std::string reason = inNetworkNamespace([&body] {
        if (!showOwnInterfaces())
            return;
        makePair("a0", "b0");
        std::vector<std::pair<std::string, std::string>> files;
        for (const char *name : {"a0/", "b0/"}) {
            for (const char *file : {"ifindex", "flags", "mtu", "address"})
                files.emplace_back(std::string(name) + file, lineOf(net + name + file));
        }
        if (!mountSmall("/sys/class", 1024)) {
            std::puts("nothing can be mounted here: nothing was tested");
            return;
        }
        for (const auto &[file, text] : files)
            write(file, text);
        for (const char *name : {"a0/", "b0/"})
            write(name + std::string("statistics/rx_nohandler"), "5");
        write("a0/bonding/mode", "active-backup 1");
        write("a0/bonding/slaves", "b0");
        write("b0/bonding_slave/mii_status", "up");
        write("b0/bonding_slave/link_failure_count", "0");
        std::filesystem::create_symlink("../a0", net + "b0/master");
        body();
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST(OwnBonds, AChangeThatIsAnnouncedOfAPortIsOneOfItsBond) {
    withBond([] {
        Sampler sampler({.areas = {Area::Interfaces}});
        Sample sample = sampler.take();
        ASSERT_EQ(sample.bonds.size(), 1U);
        EXPECT_EQ(sample.bonds[0].name, "a0");
        EXPECT_TRUE(holds(sample.bonds[0].mode, "active-backup"));
        EXPECT_TRUE(holds(sample.bonds[0].portsUp, 1));
        ASSERT_EQ(sample.bondPorts.size(), 1U);
        EXPECT_EQ(sample.bondPorts[0].name, "b0");
        EXPECT_TRUE(holds(sample.bondPorts[0].linkFailures, 0));

        write("b0/bonding_slave/mii_status", "down");
        write("b0/bonding_slave/link_failure_count", "1");
        sampler.take(sample);
        EXPECT_TRUE(holds(sample.bonds[0].portsUp, 1)) << "nothing was announced: nothing is read";
        ASSERT_EQ(runIp({"link", "set", "b0", "alias", "changed"}), 0);
        sampler.take(sample);
        EXPECT_TRUE(holds(sample.bonds[0].portsUp, 0));
        EXPECT_TRUE(holds(sample.bondPorts[0].linkState, "down"));
        EXPECT_TRUE(holds(sample.bondPorts[0].linkFailures, 1));
        EXPECT_EQ(failureOf(sample, Area::Interfaces), NO_FAILURE);
    });
}

TEST(OwnBonds, WhatAnUnusedPortDropsIsCountedInEachSample) {
    withBond([] {
        Sampler sampler({.areas = {Area::Interfaces}});
        Sample sample = sampler.take();
        EXPECT_TRUE(holds(named(sample, "a0").receiveNoHandler, 5));
        EXPECT_TRUE(holds(named(sample, "b0").receiveNoHandler, 5));
        write("a0/statistics/rx_nohandler", "6");
        write("b0/statistics/rx_nohandler", "7");
        sampler.take(sample);
        EXPECT_TRUE(holds(named(sample, "a0").receiveNoHandler, 6));
        EXPECT_TRUE(holds(named(sample, "b0").receiveNoHandler, 7));
    });
}

TEST(OwnBonds, OfAnOrdinaryInterfaceItIsReadWithTheRest) {
    withBond([] {
        std::filesystem::remove_all(net + "a0/bonding");
        std::filesystem::remove(net + "b0/master");
        Sampler sampler({.areas = {Area::Interfaces}});
        Sample sample = sampler.take();
        EXPECT_TRUE(sample.bonds.empty());
        write("b0/statistics/rx_nohandler", "7");
        sampler.take(sample);
        EXPECT_TRUE(holds(named(sample, "b0").receiveNoHandler, 5));
        ASSERT_EQ(runIp({"link", "set", "b0", "alias", "changed"}), 0);
        sampler.take(sample);
        EXPECT_TRUE(holds(named(sample, "b0").receiveNoHandler, 7));
    });
}

// A port of a bridge is none: there may be hundreds, and the kernel drops nothing of them in this way.
TEST(OwnBonds, OfAPortOfABridgeToo) {
    withBond([] {
        std::filesystem::remove_all(net + "a0/bonding");
        std::filesystem::remove_all(net + "b0/bonding_slave");
        write("a0/bridge/stp_state", "0");
        write("b0/brport/state", "3");
        Sampler sampler({.areas = {Area::Interfaces}});
        Sample sample = sampler.take();
        write("b0/statistics/rx_nohandler", "7");
        sampler.take(sample);
        EXPECT_TRUE(holds(named(sample, "b0").receiveNoHandler, 5));
    });
}

// As a port of a team, of which nothing but the link says that it is one.
TEST(OwnBonds, OfAPortOfSomethingElseAndItsMasterInEachSample) {
    withBond([] {
        std::filesystem::remove_all(net + "a0/bonding");
        std::filesystem::remove_all(net + "b0/bonding_slave");
        Sampler sampler({.areas = {Area::Interfaces}});
        Sample sample = sampler.take();
        write("a0/statistics/rx_nohandler", "6");
        write("b0/statistics/rx_nohandler", "7");
        sampler.take(sample);
        EXPECT_TRUE(holds(named(sample, "a0").receiveNoHandler, 6));
        EXPECT_TRUE(holds(named(sample, "b0").receiveNoHandler, 7));
    });
}

} // namespace

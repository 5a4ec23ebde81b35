// What the model says of bonds and their ports, below a root directory.
#include "SampledHost.h"

#include <filesystem>

namespace {

using zel::Absence;
using zel::Area;
using zel::Sample;

class BondHost : public SampledHost {
public:
    BondHost() : SampledHost(std::vector{Area::Interfaces}) {
        std::string text = "Inter-|   Receive\n face |bytes\n";
        for (const char *name : {"bond0", "eth0", "eth1"})
            text += std::string("  ") + name + ": 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n";
        write("proc/net/dev", text);
        bond("mode", "active-backup 1\n");
        bond("mii_status", "up\n");
        bond("active_slave", "eth0\n");
        bond("slaves", "eth0 eth1\n");
        port("eth0", "active\n", "up\n", "3\n");
        port("eth1", "backup\n", "going down\n", "4294967295\n");
    }
    void bond(const std::string &file, const std::string &text) const {
        write("sys/class/net/bond0/bonding/" + file, text);
    }
    void port(const std::string &name, const char *state, const char *link, const char *failures) const {
        const std::string directory = "sys/class/net/" + name + "/bonding_slave/";
        write(directory + "state", state);
        write(directory + "mii_status", link);
        write(directory + "link_failure_count", failures);
    }
};

TEST(BondDetails, ABondAndItsPortsAreRows) {
    BondHost host;
    const Sample &sample = host.take();
    ASSERT_EQ(sample.bonds.size(), 1U);
    const zel::Bond &bond = sample.bonds[0];
    EXPECT_EQ(bond.name, "bond0");
    EXPECT_TRUE(holds(bond.mode, "active-backup"));
    EXPECT_TRUE(holds(bond.linkState, "up"));
    EXPECT_TRUE(holds(bond.activePort, "eth0"));
    EXPECT_TRUE(holds(bond.ports, 2));
    EXPECT_TRUE(holds(bond.portsUp, 1));
    ASSERT_EQ(sample.bondPorts.size(), 2U);
    EXPECT_EQ(sample.bondPorts[0].bond, "bond0");
    EXPECT_EQ(sample.bondPorts[0].name, "eth0");
    EXPECT_TRUE(holds(sample.bondPorts[0].state, "active"));
    EXPECT_TRUE(holds(sample.bondPorts[0].linkState, "up"));
    EXPECT_TRUE(holds(sample.bondPorts[0].linkFailures, 3));
    EXPECT_EQ(sample.bondPorts[1].name, "eth1");
    EXPECT_TRUE(holds(sample.bondPorts[1].linkState, "going down"));
    EXPECT_TRUE(holds(sample.bondPorts[1].linkFailures, 4294967295U));
    EXPECT_EQ(failureOf(sample, Area::Interfaces), NO_FAILURE);
}

TEST(BondDetails, ABondWithoutPortsHasNone) {
    BondHost host;
    host.bond("slaves", "\n");
    host.bond("active_slave", "\n");
    const Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.bonds[0].ports, 0));
    EXPECT_TRUE(holds(sample.bonds[0].portsUp, 0));
    EXPECT_TRUE(lacks(sample.bonds[0].activePort, Absence::Unsupported));
    EXPECT_TRUE(sample.bondPorts.empty());
}

TEST(BondDetails, APortThatSaysNothingIsNotTakenForOneThatIsUpOrDown) {
    BondHost host;
    host.remove("sys/class/net/eth1/bonding_slave"); // a kernel before 3.14
    const Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.bonds[0].ports, 2));
    EXPECT_TRUE(lacks(sample.bonds[0].portsUp, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.bondPorts[1].linkState, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.bondPorts[1].linkFailures, Absence::Unsupported));
}

TEST(BondDetails, AListThatThePageWasTooSmallForIsNoNumberOfPorts) {
    BondHost host;
    host.bond("slaves", "eth0 ++more++ \n");
    const Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.bonds[0].ports, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.bonds[0].portsUp, Absence::Unsupported));
    ASSERT_EQ(sample.bondPorts.size(), 1U);
}

TEST(BondDetails, NamesOfPortsLeadNowhereElse) {
    BondHost host;
    host.bond("slaves", std::string("../eth0 .. ") + std::string(5000, 'n'));
    const Sample &sample = host.take();
    ASSERT_EQ(sample.bondPorts.size(), 3U);
    for (const zel::BondPort &port : sample.bondPorts)
        EXPECT_TRUE(lacks(port.linkState, Absence::Unsupported)) << port.name;
}

TEST(BondDetails, DirectoriesInThePlaceOfFilesGiveReasons) {
    BondHost host;
    for (const char *file : {"mode", "slaves"}) {
        host.remove(std::string("sys/class/net/bond0/bonding/") + file);
        std::filesystem::create_directories(host.path() + "/sys/class/net/bond0/bonding/" + file);
    }
    const Sample &sample = host.take();
    ASSERT_EQ(sample.bonds.size(), 1U);
    EXPECT_FALSE(sample.bonds[0].mode.has());
    EXPECT_FALSE(sample.bonds[0].ports.has());
    EXPECT_FALSE(sample.bonds[0].portsUp.has());
    EXPECT_TRUE(sample.bondPorts.empty());
}

TEST(BondDetails, ABondThatIsOneNoMoreHasNoRow) {
    BondHost host;
    EXPECT_EQ(host.take().bonds.size(), 1U);
    host.remove("sys/class/net/bond0/bonding");
    const Sample &sample = host.take();
    EXPECT_TRUE(sample.bonds.empty());
    EXPECT_TRUE(sample.bondPorts.empty());
}

TEST(BondDetails, ALineThatIsThereTwiceIsOneBond) {
    BondHost host;
    const std::string line = " bond0: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n";
    host.write("proc/net/dev", "head\nhead\n" + line + line);
    const Sample &sample = host.take();
    EXPECT_EQ(sample.interfaces.size(), 2U);
    EXPECT_EQ(sample.bonds.size(), 1U);
    EXPECT_EQ(sample.bondPorts.size(), 2U);
}

} // namespace

// What the model says of an interface beside its counters, below a root directory.
#include "SampledHost.h"

#include <cerrno>
#include <filesystem>

namespace {

using zel::Absence;
using zel::Area;
using zel::Interface;
using zel::Sample;

constexpr const char *heading =
    "Inter-|   Receive                                                |  Transmit\n"
    " face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs drop fifo colls carrier "
    "compressed\n";
constexpr const char *columns = ": 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n";

class NetHost : public SampledHost {
public:
    explicit NetHost(const std::vector<std::string> &names) : SampledHost(std::vector{Area::Interfaces}) {
        list(names);
    }

    void list(const std::vector<std::string> &names) const {
        std::string text = heading;
        for (const std::string &name : names)
            text += "  " + name + columns;
        write("proc/net/dev", text);
    }
    void link(const std::string &name, const std::string &target) const {
        const std::filesystem::path place = std::filesystem::path(path()) / name;
        std::filesystem::create_directories(place.parent_path());
        std::filesystem::create_symlink(target, place);
    }
    /// An attribute of an interface that is where sysfs has it, with a link in the class.
    void attribute(const std::string &name, const std::string &attribute, const std::string &text) const {
        const std::string place = "sys/class/net/" + name;
        if (!std::filesystem::exists(std::filesystem::path(path()) / place)) {
            write("sys/devices/virtual/net/" + name + "/uevent", "INTERFACE=" + name + "\n");
            link(place, "../../devices/virtual/net/" + name);
        }
        write("sys/devices/virtual/net/" + name + "/" + attribute, text);
    }
    const Interface &interface(std::size_t index = 0) { return take().interfaces[index]; }
};

TEST(InterfaceReader, TakesEveryAttribute) {
    NetHost host({"lo", "eth0"});
    for (const auto &[name, text] : std::initializer_list<std::pair<const char *, const char *>>{
             {"ifindex", "2\n"},
             {"operstate", "up\n"},
             {"flags", "0x1003\n"},
             {"carrier", "1\n"},
             {"carrier_changes", "5\n"},
             {"carrier_up_count", "3\n"},
             {"carrier_down_count", "2\n"},
             {"dormant", "0\n"},
             {"mtu", "9000\n"},
             {"tx_queue_len", "1000\n"},
             {"type", "1\n"},
             {"iflink", "2\n"},
             {"link_mode", "1\n"},
             {"netdev_group", "7\n"},
             {"dev_id", "0x1a\n"},
             {"name_assign_type", "4\n"},
             {"addr_assign_type", "3\n"},
             {"statistics/rx_nohandler", "77\n"},
             {"address", "52:54:00:12:34:56\n"},
             {"broadcast", "ff:ff:ff:ff:ff:ff\n"},
             {"ifalias", "to the rack\n"},
             {"speed", "10000\n"},
             {"duplex", "full\n"},
             {"uevent", "DEVTYPE=wlan\nINTERFACE=eth0\nIFINDEX=2\n"}})
        host.attribute("eth0", name, text);
    host.link("sys/devices/virtual/net/eth0/device/driver", "../../../../bus/pci/drivers/ixgbe");
    host.link("sys/devices/virtual/net/eth0/master", "../bond0");
    host.write("sys/devices/virtual/net/eth0/bonding_slave/state", "active\n");
    const Interface &eth0 = host.interface(1);
    EXPECT_EQ(eth0.name, "eth0");
    EXPECT_TRUE(holds(eth0.transmitCompressed, 16));
    EXPECT_TRUE(holds(eth0.index, 2));
    EXPECT_TRUE(holds(eth0.operationalState, "up"));
    EXPECT_TRUE(holds(eth0.flags, 0x1003));
    EXPECT_TRUE(holds(eth0.up, 1));
    EXPECT_TRUE(holds(eth0.carrier, 1));
    EXPECT_TRUE(holds(eth0.carrierChanges, 5));
    EXPECT_TRUE(holds(eth0.carrierUpChanges, 3));
    EXPECT_TRUE(holds(eth0.carrierDownChanges, 2));
    EXPECT_TRUE(holds(eth0.dormant, 0));
    EXPECT_TRUE(holds(eth0.mtuBytes, 9000));
    EXPECT_TRUE(holds(eth0.queueLength, 1000));
    EXPECT_TRUE(holds(eth0.type, 1));
    EXPECT_TRUE(holds(eth0.linkIndex, 2));
    EXPECT_TRUE(holds(eth0.linkMode, 1));
    EXPECT_TRUE(holds(eth0.group, 7));
    EXPECT_TRUE(holds(eth0.deviceId, 26));
    EXPECT_TRUE(holds(eth0.nameAssignment, 4));
    EXPECT_TRUE(holds(eth0.addressAssignment, 3));
    EXPECT_TRUE(holds(eth0.receiveNoHandler, 77));
    EXPECT_TRUE(holds(eth0.address, "52:54:00:12:34:56"));
    EXPECT_TRUE(holds(eth0.broadcast, "ff:ff:ff:ff:ff:ff"));
    EXPECT_TRUE(holds(eth0.alias, "to the rack"));
    EXPECT_TRUE(holds(eth0.speedBytesPerSecond, 1250000000));
    EXPECT_TRUE(holds(eth0.duplex, "full"));
    EXPECT_TRUE(holds(eth0.duplexKnown, 1));
    EXPECT_TRUE(holds(eth0.kind, "wlan"));
    EXPECT_TRUE(holds(eth0.driver, "ixgbe"));
    EXPECT_TRUE(holds(eth0.master, "bond0"));
    EXPECT_TRUE(holds(eth0.role, "bond_port"));
}

TEST(InterfaceReader, AnInterfaceWithoutAttributesHasItsCounters) {
    NetHost host({"eth0"});
    const Interface &eth0 = host.interface();
    EXPECT_TRUE(holds(eth0.receiveBytes, 1));
    EXPECT_TRUE(lacks(eth0.index, Absence::Unsupported));
    EXPECT_TRUE(lacks(eth0.operationalState, Absence::Unsupported));
    EXPECT_TRUE(lacks(eth0.up, Absence::Unsupported));
    EXPECT_TRUE(lacks(eth0.speedBytesPerSecond, Absence::Unsupported));
    EXPECT_TRUE(lacks(eth0.duplexKnown, Absence::Unsupported));
    EXPECT_TRUE(lacks(eth0.deviceId, Absence::Unsupported));
    EXPECT_TRUE(lacks(eth0.receiveNoHandler, Absence::Unsupported));
    EXPECT_TRUE(lacks(eth0.driver, Absence::Unsupported));
    EXPECT_TRUE(lacks(eth0.role, Absence::Unsupported));
}

TEST(InterfaceReader, WhatStandsForNoSpeedIsUnsupported) {
    NetHost host({"eth0"});
    for (const char *text : {"-1\n", "4294967295\n", "65535\n", "0\n"}) {
        host.attribute("eth0", "speed", text);
        EXPECT_TRUE(lacks(host.interface().speedBytesPerSecond, Absence::Unsupported)) << text;
    }
    host.attribute("eth0", "speed", "fast\n");
    EXPECT_TRUE(lacks(host.interface().speedBytesPerSecond, Absence::Malformed));
    host.attribute("eth0", "speed", "10\n");
    EXPECT_TRUE(holds(host.interface().speedBytesPerSecond, 1250000));
    host.attribute("eth0", "speed", "400000\n");
    EXPECT_TRUE(holds(host.interface().speedBytesPerSecond, 50000000000ULL));
}

TEST(InterfaceReader, AnUnknownDuplexIsUnsupported) {
    NetHost host({"eth0"});
    host.attribute("eth0", "duplex", "unknown\n");
    EXPECT_TRUE(lacks(host.interface().duplex, Absence::Unsupported));
    EXPECT_TRUE(holds(host.interface().duplexKnown, 0));
    host.attribute("eth0", "duplex", "half\n");
    EXPECT_TRUE(holds(host.interface().duplex, "half"));
    EXPECT_TRUE(holds(host.interface().duplexKnown, 1));
}

TEST(InterfaceReader, FlagsThatAreNoneAreMalformedAndSoIsUp) {
    NetHost host({"eth0"});
    for (const char *text : {"1003\n", "0x\n", "", "0xg\n", "0x11112222333344445\n"}) {
        host.attribute("eth0", "flags", text);
        EXPECT_TRUE(lacks(host.interface().flags, Absence::Malformed)) << text;
        EXPECT_TRUE(lacks(host.interface().up, Absence::Malformed)) << text;
    }
    host.attribute("eth0", "flags", "0x1002\n");
    EXPECT_TRUE(holds(host.interface().up, 0));
}

TEST(InterfaceReader, ABondInABridgeIsABond) {
    NetHost host({"bond0", "br0", "veth1", "eth0"});
    for (const char *name : {"bond0", "br0", "veth1", "eth0"})
        host.attribute(name, "ifindex", "3\n");
    host.write("sys/devices/virtual/net/bond0/bonding/mode", "802.3ad 4\n");
    host.write("sys/devices/virtual/net/bond0/brport/state", "3\n");
    host.write("sys/devices/virtual/net/br0/bridge/stp_state", "0\n");
    host.write("sys/devices/virtual/net/veth1/brport/state", "3\n");
    const Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.interfaces[0].role, "bond"));
    EXPECT_TRUE(holds(sample.interfaces[1].role, "bridge"));
    EXPECT_TRUE(holds(sample.interfaces[2].role, "bridge_port"));
    EXPECT_TRUE(lacks(sample.interfaces[3].role, Absence::Unsupported));
}

TEST(InterfaceReader, AKindNeedsItsLine) {
    NetHost host({"eth0"});
    host.attribute("eth0", "uevent", "XDEVTYPE=vlan\nINTERFACE=DEVTYPE=x\n");
    EXPECT_TRUE(lacks(host.interface().kind, Absence::Unsupported));
    host.attribute("eth0", "uevent", "INTERFACE=eth0\nDEVTYPE=vlan");
    EXPECT_TRUE(holds(host.interface().kind, "vlan"));
}

TEST(InterfaceReader, EmptyTextsAreUnsupported) {
    NetHost host({"tun0"});
    host.attribute("tun0", "address", "\n");
    host.attribute("tun0", "ifalias", "");
    EXPECT_TRUE(lacks(host.interface().address, Absence::Unsupported));
    EXPECT_TRUE(lacks(host.interface().alias, Absence::Unsupported));
}

TEST(InterfaceReader, NoNameLeadsOutOfTheDirectory) {
    NetHost host({"../x", "..", ".", "\x1b[2J", "a b", std::string(5000, 'n')});
    host.write("sys/class/x/mtu", "1\n");
    host.write("sys/class/mtu", "1\n");
    host.write("sys/class/net/mtu", "1\n");
    const Sample &sample = host.take();
    ASSERT_EQ(sample.interfaces.size(), 6U);
    EXPECT_EQ(sample.interfaces[4].name, "a b");
    for (const Interface &interface : sample.interfaces) {
        EXPECT_TRUE(lacks(interface.mtuBytes, Absence::Unsupported)) << interface.name;
        EXPECT_TRUE(holds(interface.receiveBytes, 1)) << interface.name;
    }
}

TEST(InterfaceReader, ALiveProcShowsTheInterfacesOfItsFirstProcess) {
    NetHost host({"own0"});
    host.write("proc/1/net/dev", std::string(heading) + "  eth0" + columns);
    EXPECT_EQ(host.interface().name, "eth0");
    host.remove("proc/1");
    EXPECT_EQ(host.interface().name, "own0");
}

TEST(InterfaceReader, ALineThatIsNoneIsNotedAndTheRestTaken) {
    NetHost host({"eth0"});
    host.write("proc/net/dev", std::string(heading) + "garbage\n  eth0" + columns);
    const Sample &sample = host.take();
    ASSERT_EQ(sample.interfaces.size(), 1U);
    EXPECT_EQ(failureOf(sample, Area::Interfaces), std::make_pair(EBADMSG, std::string("proc/net/dev")));
    host.list({"eth0"});
    EXPECT_EQ(failureOf(host.take(), Area::Interfaces), NO_FAILURE);
}

TEST(InterfaceReader, WithoutTheFileThereAreNoInterfaces) {
    NetHost host({"eth0"});
    EXPECT_EQ(host.take().interfaces.size(), 1U);
    host.remove("proc/net/dev");
    const Sample &sample = host.take();
    EXPECT_TRUE(sample.interfaces.empty());
    EXPECT_EQ(failureOf(sample, Area::Interfaces), std::make_pair(ENOENT, std::string("proc/net/dev")));
    EXPECT_EQ(sample.area(Area::Interfaces).absence, Absence::Unsupported);
}

TEST(InterfaceReader, AnInterfaceThatWentLeavesNothingToTheNextInItsPlace) {
    NetHost host({"eth0"});
    host.attribute("eth0", "ifalias", "first\n");
    host.attribute("eth0", "speed", "1000\n");
    EXPECT_TRUE(holds(host.interface().alias, "first"));
    host.list({"eth1"});
    EXPECT_TRUE(lacks(host.interface().alias, Absence::Unsupported));
    EXPECT_TRUE(lacks(host.interface().speedBytesPerSecond, Absence::Unsupported));
}

TEST(InterfaceReader, TakesThousandsOfInterfaces) {
    std::vector<std::string> names;
    for (int i = 0; i < 4000; ++i)
        names.push_back("veth" + std::to_string(i));
    NetHost host(names);
    const Sample &sample = host.take();
    ASSERT_EQ(sample.interfaces.size(), 4000U);
    EXPECT_EQ(sample.interfaces[3999].name, "veth3999");
    EXPECT_TRUE(holds(sample.interfaces[3999].transmitCompressed, 16));
}

} // namespace

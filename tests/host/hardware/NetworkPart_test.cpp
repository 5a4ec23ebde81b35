// Network cards of a hand-written host.
#include "HardwareHost.h"
#include "SampledHost.h"

namespace {

using zel::Absence;
using zel::Hardware;
using zel::HardwarePart;
using zel::NetworkCard;

// A card with two queues, a virtio one, and a bridge.
class Host : public HardwareHost {
public:
    Host() {
        const std::string pci = "sys/devices/pci0000:00/";
        link("sys/class/net/eth0", "../../devices/pci0000:00/0000:03:00.0/net/eth0");
        link("sys/class/net/ens4", "../../devices/pci0000:00/0000:00:04.0/virtio1/net/ens4");
        link("sys/class/net/br0", "../../devices/virtual/net/br0");
        write("sys/class/net/bonding_masters", "\n");
        write("sys/devices/virtual/net/br0/address", "02:00:00:00:00:01\n");
        write(pci + "0000:03:00.0/net/eth0", {{"address", "aa:bb:cc:dd:ee:ff\n"},
                                              {"speed", "25000\n"},
                                              {"duplex", "full\n"},
                                              {"operstate", "up\n"},
                                              {"phys_port_name", "p0\n"},
                                              {"dev_port", "0\n"},
                                              {"queues/rx-0/rps_cpus", "0\n"},
                                              {"queues/rx-1/rps_cpus", "0\n"},
                                              {"queues/tx-0/xps_cpus", "0\n"}});
        write(pci + "0000:03:00.0/numa_node", "1\n");
        link(pci + "0000:03:00.0/net/eth0/device", "../../../0000:03:00.0");
        link(pci + "0000:03:00.0/driver", "../../../bus/pci/drivers/mlx5_core");
        write("sys/bus/pci/drivers/mlx5_core/module/version", "5.8-3\n");
        link(pci + "0000:00:04.0/virtio1/net/ens4/device", "../../../virtio1");
        write(pci + "0000:00:04.0/virtio1/net/ens4/speed", "-1\n");
        write(pci + "0000:00:04.0/virtio1/net/ens4/dev_port", "3\n");
    }
};

const NetworkCard &cardOf(const Hardware &hardware, const std::string &name) {
    static const NetworkCard none;
    for (const NetworkCard &card : hardware.networkCards) {
        if (card.name == name)
            return card;
    }
    ADD_FAILURE() << "no " << name;
    return none;
}

TEST(NetworkPart, OnlyInterfacesOfADeviceAreCards) {
    const Hardware hardware = Host().read(HardwarePart::Network);
    ASSERT_EQ(hardware.networkCards.size(), 2U);
    EXPECT_EQ(hardware.networkCards[0].name, "ens4");
    EXPECT_EQ(hardware.networkCards[1].name, "eth0");
    EXPECT_EQ(hardware.part(HardwarePart::Network).error, 0);
}

TEST(NetworkPart, ACardIsInTheSlotOfItsDevice) {
    Host host;
    host.write("sys/bus/pci/slots/7-1/address", "0000:03:00\n");
    const Hardware hardware = host.read(HardwarePart::Network);
    EXPECT_TRUE(holds(cardOf(hardware, "eth0").slot, "7-1"));
    EXPECT_TRUE(lacks(cardOf(hardware, "ens4").slot, Absence::Unsupported)) << "in no slot";
}

TEST(NetworkPart, ACardIsReadWhole) {
    const Hardware hardware = Host().read(HardwarePart::Network);
    const NetworkCard &card = cardOf(hardware, "eth0");
    EXPECT_TRUE(holds(card.driver, "mlx5_core"));
    EXPECT_TRUE(holds(card.driverVersion, "5.8-3"));
    EXPECT_TRUE(holds(card.device, "0000:03:00.0"));
    EXPECT_TRUE(holds(card.address, "aa:bb:cc:dd:ee:ff"));
    EXPECT_TRUE(holds(card.speedBytesPerSecond, 3.125e9)) << "25 Gbit/s";
    EXPECT_TRUE(holds(card.duplex, "full"));
    EXPECT_TRUE(holds(card.linkState, "up"));
    EXPECT_TRUE(holds(card.physicalPort, "p0"));
    EXPECT_TRUE(holds(card.receiveQueues, 2));
    EXPECT_TRUE(holds(card.transmitQueues, 1));
    EXPECT_TRUE(holds(card.node, 1));
}

TEST(NetworkPart, AVirtioCardHasTheAddressOfItsPciDevice) {
    const Hardware hardware = Host().read(HardwarePart::Network);
    const NetworkCard &card = cardOf(hardware, "ens4");
    EXPECT_TRUE(holds(card.device, "0000:00:04.0"));
    EXPECT_TRUE(holds(card.physicalPort, "3"));
    EXPECT_TRUE(lacks(card.speedBytesPerSecond, Absence::Unsupported));
    EXPECT_TRUE(lacks(card.receiveQueues, Absence::Unsupported));
    EXPECT_TRUE(lacks(card.node, Absence::Unsupported));
}

// Its interfaces are not those of this host, whatever they are called.
TEST(NetworkPart, NoDriverIsAskedForTheCardOfARoot) {
    const Hardware hardware = Host().read(HardwarePart::Network);
    const NetworkCard &card = cardOf(hardware, "eth0");
    for (const auto &reading : {card.firmware, card.permanentAddress, card.portType, card.autonegotiation})
        EXPECT_TRUE(lacks(reading, Absence::Unsupported));
    EXPECT_TRUE(lacks(card.highestSpeedBytesPerSecond, Absence::Unsupported));
}

TEST(NetworkPart, AHostWithoutCardsHasNoRowsAndNoFailure) {
    const Hardware hardware = HardwareHost().read(HardwarePart::Network);
    EXPECT_TRUE(hardware.networkCards.empty());
    EXPECT_EQ(hardware.part(HardwarePart::Network).error, 0);
}

} // namespace

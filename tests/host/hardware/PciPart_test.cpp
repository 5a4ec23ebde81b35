// PCI devices of a hand-written host.
#include "HardwareHost.h"
#include "SampledHost.h"
#include "host/hardware/PartReader.h"

#include <cerrno>
#include <sys/stat.h>

namespace {

using zel::Absence;
using zel::Hardware;
using zel::HardwarePart;
using zel::PciDevice;

constexpr const char *nameTable = "15b3  Mellanox Technologies\n"
                                  "\t1017  MT27800 Family [ConnectX-5]\n"
                                  "\t\t15b3 0006  ConnectX-5 EN\n"
                                  "C 02  Network controller\n"
                                  "\t00  Ethernet controller\n";

// A card behind a bridge, as a kernel of 6.1 shows it.
class CardHost : public HardwareHost {
public:
    static constexpr const char *place = "sys/devices/pci0000:00/0000:00:1c.0/0000:03:00.0";

    CardHost() {
        link("sys/bus/pci/devices/0000:03:00.0", "../../../devices/pci0000:00/0000:00:1c.0/0000:03:00.0");
        write(place, {{"class", "0x020000\n"},
                      {"vendor", "0x15b3\n"},
                      {"device", "0x1017\n"},
                      {"subsystem_vendor", "0x15b3\n"},
                      {"subsystem_device", "0x0006\n"},
                      {"revision", "0x01\n"},
                      {"numa_node", "1\n"},
                      {"enable", "2\n"},
                      {"current_link_speed", "8.0 GT/s PCIe\n"},
                      {"max_link_speed", "16.0 GT/s PCIe\n"},
                      {"current_link_width", "4\n"},
                      {"max_link_width", "8\n"},
                      {"power/runtime_status", "active\n"}});
        link(std::string(place) + "/driver", "../../../../bus/pci/drivers/mlx5_core");
        link(std::string(place) + "/iommu_group", "../../../../kernel/iommu_groups/27");
        write("sys/bus/pci/slots/7-1/address", "0000:03:00\n");
        write("sys/bus/pci/slots/2/address", "0000:04:00\n");
        write("usr/share/misc/pci.ids", nameTable);
    }
    PciDevice device() const {
        const Hardware hardware = read(HardwarePart::Pci);
        return hardware.pciDevices.size() == 1 ? hardware.pciDevices[0] : PciDevice();
    }
};

TEST(PciPart, ADeviceIsReadWhole) {
    const PciDevice device = CardHost().device();
    EXPECT_EQ(device.address, "0000:03:00.0");
    EXPECT_TRUE(holds(device.classId, "0x020000"));
    EXPECT_TRUE(holds(device.vendorId, "0x15b3"));
    EXPECT_TRUE(holds(device.deviceId, "0x1017"));
    EXPECT_TRUE(holds(device.subsystemVendorId, "0x15b3"));
    EXPECT_TRUE(holds(device.subsystemId, "0x0006"));
    EXPECT_TRUE(holds(device.revision, "0x01"));
    EXPECT_TRUE(holds(device.driver, "mlx5_core"));
    EXPECT_TRUE(holds(device.parent, "0000:00:1c.0"));
    EXPECT_TRUE(holds(device.node, 1));
    EXPECT_TRUE(holds(device.iommuGroup, 27));
    EXPECT_TRUE(holds(device.enabled, 1)) << "two of them asked for it";
    EXPECT_TRUE(holds(device.slot, "7-1"));
    EXPECT_TRUE(holds(device.linkTransfers, 8e9));
    EXPECT_TRUE(holds(device.linkTransfersMost, 16e9));
    EXPECT_TRUE(holds(device.linkWidth, 4));
    EXPECT_TRUE(holds(device.linkWidthMost, 8));
}

TEST(PciPart, NamesComeFromTheTable) {
    const PciDevice device = CardHost().device();
    EXPECT_TRUE(holds(device.className, "Ethernet controller"));
    EXPECT_TRUE(holds(device.vendorName, "Mellanox Technologies"));
    EXPECT_TRUE(holds(device.deviceName, "MT27800 Family [ConnectX-5]"));
    EXPECT_TRUE(holds(device.subsystemVendorName, "Mellanox Technologies"));
    EXPECT_TRUE(holds(device.subsystemName, "ConnectX-5 EN"));
}

TEST(PciPart, WithoutATableTheNamesAreUnsupportedAndNothingFailed) {
    const CardHost host;
    std::filesystem::remove_all(host.path("usr"));
    const Hardware hardware = host.read(HardwarePart::Pci);
    EXPECT_TRUE(lacks(hardware.pciDevices[0].vendorName, Absence::Unsupported));
    EXPECT_TRUE(holds(hardware.pciDevices[0].vendorId, "0x15b3"));
    EXPECT_EQ(hardware.part(HardwarePart::Pci).error, 0);
}

TEST(PciPart, TheTableOfTheOtherPackageServesToo) {
    const CardHost host;
    std::filesystem::remove_all(host.path("usr"));
    host.write("usr/share/hwdata/pci.ids", nameTable);
    EXPECT_TRUE(holds(host.device().vendorName, "Mellanox Technologies"));
}

TEST(PciPart, ASleepingDeviceIsNotAskedForItsLink) {
    const CardHost host;
    host.write(std::string(CardHost::place) + "/power/runtime_status", "suspended\n");
    const PciDevice device = host.device();
    EXPECT_TRUE(holds(device.runtimeStatus, "suspended"));
    EXPECT_TRUE(lacks(device.linkTransfers, Absence::NotAsked));
    EXPECT_TRUE(lacks(device.linkTransfersMost, Absence::NotAsked));
    EXPECT_TRUE(lacks(device.linkWidth, Absence::NotAsked));
    EXPECT_TRUE(lacks(device.linkWidthMost, Absence::NotAsked));
    EXPECT_TRUE(holds(device.vendorId, "0x15b3"));
}

// A device on the root bus that is no PCI Express one and has no numbers of a card.
TEST(PciPart, WhatADeviceDoesNotHaveIsUnsupported) {
    const HardwareHost host;
    host.link("sys/bus/pci/devices/0000:00:00.0", "../../../devices/pci0000:00/0000:00:00.0");
    host.write("sys/devices/pci0000:00/0000:00:00.0", {{"class", "0x060000\n"},
                                                       {"vendor", "0x8086\n"},
                                                       {"device", "0x0d57\n"},
                                                       {"subsystem_vendor", "0x0000\n"},
                                                       {"subsystem_device", "0x0000\n"},
                                                       {"numa_node", "-1\n"},
                                                       {"current_link_speed", "Unknown\n"},
                                                       {"current_link_width", "0\n"},
                                                       {"max_link_width", "255\n"},
                                                       {"enable", "0\n"}});
    const Hardware hardware = host.read(HardwarePart::Pci);
    ASSERT_EQ(hardware.pciDevices.size(), 1U);
    const PciDevice &device = hardware.pciDevices[0];
    for (const auto &reading : {device.subsystemVendorId, device.subsystemId, device.subsystemName, device.driver,
                                device.slot, device.parent, device.revision})
        EXPECT_TRUE(lacks(reading, Absence::Unsupported));
    for (const auto &reading : {device.node, device.iommuGroup, device.linkWidth, device.linkWidthMost})
        EXPECT_TRUE(lacks(reading, Absence::Unsupported));
    EXPECT_TRUE(lacks(device.linkTransfers, Absence::Unsupported));
    EXPECT_TRUE(holds(device.enabled, 0));
}

TEST(PciPart, NumbersThatAreNoneHaveNoName) {
    for (const char *text : {"15b3\n", "0x15b\n", "0x15b3f\n", "0xzzzz\n", "\n", ""}) {
        const CardHost host;
        host.write(std::string(CardHost::place) + "/vendor", text);
        EXPECT_TRUE(lacks(host.device().vendorName, Absence::Unsupported)) << text;
        EXPECT_TRUE(lacks(host.device().deviceName, Absence::Unsupported)) << text;
    }
}

TEST(PciPart, HostileFilesDoNoHarm) {
    const CardHost host;
    const std::string place = CardHost::place;
    host.write(place + "/class", std::string(100000, 'x'));
    std::filesystem::remove(host.path(place + "/device"));
    ASSERT_EQ(mkfifo(host.path(place + "/device").c_str(), 0644), 0);
    std::filesystem::remove(host.path(place + "/vendor"));
    std::filesystem::create_directory(host.path(place + "/vendor"));
    std::filesystem::remove(host.path(place + "/driver"));
    host.link(place + "/driver", "../../../../../../../../../../../etc/passwd");
    host.write("sys/bus/pci/slots/a\nb/address", "0000:03:00\n");
    host.write("usr/share/misc/pci.ids", std::string("\0\xff\n\t\t\t", 7));
    const PciDevice device = host.device();
    EXPECT_FALSE(device.vendorId.has());
    EXPECT_FALSE(device.deviceId.has());
    EXPECT_TRUE(holds(device.subsystemId, "0x0006"));
    EXPECT_TRUE(lacks(device.className, Absence::Unsupported));
}

TEST(PciPart, AHostWithoutABusHasNoDevicesAndNoFailure) {
    const Hardware hardware = HardwareHost().read(HardwarePart::Pci);
    EXPECT_TRUE(hardware.pciDevices.empty());
    EXPECT_EQ(hardware.part(HardwarePart::Pci).error, 0);
    EXPECT_TRUE(hardware.part(HardwarePart::Pci).asked);
}

} // namespace

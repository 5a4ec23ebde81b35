// What the place of a device in /sys says of it.
#include "host/hardware/DevicePath.h"

#include <gtest/gtest.h>

namespace {

using zel::DevicePath;
using zel::isPciAddress;
using zel::parseDevicePath;

TEST(DevicePath, OfASataDisk) {
    const DevicePath path =
        parseDevicePath("../devices/pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/0:0:0:0/block/sda");
    EXPECT_EQ(path.pciAddress, "0000:00:1f.2");
    EXPECT_EQ(path.scsiHost, "host0");
    EXPECT_EQ(path.scsiAddress, "0:0:0:0");
    EXPECT_EQ(path.nvme, "");
    EXPECT_FALSE(path.usb);
    EXPECT_FALSE(path.isVirtual);
}

TEST(DevicePath, LastPciDeviceIsTheController) {
    const DevicePath path = parseDevicePath("../devices/pci0000:40/0000:40:01.1/0000:41:00.0/10000:e1:00.0/nvme/nvme12/"
                                            "nvme12n1");
    EXPECT_EQ(path.pciAddress, "10000:e1:00.0");
    EXPECT_EQ(path.nvme, "nvme12");
}

TEST(DevicePath, OfUsbVirtioMmcAndTheKernelAlone) {
    const DevicePath usb = parseDevicePath("../devices/pci0000:00/0000:00:14.0/usb2/2-1/2-1:1.0/host6/target6:0:0/"
                                           "6:0:0:0/block/sdc");
    EXPECT_TRUE(usb.usb);
    EXPECT_EQ(usb.scsiAddress, "6:0:0:0");
    EXPECT_EQ(parseDevicePath("../devices/pci0000:00/0000:00:02.0/virtio1/block/vda").virtio, "virtio1");
    EXPECT_EQ(parseDevicePath("../devices/platform/soc/fe310000.mmc/mmc_host/mmc0/mmc0:0001/block/mmcblk0").mmc,
              "mmc0");
    EXPECT_TRUE(parseDevicePath("../devices/virtual/block/dm-0").isVirtual);
}

TEST(DevicePath, NameOfTheDeviceItselfSaysNothing) {
    EXPECT_EQ(parseDevicePath("../devices/x/host0").scsiHost, "");
    EXPECT_EQ(parseDevicePath("usb1").usb, false);
}

TEST(DevicePath, OfNothingAndOfGarbageIsEmpty) {
    for (const char *text :
         {"", "/", "///", "..", "a:b:c:d/x", "host/x", "hostx/y", "0:0:0/x", "0:0:0:/x", "0:0:0:0:0/x"}) {
        const DevicePath path = parseDevicePath(text);
        EXPECT_EQ(path.pciAddress, "") << text;
        EXPECT_EQ(path.scsiHost, "") << text;
        EXPECT_EQ(path.scsiAddress, "") << text;
    }
}

TEST(DevicePath, KnowsPciAddresses) {
    for (const char *text : {"0000:00:1f.2", "10000:e1:00.0", "ffff:ff:1f.7"})
        EXPECT_TRUE(isPciAddress(text)) << text;
    for (const char *text : {"", "0000:00:1f", "0000:00:1f.", "0000:00:1f.22", "000:00:1f.2", "0000:0:1f.2",
                             "0000:00:1.2", "g000:00:1f.2", "0000:00:1f.2 ", "0000:00:1f:2", "pci0000:00"})
        EXPECT_FALSE(isPciAddress(text)) << text;
}

} // namespace

// The names of chips.
#include "host/areas/HwmonNames.h"

#include <gtest/gtest.h>

namespace {

TEST(HwmonNames, DeviceIsWhereBothLinksLead) {
    EXPECT_EQ(zel::deviceOfChip("../../devices/platform/coretemp.0/hwmon/hwmon3", "../../../coretemp.0"),
              "sys/devices/platform/coretemp.0");
    EXPECT_EQ(zel::deviceOfChip("../../devices/pci0000:00/0000:00:1d.0/nvme/nvme0/hwmon1", "../../nvme0"),
              "sys/devices/pci0000:00/0000:00:1d.0/nvme/nvme0");
    EXPECT_EQ(zel::deviceOfChip("../../devices/virtual/hwmon/hwmon0", ""), "");
    EXPECT_EQ(zel::deviceOfChip("", "../../../devices/platform/x"), "sys/devices/platform/x");
    EXPECT_EQ(zel::deviceOfChip("../../../../../../../a", "../../../../b"), "b") << "above the root there is nothing";
}

TEST(HwmonNames, ChipIsCalledByItsPlace) {
    EXPECT_EQ(zel::chipNameOfDevice("sys/devices/platform/coretemp.0"), "platform_coretemp_0");
    EXPECT_EQ(zel::chipNameOfDevice("sys/devices/pci0000:00/0000:00:18.3"), "pci0000:00_0000:00:18_3");
    EXPECT_EQ(zel::chipNameOfDevice("alone"), "alone");
    EXPECT_EQ(zel::chipNameOfDevice(""), "");
    EXPECT_EQ(zel::chipNameOf("-Two Words\n\x7f"), "two_words");
    EXPECT_EQ(zel::chipNameOf("..."), "");
}

} // namespace

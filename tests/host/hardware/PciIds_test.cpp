// Names of PCI devices in the text of a pci.ids file.
#include "host/hardware/PciIds.h"

#include "Mutation.h"

#include <gtest/gtest.h>

namespace {

using zel::PciIds;

const std::string table = "# comment\n"
                          "\n"
                          "1af4  Red Hat, Inc.\n"
                          "\t1000  Virtio network device\n"
                          "\t\t01de fffb  Cloud engine\n"
                          "# between\n"
                          "\t\t1af4 0001  Virtio card\n"
                          "\t1041  Virtio 1.0 network device\n"
                          "8086  Intel Corporation\n"
                          "\t1000  82542 Gigabit Ethernet\n"
                          "\t\t0e11 b0df  Other card\n"
                          "\tA000  Upper case\n"
                          "C 00  Unclassified device\n"
                          "C 01  Mass storage controller\n"
                          "\t06  SATA controller\n"
                          "\t\t01  AHCI 1.0\n"
                          "C 02  Network controller\n"
                          "\t00  Ethernet controller";

TEST(PciIds, VendorsAndDevicesHaveTheirNames) {
    const PciIds ids(table);
    EXPECT_EQ(ids.vendor(0x1af4), "Red Hat, Inc.");
    EXPECT_EQ(ids.vendor(0x8086), "Intel Corporation");
    EXPECT_EQ(ids.device(0x1af4, 0x1000), "Virtio network device");
    EXPECT_EQ(ids.device(0x8086, 0x1000), "82542 Gigabit Ethernet");
    EXPECT_EQ(ids.device(0x8086, 0xa000), "Upper case");
}

TEST(PciIds, WhatIsNotInTheTableHasNoName) {
    const PciIds ids(table);
    EXPECT_EQ(ids.vendor(0x1234), "");
    EXPECT_EQ(ids.device(0x1234, 0x1000), "");
    EXPECT_EQ(ids.device(0x8086, 0x1041), "") << "of another vendor";
    EXPECT_EQ(ids.subsystem(0x8086, 0x1000, 0x01de, 0xfffb), "") << "of another device";
    EXPECT_EQ(ids.className(0x55, 0), "");
    EXPECT_EQ(ids.device(0x8086, 0x0e11), "") << "the line of a card is no device";
}

TEST(PciIds, CardsAreFoundBelowTheirDevice) {
    const PciIds ids(table);
    EXPECT_EQ(ids.subsystem(0x1af4, 0x1000, 0x01de, 0xfffb), "Cloud engine");
    EXPECT_EQ(ids.subsystem(0x1af4, 0x1000, 0x1af4, 0x0001), "Virtio card") << "a comment does not end the device";
    EXPECT_EQ(ids.subsystem(0x8086, 0x1000, 0x0e11, 0xb0df), "Other card");
}

TEST(PciIds, ACardWithTheNumbersOfItsDeviceHasItsName) {
    EXPECT_EQ(PciIds(table).subsystem(0x1af4, 0x1041, 0x1af4, 0x1041), "Virtio 1.0 network device");
}

TEST(PciIds, AClassHasTheNameOfItsSubclassOrItsOwn) {
    const PciIds ids(table);
    EXPECT_EQ(ids.className(0x01, 0x06), "SATA controller");
    EXPECT_EQ(ids.className(0x01, 0x80), "Mass storage controller");
    EXPECT_EQ(ids.className(0x02, 0x00), "Ethernet controller") << "the last line has no line feed";
}

TEST(PciIds, OfTwoEntriesOfANumberTheFirstCounts) {
    EXPECT_EQ(PciIds("8086  One\n8086  Two\n").vendor(0x8086), "One");
}

TEST(PciIds, LinesThatAreNoneAreLeftOut) {
    const PciIds ids("80860  Too long\nzzzz  No number\n8086\nC 1  Short\n\t1000  Of nobody\n1af4  Red Hat\n\t10\n"
                     "\tzzzz  x\n\t1000  Device\n");
    EXPECT_EQ(ids.vendor(0x8086), "");
    EXPECT_EQ(ids.vendor(0x1af4), "Red Hat");
    EXPECT_EQ(ids.device(0x1af4, 0x1000), "Device");
}

TEST(PciIds, ANameThatIsTooLongIsNone) {
    const std::string fits(PciIds::NAME_LIMIT, 'a');
    EXPECT_EQ(PciIds("8086  " + fits + "\n").vendor(0x8086), fits);
    EXPECT_EQ(PciIds("8086  " + fits + "a\n").vendor(0x8086), "");
}

TEST(PciIds, AnEmptyTextHasNoNames) {
    EXPECT_EQ(PciIds("").vendor(0x8086), "");
    EXPECT_EQ(PciIds(std::string_view("\0\n\0", 3)).className(1, 6), "");
}

TEST(PciIds, DamagedTextsDoNoHarm) {
    Mutation mutation(1);
    for (int round = 0; round < 2000; ++round) {
        const std::string text = mutation.of(table);
        const PciIds ids(text);
        for (const std::string_view name : {ids.vendor(0x1af4), ids.device(0x8086, 0x1000), ids.className(1, 6),
                                            ids.subsystem(0x1af4, 0x1000, 0x1af4, 1)}) {
            EXPECT_LE(name.size(), PciIds::NAME_LIMIT);
            EXPECT_TRUE(name.empty() || (name.data() >= text.data() && name.end() <= text.data() + text.size()));
        }
    }
}

} // namespace

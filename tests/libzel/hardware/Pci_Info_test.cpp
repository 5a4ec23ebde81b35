// PCI devices.
#include "HostFixture.h"
#include "Pci_Info.h"

#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::Pair;

std::vector<std::pair<std::string, std::string>> modules(CPci_Info &devices) {
    std::vector<std::pair<std::string, std::string>> result;
    CPci *device = devices.GetPciInfo();
    EXPECT_EQ(device, devices.m_pclCPci);
    for (unsigned i = 0; i < devices.PciNum(); ++i)
        result.emplace_back(device[i].ModuleType(), device[i].ModuleName());
    return result;
}

TEST(PciInventory, DevicesAreCountedAndNamed) {
    HostFixture host;
    host.write("proc/pci", "PCI devices found:\n"
                           "  Bus  0, device   0, function  0:\n"
                           "    Host bridge: Intel Corp. 440BX/ZX/DX - 82443BX/ZX/DX Host bridge (rev 1).\n"
                           "      Prefetchable 32 bit memory at 0xe0000000 [0xe3ffffff].\n"
                           "  Bus  0, device   7, function  1:\n"
                           "    IDE interface: Intel Corp. 82371AB/EB/MB PIIX4 IDE (rev 1).\n"
                           "      Master Capable.  Latency=64.  \n"
                           "      I/O at 0x1050 [0x105f].\n");
    CPci_Info devices;

    EXPECT_EQ(devices.GetPciNum(), 2U);
    EXPECT_EQ(devices.PciNum(), 2U);
    EXPECT_THAT(modules(devices),
                ElementsAre(Pair("Host bridge", "Intel Corp. 440BX/ZX/DX - 82443BX/ZX/DX Host bridge (rev 1)."),
                            Pair("IDE interface", "Intel Corp. 82371AB/EB/MB PIIX4 IDE (rev 1).")));
}

TEST(PciInventory, MissingFileGivesZeroAndNull) {
    HostFixture host;
    CPci_Info devices;

    EXPECT_EQ(devices.GetPciNum(), 0U);
    EXPECT_EQ(devices.GetPciInfo(), nullptr);
    EXPECT_EQ(devices.PciNum(), 0U);
}

TEST(PciInventory, SeveralBusLinesInARowDescribeOneDevice) {
    HostFixture host;
    host.write("proc/pci", "Bus 0\n Bus 1\nBus 2\nbridge: one\nBus 3\nmodem: two\n");
    CPci_Info devices;

    // Four lines are counted, two objects filled.
    EXPECT_THAT(modules(devices), ElementsAre(Pair("bridge", "one"), Pair("modem", "two"), Pair("", ""), Pair("", "")));
}

TEST(PciInventory, BusLineAtTheEndNamesNothing) {
    HostFixture host;
    host.write("proc/pci", "Bus 0\nbridge: one\nBus 1\n");
    CPci_Info devices;

    EXPECT_THAT(modules(devices), ElementsAre(Pair("bridge", "one"), Pair("", "")));
}

TEST(PciInventory, LineWithoutColonIsDroppedWithItsMark) {
    HostFixture host;
    host.write("proc/pci", "Bus 0\nno colon here\nbridge: too late\nBus 1\n\nbridge: later still\nBus 2\nmodem: two\n");
    CPci_Info devices;

    EXPECT_THAT(modules(devices), ElementsAre(Pair("modem", "two"), Pair("", ""), Pair("", "")));
}

TEST(PciInventory, MarkInsideALineCountsButDescribesNothing) {
    HostFixture host;
    host.write("proc/pci", "Host Bus adapter: x\nbridge: y\nBus 0\nmodem:  \t two \nmodem: other\n");
    CPci_Info devices;

    EXPECT_THAT(modules(devices), ElementsAre(Pair("modem", "two "), Pair("", "")));
}

TEST(PciInventory, RebuildStartsFromScratchDownToNothing) {
    HostFixture host;
    host.write("proc/pci", "Bus 0\na: 1\nBus 1\nb: 2\n");
    CPci_Info devices;
    EXPECT_THAT(modules(devices), ElementsAre(Pair("a", "1"), Pair("b", "2")));

    host.write("proc/pci", "Bus 0\n");
    EXPECT_THAT(modules(devices), ElementsAre(Pair("", "")));

    host.remove("proc/pci");
    EXPECT_EQ(devices.GetPciInfo(), nullptr);
    EXPECT_EQ(devices.m_pclCPci, nullptr);
    EXPECT_EQ(devices.PciNum(), 0U);
}

TEST(PciInventory, TextsAreCutToTheirFields) {
    HostFixture host;
    host.write("proc/pci", "Bus 0\n" + std::string(200, 't') + ": " + std::string(200, 'n') + "\n");
    CPci_Info devices;
    EXPECT_THAT(modules(devices), ElementsAre(Pair(std::string(127, 't'), std::string(127, 'n'))));

    CPci device;
    EXPECT_STREQ(device.ModuleType(std::string(300, 'x').c_str()), std::string(127, 'x').c_str());
    EXPECT_STREQ(device.ModuleName(std::string(127, 'y').c_str()), std::string(127, 'y').c_str());
    EXPECT_STREQ(device.ModuleType("t"), "t");
    EXPECT_STREQ(device.ModuleName("n"), "n");
    EXPECT_STREQ(device.m_cpSlot, "");
    EXPECT_EQ(device.m_nSlotNum, 0);
}

TEST(PciInventory, CurrentPathIsKeptAndCut) {
    CPci_Info devices;
    EXPECT_EQ(devices.fSetCurrentPath(std::string(3000, 'p').c_str()), 1);
    EXPECT_EQ(std::string(devices.m_strCurrentPath), std::string(511, 'p'));
    EXPECT_EQ(devices.fSetCurrentPath("/opt"), 1);
    EXPECT_STREQ(devices.m_strCurrentPath, "/opt");
}

} // namespace

// What came, went or changed between two inventories.
#include "zel/HardwareChanges.h"

#include "Mutation.h"
#include "export/HardwareJson.h"

#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using zel::Absence;
using zel::ChangeFormat;
using zel::Hardware;
using zel::HardwarePart;
using zel::PciDevice;

// A host with two cards.
Hardware twoCards() {
    Hardware hardware;
    hardware.part(HardwarePart::Machine).asked = true;
    hardware.part(HardwarePart::Pci).asked = true;
    hardware.machine.hostName = std::string("db1");
    hardware.firmware.version = std::string("2.19");
    for (const char *address : {"0000:00:01.0", "0000:00:02.0"}) {
        PciDevice &device = hardware.pciDevices.append();
        device.address = address;
        device.classId = std::string("0x020000");
        device.className = std::string("Ethernet controller");
        device.driver = std::string("ixgbe");
        device.linkTransfers = 8e9;
        device.linkWidth = 8;
    }
    return hardware;
}

std::string jsonOf(const Hardware &hardware) {
    std::string text;
    zel::writeJson(hardware, text);
    return text;
}

zel::HardwareChanges changes(const Hardware &before, const Hardware &after) {
    return zel::changesSince(jsonOf(before), "old.json", after, ChangeFormat::Lines);
}
std::string lines(const Hardware &before, const Hardware &after) {
    const zel::HardwareChanges result = changes(before, after);
    EXPECT_EQ(result.problem, "");
    return result.text;
}

TEST(HardwareChanges, NothingIsSaidWhenNothingChanged) {
    const zel::HardwareChanges result = changes(twoCards(), twoCards());
    EXPECT_EQ(result.text, "");
    EXPECT_THAT(result.remarks, IsEmpty());
}

TEST(HardwareChanges, WhatCameAndWentHasALineEach) {
    Hardware one = twoCards();
    one.pciDevices.dropLast();
    EXPECT_EQ(lines(one, twoCards()), "+ pci device 0000:00:02.0 (Ethernet controller, ixgbe)\n");
    EXPECT_EQ(lines(twoCards(), one), "- pci device 0000:00:02.0 (Ethernet controller, ixgbe)\n");
}

TEST(HardwareChanges, AValueThatChangedIsNamedWithBoth) {
    Hardware after = twoCards();
    after.pciDevices[1].driver = std::string("vfio-pci");
    after.pciDevices[1].linkWidth = 4;
    after.firmware.version = std::string("2.20");
    EXPECT_EQ(lines(twoCards(), after), "~ firmware version: 2.19 -> 2.20\n"
                                        "~ pci device 0000:00:02.0 driver: ixgbe -> vfio-pci\n"
                                        "~ pci device 0000:00:02.0 link_width: 8 -> 4\n");
}

TEST(HardwareChanges, WhatADeviceGotOrLostIsAChange) {
    Hardware without = twoCards();
    without.pciDevices[0].driver = Absence::Unsupported;
    EXPECT_EQ(lines(twoCards(), without), "~ pci device 0000:00:01.0 driver: ixgbe -> (none)\n");
    EXPECT_EQ(lines(without, twoCards()), "~ pci device 0000:00:01.0 driver: (none) -> ixgbe\n");
}

TEST(HardwareChanges, WhatCouldNotBeReadIsNoChange) {
    for (const Absence reason : {Absence::Denied, Absence::TimedOut, Absence::NotAsked, Absence::Malformed,
                                 Absence::Vanished, Absence::NotYet}) {
        Hardware without = twoCards();
        without.pciDevices[0].driver = reason;
        EXPECT_EQ(lines(twoCards(), without), "") << zel::absenceName(reason);
        EXPECT_EQ(lines(without, twoCards()), "") << zel::absenceName(reason);
    }
}

TEST(HardwareChanges, ValuesThatMoveAndNamesOfTablesAreNotCompared) {
    Hardware after = twoCards();
    after.pciDevices[0].linkTransfers = 2.5e9;
    after.pciDevices[0].className = std::string("Network controller");
    EXPECT_EQ(lines(twoCards(), after), "");
}

TEST(HardwareChanges, APartThatWasLostIsNotCompared) {
    Hardware lost = twoCards();
    lost.pciDevices.clear();
    lost.part(HardwarePart::Pci).absence = Absence::TimedOut;
    const zel::HardwareChanges result = changes(twoCards(), lost);
    EXPECT_EQ(result.text, "");
    EXPECT_THAT(result.remarks, ElementsAre("pci is not compared: it is timed_out"));
    EXPECT_THAT(changes(lost, twoCards()).remarks, ElementsAre("pci is not compared: it was timed_out in old.json"));
    EXPECT_EQ(changes(lost, twoCards()).text, "");
}

TEST(HardwareChanges, APartThatThisHostHasNoneOfHasNoRows) {
    Hardware none = twoCards();
    none.pciDevices.clear();
    none.part(HardwarePart::Pci).absence = Absence::Unsupported;
    EXPECT_THAT(lines(twoCards(), none), HasSubstr("- pci device 0000:00:01.0"));
}

TEST(HardwareChanges, OfAListThatIsNotWholeNothingCameOrWent) {
    Hardware cut = twoCards();
    cut.pciDevices.dropLast();
    cut.pciDevices[0].driver = std::string("vfio-pci");
    cut.part(HardwarePart::Pci).error = E2BIG;
    EXPECT_EQ(lines(twoCards(), cut), "~ pci device 0000:00:01.0 driver: ixgbe -> vfio-pci\n");
}

TEST(HardwareChanges, APartThatTheFileDoesNotHaveIsNamedOnce) {
    Hardware before = twoCards();
    before.part(HardwarePart::Machine).asked = false;
    const zel::HardwareChanges result = changes(before, twoCards());
    EXPECT_EQ(result.text, "");
    EXPECT_THAT(result.remarks, ElementsAre("machine is not compared: old.json does not have it"));
}

TEST(HardwareChanges, AnotherHostIsNamed) {
    Hardware other = twoCards();
    other.machine.hostName = std::string("web7\x1b[2J");
    const zel::HardwareChanges result = changes(other, twoCards());
    ASSERT_EQ(result.remarks.size(), 1U);
    EXPECT_THAT(result.remarks[0], HasSubstr("old.json is of another host: web7"));
    EXPECT_EQ(result.remarks[0].find('\x1b'), std::string::npos);
    EXPECT_EQ(result.text.find('\x1b'), std::string::npos);
}

TEST(HardwareChanges, RowsOfTheSameLabelsAreToldApartByTheirOrder) {
    Hardware before = twoCards();
    before.pciDevices[1].address = before.pciDevices[0].address;
    Hardware after = before;
    after.pciDevices[1].driver = std::string("vfio-pci");
    EXPECT_EQ(lines(before, after), "~ pci device 0000:00:01.0 driver: ixgbe -> vfio-pci\n");
}

TEST(HardwareChanges, JsonHasTheSame) {
    Hardware after = twoCards();
    after.pciDevices[1].driver = Absence::Unsupported;
    after.pciDevices[0].address = "0000:00:07.0";
    const zel::HardwareChanges result = zel::changesSince(jsonOf(twoCards()), "old.json", after, ChangeFormat::Json);
    ASSERT_TRUE(result.text.ends_with('\n'));
    const nlohmann::json json = nlohmann::json::parse(result.text);
    ASSERT_EQ(json["changes"].size(), 3U);
    EXPECT_EQ(json["changes"][0]["change"], "went");
    EXPECT_EQ(json["changes"][0]["labels"]["address"], "0000:00:01.0");
    EXPECT_EQ(json["changes"][0]["row"]["driver"], "ixgbe");
    EXPECT_EQ(json["changes"][1]["change"], "changed");
    EXPECT_EQ(json["changes"][1]["section"], "pci_devices");
    EXPECT_EQ(json["changes"][1]["field"], "driver");
    EXPECT_EQ(json["changes"][1]["before"], "ixgbe");
    EXPECT_TRUE(json["changes"][1]["after"].is_null());
    EXPECT_EQ(json["changes"][2]["change"], "came");
}

TEST(HardwareChanges, ATextThatIsNoInventoryIsRefused) {
    for (const char *text :
         {"", "{", "[]", "null", "{} {}", "\xff\xfe", R"({"time":1})", R"({"parts":[]})", R"({"parts":{"pci":1}})",
          R"({"parts":{},"pci_devices":{}})", R"({"parts":{},"pci_devices":[1]})",
          R"({"parts":{},"pci_devices":[{"driver":"x"}]})", R"({"parts":{},"pci_devices":[{"address":[]}]})",
          R"({"parts":{},"pci_devices":[{"address":"a","driver":{}}]})",
          R"({"parts":{},"pci_devices":[{"address":"a","absent":3}]})", R"({"parts":{},"machine":[]})"}) {
        const zel::HardwareChanges result = zel::changesSince(text, "old.json", twoCards(), ChangeFormat::Lines);
        EXPECT_THAT(result.problem, testing::StartsWith("old.json is no ")) << text;
        EXPECT_EQ(result.text, "");
    }
}

TEST(HardwareChanges, ATextThatNestsWithoutEndIsRefused) {
    const std::string deep = std::string(1000000, '[');
    EXPECT_NE(zel::changesSince(deep, "old.json", twoCards(), ChangeFormat::Lines).problem, "");
    const std::string closed = R"({"parts":{},"pci_devices":)" + deep + std::string(1000000, ']') + "}";
    EXPECT_NE(zel::changesSince(closed, "old.json", twoCards(), ChangeFormat::Lines).problem, "");
}

TEST(HardwareChanges, BracketsInATextDoNotNest) {
    Hardware hardware = twoCards();
    hardware.firmware.version = std::string(R"([[[[[[[[\"[[[[[[[[\\)");
    EXPECT_EQ(lines(hardware, hardware), "");
}

TEST(HardwareChanges, ALongFileIsReadOnce) {
    constexpr int rows = 200000; // work that grew with their square would take minutes
    std::string text = R"({"parts":{"pci":{}},"pci_devices":[)";
    for (int row = 0; row < rows; ++row)
        text += (row == 0 ? "" : ",") + (R"({"address":")" + std::to_string(row)) + "\"}";
    const zel::HardwareChanges result = zel::changesSince(text + "]}", "old.json", twoCards(), ChangeFormat::Lines);
    EXPECT_EQ(result.problem, "");
    EXPECT_EQ(std::count(result.text.begin(), result.text.end(), '\n'), rows + 2);
}

TEST(HardwareChanges, ANameOfAGraphicsCardThatATableHasIsNoChange) {
    Hardware before = twoCards(), after = twoCards();
    for (Hardware *hardware : {&before, &after}) {
        hardware->part(HardwarePart::Gpus).asked = true;
        hardware->gpuCards.append().address = "0000:65:00.0";
    }
    before.gpuCards[0].deviceName = std::string("Device");
    after.gpuCards[0].deviceName = std::string("Card 9000");
    EXPECT_EQ(lines(before, after), "");
}

TEST(HardwareChanges, SayWhetherEveryPartCouldBeCompared) {
    EXPECT_TRUE(changes(twoCards(), twoCards()).hasCompared);
    EXPECT_FALSE(changes(twoCards(), twoCards()).isPartial);
    Hardware older = twoCards();
    older.part(HardwarePart::Pci).asked = false;
    EXPECT_TRUE(changes(older, twoCards()).hasCompared);
    EXPECT_TRUE(changes(older, twoCards()).isPartial);
    const zel::HardwareChanges none = zel::changesSince(R"({"parts":{}})", "old.json", twoCards(), ChangeFormat::Lines);
    EXPECT_EQ(none.problem, "");
    EXPECT_FALSE(none.hasCompared);
}

TEST(HardwareChanges, DamagedInventoriesDoNoHarm) {
    Mutation mutation(3);
    const std::string text = jsonOf(twoCards());
    std::size_t compared = 0;
    for (int round = 0; round < 2000; ++round) {
        const ChangeFormat format = round % 2 == 0 ? ChangeFormat::Lines : ChangeFormat::Json;
        compared += zel::changesSince(mutation.of(text), "old.json", twoCards(), format).problem.empty() ? 1 : 0;
    }
    EXPECT_GT(compared, 0U);
}

} // namespace

// An inventory as JSON.
#include "export/HardwareJson.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using zel::Hardware;
using zel::HardwarePart;

TEST(HardwareJson, HasTheSectionsOfThePartsThatWereRead) {
    Hardware hardware;
    hardware.realtimeNanoseconds = 1500000000;
    hardware.elapsedSeconds = 0.25;
    hardware.part(HardwarePart::Machine).asked = true;
    hardware.part(HardwarePart::Pci).asked = true;
    hardware.part(HardwarePart::Pci).error = ETIMEDOUT;
    hardware.part(HardwarePart::Pci).file = "sys/bus/pci/devices/0000:00:02.0";
    hardware.part(HardwarePart::Pci).silentSeconds = 0.25;
    hardware.part(HardwarePart::Network).absence = zel::Absence::Denied;
    hardware.machine.vendor = std::string("Maker \"X\"");
    hardware.machine.serial = zel::Absence::NotAsked;
    hardware.pciDevices.append().address = "0000:00:02.0";
    std::string text;
    zel::writeJson(hardware, text);
    const nlohmann::json json = nlohmann::json::parse(text);
    EXPECT_EQ(json["time"], "1970-01-01T00:00:01.500000000Z");
    EXPECT_EQ(json["elapsed_seconds"], 0.25);
    EXPECT_EQ(json["machine"]["vendor"], "Maker \"X\"");
    EXPECT_TRUE(json["machine"]["serial"].is_null());
    EXPECT_EQ(json["machine"]["absent"]["serial"], "not_asked");
    EXPECT_EQ(json["pci_devices"][0]["address"], "0000:00:02.0");
    EXPECT_FALSE(json.contains("network_cards"));
    EXPECT_EQ(json["parts"].size(), 2U);
    EXPECT_EQ(json["parts"]["machine"], nlohmann::json::object());
    EXPECT_EQ(json["parts"]["pci"]["error"]["errno"], ETIMEDOUT);
    EXPECT_EQ(json["parts"]["pci"]["silent_since"], "1970-01-01T00:00:01.500000000Z");
}

} // namespace

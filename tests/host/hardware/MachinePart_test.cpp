// What the firmware says of a hand-written host.
#include "HardwareHost.h"
#include "SampledHost.h"

#include "OrdinaryUser.h"

#include <unistd.h>

namespace {

using zel::Absence;
using zel::Hardware;
using zel::HardwarePart;

HardwareHost server() {
    return HardwareHost{{"sys/class/dmi/id/sys_vendor", "Maker Inc.\n"},
                        {"sys/class/dmi/id/product_name", "Server 9000\n"},
                        {"sys/class/dmi/id/product_version", "\n"},
                        {"sys/class/dmi/id/product_serial", "S-1234\n"},
                        {"sys/class/dmi/id/product_uuid", "4c4c4544-0000-2010-8020-80c04f202020\n"},
                        {"sys/class/dmi/id/board_name", "0XYZ\n"},
                        {"sys/class/dmi/id/board_serial", "B-1\n"},
                        {"sys/class/dmi/id/board_asset_tag", "asset 7\n"},
                        {"sys/class/dmi/id/chassis_type", "23\n"},
                        {"sys/class/dmi/id/chassis_serial", "C-1\n"},
                        {"sys/class/dmi/id/bios_vendor", "Firm Ltd.\n"},
                        {"sys/class/dmi/id/bios_version", "2.19.1\n"},
                        {"sys/class/dmi/id/bios_date", "06/04/2023\n"},
                        {"proc/sys/kernel/hostname", "db1\n"}};
}

TEST(MachinePart, TheFirmwareDescribesTheMachine) {
    const Hardware hardware = server().read(HardwarePart::Machine);
    EXPECT_TRUE(holds(hardware.machine.vendor, "Maker Inc."));
    EXPECT_TRUE(holds(hardware.machine.product, "Server 9000"));
    EXPECT_TRUE(lacks(hardware.machine.version, Absence::Unsupported)) << "an empty text";
    EXPECT_TRUE(holds(hardware.machine.hostName, "db1"));
    EXPECT_TRUE(holds(hardware.board.name, "0XYZ"));
    EXPECT_TRUE(holds(hardware.chassis.type, 23));
    EXPECT_TRUE(holds(hardware.chassis.typeName, "rack mount chassis"));
    EXPECT_TRUE(holds(hardware.firmware.vendor, "Firm Ltd."));
    EXPECT_TRUE(holds(hardware.firmware.version, "2.19.1"));
    EXPECT_TRUE(holds(hardware.firmware.date, "06/04/2023"));
    EXPECT_TRUE(holds(hardware.firmware.interface, "bios"));
    EXPECT_TRUE(lacks(hardware.firmware.secureBoot, Absence::Unsupported));
}

TEST(MachinePart, ATextThatCannotBeReadIsNamedWithItsDirectory) {
    const Hardware hardware = HardwareHost{
        {"sys/class/dmi/id/sys_vendor", "Maker\n"},
        {"sys/class/dmi/id/board_name/file",
         "a directory\n"}}.read(HardwarePart::Machine);
    EXPECT_TRUE(holds(hardware.machine.vendor, "Maker"));
    EXPECT_TRUE(lacks(hardware.board.name, Absence::Malformed));
    EXPECT_EQ(hardware.part(HardwarePart::Machine).file, "sys/class/dmi/id/board_name");
}

void expectSerials(const Hardware &hardware, Absence reason) {
    for (const auto &reading :
         {hardware.machine.serial, hardware.machine.uuid, hardware.machine.deviceTreeSerial, hardware.board.serial,
          hardware.board.assetTag, hardware.chassis.serial, hardware.chassis.assetTag})
        EXPECT_TRUE(lacks(reading, reason));
}

TEST(MachinePart, WhatIdentifiesAPieceIsNotReadUnasked) {
    expectSerials(server().read(HardwarePart::Machine), Absence::NotAsked);
}

TEST(MachinePart, RootReadsItWhenItIsAskedFor) {
    if (geteuid() != 0)
        GTEST_SKIP() << "for root only";
    const HardwareHost host = server();
    zel::HardwareOptions options = host.options({HardwarePart::Machine});
    options.serials = true;
    const Hardware hardware = zel::readHardware(options);
    EXPECT_TRUE(holds(hardware.machine.serial, "S-1234"));
    EXPECT_TRUE(holds(hardware.machine.uuid, "4c4c4544-0000-2010-8020-80c04f202020"));
    EXPECT_TRUE(holds(hardware.board.serial, "B-1"));
    EXPECT_TRUE(holds(hardware.board.assetTag, "asset 7"));
    EXPECT_TRUE(holds(hardware.chassis.serial, "C-1"));
}

TEST(MachinePart, AnOrdinaryUserIsDeniedItEvenWhereHeCouldReadTheFile) {
    const ScratchHome home;
    const HardwareHost host = server();
    std::filesystem::permissions(host.path(), std::filesystem::perms::others_exec, std::filesystem::perm_options::add);
    asOrdinaryUser(home, [&] {
        zel::HardwareOptions options = host.options({HardwarePart::Machine});
        options.serials = true;
        const Hardware hardware = zel::readHardware(options);
        EXPECT_TRUE(holds(hardware.machine.vendor, "Maker Inc."));
        expectSerials(hardware, Absence::Denied);
    });
}

TEST(MachinePart, AMachineThatEfiStarted) {
    const HardwareHost host = server();
    host.write("sys/firmware/efi/fw_platform_size", "64\n");
    const std::string variable = "sys/firmware/efi/efivars/SecureBoot-8be4df61-93ca-11d2-aa0d-00e098032b8c";
    host.write(variable, std::string("\x06\0\0\0\x01", 5));
    Hardware hardware = host.read(HardwarePart::Machine);
    EXPECT_TRUE(holds(hardware.firmware.interface, "efi"));
    EXPECT_TRUE(holds(hardware.firmware.efiBits, 64));
    EXPECT_TRUE(holds(hardware.firmware.secureBoot, 1));
    host.write(variable, std::string("\x06\0\0\0\0", 5));
    EXPECT_TRUE(holds(host.read(HardwarePart::Machine).firmware.secureBoot, 0));
    for (const std::string &wrong : {std::string("\x06\0\0\0", 4), std::string("\x06\0\0\0\x02", 5), std::string()}) {
        host.write(variable, wrong);
        EXPECT_TRUE(lacks(host.read(HardwarePart::Machine).firmware.secureBoot, Absence::Malformed));
    }
}

TEST(MachinePart, AMachineThatADeviceTreeDescribes) {
    const HardwareHost host;
    host.write("sys/firmware/devicetree/base/model", std::string("Raspberry Pi 4 Model B Rev 1.4\0", 31));
    host.link("proc/device-tree", "/sys/firmware/devicetree/base");
    const Hardware hardware = host.read(HardwarePart::Machine);
    EXPECT_TRUE(holds(hardware.machine.deviceTreeModel, "Raspberry Pi 4 Model B Rev 1.4"));
    EXPECT_TRUE(holds(hardware.firmware.interface, "device tree"));
    EXPECT_TRUE(lacks(hardware.machine.vendor, Absence::Unsupported));
}

TEST(MachinePart, AFormThatNobodyNumberedHasNoName) {
    const HardwareHost host = server();
    for (const char *type : {"0\n", "37\n", "99999\n"}) {
        host.write("sys/class/dmi/id/chassis_type", type);
        const Hardware hardware = host.read(HardwarePart::Machine);
        EXPECT_TRUE(hardware.chassis.type.has());
        EXPECT_TRUE(lacks(hardware.chassis.typeName, Absence::Unsupported)) << type;
    }
}

} // namespace

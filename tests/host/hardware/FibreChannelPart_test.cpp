// Ports of Fibre Channel adapters in the inventory: every driver has names of its own for what it knows.
#include "HardwareHost.h"
#include "SampledHost.h"

#include <unistd.h>

namespace {

using zel::Absence;
using zel::FibreChannelAdapter;
using zel::Hardware;
using zel::HardwarePart;

constexpr const char *place = "pci0000:80/0000:80:03.0/0000:81:00.1/host3/fc_host/host3";

TEST(FibreChannelPart, PortHasItsNamesAndWhatItsDriverAdds) {
    const HardwareHost host;
    host.device(place, {"class/fc_host"},
                {{"port_name", "0x21000024ff123456\n"},
                 {"node_name", "0x20000024ff123456\n"},
                 {"fabric_name", "0x100000051e0a0b0c\n"},
                 {"port_state", "Online\n"},
                 {"port_type", "NPort (fabric via point-to-point)\n"},
                 {"speed", "16 Gbit\n"},
                 {"supported_speeds", "4 Gbit, 8 Gbit, 16 Gbit\n"},
                 {"symbolic_name", "QLE2692 FW:v8.08.231 DVR:v10.01.00\n"}});
    for (const auto &[name, text] :
         HardwareHost::Files{{"model_name", "QLE2692\n"},
                             {"model_desc", "QLogic 16Gb 2-port FC to PCIe Gen3 x8 Adapter\n"},
                             {"fw_version", "8.08.231 (d0d5)\n"},
                             {"optrom_fw_version", "8.08.204 54528\n"},
                             {"driver_version", "10.01.00\n"},
                             {"serial_num", "RFD1712K12345\n"},
                             {"proc_name", "qla2xxx\n"}})
        host.write(std::string("sys/class/scsi_host/host3/") + name, text);
    host.write("sys/bus/pci/devices/0000:81:00.1/numa_node", "1\n");
    const Hardware hardware = host.read(HardwarePart::FibreChannel);
    ASSERT_EQ(hardware.fibreChannelAdapters.size(), 1U);
    const FibreChannelAdapter &port = hardware.fibreChannelAdapters[0];
    EXPECT_EQ(port.name, "host3");
    EXPECT_TRUE(holds(port.portName, "0x21000024ff123456"));
    EXPECT_TRUE(holds(port.nodeName, "0x20000024ff123456"));
    EXPECT_TRUE(holds(port.fabricName, "0x100000051e0a0b0c"));
    EXPECT_TRUE(holds(port.model, "QLE2692"));
    EXPECT_TRUE(holds(port.description, "QLogic 16Gb 2-port FC to PCIe Gen3 x8 Adapter"));
    EXPECT_TRUE(holds(port.firmware, "8.08.231 (d0d5)"));
    EXPECT_TRUE(holds(port.optionRom, "8.08.204 54528"));
    EXPECT_TRUE(holds(port.driver, "qla2xxx"));
    EXPECT_TRUE(holds(port.driverVersion, "10.01.00"));
    EXPECT_TRUE(holds(port.state, "Online"));
    EXPECT_TRUE(holds(port.type, "NPort (fabric via point-to-point)"));
    EXPECT_TRUE(holds(port.speed, "16 Gbit"));
    EXPECT_TRUE(holds(port.supportedSpeeds, "4 Gbit, 8 Gbit, 16 Gbit"));
    EXPECT_TRUE(holds(port.symbolicName, "QLE2692 FW:v8.08.231 DVR:v10.01.00"));
    EXPECT_TRUE(holds(port.pciAddress, "0000:81:00.1"));
    EXPECT_TRUE(holds(port.node, 1));
    EXPECT_TRUE(lacks(port.vendor, Absence::Unsupported));
    EXPECT_TRUE(lacks(port.serial, Absence::NotAsked));
    const Hardware asked = host.read(HardwarePart::FibreChannel, true);
    if (geteuid() == 0)
        EXPECT_TRUE(holds(asked.fibreChannelAdapters[0].serial, "RFD1712K12345"));
    else
        EXPECT_TRUE(lacks(asked.fibreChannelAdapters[0].serial, Absence::Denied));
}

TEST(FibreChannelPart, NamesOfOtherDriversAreKnownToo) {
    const HardwareHost host;
    host.device(place, {"class/fc_host"}, {{"port_name", "0x10000090fa123456\n"}});
    for (const auto &[name, text] : HardwareHost::Files{{"modelname", "LPe32002-M2\n"},
                                                        {"modeldesc", "Emulex LightPulse LPe32002-M2\n"},
                                                        {"fwrev", "12.8.542.17, sli-4:2:c\n"},
                                                        {"lpfc_drvr_version", "Emulex LightPulse 0:14.2.0.1\n"}})
        host.write(std::string("sys/class/scsi_host/host3/") + name, text);
    const Hardware hardware = host.read(HardwarePart::FibreChannel);
    const FibreChannelAdapter &port = hardware.fibreChannelAdapters[0];
    EXPECT_TRUE(holds(port.model, "LPe32002-M2"));
    EXPECT_TRUE(holds(port.description, "Emulex LightPulse LPe32002-M2"));
    EXPECT_TRUE(holds(port.firmware, "12.8.542.17, sli-4:2:c"));
    EXPECT_TRUE(holds(port.driverVersion, "Emulex LightPulse 0:14.2.0.1"));
}

TEST(FibreChannelPart, WhatTheTransportSaysItselfComesFirst) {
    const HardwareHost host;
    host.device(place, {"class/fc_host"},
                {{"model", "of the transport\n"}, {"manufacturer", "Marvell\n"}, {"firmware_version", "9.1\n"}});
    host.write("sys/class/scsi_host/host3/model_name", "of the driver\n");
    host.write("sys/class/scsi_host/host3/fw_version", "8.1\n");
    const Hardware hardware = host.read(HardwarePart::FibreChannel);
    const FibreChannelAdapter &port = hardware.fibreChannelAdapters[0];
    EXPECT_TRUE(holds(port.model, "of the transport"));
    EXPECT_TRUE(holds(port.vendor, "Marvell"));
    EXPECT_TRUE(holds(port.firmware, "9.1"));
}

TEST(FibreChannelPart, NameThatTheDriverDidNotFillIsUnsupported) {
    const HardwareHost host;
    host.device(place, {"class/fc_host"}, {{"fabric_name", "0xffffffffffffffff\n"}, {"port_name", "\n"}});
    const Hardware hardware = host.read(HardwarePart::FibreChannel);
    EXPECT_TRUE(lacks(hardware.fibreChannelAdapters[0].fabricName, Absence::Unsupported));
    EXPECT_TRUE(lacks(hardware.fibreChannelAdapters[0].portName, Absence::Unsupported));
}

TEST(FibreChannelPart, HostWithoutPortsHasNoRowsAndNoFailure) {
    const HardwareHost host;
    const Hardware hardware = host.read(HardwarePart::FibreChannel);
    EXPECT_TRUE(hardware.fibreChannelAdapters.empty());
    EXPECT_EQ(hardware.part(HardwarePart::FibreChannel).error, 0);
}

} // namespace

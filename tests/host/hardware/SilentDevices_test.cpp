// Devices of the inventory that do not answer: their rows say so, and those of all others are whole.
#include "HardwareHost.h"
#include "SampledHost.h"
#include "SilentFile.h"

#include <cerrno>

namespace {

using namespace std::chrono_literals;
using zel::Absence;
using zel::Hardware;
using zel::HardwarePart;

Hardware readSoon(const HardwareHost &host, HardwarePart part) {
    zel::HardwareOptions options = host.options({part});
    options.deadline = 500ms;
    return zel::readHardware(options);
}

void expectSilent(const Hardware &hardware, HardwarePart part, const std::string &device) {
    EXPECT_EQ(hardware.part(part).error, ETIMEDOUT);
    EXPECT_EQ(hardware.part(part).file, device);
    EXPECT_EQ(hardware.part(part).absence, Absence::None);
    EXPECT_EQ(zel::boundedCallsRunning(), 1);
}

TEST(SilentDevices, SickDiskIsTimedOutAloneAmongDisks) {
    const HardwareHost host;
    for (const char *disk : {"sda", "sdb", "sdc"})
        host.device(std::string("pci0/block/") + disk, {"block", "class/block"},
                    {{"size", "2048\n"}, {"queue/rotational", "1\n"}});
    withSilentFile(host, "sys/devices/pci0/block/sdb/queue/rotational", [&host] {
        const Hardware hardware = readSoon(host, HardwarePart::Disks);
        ASSERT_EQ(hardware.diskUnits.size(), 3U);
        EXPECT_TRUE(holds(hardware.diskUnits[0].sizeBytes, 1 << 20));
        EXPECT_EQ(hardware.diskUnits[1].name, "sdb");
        EXPECT_TRUE(lacks(hardware.diskUnits[1].sizeBytes, Absence::TimedOut));
        EXPECT_TRUE(lacks(hardware.diskUnits[1].serial, Absence::TimedOut));
        EXPECT_TRUE(holds(hardware.diskUnits[2].rotational, 1));
        expectSilent(hardware, HardwarePart::Disks, "sys/block/sdb");
    });
}

TEST(SilentDevices, SickControllerOfNvmeKeepsTheRowOfItsHealth) {
    const HardwareHost host;
    for (const char *controller : {"nvme0", "nvme1"})
        host.device(std::string("pci0/nvme/") + controller, {"class/nvme"}, {{"model", "A\n"}, {"state", "live\n"}});
    withSilentFile(host, "sys/devices/pci0/nvme/nvme0/state", [&host] {
        const Hardware hardware = readSoon(host, HardwarePart::Nvme);
        ASSERT_EQ(hardware.nvmeControllers.size(), 2U);
        EXPECT_EQ(hardware.nvmeControllers[0].name, "nvme0");
        EXPECT_TRUE(lacks(hardware.nvmeControllers[0].model, Absence::TimedOut));
        EXPECT_TRUE(holds(hardware.nvmeControllers[1].model, "A"));
        ASSERT_EQ(hardware.nvmeHealth.size(), 2U);
        EXPECT_EQ(hardware.nvmeHealth[0].name, "nvme0");
        EXPECT_TRUE(lacks(hardware.nvmeHealth[0].temperature, Absence::Unsupported)); // below a root there is none
        expectSilent(hardware, HardwarePart::Nvme, "sys/class/nvme/nvme0");
    });
}

TEST(SilentDevices, SickAdapterIsTimedOutAloneAmongPorts) {
    const HardwareHost host;
    for (const char *port : {"host3", "host4"})
        host.device(std::string("pci0/") + port + "/fc_host/" + port, {"class/fc_host"},
                    {{"port_name", "0x1\n"}, {"speed", "16 Gbit\n"}});
    withSilentFile(host, "sys/devices/pci0/host3/fc_host/host3/speed", [&host] {
        const Hardware hardware = readSoon(host, HardwarePart::FibreChannel);
        ASSERT_EQ(hardware.fibreChannelAdapters.size(), 2U);
        EXPECT_TRUE(lacks(hardware.fibreChannelAdapters[0].portName, Absence::TimedOut));
        EXPECT_TRUE(holds(hardware.fibreChannelAdapters[1].speed, "16 Gbit"));
        expectSilent(hardware, HardwarePart::FibreChannel, "sys/class/fc_host/host3");
    });
}

TEST(SilentDevices, SickCardIsTimedOutAloneAmongCards) {
    const HardwareHost host;
    for (const std::string card : {"0000:01:00.0", "0000:02:00.0"})
        host.write("sys/bus/pci/devices/" + card, {{"class", "0x030000\n"}, {"vbios_version", "1\n"}});
    withSilentFile(host, "sys/bus/pci/devices/0000:02:00.0/vbios_version", [&host] {
        const Hardware hardware = readSoon(host, HardwarePart::Gpus);
        ASSERT_EQ(hardware.gpuCards.size(), 2U);
        EXPECT_TRUE(holds(hardware.gpuCards[0].videoBios, "1"));
        EXPECT_EQ(hardware.gpuCards[1].address, "0000:02:00.0");
        EXPECT_TRUE(lacks(hardware.gpuCards[1].classId, Absence::TimedOut));
        expectSilent(hardware, HardwarePart::Gpus, "sys/bus/pci/devices/0000:02:00.0");
    });
}

TEST(SilentDevices, TablesOfTheFirmwareThatDoNotAnswerAreLost) {
    const HardwareHost host;
    host.write("sys/firmware/dmi/tables/smbios_entry_point", "_SM3_");
    withSilentFile(host, "sys/firmware/dmi/tables/smbios_entry_point", [&host] {
        const Hardware hardware = readSoon(host, HardwarePart::Memory);
        EXPECT_TRUE(hardware.memoryModules.empty());
        EXPECT_EQ(hardware.part(HardwarePart::Memory).absence, Absence::TimedOut);
        EXPECT_EQ(hardware.part(HardwarePart::Memory).error, ETIMEDOUT);
    });
}

} // namespace

// Graphics cards and accelerators of the inventory.
#include "HardwareHost.h"
#include "SampledHost.h"

#include <unistd.h>

namespace {

using zel::Absence;
using zel::GpuCard;
using zel::Hardware;
using zel::HardwarePart;

constexpr const char *pci = "sys/bus/pci/devices/";

void addCard(const HardwareHost &host, const std::string &address, HardwareHost::Files files) {
    for (const auto &[name, text] : files)
        host.write(pci + address + "/" + name, text);
}

TEST(GpuPart, CardOfAmdHasWhatItsDriverKnows) {
    const HardwareHost host;
    addCard(host, "0000:c1:00.0",
            {{"class", "0x030000\n"},
             {"vendor", "0x1002\n"},
             {"device", "0x744c\n"},
             {"vbios_version", "113-D7040100-101\n"},
             {"product_name", "A Card\n"},
             {"serial_number", "abc123\n"},
             {"mem_info_vram_total", "25753026560\n"},
             {"boot_vga", "1\n"},
             {"numa_node", "0\n"},
             {"drm/card0/uevent", ""},
             {"drm/renderD128/uevent", ""},
             {"drm/controlD64/uevent", ""}});
    host.link(std::string(pci) + "0000:c1:00.0/driver", "../../../bus/pci/drivers/amdgpu");
    host.write("usr/share/misc/pci.ids", "1002  Advanced Micro Devices, Inc. [AMD/ATI]\n\t744c  Navi 31\n");
    const Hardware hardware = host.read(HardwarePart::Gpus);
    ASSERT_EQ(hardware.gpuCards.size(), 1U);
    const GpuCard &card = hardware.gpuCards[0];
    EXPECT_EQ(card.address, "0000:c1:00.0");
    EXPECT_TRUE(holds(card.vendorId, "0x1002"));
    EXPECT_TRUE(holds(card.deviceId, "0x744c"));
    EXPECT_TRUE(holds(card.vendorName, "Advanced Micro Devices, Inc. [AMD/ATI]"));
    EXPECT_TRUE(holds(card.deviceName, "Navi 31"));
    EXPECT_TRUE(holds(card.classId, "0x030000"));
    EXPECT_TRUE(holds(card.driver, "amdgpu"));
    EXPECT_TRUE(holds(card.model, "A Card"));
    EXPECT_TRUE(holds(card.videoBios, "113-D7040100-101"));
    EXPECT_TRUE(holds(card.memoryBytes, 25753026560));
    EXPECT_TRUE(holds(card.bootDisplay, 1));
    EXPECT_TRUE(holds(card.devices, "card0 renderD128"));
    EXPECT_TRUE(holds(card.node, 0));
    EXPECT_TRUE(lacks(card.serial, Absence::NotAsked));
    const Hardware asked = host.read(HardwarePart::Gpus, true);
    if (geteuid() == 0)
        EXPECT_TRUE(holds(asked.gpuCards[0].serial, "abc123"));
    else
        EXPECT_TRUE(lacks(asked.gpuCards[0].serial, Absence::Denied));
}

TEST(GpuPart, CardOfNvidiaHasWhatItsDriverKnows) {
    const HardwareHost host;
    addCard(host, "0000:17:00.0", {{"class", "0x030200\n"}, {"vendor", "0x10de\n"}, {"device", "0x2330\n"}});
    host.link(std::string(pci) + "0000:17:00.0/driver", "../../../bus/pci/drivers/nvidia");
    host.write("proc/driver/nvidia/gpus/0000:17:00.0/information",
               "Model: \t\t NVIDIA H100 80GB HBM3\n"
               "IRQ:   \t\t 18\n"
               "GPU UUID: \t GPU-00000000-0000-0000-0000-000000000000\n"
               "Video BIOS: \t 96.00.74.00.01\n"
               "Bus Type: \t PCIe\n");
    const Hardware hardware = host.read(HardwarePart::Gpus);
    ASSERT_EQ(hardware.gpuCards.size(), 1U);
    const GpuCard &card = hardware.gpuCards[0];
    EXPECT_TRUE(holds(card.model, "NVIDIA H100 80GB HBM3"));
    EXPECT_TRUE(holds(card.videoBios, "96.00.74.00.01"));
    EXPECT_TRUE(lacks(card.memoryBytes, Absence::Unsupported));
    EXPECT_TRUE(lacks(card.vendorName, Absence::Unsupported)); // no table of names
}

TEST(GpuPart, OnlyDisplaysAndAcceleratorsAreCards) {
    const HardwareHost host;
    addCard(host, "0000:00:01.0", {{"class", "0x020000\n"}});
    addCard(host, "0000:00:02.0", {{"class", "0x038000\n"}});
    addCard(host, "0000:00:03.0", {{"class", "0x120000\n"}});
    addCard(host, "0000:00:04.0", {{"class", "garbage"}});
    addCard(host, "0000:00:05.0", {{"vendor", "0x1002\n"}});
    const Hardware hardware = host.read(HardwarePart::Gpus);
    ASSERT_EQ(hardware.gpuCards.size(), 2U);
    EXPECT_EQ(hardware.gpuCards[0].address, "0000:00:02.0");
    EXPECT_EQ(hardware.gpuCards[1].address, "0000:00:03.0");
    EXPECT_EQ(hardware.part(HardwarePart::Gpus).error, 0);
}

} // namespace

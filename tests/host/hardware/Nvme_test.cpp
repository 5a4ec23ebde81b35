// NVMe controllers of the inventory, and the SMART / Health log: its fields are where the NVMe standard has them.
#include "HardwareHost.h"
#include "SampledHost.h"
#include "SystemHooks.h"
#include "host/hardware/NvmeLog.h"

#include <cerrno>
#include <linux/nvme_ioctl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

using zel::Absence;
using zel::Hardware;
using zel::HardwarePart;
using zel::NvmeController;
using zel::NvmeHealth;
using zel::NvmeHealthLog;

// `size` bytes of a number at a place of the log, the lowest first.
void put(NvmeHealthLog &log, std::size_t at, std::uint64_t number, std::size_t size) {
    for (std::size_t byte = 0; byte < size; ++byte)
        log[at + byte] = static_cast<unsigned char>(number >> (8 * byte));
}

NvmeHealth healthOf(const NvmeHealthLog &log) {
    NvmeHealth health;
    takeNvmeHealth(log, health);
    return health;
}

TEST(NvmeHealthLog, HasEveryFieldAtItsPlace) {
    NvmeHealthLog log{};
    put(log, 0, 0x0A, 1); // temperature, media read-only
    put(log, 1, 311, 2);  // kelvin
    put(log, 3, 97, 1);   // percent
    put(log, 4, 10, 1);
    put(log, 5, 3, 1);
    put(log, 32, 1000001, 8);
    put(log, 48, 2000002, 8);
    put(log, 64, 123456789012, 8);
    put(log, 80, 987654321098, 8);
    put(log, 96, 75, 8); // minutes
    put(log, 112, 41, 8);
    put(log, 128, 8760, 8); // hours
    put(log, 144, 7, 8);
    put(log, 160, 5, 8);
    put(log, 176, 300, 8);
    put(log, 192, 12, 4);
    put(log, 196, 2, 4);
    const NvmeHealth health = healthOf(log);
    EXPECT_TRUE(holds(health.criticalWarning, 10));
    EXPECT_TRUE(holds(health.spareLow, 0));
    EXPECT_TRUE(holds(health.temperatureOutside, 1));
    EXPECT_TRUE(holds(health.unreliable, 0));
    EXPECT_TRUE(holds(health.mediaReadOnly, 1));
    EXPECT_TRUE(holds(health.backupFailed, 0));
    EXPECT_TRUE(holds(health.persistentMemoryUnreliable, 0));
    ASSERT_TRUE(health.temperature.has());
    EXPECT_NEAR(*health.temperature, 37.85, 1e-9);
    EXPECT_TRUE(holds(health.spareRatio, 0.97));
    EXPECT_TRUE(holds(health.spareThresholdRatio, 0.1));
    EXPECT_TRUE(holds(health.usedRatio, 0.03));
    EXPECT_TRUE(holds(health.readBytes, std::uint64_t{512000512000}));
    EXPECT_TRUE(holds(health.writtenBytes, std::uint64_t{1024001024000}));
    EXPECT_TRUE(holds(health.readCommands, 123456789012));
    EXPECT_TRUE(holds(health.writeCommands, 987654321098));
    EXPECT_TRUE(holds(health.busySeconds, 4500));
    EXPECT_TRUE(holds(health.powerCycles, 41));
    EXPECT_TRUE(holds(health.poweredSeconds, 31536000));
    EXPECT_TRUE(holds(health.unsafeShutdowns, 7));
    EXPECT_TRUE(holds(health.mediaErrors, 5));
    EXPECT_TRUE(holds(health.errorLogEntries, 300));
    EXPECT_TRUE(holds(health.warningTemperatureSeconds, 720));
    EXPECT_TRUE(holds(health.criticalTemperatureSeconds, 120));
}

TEST(NvmeHealthLog, EveryWarningHasItsBit) {
    const std::initializer_list<zel::Count NvmeHealth::*> bits{
        &NvmeHealth::spareLow,      &NvmeHealth::temperatureOutside, &NvmeHealth::unreliable,
        &NvmeHealth::mediaReadOnly, &NvmeHealth::backupFailed,       &NvmeHealth::persistentMemoryUnreliable};
    unsigned bit = 0;
    for (const auto set : bits) {
        NvmeHealthLog log{};
        log[0] = static_cast<unsigned char>(1U << bit++);
        const NvmeHealth health = healthOf(log);
        for (const auto member : bits)
            EXPECT_TRUE(holds(health.*member, member == set ? 1 : 0)) << bit;
    }
}

TEST(NvmeHealthLog, CountersThatNoDeviceReachesAreMalformed) {
    NvmeHealthLog log{};
    put(log, 72, 1, 8);                      // the upper half of the read commands
    put(log, 80, ~std::uint64_t{0}, 8);      // the largest that fits
    put(log, 32, std::uint64_t{1} << 48, 8); // units of 512000 bytes: more than 64 bits
    put(log, 136, 1, 1);                     // the upper half of the hours
    const NvmeHealth health = healthOf(log);
    EXPECT_TRUE(lacks(health.readCommands, Absence::Malformed));
    EXPECT_TRUE(holds(health.writeCommands, ~std::uint64_t{0}));
    EXPECT_TRUE(lacks(health.readBytes, Absence::Malformed));
    EXPECT_TRUE(lacks(health.poweredSeconds, Absence::Malformed));
    EXPECT_TRUE(holds(health.writtenBytes, 0));
}

TEST(NvmeHealthLog, TemperatureThatIsNotReportedIsUnsupportedAndWearGoesBeyondOne) {
    NvmeHealthLog log{};
    log[5] = 255;
    const NvmeHealth health = healthOf(log);
    EXPECT_TRUE(lacks(health.temperature, Absence::Unsupported));
    EXPECT_TRUE(holds(health.usedRatio, 2.55));
}

TEST(NvmeHealthLog, IsAskedForWithOneCommandOfTheWholeController) {
    nvme_admin_cmd asked{};
    unsigned long request = 0;
    systemHooks().ioctl = [&](int descriptor, unsigned long number, void *argument) {
        EXPECT_EQ(descriptor, 77);
        request = number;
        asked = *static_cast<nvme_admin_cmd *>(argument);
        auto *bytes = reinterpret_cast<unsigned char *>(static_cast<std::uintptr_t>(asked.addr));
        bytes[0] = 4;
        bytes[511] = 9;
        return 0;
    };
    NvmeHealthLog log{};
    EXPECT_EQ(zel::readNvmeHealthLog(77, log), 0);
    EXPECT_EQ(request, static_cast<unsigned long>(NVME_IOCTL_ADMIN_CMD));
    EXPECT_EQ(asked.opcode, 0x02);
    EXPECT_EQ(asked.nsid, 0xFFFFFFFFU);
    EXPECT_EQ(asked.data_len, 512U);
    EXPECT_EQ(asked.cdw10, 0x007F0002U); // 128 double words less one, log 02h
    EXPECT_EQ(asked.timeout_ms, 0U);     // that of the driver
    EXPECT_EQ(log[0], 4);
    EXPECT_EQ(log[511], 9);
}

TEST(NvmeHealthLog, RefusalsAreErrors) {
    NvmeHealthLog log{};
    systemHooks().ioctl = [](int, unsigned long, void *) {
        errno = EACCES;
        return -1;
    };
    EXPECT_EQ(zel::readNvmeHealthLog(3, log), EACCES);
    systemHooks().ioctl = [](int, unsigned long, void *) { return 0x4002; }; // a status of the controller
    EXPECT_EQ(zel::readNvmeHealthLog(3, log), EIO);
}

TEST(NvmePart, ControllerHasItsAttributesAndNamespaces) {
    const HardwareHost host;
    const std::string place = "pci0000:00/0000:00:01.1/0000:01:00.0/nvme/nvme0";
    host.device(place, {"class/nvme"},
                {{"model", "SAMSUNG MZQL21T9HCJR-00A07             \n"},
                 {"serial", "S64GNE0R     \n"},
                 {"firmware_rev", "GDC5602Q\n"},
                 {"transport", "pcie\n"},
                 {"address", "0000:01:00.0\n"},
                 {"state", "live\n"},
                 {"cntrltype", "io\n"},
                 {"cntlid", "6\n"},
                 {"numa_node", "1\n"},
                 {"queue_count", "33\n"},
                 {"sqsize", "1023\n"},
                 {"subsysnqn", "nqn.1994-11.com.samsung:nvme:PM9A3:2.5-inch:S64GNE0R\n"},
                 {"nvme0n1/queue/nr_requests", "1023\n"},
                 {"nvme0n2/queue/nr_requests", "1023\n"},
                 {"hwmon1/name", "nvme\n"}});
    host.link("sys/devices/" + place + "/device", "../../../0000:01:00.0");
    host.link("sys/devices/pci0000:00/0000:00:01.1/0000:01:00.0/driver", "../../../../bus/pci/drivers/nvme");
    const Hardware hardware = host.read(HardwarePart::Nvme);
    ASSERT_EQ(hardware.nvmeControllers.size(), 1U);
    const NvmeController &controller = hardware.nvmeControllers[0];
    EXPECT_EQ(controller.name, "nvme0");
    EXPECT_TRUE(holds(controller.model, "SAMSUNG MZQL21T9HCJR-00A07"));
    EXPECT_TRUE(holds(controller.firmware, "GDC5602Q"));
    EXPECT_TRUE(holds(controller.transport, "pcie"));
    EXPECT_TRUE(holds(controller.address, "0000:01:00.0"));
    EXPECT_TRUE(holds(controller.state, "live"));
    EXPECT_TRUE(holds(controller.type, "io"));
    EXPECT_TRUE(holds(controller.driver, "nvme"));
    EXPECT_TRUE(holds(controller.controllerId, 6));
    EXPECT_TRUE(holds(controller.node, 1));
    EXPECT_TRUE(holds(controller.queues, 33));
    EXPECT_TRUE(holds(controller.queueEntries, 1023));
    EXPECT_TRUE(holds(controller.namespaces, 2));
    EXPECT_TRUE(lacks(controller.serial, Absence::NotAsked));
    EXPECT_TRUE(lacks(controller.subsystemName, Absence::NotAsked));
    const Hardware asked = host.read(HardwarePart::Nvme, true);
    if (geteuid() == 0)
        EXPECT_TRUE(holds(asked.nvmeControllers[0].serial, "S64GNE0R"));
    else
        EXPECT_TRUE(lacks(asked.nvmeControllers[0].serial, Absence::Denied));
    // Below a root directory there is no controller to ask.
    ASSERT_EQ(hardware.nvmeHealth.size(), 1U);
    EXPECT_EQ(hardware.nvmeHealth[0].name, "nvme0");
    EXPECT_TRUE(lacks(hardware.nvmeHealth[0].criticalWarning, Absence::Unsupported));
    EXPECT_TRUE(lacks(hardware.nvmeHealth[0].temperature, Absence::Unsupported));
    EXPECT_EQ(hardware.part(HardwarePart::Nvme).error, 0);
}

TEST(NvmePart, ControllerThatIsNotConnectedHasWhatThereIs) {
    const HardwareHost host;
    host.device("virtual/nvme-fabrics/ctl/nvme3", {"class/nvme"},
                {{"transport", "tcp\n"},
                 {"address", "traddr=10.0.0.5,trsvcid=4420\n"},
                 {"state", "connecting\n"},
                 {"numa_node", "-1\n"}});
    const Hardware hardware = host.read(HardwarePart::Nvme);
    ASSERT_EQ(hardware.nvmeControllers.size(), 1U);
    const NvmeController &controller = hardware.nvmeControllers[0];
    EXPECT_TRUE(holds(controller.transport, "tcp"));
    EXPECT_TRUE(holds(controller.address, "traddr=10.0.0.5,trsvcid=4420"));
    EXPECT_TRUE(holds(controller.state, "connecting"));
    EXPECT_TRUE(lacks(controller.model, Absence::Unsupported));
    EXPECT_TRUE(lacks(controller.node, Absence::Unsupported));
    EXPECT_TRUE(lacks(controller.driver, Absence::Unsupported));
    EXPECT_TRUE(holds(controller.namespaces, 0));
}

} // namespace

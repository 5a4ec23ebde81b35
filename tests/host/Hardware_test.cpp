// Reading an inventory: which parts, whatever hangs, whatever the root is.
#include "HardwareHost.h"
#include "SampledHost.h"
#include "SilentFile.h"

#include <cerrno>
#include <set>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using zel::Absence;
using zel::Hardware;
using zel::HardwarePart;

constexpr double secondsOver = 5; // what a busy machine may take longer

void writeDevice(const HardwareHost &host, const std::string &address) {
    host.write("sys/bus/pci/devices/" + address,
               {{"vendor", "0x8086\n"}, {"device", "0x1234\n"}, {"class", "0x020000\n"}});
}

TEST(Hardware, OnlyThePartsThatAreAskedForAreRead) {
    const HardwareHost host{{"proc/cpuinfo", "processor : 0\nmodel name : one\n"}};
    writeDevice(host, "0000:00:01.0");
    const Hardware hardware = host.read(HardwarePart::Pci);
    EXPECT_EQ(hardware.pciDevices.size(), 1U);
    EXPECT_TRUE(hardware.processorPackages.empty());
    EXPECT_TRUE(hardware.part(HardwarePart::Pci).asked);
    EXPECT_FALSE(hardware.part(HardwarePart::Processors).asked);
    EXPECT_GT(hardware.realtimeNanoseconds, 0);
    EXPECT_GT(hardware.elapsedSeconds, 0);
}

TEST(Hardware, WithoutPartsAllAreRead) {
    const Hardware hardware = zel::readHardware({.root = HardwareHost().path()});
    for (const zel::AreaState &state : hardware.parts)
        EXPECT_TRUE(state.asked);
}

TEST(Hardware, ARootThatIsNoDirectoryIsInTheStateOfEveryPart) {
    const HardwareHost host{{"file", ""}};
    for (const auto &[name, error] : {std::pair("none", ENOENT), std::pair("file", ENOTDIR)}) {
        const Hardware hardware = zel::readHardware({.root = host.path(name)});
        for (const zel::AreaState &state : hardware.parts) {
            EXPECT_EQ(state.error, error) << name;
            EXPECT_EQ(state.absence, Absence::Unsupported);
            EXPECT_EQ(state.file, host.path(name));
        }
        EXPECT_TRUE(lacks(hardware.machine.vendor, Absence::Unsupported));
    }
}

TEST(Hardware, ThisHostHasProcessors) {
    const Hardware hardware = zel::readHardware({.parts = {HardwarePart::Processors, HardwarePart::Machine}});
    ASSERT_FALSE(hardware.processorPackages.empty());
    std::uint64_t threads = 0;
    for (const zel::ProcessorPackage &package : hardware.processorPackages)
        threads += package.threads.valueOr(0);
    EXPECT_EQ(threads, std::uint64_t(sysconf(_SC_NPROCESSORS_ONLN)));
    EXPECT_TRUE(hardware.machine.hostName.has());
}

TEST(Hardware, PartsHaveNamesOfTheirOwn) {
    std::set<std::string_view> names;
    for (std::size_t part = 0; part < zel::HARDWARE_PART_COUNT; ++part)
        EXPECT_TRUE(names.insert(zel::hardwarePartName(static_cast<HardwarePart>(part))).second);
}

TEST(Hardware, ADeviceThatDoesNotAnswerIsTimedOutAndTheOthersAreThere) {
    const HardwareHost host;
    for (const char *address : {"0000:00:01.0", "0000:00:02.0", "0000:00:03.0"})
        writeDevice(host, address);
    host.write("usr/share/misc/pci.ids", "8086  Intel Corporation\n");
    withSilentFile(host, "sys/bus/pci/devices/0000:00:02.0/device", [&host] {
        zel::HardwareOptions options = host.options({HardwarePart::Pci, HardwarePart::Processors});
        options.deadline = 500ms;
        const Hardware hardware = zel::readHardware(options);
        EXPECT_LT(hardware.elapsedSeconds, 0.5 + secondsOver);
        ASSERT_EQ(hardware.pciDevices.size(), 3U);
        EXPECT_TRUE(holds(hardware.pciDevices[0].deviceId, "0x1234"));
        EXPECT_TRUE(holds(hardware.pciDevices[0].vendorName, "Intel Corporation"));
        EXPECT_EQ(hardware.pciDevices[1].address, "0000:00:02.0");
        EXPECT_TRUE(lacks(hardware.pciDevices[1].vendorId, Absence::TimedOut));
        EXPECT_TRUE(lacks(hardware.pciDevices[1].linkWidth, Absence::TimedOut));
        EXPECT_TRUE(holds(hardware.pciDevices[2].deviceId, "0x1234"));
        const zel::AreaState &state = hardware.part(HardwarePart::Pci);
        EXPECT_EQ(state.error, ETIMEDOUT);
        EXPECT_EQ(state.file, "sys/bus/pci/devices/0000:00:02.0");
        EXPECT_GT(state.silentSeconds, 0.1);
        EXPECT_EQ(state.absence, Absence::None);
        EXPECT_EQ(zel::boundedCallsRunning(), 1);
        zel::readHardware(options);
        EXPECT_EQ(zel::boundedCallsRunning(), 1) << "one thread, however often it is asked";
    });
}

TEST(Hardware, ATableOfNamesThatDoesNotAnswerTakesTheNamesAlone) {
    const HardwareHost host;
    writeDevice(host, "0000:00:01.0");
    host.write("usr/share/misc/pci.ids", "8086  Intel Corporation\n");
    withSilentFile(host, "usr/share/misc/pci.ids", [&host] {
        zel::HardwareOptions options = host.options({HardwarePart::Pci});
        options.deadline = 500ms;
        const Hardware hardware = zel::readHardware(options);
        ASSERT_EQ(hardware.pciDevices.size(), 1U);
        EXPECT_TRUE(holds(hardware.pciDevices[0].vendorId, "0x8086"));
        EXPECT_TRUE(lacks(hardware.pciDevices[0].vendorName, Absence::TimedOut));
        EXPECT_EQ(hardware.part(HardwarePart::Pci).error, ETIMEDOUT);
    });
}

TEST(Hardware, APartThatDoesNotAnswerIsLostAsAWhole) {
    const HardwareHost host{{"proc/cpuinfo", "processor : 0\n"}, {"proc/sys/kernel/hostname", "db1\n"}};
    withSilentFile(host, "proc/cpuinfo", [&host] {
        zel::HardwareOptions options = host.options({HardwarePart::Machine, HardwarePart::Processors});
        options.deadline = 500ms;
        const Hardware hardware = zel::readHardware(options);
        EXPECT_TRUE(holds(hardware.machine.hostName, "db1"));
        EXPECT_EQ(hardware.part(HardwarePart::Processors).absence, Absence::TimedOut);
        EXPECT_EQ(hardware.part(HardwarePart::Machine).absence, Absence::None);
    });
}

} // namespace

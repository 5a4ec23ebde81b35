// Hardware: what a host is built of, read on demand. The same schema as a sample's: every field has a name, a unit and
// a kind, and a value or the reason why there is none.
//
//   const zel::Hardware hardware = zel::readHardware({.deadline = 2s});
//   for (const zel::PciDevice &device : hardware.pciDevices)
//       print(device.address, device.vendorName);
//
// Each device is asked by a call of its own, because a sick one may never answer: readHardware() returns within the
// deadline and 50 ms; what did not answer by then is "timed out", holds one thread, and everything else is there.
//
// Serial numbers and the like are read only for root and only when they are asked for: "not asked" or "denied" else.
//
// Nothing is printed, no process-wide setting is read, no command is started. Only memory that cannot be had is an
// exception. Several threads may read at once.
#pragma once

#include "host/Sample.h"
#include "host/hardware/DiskUnit.h"
#include "host/hardware/FibreChannelAdapter.h"
#include "host/hardware/GpuCard.h"
#include "host/hardware/Machine.h"
#include "host/hardware/MemoryModule.h"
#include "host/hardware/NetworkCard.h"
#include "host/hardware/Nvme.h"
#include "host/hardware/PciDevice.h"
#include "host/hardware/ProcessorSocket.h"
#include "host/hardware/Processors.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

namespace zel {

/// What is read together, and can be asked for by name.
enum class HardwarePart : unsigned char { Machine, Processors, Memory, Pci, Network, Disks, Nvme, FibreChannel, Gpus };
inline constexpr std::size_t HARDWARE_PART_COUNT = 9;

/// The name on the command line, such as "pci".
std::string_view hardwarePartName(HardwarePart part);

inline constexpr std::chrono::milliseconds HARDWARE_DEADLINE_DEFAULT{2000};

struct HardwareOptions {
    std::string root = {};                // the directory that holds proc, sys, etc and usr; empty: this host
    std::vector<HardwarePart> parts = {}; // empty: all of them
    std::chrono::milliseconds deadline = HARDWARE_DEADLINE_DEFAULT;
    bool serials = false; // also what identifies one piece: serial numbers, UUIDs, asset tags
};

struct Hardware {
    // Compiled once, not in every file that has one: each is as long as the list of members.
    Hardware();
    ~Hardware();
    Hardware(const Hardware &);
    Hardware(Hardware &&) noexcept;
    Hardware &operator=(const Hardware &);
    Hardware &operator=(Hardware &&) noexcept;

    std::int64_t realtimeNanoseconds = 0; // since the epoch
    double elapsedSeconds = 0;            // that reading it took

    Machine machine;
    Chassis chassis;
    Board board;
    Firmware firmware;
    Rows<ProcessorPackage> processorPackages;
    Rows<ProcessorCache> processorCaches;
    Rows<ProcessorNode> processorNodes;
    Rows<ProcessorVulnerability> processorVulnerabilities;
    Rows<MemoryModule> memoryModules;
    Rows<MemoryArray> memoryArrays;
    Rows<ProcessorSocket> processorSockets;
    Rows<PciDevice> pciDevices;
    Rows<NetworkCard> networkCards;
    Rows<DiskUnit> diskUnits;
    Rows<DiskMember> diskMembers;
    Rows<NvmeController> nvmeControllers;
    Rows<NvmeHealth> nvmeHealth;
    Rows<FibreChannelAdapter> fibreChannelAdapters;
    Rows<GpuCard> gpuCards;

    /// How reading each part went. Times and costs are those of samples alone.
    std::array<AreaState, HARDWARE_PART_COUNT> parts;

    AreaState &part(HardwarePart which) { return parts[static_cast<std::size_t>(which)]; }
    const AreaState &part(HardwarePart which) const { return parts[static_cast<std::size_t>(which)]; }
};

/// Reads the parts that are asked for. A root that is no directory is in the state of every part.
Hardware readHardware(const HardwareOptions &options = {});

/// A section of the inventory. It has no area of samples, but the part that it is read with.
template<class Row> struct HardwareSection : Section<Row, Hardware> { HardwarePart part; };

template<class Row, class Place>
constexpr HardwareSection<Row> hardwareSection(HardwarePart part, std::string_view name, Place place) {
    return {sectionOf(Area::Hardware, name, place), part};
}

/// All sections, in the order in which they are written.
inline constexpr std::tuple HARDWARE_SECTIONS{
    hardwareSection<Machine>(HardwarePart::Machine, "machine", &Hardware::machine),
    hardwareSection<Chassis>(HardwarePart::Machine, "chassis", &Hardware::chassis),
    hardwareSection<Board>(HardwarePart::Machine, "board", &Hardware::board),
    hardwareSection<Firmware>(HardwarePart::Machine, "firmware", &Hardware::firmware),
    hardwareSection<ProcessorPackage>(HardwarePart::Processors, "processor_packages", &Hardware::processorPackages),
    hardwareSection<ProcessorCache>(HardwarePart::Processors, "processor_caches", &Hardware::processorCaches),
    hardwareSection<ProcessorNode>(HardwarePart::Processors, "processor_nodes", &Hardware::processorNodes),
    hardwareSection<ProcessorVulnerability>(HardwarePart::Processors, "processor_vulnerabilities",
                                            &Hardware::processorVulnerabilities),
    hardwareSection<MemoryModule>(HardwarePart::Memory, "memory_modules", &Hardware::memoryModules),
    hardwareSection<MemoryArray>(HardwarePart::Memory, "memory_arrays", &Hardware::memoryArrays),
    hardwareSection<ProcessorSocket>(HardwarePart::Memory, "processor_sockets", &Hardware::processorSockets),
    hardwareSection<PciDevice>(HardwarePart::Pci, "pci_devices", &Hardware::pciDevices),
    hardwareSection<NetworkCard>(HardwarePart::Network, "network_cards", &Hardware::networkCards),
    hardwareSection<DiskUnit>(HardwarePart::Disks, "disk_units", &Hardware::diskUnits),
    hardwareSection<DiskMember>(HardwarePart::Disks, "disk_members", &Hardware::diskMembers),
    hardwareSection<NvmeController>(HardwarePart::Nvme, "nvme_controllers", &Hardware::nvmeControllers),
    hardwareSection<NvmeHealth>(HardwarePart::Nvme, "nvme_health", &Hardware::nvmeHealth),
    hardwareSection<FibreChannelAdapter>(HardwarePart::FibreChannel, "fibre_channel_adapters",
                                         &Hardware::fibreChannelAdapters),
    hardwareSection<GpuCard>(HardwarePart::Gpus, "gpu_cards", &Hardware::gpuCards),
};

/// Calls use(const HardwareSection<Row> &) for every section.
template<class Use> void forEachHardwareSection(Use &&use) {
    std::apply([&use](const auto &...section) { (use(section), ...); }, HARDWARE_SECTIONS);
}

/// The same sections without the types of their rows, in the same order.
struct AnyHardwareSection : AnySection<Hardware> {
    HardwarePart part;
};
std::span<const AnyHardwareSection> hardwareSections();

} // namespace zel

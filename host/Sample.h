// Sample: everything that a host said at one moment, as numbers with units. Plain values: it can be copied, outlives
// its sampler, and a const sample can be read by any number of threads. Areas that were not asked for hold nothing.
#pragma once

#include "host/AnySection.h"
#include "host/Bcache.h"
#include "host/Bond.h"
#include "host/Btrfs.h"
#include "host/Cgroup.h"
#include "host/Cpu.h"
#include "host/Disk.h"
#include "host/Edac.h"
#include "host/FibreChannel.h"
#include "host/Filesystem.h"
#include "host/Gpu.h"
#include "host/Identity.h"
#include "host/Infiniband.h"
#include "host/Interface.h"
#include "host/Interrupts.h"
#include "host/Ip.h"
#include "host/Ipvs.h"
#include "host/Limits.h"
#include "host/Load.h"
#include "host/Memory.h"
#include "host/MultipathTcp.h"
#include "host/Nfs.h"
#include "host/PacketPath.h"
#include "host/PowerSupply.h"
#include "host/Pressure.h"
#include "host/Process.h"
#include "host/Rows.h"
#include "host/Sensors.h"
#include "host/Sockets.h"
#include "host/StorageDevices.h"
#include "host/TcpExtended.h"
#include "host/Thermal.h"
#include "host/Timekeeping.h"
#include "host/Transport.h"
#include "host/Vm.h"
#include "host/Xfs.h"
#include "host/Zfs.h"

#include <array>
#include <cstdint>
#include <string>
#include <tuple>

namespace zel {

/// How reading an area went.
struct AreaState {
    bool asked = false;
    std::int64_t monotonicNanoseconds = 0; // when it was read: rates are taken over the time between two of these
    double costSeconds = 0;                // processor time that reading it took
    Absence absence = Absence::None;       // of the whole area
    int error = 0;                         // errno of what failed first, 0 when nothing did
    std::string file;                      // and its file
    double silentSeconds = 0;              // for how long it, or something of it, has not answered; 0 when all does
};

struct Sample {
    // Compiled once, not in every file that has one: each is as long as the list of members.
    Sample();
    ~Sample();
    Sample(const Sample &);
    Sample(Sample &&) noexcept;
    Sample &operator=(const Sample &);
    Sample &operator=(Sample &&) noexcept;

    std::int64_t realtimeNanoseconds = 0;  // since the epoch
    std::int64_t monotonicNanoseconds = 0; // CLOCK_MONOTONIC of the sampler's host
    double elapsedSeconds = 0;             // that taking it took

    Cpu cpu;
    Rows<Processor> processors;
    Load load;
    Rows<Pressure> pressure;
    Memory memory;
    Rows<MemoryOther> memoryOthers;
    Rows<MemoryNode> memoryNodes;
    Rows<HugePages> hugePages;
    Rows<Swap> swaps;
    Rows<EdacController> edacControllers;
    Rows<EdacRow> edacRows;
    Rows<EdacModule> edacModules;
    Vm vm;
    Rows<VmOther> vmOthers;
    Activity activity;
    Rows<InterruptLine> interrupts;
    Rows<SoftIrq> softirqs;
    Rows<Disk> disks;
    Rows<UdevDisk> udevDisks;
    Rows<MdArray> mdArrays;
    Rows<NvmeState> nvmeStates;
    Rows<Tape> tapes;
    Rows<BcacheSet> bcacheSets;
    Rows<BcacheBackingDevice> bcacheBackingDevices;
    Rows<BcacheCacheDevice> bcacheCacheDevices;
    Rows<Filesystem> filesystems;
    Rows<Btrfs> btrfs;
    Rows<BtrfsSpace> btrfsSpaces;
    Rows<BtrfsProfile> btrfsProfiles;
    Rows<BtrfsDevice> btrfsDevices;
    Rows<Xfs> xfs;
    Rows<ZfsValue> zfs;
    Rows<ZfsPool> zfsPools;
    Rows<ZfsDataset> zfsDatasets;
    Rows<Interface> interfaces;
    Rows<Bond> bonds;
    Rows<BondPort> bondPorts;
    Rows<InfinibandPort> infinibandPorts;
    Rows<InfinibandCounter> infinibandCounters;
    Rows<SensorChip> sensorChips;
    Rows<Temperature> temperatures;
    Rows<Fan> fans;
    Rows<FanControl> fanControls;
    Rows<Voltage> voltages;
    Rows<Current> currents;
    Rows<Power> powers;
    Rows<Energy> energies;
    Rows<Humidity> humidities;
    Rows<Frequency> frequencies;
    Rows<Intrusion> intrusions;
    Rows<ProcessorVoltage> processorVoltages;
    Rows<SensorSetting> sensorSettings;
    Rows<ThermalZone> thermalZones;
    Rows<CoolingDevice> coolingDevices;
    Rows<PowerSupply> powerSupplies;
    Rows<PowerZone> powerZones;
    Timekeeping time;
    ProcessTotals processTotals;
    Rows<Process> processes;
    Rows<FibreChannelPort> fibreChannelPorts;
    Rows<FibreChannelEvents> fibreChannelEvents;
    Rows<NfsMount> nfsMounts;
    Rows<NfsOperation> nfsOperations;
    Rows<NfsTransport> nfsTransports;
    NfsClient nfsClient;
    Rows<NfsClientCall> nfsClientCalls;
    NfsServer nfsServer;
    Rows<NfsServerCall> nfsServerCalls;
    CgroupTotals cgroupTotals;
    Rows<Cgroup> cgroups;
    Rows<CgroupDevice> cgroupDevices;
    Rows<Ip> ip;
    Rows<Icmp> icmp;
    Rows<IcmpType> icmpTypes;
    Tcp tcp;
    TcpExtended tcpExtended;
    MultipathTcp multipathTcp;
    Rows<Udp> udp;
    Rows<ProtocolOther> protocolOthers;
    Sockets sockets;
    TcpStates tcpStates;
    Rows<Softnet> softnet;
    Conntrack conntrack;
    Rows<Neighbours> neighbours;
    Ipvs ipvs;
    Rows<IpvsBackend> ipvsBackends;
    Limits limits;
    SecurityModules securityModules;
    Rows<KeyUser> keyUsers;
    Rows<Gpu> gpus;
    Rows<GpuProcess> gpuProcesses;
    Identity identity;
    Dmi dmi;

    std::array<AreaState, AREA_COUNT> areas;

    AreaState &area(Area which) { return areas[static_cast<std::size_t>(which)]; }
    const AreaState &area(Area which) const { return areas[static_cast<std::size_t>(which)]; }

    /// Calls use(const Family &, const Labels &, const Value &) for every field of every row of the areas that were
    /// asked for. Labels are passed beside the values, not as values of their own.
    template<class Use> void visit(Use &&use) const;
};

/// A struct of a sample (or of its rates), or a list of them, with its name in JSON and CSV.
template<class Row, class Whole = Sample> struct Section {
    using RowType = Row;

    Area area;
    std::string_view name;
    Row Whole::*one;
    Rows<Row> Whole::*many;

    /// Calls use(const Row &) for every row.
    template<class Use> void forEachRow(const Whole &whole, Use &&use) const {
        if (one != nullptr) {
            use(whole.*one);
            return;
        }
        for (const Row &row : whole.*many)
            use(row);
    }
};

template<class Row, class Whole>
constexpr Section<Row, Whole> sectionOf(Area area, std::string_view name, Row Whole::*one) {
    return {area, name, one, nullptr};
}
template<class Row, class Whole>
constexpr Section<Row, Whole> sectionOf(Area area, std::string_view name, Rows<Row> Whole::*many) {
    return {area, name, nullptr, many};
}

/// All sections, in the order in which they are written.
inline constexpr std::tuple SECTIONS{
    sectionOf(Area::Identity, "identity", &Sample::identity),
    sectionOf(Area::Identity, "dmi", &Sample::dmi),
    sectionOf(Area::Cpu, "cpu", &Sample::cpu),
    sectionOf(Area::Cpu, "processors", &Sample::processors),
    sectionOf(Area::Load, "load", &Sample::load),
    sectionOf(Area::Pressure, "pressure", &Sample::pressure),
    sectionOf(Area::Memory, "memory", &Sample::memory),
    sectionOf(Area::Memory, "memory_others", &Sample::memoryOthers),
    sectionOf(Area::Memory, "memory_nodes", &Sample::memoryNodes),
    sectionOf(Area::Memory, "huge_pages", &Sample::hugePages),
    sectionOf(Area::Memory, "swaps", &Sample::swaps),
    sectionOf(Area::Memory, "edac_controllers", &Sample::edacControllers),
    sectionOf(Area::Memory, "edac_rows", &Sample::edacRows),
    sectionOf(Area::Memory, "edac_modules", &Sample::edacModules),
    sectionOf(Area::Vm, "vm", &Sample::vm),
    sectionOf(Area::Vm, "vm_others", &Sample::vmOthers),
    sectionOf(Area::Interrupts, "activity", &Sample::activity),
    sectionOf(Area::Interrupts, "interrupts", &Sample::interrupts),
    sectionOf(Area::Interrupts, "softirqs", &Sample::softirqs),
    sectionOf(Area::Disks, "disks", &Sample::disks),
    sectionOf(Area::Disks, "udev_disks", &Sample::udevDisks),
    sectionOf(Area::Disks, "md_arrays", &Sample::mdArrays),
    sectionOf(Area::Disks, "nvme_states", &Sample::nvmeStates),
    sectionOf(Area::Disks, "tapes", &Sample::tapes),
    sectionOf(Area::Disks, "bcache_sets", &Sample::bcacheSets),
    sectionOf(Area::Disks, "bcache_backing_devices", &Sample::bcacheBackingDevices),
    sectionOf(Area::Disks, "bcache_cache_devices", &Sample::bcacheCacheDevices),
    sectionOf(Area::Filesystems, "filesystems", &Sample::filesystems),
    sectionOf(Area::Filesystems, "btrfs", &Sample::btrfs),
    sectionOf(Area::Filesystems, "btrfs_spaces", &Sample::btrfsSpaces),
    sectionOf(Area::Filesystems, "btrfs_profiles", &Sample::btrfsProfiles),
    sectionOf(Area::Filesystems, "btrfs_devices", &Sample::btrfsDevices),
    sectionOf(Area::Filesystems, "xfs", &Sample::xfs),
    sectionOf(Area::Filesystems, "zfs", &Sample::zfs),
    sectionOf(Area::Filesystems, "zfs_pools", &Sample::zfsPools),
    sectionOf(Area::Filesystems, "zfs_datasets", &Sample::zfsDatasets),
    sectionOf(Area::Interfaces, "interfaces", &Sample::interfaces),
    sectionOf(Area::Interfaces, "bonds", &Sample::bonds),
    sectionOf(Area::Interfaces, "bond_ports", &Sample::bondPorts),
    sectionOf(Area::Interfaces, "infiniband_ports", &Sample::infinibandPorts),
    sectionOf(Area::Interfaces, "infiniband_counters", &Sample::infinibandCounters),
    sectionOf(Area::Sensors, "sensor_chips", &Sample::sensorChips),
    sectionOf(Area::Sensors, "temperatures", &Sample::temperatures),
    sectionOf(Area::Sensors, "fans", &Sample::fans),
    sectionOf(Area::Sensors, "fan_controls", &Sample::fanControls),
    sectionOf(Area::Sensors, "voltages", &Sample::voltages),
    sectionOf(Area::Sensors, "currents", &Sample::currents),
    sectionOf(Area::Sensors, "powers", &Sample::powers),
    sectionOf(Area::Sensors, "energies", &Sample::energies),
    sectionOf(Area::Sensors, "humidities", &Sample::humidities),
    sectionOf(Area::Sensors, "frequencies", &Sample::frequencies),
    sectionOf(Area::Sensors, "intrusions", &Sample::intrusions),
    sectionOf(Area::Sensors, "processor_voltages", &Sample::processorVoltages),
    sectionOf(Area::Sensors, "sensor_settings", &Sample::sensorSettings),
    sectionOf(Area::Sensors, "thermal_zones", &Sample::thermalZones),
    sectionOf(Area::Sensors, "cooling_devices", &Sample::coolingDevices),
    sectionOf(Area::Sensors, "power_supplies", &Sample::powerSupplies),
    sectionOf(Area::Sensors, "power_zones", &Sample::powerZones),
    sectionOf(Area::Time, "time", &Sample::time),
    sectionOf(Area::Protocols, "ip", &Sample::ip),
    sectionOf(Area::Protocols, "icmp", &Sample::icmp),
    sectionOf(Area::Protocols, "icmp_types", &Sample::icmpTypes),
    sectionOf(Area::Protocols, "tcp", &Sample::tcp),
    sectionOf(Area::Protocols, "tcp_extended", &Sample::tcpExtended),
    sectionOf(Area::Protocols, "mptcp", &Sample::multipathTcp),
    sectionOf(Area::Protocols, "udp", &Sample::udp),
    sectionOf(Area::Protocols, "protocol_others", &Sample::protocolOthers),
    sectionOf(Area::Protocols, "sockets", &Sample::sockets),
    sectionOf(Area::Protocols, "tcp_states", &Sample::tcpStates),
    sectionOf(Area::Protocols, "softnet", &Sample::softnet),
    sectionOf(Area::Protocols, "conntrack", &Sample::conntrack),
    sectionOf(Area::Protocols, "neighbours", &Sample::neighbours),
    sectionOf(Area::Protocols, "ipvs", &Sample::ipvs),
    sectionOf(Area::Protocols, "ipvs_backends", &Sample::ipvsBackends),
    sectionOf(Area::Limits, "limits", &Sample::limits),
    sectionOf(Area::Limits, "security", &Sample::securityModules),
    sectionOf(Area::Limits, "key_users", &Sample::keyUsers),
    sectionOf(Area::Processes, "process_totals", &Sample::processTotals),
    sectionOf(Area::Processes, "processes", &Sample::processes),
    sectionOf(Area::FibreChannel, "fibrechannel", &Sample::fibreChannelPorts),
    sectionOf(Area::FibreChannel, "fibrechannel_events", &Sample::fibreChannelEvents),
    sectionOf(Area::Nfs, "nfs_mounts", &Sample::nfsMounts),
    sectionOf(Area::Nfs, "nfs_operations", &Sample::nfsOperations),
    sectionOf(Area::Nfs, "nfs_transports", &Sample::nfsTransports),
    sectionOf(Area::Nfs, "nfs_client", &Sample::nfsClient),
    sectionOf(Area::Nfs, "nfs_client_calls", &Sample::nfsClientCalls),
    sectionOf(Area::Nfs, "nfs_server", &Sample::nfsServer),
    sectionOf(Area::Nfs, "nfs_server_calls", &Sample::nfsServerCalls),
    sectionOf(Area::Cgroups, "cgroup_totals", &Sample::cgroupTotals),
    sectionOf(Area::Cgroups, "cgroups", &Sample::cgroups),
    sectionOf(Area::Cgroups, "cgroup_devices", &Sample::cgroupDevices),
    sectionOf(Area::Gpus, "gpus", &Sample::gpus),
    sectionOf(Area::Gpus, "gpu_processes", &Sample::gpuProcesses),
};

/// The same sections without the types of their rows, in the same order.
std::span<const AnySection<Sample>> sections();

template<class Use> void Sample::visit(Use &&use) const {
    for (const AnySection<Sample> &section : sections()) {
        const AnyFields &fields = section.fields;
        for (std::size_t index = 0; area(section.area).asked && index < section.size(*this); ++index) {
            const AnyRow &row = section.row(*this, index);
            const Labels labels = labelsOf(fields, row);
            for (std::size_t field = 0; field < fields.families.size(); ++field) {
                if (fields.families[field]->kind != Kind::Label)
                    use(*fields.families[field], labels, fields.value(row, field));
            }
        }
    }
}

} // namespace zel

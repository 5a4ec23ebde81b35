// The fields of the rates.
#include "host/Rates.h"

namespace zel {

namespace {

constexpr Entries<CpuRates> cpu{Area::Cpu, "cpu", "/proc/stat"};
constexpr Field<CpuRates> cpuFields[] = {
    cpu.gauge("user_ratio", &CpuRates::user, Unit::Ratio, "Share of the time in user mode, guests left out."),
    cpu.gauge("nice_ratio", &CpuRates::nice, Unit::Ratio, "Share in user mode with low priority, guests left out."),
    cpu.gauge("system_ratio", &CpuRates::system, Unit::Ratio, "Share in the kernel."),
    cpu.gauge("idle_ratio", &CpuRates::idle, Unit::Ratio, "Share with nothing to do."),
    cpu.gauge("iowait_ratio", &CpuRates::iowait, Unit::Ratio, "Share idle with I/O outstanding."),
    cpu.gauge("irq_ratio", &CpuRates::irq, Unit::Ratio, "Share in interrupt handlers."),
    cpu.gauge("softirq_ratio", &CpuRates::softirq, Unit::Ratio, "Share in softirqs."),
    cpu.gauge("steal_ratio", &CpuRates::steal, Unit::Ratio, "Share that the hypervisor gave to others."),
    cpu.gauge("guest_ratio", &CpuRates::guest, Unit::Ratio, "Share in guests."),
    cpu.gauge("guest_nice_ratio", &CpuRates::guestNice, Unit::Ratio, "Share in guests with low priority."),
    cpu.gauge("busy_ratio", &CpuRates::busy, Unit::Ratio, "Share that was neither idle nor iowait."),
};

constexpr Entries<ProcessorRates> each{Area::Cpu, "processors", "/proc/stat"};
constexpr Entries<ProcessorRates> throttle = each.from("/sys/devices/system/cpu/cpu*/thermal_throttle");
constexpr Field<ProcessorRates> processorFields[] = {
    each.label("cpu", &ProcessorRates::cpu, "Number of the processor, from 0."),
    each.gauge("user_ratio", &ProcessorRates::user, Unit::Ratio, "Share of the time in user mode, guests left out."),
    each.gauge("nice_ratio", &ProcessorRates::nice, Unit::Ratio,
               "Share in user mode with low priority, guests left out."),
    each.gauge("system_ratio", &ProcessorRates::system, Unit::Ratio, "Share in the kernel."),
    each.gauge("idle_ratio", &ProcessorRates::idle, Unit::Ratio, "Share with nothing to do."),
    each.gauge("iowait_ratio", &ProcessorRates::iowait, Unit::Ratio, "Share idle with I/O outstanding."),
    each.gauge("irq_ratio", &ProcessorRates::irq, Unit::Ratio, "Share in interrupt handlers."),
    each.gauge("softirq_ratio", &ProcessorRates::softirq, Unit::Ratio, "Share in softirqs."),
    each.gauge("steal_ratio", &ProcessorRates::steal, Unit::Ratio, "Share that the hypervisor gave to others."),
    each.gauge("guest_ratio", &ProcessorRates::guest, Unit::Ratio, "Share in guests."),
    each.gauge("guest_nice_ratio", &ProcessorRates::guestNice, Unit::Ratio, "Share in guests with low priority."),
    each.gauge("busy_ratio", &ProcessorRates::busy, Unit::Ratio, "Share that was neither idle nor iowait."),
    throttle.gauge("core_throttles_per_second", &ProcessorRates::coreThrottles, Unit::None,
                   "How often the core was slowed down because it was too hot, per second."),
    throttle.gauge("package_throttles_per_second", &ProcessorRates::packageThrottles, Unit::None,
                   "How often the package was slowed down because it was too hot, per second."),
};

constexpr Entries<DiskRates> disk{Area::Disks, "disks", "/proc/diskstats"};
constexpr Field<DiskRates> diskFields[] = {
    disk.label("name", &DiskRates::name, "Name of the device."),
    disk.gauge("reads_per_second", &DiskRates::reads, Unit::None, "Reads completed per second."),
    disk.gauge("writes_per_second", &DiskRates::writes, Unit::None, "Writes completed per second."),
    disk.gauge("discards_per_second", &DiskRates::discards, Unit::None, "Discards completed per second."),
    disk.gauge("flushes_per_second", &DiskRates::flushes, Unit::None, "Flushes completed per second."),
    disk.gauge("read_bytes_per_second", &DiskRates::readBytes, Unit::Bytes, "Bytes read per second."),
    disk.gauge("written_bytes_per_second", &DiskRates::writtenBytes, Unit::Bytes, "Bytes written per second."),
    disk.gauge("discarded_bytes_per_second", &DiskRates::discardedBytes, Unit::Bytes, "Bytes discarded per second."),
    disk.gauge("reads_merged_per_second", &DiskRates::readsMerged, Unit::None,
               "Reads that were merged with another request, per second."),
    disk.gauge("writes_merged_per_second", &DiskRates::writesMerged, Unit::None,
               "Writes that were merged with another request, per second."),
    disk.gauge("discards_merged_per_second", &DiskRates::discardsMerged, Unit::None,
               "Discards that were merged with another request, per second."),
    disk.gauge("read_merged_ratio", &DiskRates::readMergedShare, Unit::Ratio,
               "Share of the queued reads that were merged."),
    disk.gauge("write_merged_ratio", &DiskRates::writeMergedShare, Unit::Ratio,
               "Share of the queued writes that were merged."),
    disk.gauge("discard_merged_ratio", &DiskRates::discardMergedShare, Unit::Ratio,
               "Share of the queued discards that were merged."),
    disk.gauge("read_wait_seconds", &DiskRates::readWaitSeconds, Unit::Seconds,
               "Mean time of a read, waiting included."),
    disk.gauge("write_wait_seconds", &DiskRates::writeWaitSeconds, Unit::Seconds,
               "Mean time of a write, waiting included."),
    disk.gauge("discard_wait_seconds", &DiskRates::discardWaitSeconds, Unit::Seconds,
               "Mean time of a discard, waiting included."),
    disk.gauge("flush_wait_seconds", &DiskRates::flushWaitSeconds, Unit::Seconds,
               "Mean time of a flush, waiting included."),
    disk.gauge("read_request_bytes", &DiskRates::readRequestBytes, Unit::Bytes, "Mean size of a read."),
    disk.gauge("write_request_bytes", &DiskRates::writeRequestBytes, Unit::Bytes, "Mean size of a write."),
    disk.gauge("discard_request_bytes", &DiskRates::discardRequestBytes, Unit::Bytes, "Mean size of a discard."),
    disk.gauge("queue_length", &DiskRates::queueLength, Unit::None,
               "Mean number of requests that waited or were served."),
    disk.gauge("utilisation_ratio", &DiskRates::utilisation, Unit::Ratio, "Share of the time with I/O in progress."),
};

constexpr Entries<InterfaceRates> interface { Area::Interfaces, "interfaces", "/proc/net/dev" };
constexpr Field<InterfaceRates> interfaceFields[] = {
    interface.label("name", &InterfaceRates::name, "Name of the interface."),
    interface.gauge("receive_bytes_per_second", &InterfaceRates::receiveBytes, Unit::Bytes,
                    "Bytes, received, per second."),
    interface.gauge("receive_packets_per_second", &InterfaceRates::receivePackets, Unit::None,
                    "Packets, received, per second."),
    interface.gauge("receive_errors_per_second", &InterfaceRates::receiveErrors, Unit::None,
                    "Errors, received, per second."),
    interface.gauge("receive_drops_per_second", &InterfaceRates::receiveDrops, Unit::None,
                    "Packets dropped, received, per second."),
    interface.gauge("receive_multicast_per_second", &InterfaceRates::receiveMulticast, Unit::None,
                    "Multicast packets, received, per second."),
    interface.gauge("transmit_bytes_per_second", &InterfaceRates::transmitBytes, Unit::Bytes,
                    "Bytes, sent, per second."),
    interface.gauge("transmit_packets_per_second", &InterfaceRates::transmitPackets, Unit::None,
                    "Packets, sent, per second."),
    interface.gauge("transmit_errors_per_second", &InterfaceRates::transmitErrors, Unit::None,
                    "Errors, sent, per second."),
    interface.gauge("transmit_drops_per_second", &InterfaceRates::transmitDrops, Unit::None,
                    "Packets dropped, sent, per second."),
    interface.gauge("transmit_collisions_per_second", &InterfaceRates::transmitCollisions, Unit::None,
                    "Collisions, sent, per second."),
    interface.gauge("receive_utilisation_ratio", &InterfaceRates::receiveUtilisation, Unit::Ratio,
                    "Share of the speed that was used for receiving."),
    interface.gauge("transmit_utilisation_ratio", &InterfaceRates::transmitUtilisation, Unit::Ratio,
                    "Share of the speed that was used for sending."),
    interface.gauge("utilisation_ratio", &InterfaceRates::utilisation, Unit::Ratio,
                    "Share of the speed that was used: the larger direction, or both together with half duplex."),
};

constexpr Entries<ProcessRates> process{Area::Processes, "processes", "/proc/<pid>/stat"};
constexpr Field<ProcessRates> processFields[] = {
    process.label("pid", &ProcessRates::pid, "Process id."),
    process.label("name", &ProcessRates::name, "Name of the command."),
    process.gauge("cpu_ratio", &ProcessRates::cpu, Unit::Ratio, "Processor time per second: 1 is one processor."),
    process.gauge("user_ratio", &ProcessRates::user, Unit::Ratio, "Processor time in user mode per second."),
    process.gauge("system_ratio", &ProcessRates::system, Unit::Ratio, "Processor time in the kernel per second."),
    process.gauge("guest_ratio", &ProcessRates::guest, Unit::Ratio,
                  "Processor time in guests per second, part of user."),
    process.gauge("minor_faults_per_second", &ProcessRates::minorFaults, Unit::None,
                  "Page faults without I/O per second."),
    process.gauge("major_faults_per_second", &ProcessRates::majorFaults, Unit::None,
                  "Page faults with I/O per second."),
    process.gauge("read_bytes_per_second", &ProcessRates::readBytes, Unit::Bytes,
                  "Bytes read from storage per second."),
    process.gauge("written_bytes_per_second", &ProcessRates::writtenBytes, Unit::Bytes,
                  "Bytes written to storage per second."),
    process.gauge("cancelled_write_bytes_per_second", &ProcessRates::cancelledWriteBytes, Unit::Bytes,
                  "Written bytes that were dropped before they reached storage, per second."),
    process.gauge("read_characters_per_second", &ProcessRates::readCharacters, Unit::None,
                  "Bytes that read calls returned per second."),
    process.gauge("written_characters_per_second", &ProcessRates::writtenCharacters, Unit::None,
                  "Bytes that write calls took per second."),
    process.gauge("read_calls_per_second", &ProcessRates::readCalls, Unit::None, "Calls of read per second."),
    process.gauge("write_calls_per_second", &ProcessRates::writeCalls, Unit::None, "Calls of write per second."),
    process.gauge("delay_ratio", &ProcessRates::delay, Unit::Ratio,
                  "Share of the time in which it waited for block I/O."),
};

} // namespace

template<> std::span<const Field<CpuRates>> fieldsOf<CpuRates>() {
    return cpuFields;
}

template<> std::span<const Field<ProcessorRates>> fieldsOf<ProcessorRates>() {
    return processorFields;
}

template<> std::span<const Field<DiskRates>> fieldsOf<DiskRates>() {
    return diskFields;
}

template<> std::span<const Field<InterfaceRates>> fieldsOf<InterfaceRates>() {
    return interfaceFields;
}

template<> std::span<const Field<ProcessRates>> fieldsOf<ProcessRates>() {
    return processFields;
}

} // namespace zel

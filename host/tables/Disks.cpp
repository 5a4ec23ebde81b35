// The fields of the disks.
#include "host/Disk.h"

namespace zel {

namespace {

// The kernel prints its times as milliseconds of an unsigned int, whatever the machine.
constexpr unsigned char millisecondBits = 32;

constexpr Entries<Disk> stat{Area::Disks, "disks", "/proc/diskstats"};
constexpr Entries<Disk> block = stat.from("/sys/class/block");
constexpr Entries<Disk> queue = stat.from("/sys/class/block/*/queue");
constexpr Entries<Disk> device =
    stat.from("/sys/class/block/*/device", "a device whose driver asks it (SCSI, ATA, NVMe)");
constexpr Entries<Disk> identified = stat.from("/sys/class/block", "a device whose driver asks it (SCSI, ATA, NVMe)");
constexpr Entries<Disk> discarding = stat.from("/proc/diskstats", "kernel 4.18 or later");
constexpr Entries<Disk> flushing = stat.from("/proc/diskstats", "kernel 5.5 or later");
constexpr Entries<Disk> numbered = stat.from("/sys/class/block", "kernel 5.15 or later");
constexpr Entries<Disk> partition = stat.from("/sys/class/block", "a disk with partitions");
constexpr Entries<Disk> mapper =
    stat.from("/sys/class/block/*/dm", "a device of the device mapper (LVM, multipath, dm-crypt)");
constexpr Entries<Disk> raid = stat.from("/sys/class/block/*/md", "an md array");

constexpr Field<Disk> fields[] = {
    stat.label("name", &Disk::name, "Name of the device as the kernel has it."),
    stat.info("major", &Disk::major, "Major device number."),
    stat.info("minor", &Disk::minor, "Minor device number."),
    numbered.info("sequence", &Disk::sequence, "Number of the disk in the order of their coming (diskseq)."),
    partition.info("parent", &Disk::parent, "Disk that a partition is part of."),

    stat.counter("reads_total", &Disk::reads, Unit::None, "Reads completed."),
    stat.counter("reads_merged_total", &Disk::readsMerged, Unit::None, "Reads merged with another request."),
    stat.counter("read_bytes_total", &Disk::readBytes, Unit::Bytes, "Bytes read."),
    stat.counter("read_seconds_total", &Disk::readSeconds, Unit::Seconds,
                 "Time of all reads together, waiting included.", millisecondBits),
    stat.counter("writes_total", &Disk::writes, Unit::None, "Writes completed."),
    stat.counter("writes_merged_total", &Disk::writesMerged, Unit::None, "Writes merged with another request."),
    stat.counter("written_bytes_total", &Disk::writtenBytes, Unit::Bytes, "Bytes written."),
    stat.counter("write_seconds_total", &Disk::writeSeconds, Unit::Seconds,
                 "Time of all writes together, waiting included.", millisecondBits),
    stat.gauge("in_flight", &Disk::inFlight, Unit::None, "Requests in progress."),
    stat.counter("io_seconds_total", &Disk::ioSeconds, Unit::Seconds, "Time with requests in progress.",
                 millisecondBits),
    stat.counter("weighted_io_seconds_total", &Disk::weightedSeconds, Unit::Seconds,
                 "Time of all requests together, also of those in progress.", millisecondBits),
    discarding.counter("discards_total", &Disk::discards, Unit::None, "Discards completed."),
    discarding.counter("discards_merged_total", &Disk::discardsMerged, Unit::None,
                       "Discards merged with another request."),
    discarding.counter("discarded_bytes_total", &Disk::discardedBytes, Unit::Bytes, "Bytes discarded."),
    discarding.counter("discard_seconds_total", &Disk::discardSeconds, Unit::Seconds,
                       "Time of all discards together, waiting included.", millisecondBits),
    flushing.counter("flushes_total", &Disk::flushes, Unit::None, "Flushes completed."),
    flushing.counter("flush_seconds_total", &Disk::flushSeconds, Unit::Seconds,
                     "Time of all flushes together, waiting included.", millisecondBits),

    block.gauge("size_bytes", &Disk::sizeBytes, Unit::Bytes, "Size of the device."),
    block.state("read_only", &Disk::readOnly, "1 when nothing can be written to it."),
    queue.info("rotational", &Disk::rotational, "1 for a disk that turns."),
    block.info("removable", &Disk::removable, "1 when its medium can be taken out."),
    queue.gauge("logical_block_bytes", &Disk::logicalBlockBytes, Unit::Bytes, "Smallest unit that it can address."),
    queue.gauge("physical_block_bytes", &Disk::physicalBlockBytes, Unit::Bytes,
                "Smallest unit that it writes without reading first."),
    queue.info("scheduler", &Disk::scheduler, "I/O scheduler in use."),
    device.info("vendor", &Disk::vendor, "Vendor, as the device says."),
    device.info("model", &Disk::model, "Model, as the device says."),
    device.info("serial", &Disk::serial, "Serial number."),
    identified.info("wwid", &Disk::worldWideId, "World-wide identifier."),
    device.info("firmware", &Disk::firmware, "Revision of its firmware."),
    mapper.info("device_mapper_name", &Disk::deviceMapperName, "Name below /dev/mapper."),
    mapper.info("device_mapper_uuid", &Disk::deviceMapperUuid, "UUID that the device mapper has for it."),
    raid.info("raid_level", &Disk::raidLevel, "RAID level of an md array."),
    raid.state("raid_state", &Disk::raidState, "State of an md array (array_state)."),
    raid.state("raid_sync_action", &Disk::raidSyncAction, "What an md array does with its redundancy (sync_action)."),
    raid.gauge("raid_sync_ratio", &Disk::raidSyncRatio, Unit::Ratio,
               "How far the resync or check is (sync_completed)."),
    raid.gauge("raid_disks", &Disk::raidDisks, Unit::None, "Disks that a complete md array has."),
    raid.gauge("raid_degraded", &Disk::raidDegraded, Unit::None, "Disks that an md array lacks."),
};

} // namespace

template<> std::span<const Field<Disk>> fieldsOf<Disk>() {
    return fields;
}

} // namespace zel

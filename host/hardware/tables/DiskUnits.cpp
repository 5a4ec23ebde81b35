// The fields of the disks of the inventory, and of what they are made of.
#include "host/hardware/DiskUnit.h"

namespace zel {

namespace {

constexpr Entries<DiskUnit> block{Area::Hardware, "disk_units", "/sys/block"};
constexpr Entries<DiskUnit> device = block.from("/sys/block/*/device");
constexpr Entries<DiskUnit> queue = block.from("/sys/block/*/queue");
constexpr Entries<DiskUnit> scsi = block.from("/sys/block/*/device", "a disk of a SCSI, SAS, SATA or USB controller");
constexpr Entries<DiskUnit> mapper = block.from("/sys/block/*/dm", "a disk of the device mapper");
constexpr Entries<DiskUnit> raid = block.from("/sys/block/*/md", "an array of md");

constexpr Field<DiskUnit> diskFields[] = {
    block.label("name", &DiskUnit::name, "Name of the device as the kernel has it."),
    block.info("kind", &DiskUnit::kind, "What it is: disk, rom, mpath, lvm, crypt, a RAID level, loop, path, ..."),
    device.info("vendor", &DiskUnit::vendor, "Vendor, as the device says."),
    device.info("model", &DiskUnit::model, "Model, as the device says."),
    device.info("firmware", &DiskUnit::firmware, "Revision of its firmware."),
    device.needing(Rights::Root, device.info("serial", &DiskUnit::serial, "Serial number, when asked for.")),
    device.info("world_wide_name", &DiskUnit::worldWideName, "World-wide name of the medium."),
    block.info("transport", &DiskUnit::transport, "By what it is connected: sata, sas, nvme, usb, virtio, fc, ..."),
    block.info("size_bytes", &DiskUnit::sizeBytes, Unit::Bytes, "Size."),
    queue.info("logical_block_bytes", &DiskUnit::logicalBlockBytes, Unit::Bytes, "Smallest unit that it can address."),
    queue.info("physical_block_bytes", &DiskUnit::physicalBlockBytes, Unit::Bytes,
               "Smallest unit that it writes without reading first."),
    queue.info("rotational", &DiskUnit::rotational, "1 for a disk that turns."),
    block.info("removable", &DiskUnit::removable, "1 when its medium can be taken out."),
    block.state("read_only", &DiskUnit::readOnly, "1 when nothing can be written to it."),
    device.state("state", &DiskUnit::state, "State of the device: running, offline, live, ..."),
    block.info("partitions", &DiskUnit::partitions, "Partitions on it."),
    queue.info("scheduler", &DiskUnit::scheduler, "I/O scheduler in use."),
    queue.info("write_cache", &DiskUnit::writeCache, "write back with a volatile cache, else write through."),
    queue.info("zoned", &DiskUnit::zoned, "Model of its zones; none for an ordinary disk."),
    scsi.info("queue_depth", &DiskUnit::queueDepth, "Commands that it is given at a time."),
    queue.info("queue_requests", &DiskUnit::queueRequests, "Requests that the kernel queues for it."),
    queue.info("discard", &DiskUnit::discard, "1 when it takes discards."),
    queue.info("discard_granularity_bytes", &DiskUnit::discardGranularityBytes, Unit::Bytes, "Unit of its discards."),
    block.from("/sys/block/*/nsid", "an NVMe disk")
        .info("namespace_id", &DiskUnit::namespaceId, "Number of the namespace of its NVMe controller."),
    scsi.info("scsi_address", &DiskUnit::scsiAddress, "Host, channel, target and unit."),
    block.info("controller", &DiskUnit::controller, "Controller, as the kernel numbers it."),
    block.from("/sys/bus/pci/devices/*/driver")
        .info("controller_driver", &DiskUnit::controllerDriver, "Driver of the controller's PCI device."),
    block.info("pci_address", &DiskUnit::pciAddress, "Address of the controller's PCI device."),
    mapper.info("device_mapper_name", &DiskUnit::deviceMapperName, "Name below /dev/mapper."),
    mapper.needing(Rights::Root, mapper.info("device_mapper_uuid", &DiskUnit::deviceMapperUuid,
                                             "UUID that the device mapper has for it, when asked for.")),
    raid.state("raid_state", &DiskUnit::raidState, "State of an md array (array_state)."),
    raid.info("raid_disks", &DiskUnit::raidDisks, "Disks that a complete md array has."),
    raid.state("raid_degraded", &DiskUnit::raidDegraded, "Disks that an md array lacks."),
    block.info("members", &DiskUnit::members, "Disks and partitions that it is made of."),
    block.info("holders", &DiskUnit::holders, "Disks that are made of it."),
};

constexpr Entries<DiskMember> member{Area::Hardware, "disk_members", "/sys/block/*/slaves",
                                     "disks of the device mapper or of md"};
constexpr Entries<DiskMember> ofArray = member.from("/sys/block/*/md/dev-*", "an array of md");

constexpr Field<DiskMember> memberFields[] = {
    member.label("disk", &DiskMember::disk, "Disk that is made of it."),
    member.label("member", &DiskMember::member, "Disk or partition."),
    ofArray.state("state", &DiskMember::state, "State in its array; of other members that of their device."),
    ofArray.state("slot", &DiskMember::slot, "Place in its array; none for a spare."),
    member.info("scsi_address", &DiskMember::path, "Host, channel, target and unit of a member that is a SCSI disk."),
};

} // namespace

template<> std::span<const Field<DiskUnit>> fieldsOf<DiskUnit>() {
    return diskFields;
}

template<> std::span<const Field<DiskMember>> fieldsOf<DiskMember>() {
    return memberFields;
}

} // namespace zel

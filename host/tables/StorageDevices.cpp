// The fields of md arrays, NVMe controllers, tape drives and udev's records.
#include "host/StorageDevices.h"

namespace zel {

namespace {

constexpr Entries<MdArray> md{Area::Disks, "md_arrays", "/proc/mdstat", "an md array (module md_mod)"};
constexpr Field<MdArray> arrayFields[] = {
    md.label("name", &MdArray::name, "Name of the array."),
    md.state("state", &MdArray::state, "active, inactive or broken."),
    md.info("level", &MdArray::level, "RAID level; an inactive array has none."),
    md.state("read_only", &MdArray::readOnly, "1 when nothing is written: on purpose, or until the first write."),
    md.gauge("disks", &MdArray::disks, Unit::None, "Disks that it has, whatever they do."),
    md.gauge("disks_required", &MdArray::required, Unit::None, "Disks that a complete array has in use."),
    md.gauge("disks_active", &MdArray::active, Unit::None, "Disks in use."),
    md.gauge("disks_failed", &MdArray::failed, Unit::None, "Disks that failed."),
    md.gauge("disks_spare", &MdArray::spare, Unit::None, "Disks that wait to replace one."),
    md.gauge("disks_journal", &MdArray::journals, Unit::None, "Disks that hold a journal."),
    md.gauge("size_bytes", &MdArray::sizeBytes, Unit::Bytes, "Size of the array."),
    md.state("action", &MdArray::action, "none, resync, recovery, check or reshape."),
    md.state("wait", &MdArray::wait, "Why the action does not go on: delayed, pending or remote; none when it does."),
    md.gauge("synced_bytes", &MdArray::syncedBytes, Unit::Bytes,
             "How far the action is; the size of the array when there is none, 0 while it waits."),
    md.gauge("sync_target_bytes", &MdArray::syncTargetBytes, Unit::Bytes, "How far the action has to go."),
    md.gauge("sync_bytes_per_second", &MdArray::syncSpeed, Unit::Bytes, "How fast the action goes."),
    md.gauge("sync_remaining_seconds", &MdArray::syncRemaining, Unit::Seconds,
             "How long the action will still take, as the kernel reckons."),
};

constexpr Entries<NvmeState> nvme{Area::Disks, "nvme_states", "/sys/class/nvme", "an NVMe controller"};
constexpr Field<NvmeState> nvmeFields[] = {
    nvme.label("name", &NvmeState::name, "Name of the controller."),
    nvme.state("state", &NvmeState::state, "new, live, resetting, connecting, deleting or dead."),
    nvme.info("model", &NvmeState::model, "Model."),
    nvme.info("serial", &NvmeState::serial, "Serial number."),
    nvme.info("firmware", &NvmeState::firmware, "Revision of its firmware."),
    nvme.info("transport", &NvmeState::transport, "What it is reached by, such as pcie or tcp."),
    nvme.info("address", &NvmeState::address, "Its address there."),
};

constexpr Entries<Tape> tape{Area::Disks, "tapes", "/sys/class/scsi_tape/*/stats",
                             "a SCSI tape drive and kernel 4.2 or later"};
constexpr Field<Tape> tapeFields[] = {
    tape.label("name", &Tape::name, "Name of the drive."),
    tape.gauge("in_flight", &Tape::inFlight, Unit::None, "Requests in progress."),
    tape.counter("reads_total", &Tape::reads, Unit::None, "Reads completed."),
    tape.counter("read_bytes_total", &Tape::readBytes, Unit::Bytes, "Bytes read."),
    tape.counter("read_seconds_total", &Tape::readSeconds, Unit::Seconds, "Time of all reads together."),
    tape.counter("writes_total", &Tape::writes, Unit::None, "Writes completed."),
    tape.counter("written_bytes_total", &Tape::writtenBytes, Unit::Bytes, "Bytes written."),
    tape.counter("write_seconds_total", &Tape::writeSeconds, Unit::Seconds, "Time of all writes together."),
    tape.counter("io_seconds_total", &Tape::ioSeconds, Unit::Seconds,
                 "Time of all requests together, winding included."),
    tape.counter("others_total", &Tape::others, Unit::None, "Requests that neither read nor write."),
    tape.counter("residuals_total", &Tape::residuals, Unit::None,
                 "Reads and writes that did not move as much as was asked for."),
};

constexpr Entries<UdevDisk> udev{Area::Disks, "udev_disks", "/run/udev/data", "systemd-udevd or another udev"};
constexpr Field<UdevDisk> udevFields[] = {
    udev.label("name", &UdevDisk::name, "Name of the device as the kernel has it."),
    udev.info("model", &UdevDisk::model, "Model (ID_MODEL)."),
    udev.info("serial", &UdevDisk::serial, "Serial number (ID_SERIAL_SHORT)."),
    udev.info("revision", &UdevDisk::revision, "Revision of its firmware (ID_REVISION)."),
    udev.info("path", &UdevDisk::path, "Where it is plugged in (ID_PATH)."),
    udev.info("wwn", &UdevDisk::worldWideName, "World-wide name (ID_WWN)."),
    udev.info("ata_write_cache", &UdevDisk::ataWriteCache, "1 when an ATA disk has a cache for writes."),
    udev.info("ata_write_cache_enabled", &UdevDisk::ataWriteCacheEnabled, "1 when that cache was in use."),
    udev.info("ata_rotation_rate_rpm", &UdevDisk::ataRotationRate, Unit::RevolutionsPerMinute,
              "How fast an ATA disk turns; 0 when it does not."),
    udev.info("filesystem_type", &UdevDisk::filesystemType, "What is on the device (ID_FS_TYPE)."),
    udev.info("filesystem_usage", &UdevDisk::filesystemUsage, "filesystem, raid, crypto or other."),
    udev.info("filesystem_uuid", &UdevDisk::filesystemUuid, "Its UUID."),
    udev.info("filesystem_version", &UdevDisk::filesystemVersion, "The version of its format."),
    udev.info("mapper_name", &UdevDisk::mapperName, "Name below /dev/mapper (DM_NAME)."),
    udev.info("mapper_uuid", &UdevDisk::mapperUuid, "UUID that the device mapper has for it."),
    udev.info("volume_group", &UdevDisk::volumeGroup, "Volume group of a logical volume."),
    udev.info("logical_volume", &UdevDisk::logicalVolume, "Logical volume that it is."),
    udev.info("mapper_layer", &UdevDisk::mapperLayer, "Layer of a logical volume that is made of several."),
};

} // namespace

template<> std::span<const Field<MdArray>> fieldsOf<MdArray>() {
    return arrayFields;
}
template<> std::span<const Field<NvmeState>> fieldsOf<NvmeState>() {
    return nvmeFields;
}
template<> std::span<const Field<Tape>> fieldsOf<Tape>() {
    return tapeFields;
}
template<> std::span<const Field<UdevDisk>> fieldsOf<UdevDisk>() {
    return udevFields;
}

} // namespace zel

// The fields of the filesystems of type btrfs.
#include "host/Btrfs.h"

namespace zel {

namespace {

constexpr std::string_view provider = "a filesystem of type btrfs";

constexpr Entries<Btrfs> whole{Area::Filesystems, "btrfs", "/sys/fs/btrfs/<uuid>", provider};
constexpr Field<Btrfs> wholeFields[] = {
    whole.label("uuid", &Btrfs::uuid, "UUID of the filesystem."),
    whole.info("label", &Btrfs::label, "Name that it was given."),
    whole.info("metadata_uuid", &Btrfs::metadataUuid, "UUID in its metadata, which stays when the other is changed."),
    whole.from("/sys/fs/btrfs/<uuid>/exclusive_operation", "kernel 5.10 and a filesystem of type btrfs")
        .state("operation", &Btrfs::operation, "What is done to it as a whole, such as balance; none otherwise."),
    whole.info("node_bytes", &Btrfs::nodeBytes, Unit::Bytes, "Size of a block of metadata."),
    whole.info("sector_bytes", &Btrfs::sectorBytes, Unit::Bytes, "Size of a block of data."),
    whole.gauge("reserve_bytes", &Btrfs::reserveBytes, Unit::Bytes,
                "Size of the global reserve, from which it can always delete."),
    whole.gauge("reserve_unused_bytes", &Btrfs::reserveUnusedBytes, Unit::Bytes, "What of that is not in use."),
};

constexpr Entries<BtrfsSpace> space{Area::Filesystems, "btrfs_spaces", "/sys/fs/btrfs/<uuid>/allocation", provider};
constexpr Field<BtrfsSpace> spaceFields[] = {
    space.label("uuid", &BtrfsSpace::uuid, "UUID of the filesystem."),
    space.label("type", &BtrfsSpace::type, "What it is for: data, metadata, system, or mixed for data and metadata."),
    space.gauge("total_bytes", &BtrfsSpace::totalBytes, Unit::Bytes, "Space allocated for this type."),
    space.gauge("used_bytes", &BtrfsSpace::usedBytes, Unit::Bytes, "What of that is in use."),
    space.gauge("reserved_bytes", &BtrfsSpace::reservedBytes, Unit::Bytes, "What is promised to writes in progress."),
    space.gauge("may_use_bytes", &BtrfsSpace::mayUseBytes, Unit::Bytes, "What writes may ask for at most."),
    space.gauge("pinned_bytes", &BtrfsSpace::pinnedBytes, Unit::Bytes, "What is free after the next commit."),
    space.gauge("read_only_bytes", &BtrfsSpace::readOnlyBytes, Unit::Bytes,
                "Free space in blocks that are not written any more."),
    space.gauge("disk_total_bytes", &BtrfsSpace::diskTotalBytes, Unit::Bytes,
                "Space on devices that is allocated for this type, all copies counted."),
    space.gauge("disk_used_bytes", &BtrfsSpace::diskUsedBytes, Unit::Bytes,
                "Space on devices that is in use, all copies counted."),
};

constexpr Entries<BtrfsProfile> profile{Area::Filesystems, "btrfs_profiles", "/sys/fs/btrfs/<uuid>/allocation",
                                        provider};
constexpr Field<BtrfsProfile> profileFields[] = {
    profile.label("uuid", &BtrfsProfile::uuid, "UUID of the filesystem."),
    profile.label("type", &BtrfsProfile::type, "What the space is for, such as data."),
    profile.label("profile", &BtrfsProfile::profile, "How it lies on the devices, such as single, dup or raid1."),
    profile.gauge("total_bytes", &BtrfsProfile::totalBytes, Unit::Bytes, "Space allocated with this profile."),
    profile.gauge("used_bytes", &BtrfsProfile::usedBytes, Unit::Bytes, "What of that is in use."),
    profile.gauge("allocation_ratio", &BtrfsProfile::ratio, Unit::Ratio,
                  "Bytes on devices for each byte, parity included."),
};

constexpr Entries<BtrfsDevice> device{Area::Filesystems, "btrfs_devices", "BTRFS_IOC_DEV_INFO",
                                      "a mounted filesystem of type btrfs"};
constexpr Entries<BtrfsDevice> error = device.from("BTRFS_IOC_GET_DEV_STATS", "a mounted filesystem of type btrfs");
constexpr Field<BtrfsDevice> deviceFields[] = {
    device.label("uuid", &BtrfsDevice::uuid, "UUID of the filesystem."),
    device.label("device", &BtrfsDevice::device, "Name of the device below /dev; empty for one that is missing."),
    device.label("device_uuid", &BtrfsDevice::deviceUuid, "UUID of the device; empty when it is not known."),
    device.from("BTRFS_IOC_DEV_INFO, /sys/fs/btrfs/<uuid>/devices", provider)
        .gauge("size_bytes", &BtrfsDevice::sizeBytes, Unit::Bytes, "Size of the device."),
    device.gauge("unused_bytes", &BtrfsDevice::unusedBytes, Unit::Bytes, "Space of the device that is not allocated."),
    error.counter("write_errors_total", &BtrfsDevice::writeErrors, Unit::None, "Writes that failed."),
    error.counter("read_errors_total", &BtrfsDevice::readErrors, Unit::None, "Reads that failed."),
    error.counter("flush_errors_total", &BtrfsDevice::flushErrors, Unit::None, "Flushes that failed."),
    error.counter("corruption_errors_total", &BtrfsDevice::corruptionErrors, Unit::None,
                  "Blocks whose checksum was wrong."),
    error.counter("generation_errors_total", &BtrfsDevice::generationErrors, Unit::None,
                  "Blocks of a generation that was not expected."),
};

} // namespace

template<> std::span<const Field<Btrfs>> fieldsOf<Btrfs>() {
    return wholeFields;
}

template<> std::span<const Field<BtrfsSpace>> fieldsOf<BtrfsSpace>() {
    return spaceFields;
}

template<> std::span<const Field<BtrfsProfile>> fieldsOf<BtrfsProfile>() {
    return profileFields;
}

template<> std::span<const Field<BtrfsDevice>> fieldsOf<BtrfsDevice>() {
    return deviceFields;
}

} // namespace zel

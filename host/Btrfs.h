// The filesystems of type btrfs: how their space is divided, and their devices. /sys/fs/btrfs, and calls to a mount of
// each. Any user.
//
// A filesystem is its UUID. Those that come are seen at once when the mounts of this host show them, else within 30
// seconds; a host without the file system costs one look in 30 seconds.
//
// The devices are asked for at a mount point, by a call that is held to the deadline: a device that is sick holds it
// up. Where no mount of the filesystem can be asked, as in a recording, /sys/fs/btrfs/<uuid>/devices names them, with
// the size of each as its block device has it; nothing else is known then.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Btrfs {
    std::string uuid;
    Reading<std::string> label;
    Reading<std::string> metadataUuid;
    Reading<std::string> operation; // "none", "balance", "device add": one at a time; kernel 5.10 and later
    Count nodeBytes, sectorBytes;
    Count reserveBytes, reserveUnusedBytes; // the global reserve: its size, and what of it is still reserved
};

/// Space of one type: what is allocated for data, metadata, the system's own tree, or data and metadata together.
struct BtrfsSpace {
    std::string uuid, type; // "data", "metadata", "system", "mixed"
    Count totalBytes, usedBytes;
    Count reservedBytes, mayUseBytes; // promised, and what may be asked for at most
    Count pinnedBytes, readOnlyBytes; // free after the next commit; in blocks that are not written any more
    Count diskTotalBytes, diskUsedBytes;
};

/// The part of a space that has one profile.
struct BtrfsProfile {
    std::string uuid, type, profile; // "raid1"
    Count totalBytes, usedBytes;
    Number ratio; // bytes on devices for each byte; unsupported for a profile that is not known
};

struct BtrfsDevice {
    std::string uuid, device; // "sda1", "mapper/data"; empty for one that is missing
    std::string deviceUuid;   // empty when it is not known
    Count sizeBytes;
    Count unusedBytes; // that no space has been given
    Count writeErrors, readErrors, flushErrors, corruptionErrors, generationErrors;
};

template<> std::span<const Field<Btrfs>> fieldsOf<Btrfs>();
template<> std::span<const Field<BtrfsSpace>> fieldsOf<BtrfsSpace>();
template<> std::span<const Field<BtrfsProfile>> fieldsOf<BtrfsProfile>();
template<> std::span<const Field<BtrfsDevice>> fieldsOf<BtrfsDevice>();

} // namespace zel

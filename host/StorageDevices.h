// What belongs to the disks and is no line of /proc/diskstats: md arrays (/proc/mdstat), NVMe controllers
// (/sys/class/nvme), tape drives (/sys/class/scsi_tape), and what udev found out about each block device
// (/run/udev/data). Any user.
//
// Arrays are read in each sample by a bounded call, because kernels before 4.1 answer under the lock of an array that
// may be waiting for its disks. Counters of tapes and the state of NVMe controllers are read in each sample, their
// names and what udev says now and then. A host without such devices is asked for them every 30 seconds.
#pragma once

#include "host/Schema.h"

namespace zel {

/// One array of /proc/mdstat.
struct MdArray {
    std::string name;           // "md0"
    Reading<std::string> state; // "active", "inactive", "broken"
    Reading<std::string> level; // "raid1"; none of an inactive array
    Count readOnly;             // 1 or 0; 1 also while nobody has written yet ("auto-read-only")
    Count disks, required;      // that it has, of all roles; that a complete one has in use
    Count active, failed, spare, journals;
    Number sizeBytes;
    Reading<std::string> action; // "none", "resync", "recovery", "check", "reshape"
    Reading<std::string> wait;   // "none", or why the action has not begun: "delayed", "pending", "remote"
    Number syncedBytes, syncTargetBytes, syncSpeed, syncRemaining;
};

/// One controller of /sys/class/nvme.
struct NvmeState {
    std::string name;           // "nvme0"
    Reading<std::string> state; // "live"
    Reading<std::string> model, serial, firmware, transport, address;
};

/// One tape drive of the SCSI layer. Its counters begin with the driver (kernel 4.2 and later).
struct Tape {
    std::string name; // "st0"
    Count inFlight, reads, readBytes;
    Number readSeconds;
    Count writes, writtenBytes;
    Number writeSeconds;
    Number ioSeconds;
    Count others, residuals;
};

/// What udev's rules found out about one block device; a device without a record has no row.
struct UdevDisk {
    std::string name; // as in /proc/diskstats
    Reading<std::string> model, serial, revision, path, worldWideName;
    Count ataWriteCache, ataWriteCacheEnabled; // 1 or 0
    Count ataRotationRate;                     // per minute; 0 for a disk that does not turn
    Reading<std::string> filesystemType, filesystemUsage, filesystemUuid, filesystemVersion;
    Reading<std::string> mapperName, mapperUuid, volumeGroup, logicalVolume, mapperLayer;
};

template<> std::span<const Field<MdArray>> fieldsOf<MdArray>();
template<> std::span<const Field<NvmeState>> fieldsOf<NvmeState>();
template<> std::span<const Field<Tape>> fieldsOf<Tape>();
template<> std::span<const Field<UdevDisk>> fieldsOf<UdevDisk>();

} // namespace zel

// Block devices and partitions: every column of /proc/diskstats, and what /sys/class/block says of each. Any user; a
// serial number only where the driver shows it.
//
// A disk is its name, its numbers and its sequence (diskseq, kernel 5.15 and later; a partition has that of its disk):
// another one under an old name starts anew.
//
// The times and the queue are those of the disk as the kernel counts them: milliseconds, in 32 bits. A kernel before
// 4.18 has no discards, one before 5.5 no flushes, and partitions before 2.6.25 have requests and bytes only: what is
// missing is unsupported. A partition has a size and a read-only state; what else there is to say is said of its disk.
//
// On this host an attribute is read
//   size, read-only, sequence    when the line of the disk changed, or after 10 seconds: 600 disks would cost as much
//   as
//                                their lines again (0.6 us for each file that is open already)
//   scheduler, names and states of device mapper and md    every 30 seconds, by a bounded call of each disk: the kernel
//                                answers them under locks of the driver. Timed out when it does not
//   all others                   once for each identity, by the same call
// Below a root directory everything is read in each sample.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Disk {
    std::string name; // "sda", "dm-0", "cciss/c0d0", as the kernel has it
    std::uint64_t major = 0, minor = 0;
    Count sequence;
    Reading<std::string> parent; // the disk of a partition

    Count reads, readsMerged, readBytes;
    Number readSeconds;
    Count writes, writesMerged, writtenBytes;
    Number writeSeconds;
    Count inFlight;
    Number ioSeconds;
    Number weightedSeconds;
    Count discards, discardsMerged, discardedBytes;
    Number discardSeconds;
    Count flushes;
    Number flushSeconds;

    Count sizeBytes;
    Count readOnly;   // 1 or 0
    Count rotational; // 1 or 0
    Count removable;  // 1 or 0
    Count logicalBlockBytes, physicalBlockBytes;
    Reading<std::string> scheduler;
    Reading<std::string> vendor, model, serial, worldWideId, firmware;
    Reading<std::string> deviceMapperName, deviceMapperUuid;
    Reading<std::string> raidLevel, raidState, raidSyncAction;
    Number raidSyncRatio;
    Count raidDisks, raidDegraded;
};

template<> std::span<const Field<Disk>> fieldsOf<Disk>();

} // namespace zel

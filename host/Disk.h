// Block devices: every field of /proc/diskstats, and what /sys/class/block says of each. Any user; serial numbers only
// where the driver shows them.
//
// A disk is its name, its numbers and its sequence (diskseq, kernel 5.15 and later): another one under an old name
// starts anew.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Disk {
    std::string name; // "sda", "dm-0", as the kernel has it
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
    Count rotational; // 1 or 0
    Count readOnly;
    Count removable;
    Count logicalBlockBytes, physicalBlockBytes;
    Reading<std::string> scheduler;
    Reading<std::string> model, serial, firmware;
    Reading<std::string> deviceMapperName;
    Reading<std::string> raidLevel, raidState, raidSyncAction;
    Count raidDisks, raidDegraded;
};

template<> std::span<const Field<Disk>> fieldsOf<Disk>();

} // namespace zel

// Control groups, version 2: the tree below /sys/fs/cgroup (below /sys/fs/cgroup/unified where the controllers are
// those of version 1). Any user. The first sample is complete.
//
// A cgroup is its path and, where the kernel itself answers, its inode: one that is made again under its old name
// starts anew. Every value is that of the cgroup with all cgroups below it. A controller that is not switched on for a
// cgroup gives nothing: unsupported. A limit that is not set ("max") is unsupported too.
//
// At most CGROUP_LIMIT cgroups are read, those of the upper levels first, down to CGROUP_DEPTH_LIMIT levels below the
// root, and CGROUP_DEVICE_LIMIT rows of devices. What is left out is counted in the totals.
//
// On this host limits and weights are read when a cgroup is new and then every 30 seconds; so are the numbers of dying
// descendants of a cgroup without children, and files that were missing. Everything else is read in each sample. Below
// a root directory everything is.
#pragma once

#include "host/Schema.h"

namespace zel {

inline constexpr std::size_t CGROUP_LIMIT = 4096;
inline constexpr unsigned CGROUP_DEPTH_LIMIT = 32;
inline constexpr std::size_t CGROUP_DEVICE_LIMIT = 16384;

struct CgroupTotals {
    Reading<std::string> mountPoint;
    Reading<std::string> controllers; // of version 2: "cpuset cpu io memory pids"
    Count cgroups;                    // rows
    Count cgroupsLeftOut, devicesLeftOut;
};

struct Cgroup {
    std::string path; // "/" is the root, which stands for the machine
    Count inode;
    Reading<std::string> unitType;  // "service", "slice", "scope", ...: of a name that systemd gives
    Reading<std::string> container; // that it is, or is in
    Count populated;                // 1 or 0
    Count frozen;                   // 1 or 0
    Count descendants, dyingDescendants;

    Number cpuUsageSeconds, cpuUserSeconds, cpuSystemSeconds, cpuNiceSeconds;
    Count cpuPeriods, cpuThrottledPeriods;
    Number cpuThrottledSeconds;
    Count cpuBursts;
    Number cpuBurstSeconds;
    Number cpuLimit; // processors
    Number cpuPeriodSeconds;
    Count cpuWeight;

    Count memoryCurrent, memoryPeak, memoryMin, memoryLow, memoryHigh, memoryMax, swapCurrent, swapMax;
    Count anonymousBytes, fileBytes, kernelBytes, kernelStackBytes, pageTablesBytes, perCpuBytes, socketBytes,
        sharedBytes, zswapBytes, zswappedBytes, mappedBytes, dirtyBytes, writebackBytes, swapCachedBytes,
        anonymousHugeBytes, inactiveAnonymousBytes, activeAnonymousBytes, inactiveFileBytes, activeFileBytes,
        unevictableBytes, slabReclaimableBytes, slabUnreclaimableBytes;
    Count pageFaults, majorPageFaults, refaultsAnonymous, refaultsFile, pagesScanned, pagesReclaimed;
    Count memoryLowEvents, memoryHighEvents, memoryMaxEvents, oomEvents, oomKills, oomGroupKills;

    Count ioReadBytes, ioWrittenBytes, ioDiscardedBytes, ioReads, ioWrites, ioDiscards;

    Count pidsCurrent, pidsMax, pidsLimitHits;

    Number cpuSomeAverage10, cpuSomeAverage60, cpuSomeAverage300, cpuSomeSeconds;
    Number cpuFullAverage10, cpuFullAverage60, cpuFullAverage300, cpuFullSeconds;
    Number memorySomeAverage10, memorySomeAverage60, memorySomeAverage300, memorySomeSeconds;
    Number memoryFullAverage10, memoryFullAverage60, memoryFullAverage300, memoryFullSeconds;
    Number ioSomeAverage10, ioSomeAverage60, ioSomeAverage300, ioSomeSeconds;
    Number ioFullAverage10, ioFullAverage60, ioFullAverage300, ioFullSeconds;
};

/// What a cgroup did on one block device.
struct CgroupDevice {
    std::string path;   // of the cgroup
    std::string device; // "8:0"
    Count inode;        // of the cgroup
    Reading<std::string> name;
    Count readBytes, writtenBytes, discardedBytes, reads, writes, discards;
};

template<> std::span<const Field<CgroupTotals>> fieldsOf<CgroupTotals>();
template<> std::span<const Field<Cgroup>> fieldsOf<Cgroup>();
template<> std::span<const Field<CgroupDevice>> fieldsOf<CgroupDevice>();

} // namespace zel

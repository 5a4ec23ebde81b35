// Memory: all of /proc/meminfo, the NUMA nodes, huge pages by size, swap devices. Any user.
//
// The kernel counts in units of 1024 bytes; all members named Bytes are bytes. Every kernel has some of the keys of
// meminfo; the others are unsupported. Keys that are newer than this library are counted (unknownLines). The first
// sample is complete. Without a readable meminfo the whole area is lost; a node, a page size or the list of swap
// devices that cannot be read is noted in the state of the area.
#pragma once

#include "host/Schema.h"

namespace zel {

/// The whole machine.
struct Memory {
    Count totalBytes;
    Count freeBytes;
    Count availableBytes;
    Count buffersBytes;
    Count cachedBytes;
    Count swapCachedBytes;
    Count activeBytes;
    Count inactiveBytes;
    Count activeAnonymousBytes;
    Count inactiveAnonymousBytes;
    Count activeFileBytes;
    Count inactiveFileBytes;
    Count unevictableBytes;
    Count lockedBytes;
    Count highTotalBytes;
    Count highFreeBytes;
    Count lowTotalBytes;
    Count lowFreeBytes;
    Count mmapCopyBytes;
    Count swapTotalBytes;
    Count swapFreeBytes;
    Count zswapBytes;
    Count zswappedBytes;
    Count dirtyBytes;
    Count writebackBytes;
    Count anonymousBytes;
    Count mappedBytes;
    Count sharedBytes;
    Count kernelReclaimableBytes;
    Count slabBytes;
    Count slabReclaimableBytes;
    Count slabUnreclaimableBytes;
    Count kernelStackBytes;
    Count shadowCallStackBytes;
    Count pageTablesBytes;
    Count secondaryPageTablesBytes;
    Count nfsUnstableBytes;
    Count bounceBytes;
    Count writebackTemporaryBytes;
    Count commitLimitBytes;
    Count committedBytes;
    Count vmallocTotalBytes;
    Count vmallocUsedBytes;
    Count vmallocChunkBytes;
    Count perCpuBytes;
    Count earlyMemtestBadBytes;
    Count hardwareCorruptedBytes;
    Count anonymousHugeBytes;
    Count sharedHugeBytes;
    Count sharedHugeMappedBytes;
    Count fileHugeBytes;
    Count fileHugeMappedBytes;
    Count cmaTotalBytes;
    Count cmaFreeBytes;
    Count unacceptedBytes;
    Count balloonBytes;
    Count gpuActiveBytes;
    Count gpuReclaimBytes;
    Count quicklistsBytes;
    Count hugePages;
    Count hugePagesFree;
    Count hugePagesReserved;
    Count hugePagesSurplus;
    Count hugePageBytes;
    Count hugetlbBytes;
    Count directMap4kBytes;
    Count directMap64kBytes;
    Count directMap1mBytes;
    Count directMap2mBytes;
    Count directMap4mBytes;
    Count directMap1gBytes;
    Count directMap2gBytes;
    Count unknownLines; // names that have no member here
};

/// A key of meminfo that is newer than this library, so that nothing of it is lost. One of both numbers is unsupported:
/// the kernel says kB of what it counts in them. At most 256 of them.
struct MemoryOther {
    std::string key; // as the kernel has it: "Active(anon)"
    Count value;
    Count bytes;
};

/// One NUMA node, from /sys/devices/system/node.
struct MemoryNode {
    std::uint64_t node = 0;
    Count totalBytes;
    Count freeBytes;
    Count usedBytes;
    Count swapCachedBytes;
    Count activeBytes;
    Count inactiveBytes;
    Count activeAnonymousBytes;
    Count inactiveAnonymousBytes;
    Count activeFileBytes;
    Count inactiveFileBytes;
    Count unevictableBytes;
    Count lockedBytes;
    Count dirtyBytes;
    Count writebackBytes;
    Count fileBytes;
    Count mappedBytes;
    Count anonymousBytes;
    Count sharedBytes;
    Count kernelStackBytes;
    Count shadowCallStackBytes;
    Count pageTablesBytes;
    Count secondaryPageTablesBytes;
    Count nfsUnstableBytes;
    Count bounceBytes;
    Count writebackTemporaryBytes;
    Count kernelReclaimableBytes;
    Count slabBytes;
    Count slabReclaimableBytes;
    Count slabUnreclaimableBytes;
    Count anonymousHugeBytes;
    Count sharedHugeBytes;
    Count sharedHugeMappedBytes;
    Count fileHugeBytes;
    Count fileHugeMappedBytes;
    Count unacceptedBytes;
    Count hugePages;
    Count hugePagesFree;
    Count hugePagesSurplus;
    Count numaHit;
    Count numaMiss;
    Count numaForeign;
    Count numaInterleave;
    Count numaLocal;
    Count numaOther;
    Count unknownLines; // of meminfo
};

/// Huge pages of one size, from /sys/kernel/mm/hugepages.
struct HugePages {
    std::uint64_t pageBytes = 0;
    Count pages, free, reserved, surplus, overcommit;
};

/// One swap device or file, from /proc/swaps.
struct Swap {
    std::string device;
    Reading<std::string> type; // "partition", "file"
    Count sizeBytes, usedBytes;
    Number priority;
};

template<> std::span<const Field<Memory>> fieldsOf<Memory>();
template<> std::span<const Field<MemoryOther>> fieldsOf<MemoryOther>();
template<> std::span<const Field<MemoryNode>> fieldsOf<MemoryNode>();
template<> std::span<const Field<HugePages>> fieldsOf<HugePages>();
template<> std::span<const Field<Swap>> fieldsOf<Swap>();

} // namespace zel

// bcache: caches of fast disks in front of slow ones, below /sys/fs/bcache. Any user.
//
// Each set is read in each sample by a bounded call: the kernel answers under a lock that a disk which does not answer
// may hold. The kernel writes sizes with one decimal and a binary unit ("1.5k"), cut, not rounded: they are that exact.
#pragma once

#include "host/Schema.h"

namespace zel {

/// Hits and misses since the device came.
struct BcacheSet {
    std::string uuid;
    Number bucketBytes, averageKeyBytes, btreeCacheBytes;
    Number cacheAvailableRatio, rootUsageRatio;
    Count congested, treeDepth, btreeNodes, activeJournalEntries, cacheReadRaces;
    Number btreeReadSeconds; // on average
};

/// A disk that is cached.
struct BcacheBackingDevice {
    std::string uuid;   // of its set
    std::string device; // "bdev0"
    Reading<std::string> state;
    Number dirtyBytes;
    Number bypassedBytes;
    Count hits, misses, bypassHits, bypassMisses, missCollisions, readaheads;
    Number writebackRate, writebackTargetBytes, writebackProportional, writebackIntegral, writebackChange;
};

/// A disk that caches.
struct BcacheCacheDevice {
    std::string uuid;   // of its set
    std::string device; // "cache0"
    Count ioErrors;
    Number metadataWrittenBytes, writtenBytes;
};

template<> std::span<const Field<BcacheSet>> fieldsOf<BcacheSet>();
template<> std::span<const Field<BcacheBackingDevice>> fieldsOf<BcacheBackingDevice>();
template<> std::span<const Field<BcacheCacheDevice>> fieldsOf<BcacheCacheDevice>();

} // namespace zel

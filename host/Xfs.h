// What the filesystems of type XFS count: /sys/fs/xfs/<device>/stats/stats. Any user.
//
// A filesystem is its device. Kernels before 4.4 count all filesystems together, /proc/fs/xfs/stat: one row, "all".
// Filesystems that come are seen at once when the mounts of this host show them, else within 30 seconds; a host without
// XFS costs one look in 30 seconds. A line that a kernel does not write is unsupported; the lines of the newer trees,
// quota and debugging are left out. But for bytes the counters have 32 bits. They begin anew when the filesystem is
// mounted, and when somebody writes to stats_clear: rates are not yet then.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Xfs {
    std::string device; // "sda1", "dm-0"
    // extent_alloc
    Count allocatedExtents, allocatedBlocks, freedExtents, freedBlocks;
    // abt
    Count allocationLookups, allocationCompares, allocationInserts, allocationDeletes;
    // blk_map
    Count mapReads, mapWrites, unmaps, listInserts, listDeletes, listLookups, listCompares;
    // bmbt
    Count mapTreeLookups, mapTreeCompares, mapTreeInserts, mapTreeDeletes;
    // dir
    Count directoryLookups, directoryCreates, directoryRemoves, directoryReads;
    // trans
    Count transactionsWaited, transactions, transactionsEmpty;
    // ig
    Count inodeAttempts, inodesFound, inodesRecycled, inodesMissed, inodesDuplicate, inodesReclaimed, attributeChanges;
    // log
    Count logWrites, logBlocks, logNoBuffer, logForces, logForceSleeps;
    // push_ail
    Count pushTries, pushSleeps, pushes, pushSuccesses, pushBuffers, pushPinned, pushLocked, pushFlushing, pushRestarts,
        pushFlushes;
    // xstrat
    Count delayedWhole, delayedSplit;
    // rw
    Count writeCalls, readCalls;
    // attr
    Count extendedGets, extendedSets, extendedRemoves, extendedLists;
    // icluster
    Count inodeFlushes, clusterFlushes, clusterInodes;
    // vnodes
    Count vnodesActive, vnodesAllocated, vnodesGot, vnodesHeld, vnodesReleased, vnodesReclaimed, vnodesRemoved,
        vnodesFreed;
    // buf
    Count bufferGets, bufferCreates, bufferLocked, bufferWaited, bufferBusy, bufferMissed, bufferPageRetries,
        bufferPagesFound, bufferReads;
    // xpc
    Count delayedBytes, writtenBytes, readBytes;
};

template<> std::span<const Field<Xfs>> fieldsOf<Xfs>();

} // namespace zel

// The lines of the statistics of XFS, in the kernels' order.
#pragma once

#include "host/Xfs.h"

namespace zel {

inline constexpr std::size_t XFS_NUMBERS_AT_MOST = 10;

/// A line: its name, and what its numbers are; null from the end of the line on.
struct XfsLine {
    std::string_view name;
    Count Xfs::*members[XFS_NUMBERS_AT_MOST];
};

inline constexpr XfsLine XFS_LINES[] = {
    {"extent_alloc", {&Xfs::allocatedExtents, &Xfs::allocatedBlocks, &Xfs::freedExtents, &Xfs::freedBlocks}},
    {"abt", {&Xfs::allocationLookups, &Xfs::allocationCompares, &Xfs::allocationInserts, &Xfs::allocationDeletes}},
    {"blk_map",
     {&Xfs::mapReads, &Xfs::mapWrites, &Xfs::unmaps, &Xfs::listInserts, &Xfs::listDeletes, &Xfs::listLookups,
      &Xfs::listCompares}},
    {"bmbt", {&Xfs::mapTreeLookups, &Xfs::mapTreeCompares, &Xfs::mapTreeInserts, &Xfs::mapTreeDeletes}},
    {"dir", {&Xfs::directoryLookups, &Xfs::directoryCreates, &Xfs::directoryRemoves, &Xfs::directoryReads}},
    {"trans", {&Xfs::transactionsWaited, &Xfs::transactions, &Xfs::transactionsEmpty}},
    {"ig",
     {&Xfs::inodeAttempts, &Xfs::inodesFound, &Xfs::inodesRecycled, &Xfs::inodesMissed, &Xfs::inodesDuplicate,
      &Xfs::inodesReclaimed, &Xfs::attributeChanges}},
    {"log", {&Xfs::logWrites, &Xfs::logBlocks, &Xfs::logNoBuffer, &Xfs::logForces, &Xfs::logForceSleeps}},
    {"push_ail",
     {&Xfs::pushTries, &Xfs::pushSleeps, &Xfs::pushes, &Xfs::pushSuccesses, &Xfs::pushBuffers, &Xfs::pushPinned,
      &Xfs::pushLocked, &Xfs::pushFlushing, &Xfs::pushRestarts, &Xfs::pushFlushes}},
    {"xstrat", {&Xfs::delayedWhole, &Xfs::delayedSplit}},
    {"rw", {&Xfs::writeCalls, &Xfs::readCalls}},
    {"attr", {&Xfs::extendedGets, &Xfs::extendedSets, &Xfs::extendedRemoves, &Xfs::extendedLists}},
    {"icluster", {&Xfs::inodeFlushes, &Xfs::clusterFlushes, &Xfs::clusterInodes}},
    {"vnodes",
     {&Xfs::vnodesActive, &Xfs::vnodesAllocated, &Xfs::vnodesGot, &Xfs::vnodesHeld, &Xfs::vnodesReleased,
      &Xfs::vnodesReclaimed, &Xfs::vnodesRemoved, &Xfs::vnodesFreed}},
    {"buf",
     {&Xfs::bufferGets, &Xfs::bufferCreates, &Xfs::bufferLocked, &Xfs::bufferWaited, &Xfs::bufferBusy,
      &Xfs::bufferMissed, &Xfs::bufferPageRetries, &Xfs::bufferPagesFound, &Xfs::bufferReads}},
    {"xpc", {&Xfs::delayedBytes, &Xfs::writtenBytes, &Xfs::readBytes}},
};

} // namespace zel

// The fields of the filesystems of type XFS.
#include "host/Xfs.h"

namespace zel {

namespace {

constexpr Entries<Xfs> xfs{Area::Filesystems, "xfs", "/sys/fs/xfs/<device>/stats/stats", "a filesystem of type XFS"};

constexpr Field<Xfs> counted(std::string_view name, Member<Xfs> member, std::string_view help) {
    constexpr unsigned char bits = 32;
    return xfs.counter(name, member, Unit::None, help, bits);
}

constexpr Field<Xfs> fields[] = {
    xfs.label("device", &Xfs::device, "Name of its device, such as dm-0; all for those of a kernel before 4.4."),
    counted("allocated_extents_total", &Xfs::allocatedExtents, "Extents allocated."),
    counted("allocated_blocks_total", &Xfs::allocatedBlocks, "Blocks allocated."),
    counted("freed_extents_total", &Xfs::freedExtents, "Extents freed."),
    counted("freed_blocks_total", &Xfs::freedBlocks, "Blocks freed."),
    counted("allocation_btree_lookups_total", &Xfs::allocationLookups,
            "Lookups in the trees of free space, of formats before 5."),
    counted("allocation_btree_compares_total", &Xfs::allocationCompares, "Compares in these trees."),
    counted("allocation_btree_inserts_total", &Xfs::allocationInserts, "Records put into these trees."),
    counted("allocation_btree_deletes_total", &Xfs::allocationDeletes, "Records taken out of these trees."),
    counted("block_map_reads_total", &Xfs::mapReads, "Mappings of blocks of files for reading."),
    counted("block_map_writes_total", &Xfs::mapWrites, "Mappings of blocks of files for writing."),
    counted("block_unmaps_total", &Xfs::unmaps, "Mappings taken away: files deleted or cut."),
    counted("extent_list_inserts_total", &Xfs::listInserts, "Extents put into the lists of files."),
    counted("extent_list_deletes_total", &Xfs::listDeletes, "Extents taken out of the lists of files."),
    counted("extent_list_lookups_total", &Xfs::listLookups, "Lookups in the lists of extents of files."),
    counted("extent_list_compares_total", &Xfs::listCompares, "Compares in these lists."),
    counted("block_map_btree_lookups_total", &Xfs::mapTreeLookups,
            "Lookups in the trees of extents of files, of formats before 5."),
    counted("block_map_btree_compares_total", &Xfs::mapTreeCompares, "Compares in these trees."),
    counted("block_map_btree_inserts_total", &Xfs::mapTreeInserts, "Records put into these trees."),
    counted("block_map_btree_deletes_total", &Xfs::mapTreeDeletes, "Records taken out of these trees."),
    counted("directory_lookups_total", &Xfs::directoryLookups,
            "Names looked up in directories, past the cache of names."),
    counted("directory_creates_total", &Xfs::directoryCreates, "Entries made in directories."),
    counted("directory_removes_total", &Xfs::directoryRemoves, "Entries taken out of directories."),
    counted("directory_reads_total", &Xfs::directoryReads, "Reads of directories."),
    counted("transactions_waited_total", &Xfs::transactionsWaited,
            "Transactions that were waited for until they were on disk."),
    counted("transactions_total", &Xfs::transactions, "Transactions that were not."),
    counted("transactions_empty_total", &Xfs::transactionsEmpty, "Transactions that changed nothing."),
    counted("inode_attempts_total", &Xfs::inodeAttempts, "Inodes looked for in the cache."),
    counted("inodes_found_total", &Xfs::inodesFound, "Those that were in the cache."),
    counted("inodes_recycled_total", &Xfs::inodesRecycled, "Those that were in the cache, but about to leave it."),
    counted("inodes_missed_total", &Xfs::inodesMissed, "Those that were not in the cache."),
    counted("inodes_duplicate_total", &Xfs::inodesDuplicate, "Those that somebody else put there meanwhile."),
    counted("inodes_reclaimed_total", &Xfs::inodesReclaimed, "Inodes that left the cache."),
    counted("attribute_changes_total", &Xfs::attributeChanges, "Changes of the attributes of inodes."),
    counted("log_writes_total", &Xfs::logWrites, "Buffers of the log that were written."),
    counted("log_blocks_total", &Xfs::logBlocks, "Blocks of 512 bytes in them."),
    counted("log_no_buffer_total", &Xfs::logNoBuffer, "Times that no buffer of the log was free."),
    counted("log_forces_total", &Xfs::logForces, "Times that the log was forced to disk."),
    counted("log_force_sleeps_total", &Xfs::logForceSleeps, "Times that somebody waited for that."),
    counted("log_space_tries_total", &Xfs::pushTries, "Times that room in the log was wanted."),
    counted("log_space_sleeps_total", &Xfs::pushSleeps, "Times that somebody waited for room in the log."),
    counted("tail_pushes_total", &Xfs::pushes, "Times that what holds the tail of the log was pushed."),
    counted("tail_push_successes_total", &Xfs::pushSuccesses, "Items that were pushed."),
    counted("tail_push_buffers_total", &Xfs::pushBuffers, "Buffers that were pushed."),
    counted("tail_push_pinned_total", &Xfs::pushPinned, "Items that were not on disk in the log yet."),
    counted("tail_push_locked_total", &Xfs::pushLocked, "Items that were in use."),
    counted("tail_push_flushing_total", &Xfs::pushFlushing, "Items that were being written already."),
    counted("tail_push_restarts_total", &Xfs::pushRestarts, "Walks over the items that began anew."),
    counted("tail_push_flushes_total", &Xfs::pushFlushes, "Times that the log was forced for a pinned item."),
    counted("delayed_whole_total", &Xfs::delayedWhole, "Delayed extents that were allocated in one piece."),
    counted("delayed_split_total", &Xfs::delayedSplit, "Delayed extents that were allocated in several pieces."),
    counted("write_calls_total", &Xfs::writeCalls, "Writes to files."),
    counted("read_calls_total", &Xfs::readCalls, "Reads of files."),
    counted("extended_attribute_gets_total", &Xfs::extendedGets, "Extended attributes read."),
    counted("extended_attribute_sets_total", &Xfs::extendedSets, "Extended attributes set."),
    counted("extended_attribute_removes_total", &Xfs::extendedRemoves, "Extended attributes removed."),
    counted("extended_attribute_lists_total", &Xfs::extendedLists, "Lists of extended attributes."),
    counted("inode_flushes_total", &Xfs::inodeFlushes, "Inodes flushed."),
    counted("inode_cluster_flushes_total", &Xfs::clusterFlushes, "Clusters of inodes flushed."),
    counted("inode_cluster_inodes_total", &Xfs::clusterInodes, "Inodes flushed with their cluster."),
    xfs.gauge("vnodes_active", &Xfs::vnodesActive, Unit::None, "Inodes in memory."),
    counted("vnodes_allocated_total", &Xfs::vnodesAllocated, "Inodes allocated in memory."),
    counted("vnodes_got_total", &Xfs::vnodesGot, "References taken while a lookup was in progress."),
    counted("vnodes_held_total", &Xfs::vnodesHeld, "References taken."),
    counted("vnodes_released_total", &Xfs::vnodesReleased, "References given back."),
    counted("vnodes_reclaimed_total", &Xfs::vnodesReclaimed, "Inodes reclaimed."),
    counted("vnodes_removed_total", &Xfs::vnodesRemoved, "Inodes that nothing refers to any more."),
    counted("vnodes_freed_total", &Xfs::vnodesFreed, "Inodes freed."),
    counted("buffer_gets_total", &Xfs::bufferGets, "Buffers of metadata asked for."),
    counted("buffer_creates_total", &Xfs::bufferCreates, "Buffers made for it."),
    counted("buffer_locked_total", &Xfs::bufferLocked, "Buffers that were there."),
    counted("buffer_waited_total", &Xfs::bufferWaited, "Buffers that had to be waited for."),
    counted("buffer_busy_total", &Xfs::bufferBusy, "Buffers that were in use, and not waited for."),
    counted("buffer_missed_total", &Xfs::bufferMissed, "Buffers that were not there."),
    counted("buffer_page_retries_total", &Xfs::bufferPageRetries, "Times without memory for a buffer."),
    counted("buffer_pages_found_total", &Xfs::bufferPagesFound, "Pages of buffers that were there."),
    counted("buffer_reads_total", &Xfs::bufferReads, "Buffers read from disk."),
    xfs.counter("delayed_bytes_total", &Xfs::delayedBytes, Unit::Bytes,
                "Bytes of delayed extents that were allocated."),
    xfs.counter("written_bytes_total", &Xfs::writtenBytes, Unit::Bytes, "Bytes written to files."),
    xfs.counter("read_bytes_total", &Xfs::readBytes, Unit::Bytes, "Bytes read from files."),
};

} // namespace

template<> std::span<const Field<Xfs>> fieldsOf<Xfs>() {
    return fields;
}

} // namespace zel

// The known names of filesystems of type XFS. Their number of inodes in memory is a counter there.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter;

constexpr KnownLabel<Xfs> labels[] = {{"device", &Xfs::device}};
constexpr KnownField<Xfs> fields[] = {
    {&Xfs::allocatedExtents, "node_xfs_extent_allocation_extents_allocated_total", counter, "Extents allocated."},
    {&Xfs::allocatedBlocks, "node_xfs_extent_allocation_blocks_allocated_total", counter, "Blocks allocated."},
    {&Xfs::freedExtents, "node_xfs_extent_allocation_extents_freed_total", counter, "Extents freed."},
    {&Xfs::freedBlocks, "node_xfs_extent_allocation_blocks_freed_total", counter, "Blocks freed."},
    {&Xfs::allocationLookups, "node_xfs_allocation_btree_lookups_total", counter,
     "Lookups in the trees of free space."},
    {&Xfs::allocationCompares, "node_xfs_allocation_btree_compares_total", counter,
     "Compares in the trees of free space."},
    {&Xfs::allocationInserts, "node_xfs_allocation_btree_records_inserted_total", counter,
     "Records put into the trees of free space."},
    {&Xfs::allocationDeletes, "node_xfs_allocation_btree_records_deleted_total", counter,
     "Records taken out of the trees of free space."},
    {&Xfs::mapReads, "node_xfs_block_mapping_reads_total", counter, "Mappings of blocks of files for reading."},
    {&Xfs::mapWrites, "node_xfs_block_mapping_writes_total", counter, "Mappings of blocks of files for writing."},
    {&Xfs::unmaps, "node_xfs_block_mapping_unmaps_total", counter, "Mappings taken away."},
    {&Xfs::listInserts, "node_xfs_block_mapping_extent_list_insertions_total", counter,
     "Extents put into the lists of files."},
    {&Xfs::listDeletes, "node_xfs_block_mapping_extent_list_deletions_total", counter,
     "Extents taken out of the lists of files."},
    {&Xfs::listLookups, "node_xfs_block_mapping_extent_list_lookups_total", counter,
     "Lookups in the lists of extents of files."},
    {&Xfs::listCompares, "node_xfs_block_mapping_extent_list_compares_total", counter,
     "Compares in the lists of extents of files."},
    {&Xfs::mapTreeLookups, "node_xfs_block_map_btree_lookups_total", counter,
     "Lookups in the trees of extents of files."},
    {&Xfs::mapTreeCompares, "node_xfs_block_map_btree_compares_total", counter,
     "Compares in the trees of extents of files."},
    {&Xfs::mapTreeInserts, "node_xfs_block_map_btree_records_inserted_total", counter,
     "Records put into the trees of extents of files."},
    {&Xfs::mapTreeDeletes, "node_xfs_block_map_btree_records_deleted_total", counter,
     "Records taken out of the trees of extents of files."},
    {&Xfs::directoryLookups, "node_xfs_directory_operation_lookup_total", counter,
     "Names looked up in directories, past the cache of names."},
    {&Xfs::directoryCreates, "node_xfs_directory_operation_create_total", counter, "Entries made in directories."},
    {&Xfs::directoryRemoves, "node_xfs_directory_operation_remove_total", counter, "Entries taken out of directories."},
    {&Xfs::directoryReads, "node_xfs_directory_operation_getdents_total", counter, "Reads of directories."},
    {&Xfs::inodeAttempts, "node_xfs_inode_operation_attempts_total", counter, "Inodes looked for in the cache."},
    {&Xfs::inodesFound, "node_xfs_inode_operation_found_total", counter, "Inodes that were in the cache."},
    {&Xfs::inodesRecycled, "node_xfs_inode_operation_recycled_total", counter,
     "Inodes that were about to leave the cache."},
    {&Xfs::inodesMissed, "node_xfs_inode_operation_missed_total", counter, "Inodes that were not in the cache."},
    {&Xfs::inodesDuplicate, "node_xfs_inode_operation_duplicates_total", counter,
     "Inodes that somebody else put into the cache meanwhile."},
    {&Xfs::inodesReclaimed, "node_xfs_inode_operation_reclaims_total", counter, "Inodes that left the cache."},
    {&Xfs::attributeChanges, "node_xfs_inode_operation_attribute_changes_total", counter,
     "Changes of the attributes of inodes."},
    {&Xfs::readCalls, "node_xfs_read_calls_total", counter, "Reads of files."},
    {&Xfs::writeCalls, "node_xfs_write_calls_total", counter, "Writes to files."},
    {&Xfs::vnodesActive, "node_xfs_vnode_active_total", counter, "Inodes in memory."},
    {&Xfs::vnodesAllocated, "node_xfs_vnode_allocate_total", counter, "Inodes allocated in memory."},
    {&Xfs::vnodesGot, "node_xfs_vnode_get_total", counter, "References taken while a lookup was in progress."},
    {&Xfs::vnodesHeld, "node_xfs_vnode_hold_total", counter, "References taken."},
    {&Xfs::vnodesReleased, "node_xfs_vnode_release_total", counter, "References given back."},
    {&Xfs::vnodesReclaimed, "node_xfs_vnode_reclaim_total", counter, "Inodes reclaimed."},
    {&Xfs::vnodesRemoved, "node_xfs_vnode_remove_total", counter, "Inodes that nothing refers to any more."},
};
constexpr KnownTable<Xfs> table{.rows = &Sample::xfs, .labels = labels, .fields = fields};

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(table, sample, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
}

} // namespace

const KnownMetrics knownXfs{Area::Filesystems, write, listFields};

} // namespace zel

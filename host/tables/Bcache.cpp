// The fields of bcache.
#include "host/Bcache.h"

namespace zel {

namespace {

constexpr std::string_view provider = "a bcache set (module bcache)";

constexpr Entries<BcacheSet> set{Area::Disks, "bcache_sets", "/sys/fs/bcache/*", provider};
constexpr Entries<BcacheSet> inside = set.from("/sys/fs/bcache/*/internal", provider);
constexpr Field<BcacheSet> setFields[] = {
    set.label("uuid", &BcacheSet::uuid, "UUID of the set."),
    set.gauge("bucket_bytes", &BcacheSet::bucketBytes, Unit::Bytes, "Size of a bucket, its unit of space."),
    set.gauge("average_key_bytes", &BcacheSet::averageKeyBytes, Unit::Bytes, "Data that a key of its tree has."),
    set.gauge("btree_cache_bytes", &BcacheSet::btreeCacheBytes, Unit::Bytes, "Memory that holds parts of its tree."),
    set.gauge("cache_available_ratio", &BcacheSet::cacheAvailableRatio, Unit::Ratio,
              "Share of the cache without data that is not written back."),
    set.gauge("root_usage_ratio", &BcacheSet::rootUsageRatio, Unit::Ratio, "How full the root of its tree is."),
    set.state("congested", &BcacheSet::congested, "How much its disks are in arrears; 0 when they are not."),
    set.gauge("tree_depth", &BcacheSet::treeDepth, Unit::None, "Depth of its tree."),
    inside.gauge("btree_nodes", &BcacheSet::btreeNodes, Unit::None, "Nodes of its tree."),
    inside.gauge("active_journal_entries", &BcacheSet::activeJournalEntries, Unit::None,
                 "Entries of the journal that are newer than its tree."),
    inside.counter("cache_read_races_total", &BcacheSet::cacheReadRaces, Unit::None,
                   "Reads whose data was thrown out of the cache meanwhile."),
    inside.gauge("btree_read_seconds", &BcacheSet::btreeReadSeconds, Unit::Seconds,
                 "Time that reading a part of its tree takes on average."),
};

using Backing = BcacheBackingDevice;
constexpr Entries<Backing> backing{Area::Disks, "bcache_backing_devices", "/sys/fs/bcache/*/bdev*", provider};
constexpr Entries<Backing> stats = backing.from("/sys/fs/bcache/*/bdev*/stats_total", provider);
constexpr Entries<Backing> writeback = backing.from("/sys/fs/bcache/*/bdev*/writeback_rate_debug", provider);
constexpr Field<Backing> backingFields[] = {
    backing.label("uuid", &Backing::uuid, "UUID of its set."),
    backing.label("device", &Backing::device, "Number of the disk in its set, such as bdev0."),
    backing.state("state", &Backing::state, "no cache, clean, dirty or inconsistent."),
    backing.gauge("dirty_bytes", &Backing::dirtyBytes, Unit::Bytes, "Data in the cache that is not on the disk yet."),
    stats.counter("bypassed_bytes_total", &Backing::bypassedBytes, Unit::Bytes, "Data that went past the cache."),
    stats.counter("hits_total", &Backing::hits, Unit::None, "Requests that the cache answered."),
    stats.counter("misses_total", &Backing::misses, Unit::None, "Requests that it could not answer."),
    stats.counter("bypass_hits_total", &Backing::bypassHits, Unit::None,
                  "Requests that were to go past the cache and were in it."),
    stats.counter("bypass_misses_total", &Backing::bypassMisses, Unit::None,
                  "Requests that were to go past the cache and were not in it."),
    stats.counter("miss_collisions_total", &Backing::missCollisions, Unit::None,
                  "Misses whose data was written meanwhile, and not taken into the cache."),
    stats.counter("readaheads_total", &Backing::readaheads, Unit::None,
                  "Misses for which more was read (kernels before 6.1)."),
    writeback.gauge("writeback_bytes_per_second", &Backing::writebackRate, Unit::Bytes,
                    "How fast data is written back."),
    writeback.gauge("writeback_target_bytes", &Backing::writebackTargetBytes, Unit::Bytes,
                    "How much data that is not written back there should be."),
    writeback.gauge("writeback_proportional", &Backing::writebackProportional, Unit::None,
                    "Proportional term of the controller of that speed."),
    writeback.gauge("writeback_integral", &Backing::writebackIntegral, Unit::None, "Its integral term."),
    writeback.gauge("writeback_change", &Backing::writebackChange, Unit::None, "Its last change of that speed."),
};

using Cache = BcacheCacheDevice;
constexpr Entries<Cache> cache{Area::Disks, "bcache_cache_devices", "/sys/fs/bcache/*/cache*", provider};
constexpr Field<Cache> cacheFields[] = {
    cache.label("uuid", &Cache::uuid, "UUID of its set."),
    cache.label("device", &Cache::device, "Number of the disk in its set, such as cache0."),
    cache.gauge("io_errors", &Cache::ioErrors, Unit::None, "Errors of the disk, of which old ones count less."),
    cache.counter("metadata_written_bytes_total", &Cache::metadataWrittenBytes, Unit::Bytes,
                  "Written to it that is no data of its users."),
    cache.counter("written_bytes_total", &Cache::writtenBytes, Unit::Bytes, "All that was written to it."),
};

} // namespace

template<> std::span<const Field<BcacheSet>> fieldsOf<BcacheSet>() {
    return setFields;
}
template<> std::span<const Field<BcacheBackingDevice>> fieldsOf<BcacheBackingDevice>() {
    return backingFields;
}
template<> std::span<const Field<BcacheCacheDevice>> fieldsOf<BcacheCacheDevice>() {
    return cacheFields;
}

} // namespace zel

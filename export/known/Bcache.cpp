// The known names of bcache.
//
// The kernel writes sizes with one decimal. The known names count a tenth of a unit as 100 of the next smaller one,
// where it is 102.4 of them, and the average time of a read of the tree in thousands of seconds. They keep doing so
// here: who wants the right numbers has those of our own families.
#include "export/known/Known.h"

#include <cmath>

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter, gauge = MetricType::Gauge;

// What the known names make of a size: "1.5k" of the kernel is 1536 bytes, and 1524 there.
Number knownSize(const Number &size) {
    constexpr double step = 1024, wholeAtMost = 1000, ofTenth = 100;
    if (!size)
        return size;
    double unit = 1;
    while (std::floor(std::fabs(*size) / (unit * step)) >= wholeAtMost)
        unit *= step;
    const double inUnits = std::fabs(*size) / (unit * step);
    const double whole = std::floor(inUnits), tenths = std::round((inUnits - whole) * 10);
    return std::copysign(whole * unit * step + tenths * ofTenth * unit, *size);
}

template<class Row> struct Size {
    Number Row::*member;
    std::string_view name;
    MetricType type;
    std::string_view help;
};

constexpr KnownLabel<BcacheSet> setLabels[] = {{"uuid", &BcacheSet::uuid}};
constexpr KnownField<BcacheSet> setFields[] = {
    {&BcacheSet::activeJournalEntries, "node_bcache_active_journal_entries", gauge,
     "Entries of the journal that are newer than the tree."},
    {&BcacheSet::btreeNodes, "node_bcache_btree_nodes", gauge, "Nodes of the tree."},
    {&BcacheSet::cacheReadRaces, "node_bcache_cache_read_races_total", counter,
     "Reads whose data was thrown out of the cache meanwhile."},
    {&BcacheSet::congested, "node_bcache_congested", gauge, "How much the disks of the cache are in arrears."},
    {&BcacheSet::treeDepth, "node_bcache_tree_depth", gauge, "Depth of the tree."},
};
constexpr KnownTable<BcacheSet> sets{.rows = &Sample::bcacheSets, .labels = setLabels, .fields = setFields};
constexpr Size<BcacheSet> setSizes[] = {
    {&BcacheSet::averageKeyBytes, "node_bcache_average_key_size_sectors", gauge, "Data that a key of the tree has."},
    {&BcacheSet::btreeCacheBytes, "node_bcache_btree_cache_size_bytes", gauge, "Memory that holds parts of the tree."},
};

using Backing = BcacheBackingDevice;
constexpr KnownLabel<Backing> backingLabels[] = {{"backing_device", &Backing::device}, {"uuid", &Backing::uuid}};
constexpr KnownField<Backing> backingFields[] = {
    {&Backing::bypassHits, "node_bcache_cache_bypass_hits_total", counter,
     "Requests that were to go past the cache and were in it."},
    {&Backing::bypassMisses, "node_bcache_cache_bypass_misses_total", counter,
     "Requests that were to go past the cache and were not in it."},
    {&Backing::hits, "node_bcache_cache_hits_total", counter, "Requests that the cache answered."},
    {&Backing::missCollisions, "node_bcache_cache_miss_collisions_total", counter,
     "Misses whose data was written meanwhile."},
    {&Backing::misses, "node_bcache_cache_misses_total", counter, "Requests that the cache could not answer."},
    {&Backing::readaheads, "node_bcache_cache_readaheads_total", counter, "Misses for which more was read."},
};
constexpr KnownTable<Backing> backing{
    .rows = &Sample::bcacheBackingDevices, .labels = backingLabels, .fields = backingFields};
constexpr Size<Backing> backingSizes[] = {
    {&Backing::bypassedBytes, "node_bcache_bypassed_bytes_total", counter, "Data that went past the cache."},
    {&Backing::dirtyBytes, "node_bcache_dirty_data_bytes", gauge, "Data that is not on the disk yet."},
    {&Backing::writebackTargetBytes, "node_bcache_dirty_target_bytes", gauge, "How much of it there should be."},
    {&Backing::writebackChange, "node_bcache_writeback_change", gauge, "Last change of the speed of writing back."},
    {&Backing::writebackRate, "node_bcache_writeback_rate", gauge, "How fast data is written back."},
    {&Backing::writebackIntegral, "node_bcache_writeback_rate_integral_term", gauge,
     "Integral term of the controller of that speed."},
    {&Backing::writebackProportional, "node_bcache_writeback_rate_proportional_term", gauge, "Its proportional term."},
};

using Cache = BcacheCacheDevice;
constexpr KnownLabel<Cache> cacheLabels[] = {{"cache_device", &Cache::device}, {"uuid", &Cache::uuid}};
constexpr KnownField<Cache> cacheFields[] = {
    {&Cache::ioErrors, "node_bcache_io_errors", gauge, "Errors of the disk, of which old ones count less."},
};
constexpr KnownTable<Cache> caches{.rows = &Sample::bcacheCacheDevices, .labels = cacheLabels, .fields = cacheFields};
constexpr Size<Cache> cacheSizes[] = {
    {&Cache::metadataWrittenBytes, "node_bcache_metadata_written_bytes_total", counter,
     "Written to the disk that is no data of its users."},
    {&Cache::writtenBytes, "node_bcache_written_bytes_total", counter, "All that was written to the disk."},
};

// After writeKnown of the table, whose rows they have.
template<class Row> void writeSizes(std::span<const Size<Row>> sizes, const Rows<Row> &rows, MetricSink &sink) {
    for (const Size<Row> &size : sizes) {
        sink.family(size.name, size.type, size.help);
        for (std::size_t index = 0; index < rows.size(); ++index)
            sink.row(index).value(knownSize(rows[index].*size.member));
    }
}

Number percent(const Number &ratio) {
    constexpr double whole = 100;
    return ratio ? Number(std::round(*ratio * whole)) : ratio;
}

Number readDuration(const Number &seconds) {
    constexpr double microseconds = 1e6, nanoseconds = 1e9;
    return seconds ? Number(std::round(*seconds * microseconds) / nanoseconds) : seconds;
}

void writeSets(const Rows<BcacheSet> &rows, MetricSink &sink) {
    writeSizes<BcacheSet>(setSizes, rows, sink);
    sink.family("node_bcache_btree_read_average_duration_seconds", gauge,
                "Time that reading a part of the tree takes on average, in thousands of seconds.");
    for (std::size_t index = 0; index < rows.size(); ++index)
        sink.row(index).value(readDuration(rows[index].btreeReadSeconds));
    sink.family("node_bcache_cache_available_percent", gauge,
                "Share of the cache without data that is not written back.");
    for (std::size_t index = 0; index < rows.size(); ++index)
        sink.row(index).value(percent(rows[index].cacheAvailableRatio));
    sink.family("node_bcache_root_usage_percent", gauge, "How full the root of the tree is.");
    for (std::size_t index = 0; index < rows.size(); ++index)
        sink.row(index).value(percent(rows[index].rootUsageRatio));
}

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(sets, sample, sink);
    writeSets(sample.bcacheSets, sink);
    writeKnown(backing, sample, sink);
    writeSizes<Backing>(backingSizes, sample.bcacheBackingDevices, sink);
    writeKnown(caches, sample, sink);
    writeSizes<Cache>(cacheSizes, sample.bcacheCacheDevices, sink);
}

// Sizes have families of our own beside the known ones: they are other numbers.
void listFields(KnownFields &known) {
    known.add(sets);
    known.add(backing);
    known.add(caches);
    known.add<BcacheSet>({&BcacheSet::cacheAvailableRatio, &BcacheSet::rootUsageRatio});
}

} // namespace

const KnownMetrics knownBcache{Area::Disks, write, listFields};

} // namespace zel

// The known names of ZFS. Values of the module have a family each, named after the file and the value.
#include "export/known/BuiltName.h"
#include "export/known/Known.h"

#include <cmath>

namespace zel {

namespace {

constexpr MetricType untyped = MetricType::Unknown;

constexpr KnownLabel<ZfsPool> poolLabels[] = {{"zpool", &ZfsPool::pool}};
constexpr KnownField<ZfsPool> poolFields[] = {
    {&ZfsPool::readBytes, "node_zfs_zpool_nread", untyped, "Bytes read."},
    {&ZfsPool::writtenBytes, "node_zfs_zpool_nwritten", untyped, "Bytes written."},
    {&ZfsPool::reads, "node_zfs_zpool_reads", untyped, "Reads."},
    {&ZfsPool::writes, "node_zfs_zpool_writes", untyped, "Writes."},
    {&ZfsPool::waiting, "node_zfs_zpool_wcnt", untyped, "What waits."},
    {&ZfsPool::running, "node_zfs_zpool_rcnt", untyped, "What is in progress."},
};
constexpr KnownTable<ZfsPool> pools{.rows = &Sample::zfsPools, .labels = poolLabels, .fields = poolFields};

constexpr KnownLabel<ZfsDataset> datasetLabels[] = {{"dataset", &ZfsDataset::dataset}, {"zpool", &ZfsDataset::pool}};
constexpr KnownField<ZfsDataset> datasetFields[] = {
    {&ZfsDataset::writes, "node_zfs_zpool_dataset_writes", untyped, "Writes."},
    {&ZfsDataset::writtenBytes, "node_zfs_zpool_dataset_nwritten", untyped, "Bytes written."},
    {&ZfsDataset::reads, "node_zfs_zpool_dataset_reads", untyped, "Reads."},
    {&ZfsDataset::readBytes, "node_zfs_zpool_dataset_nread", untyped, "Bytes read."},
    {&ZfsDataset::unlinks, "node_zfs_zpool_dataset_nunlinks", untyped, "Files that were to be deleted."},
    {&ZfsDataset::unlinked, "node_zfs_zpool_dataset_nunlinked", untyped, "Files that were deleted."},
    {&ZfsDataset::logCommits, "node_zfs_zpool_dataset_zil_commit_count", untyped,
     "Commits of the intent log that were asked."},
    {&ZfsDataset::logCommitWrites, "node_zfs_zpool_dataset_zil_commit_writer_count", untyped,
     "Commits that wrote what was to be written."},
    {&ZfsDataset::logItems, "node_zfs_zpool_dataset_zil_itx_count", untyped, "Items of the intent log."},
    {&ZfsDataset::logIndirectItems, "node_zfs_zpool_dataset_zil_itx_indirect_count", untyped,
     "Items whose data was written to its place."},
    {&ZfsDataset::logIndirectBytes, "node_zfs_zpool_dataset_zil_itx_indirect_bytes", untyped, "Bytes of these."},
    {&ZfsDataset::logCopiedItems, "node_zfs_zpool_dataset_zil_itx_copied_count", untyped,
     "Items whose data was in the log already."},
    {&ZfsDataset::logCopiedBytes, "node_zfs_zpool_dataset_zil_itx_copied_bytes", untyped, "Bytes of these."},
    {&ZfsDataset::logNeedCopyItems, "node_zfs_zpool_dataset_zil_itx_needcopy_count", untyped,
     "Items whose data had to be copied into the log."},
    {&ZfsDataset::logNeedCopyBytes, "node_zfs_zpool_dataset_zil_itx_needcopy_bytes", untyped, "Bytes of these."},
    {&ZfsDataset::logNormalItems, "node_zfs_zpool_dataset_zil_itx_metaslab_normal_count", untyped,
     "Items in the main pool."},
    {&ZfsDataset::logNormalBytes, "node_zfs_zpool_dataset_zil_itx_metaslab_normal_bytes", untyped, "Bytes of these."},
    {&ZfsDataset::logNormalWrittenBytes, "node_zfs_zpool_dataset_zil_itx_metaslab_normal_write", untyped,
     "Bytes written for these."},
    {&ZfsDataset::logNormalAllocatedBytes, "node_zfs_zpool_dataset_zil_itx_metaslab_normal_alloc", untyped,
     "Bytes allocated for these."},
    {&ZfsDataset::logSlogItems, "node_zfs_zpool_dataset_zil_itx_metaslab_slog_count", untyped,
     "Items on a log device."},
    {&ZfsDataset::logSlogBytes, "node_zfs_zpool_dataset_zil_itx_metaslab_slog_bytes", untyped, "Bytes of these."},
    {&ZfsDataset::logSlogWrittenBytes, "node_zfs_zpool_dataset_zil_itx_metaslab_slog_write", untyped,
     "Bytes written for these."},
    {&ZfsDataset::logSlogAllocatedBytes, "node_zfs_zpool_dataset_zil_itx_metaslab_slog_alloc", untyped,
     "Bytes allocated for these."},
};
constexpr KnownTable<ZfsDataset> datasets{
    .rows = &Sample::zfsDatasets, .labels = datasetLabels, .fields = datasetFields};

// Whole nanoseconds: 0.004131527 s times a thousand million is not 4131527 to the last digit.
struct PoolTime {
    Number ZfsPool::*member;
    std::string_view name, help;
};
constexpr PoolTime poolTimes[] = {
    {&ZfsPool::waitSeconds, "node_zfs_zpool_wtime", "Nanoseconds in which something waited."},
    {&ZfsPool::waitLengthSeconds, "node_zfs_zpool_wlentime", "Nanoseconds of waiting, times how much waited."},
    {&ZfsPool::waitUpdatedSeconds, "node_zfs_zpool_wupdate", "When waiting was counted last, in nanoseconds."},
    {&ZfsPool::runSeconds, "node_zfs_zpool_rtime", "Nanoseconds in which something was in progress."},
    {&ZfsPool::runLengthSeconds, "node_zfs_zpool_rlentime", "Nanoseconds in progress, times how much was."},
    {&ZfsPool::runUpdatedSeconds, "node_zfs_zpool_rupdate", "When progress was counted last, in nanoseconds."},
};

struct PoolState {
    std::string_view text, label;
};
constexpr PoolState poolStates[] = {
    {"ONLINE", "online"},   {"DEGRADED", "degraded"}, {"FAULTED", "faulted"},
    {"OFFLINE", "offline"}, {"REMOVED", "removed"},   {"UNAVAIL", "unavail"},
};

// With the rows of the pools.
void writePools(const Sample &sample, MetricSink &sink) {
    constexpr double nanoseconds = 1e9;
    for (const PoolTime &time : poolTimes) {
        sink.family(time.name, untyped, time.help);
        for (std::size_t index = 0; index < sample.zfsPools.size(); ++index) {
            const Number &seconds = sample.zfsPools[index].*time.member;
            sink.row(index).value(seconds ? Number(std::round(*seconds * nanoseconds)) : seconds);
        }
    }
    sink.family("node_zfs_zpool_state", MetricType::Gauge, "1 for the state that a pool is in.");
    for (std::size_t index = 0; index < sample.zfsPools.size(); ++index) {
        const Reading<std::string> &state = sample.zfsPools[index].state;
        for (std::size_t each = 0; state && each < std::size(poolStates); ++each)
            sink.row(index)
                .label("state", poolStates[each].label)
                .value(std::uint64_t{*state == poolStates[each].text});
    }
}

struct Source {
    std::string_view file, prefix;
};
constexpr Source sources[] = {
    {"abdstats", "node_zfs_abd_"},
    {"arcstats", "node_zfs_arc_"},
    {"dbuf_stats", "node_zfs_dbuf_"},
    {"dmu_tx", "node_zfs_dmu_tx_"},
    {"dnodestats", "node_zfs_dnode_"},
    {"fm", "node_zfs_fm_"},
    {"vdev_cache_stats", "node_zfs_vdev_cache_"},
    {"vdev_mirror_stats", "node_zfs_vdev_mirror_"},
    {"xuio_stats", "node_zfs_xuio_"},
    {"zfetchstats", "node_zfs_zfetch_"},
    {"zil", "node_zfs_zil_"},
};

// What is in front of the last point of a name is left out. Of two values with one name the sink takes the first.
void writeValues(const Sample &sample, MetricSink &sink) {
    BuiltName name;
    for (const ZfsValue &row : sample.zfs) {
        const auto *const source = std::find_if(std::begin(sources), std::end(sources),
                                                [&row](const Source &each) { return each.file == row.source; });
        if (source == std::end(sources) || !row.value)
            continue;
        name.clear();
        name.add(source->prefix).add(std::string_view(row.name).substr(row.name.rfind('.') + 1));
        if (!name.fits())
            continue;
        sink.family(name.text(), untyped, "A value of the module zfs.");
        sink.value(row.value);
    }
}

void write(const Sample &sample, MetricSink &sink) {
    writeValues(sample, sink);
    writeKnown(pools, sample, sink);
    writePools(sample, sink);
    writeKnown(datasets, sample, sink);
}

void listFields(KnownFields &known) {
    known.add(pools);
    known.add(datasets);
    for (const PoolTime &time : poolTimes)
        known.add<ZfsPool>({time.member});
    known.add<ZfsPool>({&ZfsPool::state});
    known.add<ZfsValue>({&ZfsValue::value});
}

} // namespace

const KnownMetrics knownZfs{Area::Filesystems, write, listFields};

} // namespace zel

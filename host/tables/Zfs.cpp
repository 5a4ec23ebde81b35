// The fields of ZFS.
#include "host/Zfs.h"

namespace zel {

namespace {

constexpr std::string_view provider = "module zfs";

constexpr Entries<ZfsValue> value{Area::Filesystems, "zfs", "/proc/spl/kstat/zfs", provider};
constexpr Field<ZfsValue> valueFields[] = {
    value.label("source", &ZfsValue::source, "File of the value, such as arcstats."),
    value.label("name", &ZfsValue::name, "Name of the value, as the module has it."),
    value.gauge("value", &ZfsValue::value, Unit::None, "The value."),
    value.gauge("signed_value", &ZfsValue::signedValue, Unit::None, "The same of one that can be negative."),
};

constexpr Entries<ZfsPool> pool{Area::Filesystems, "zfs_pools", "/proc/spl/kstat/zfs/<pool>/state",
                                "a pool of ZFS, release 0.8 or later"};
constexpr Entries<ZfsPool> io = pool.from("/proc/spl/kstat/zfs/<pool>/io", "a pool of ZFS, a release before 2.1");
constexpr Field<ZfsPool> poolFields[] = {
    pool.label("pool", &ZfsPool::pool, "Name of the pool."),
    pool.state("state", &ZfsPool::state, "Its state, such as ONLINE, DEGRADED or SUSPENDED."),
    io.counter("read_bytes_total", &ZfsPool::readBytes, Unit::Bytes, "Bytes read."),
    io.counter("written_bytes_total", &ZfsPool::writtenBytes, Unit::Bytes, "Bytes written."),
    io.counter("reads_total", &ZfsPool::reads, Unit::None, "Reads."),
    io.counter("writes_total", &ZfsPool::writes, Unit::None, "Writes."),
    io.counter("wait_seconds_total", &ZfsPool::waitSeconds, Unit::Seconds, "Time in which something waited."),
    io.counter("wait_length_seconds_total", &ZfsPool::waitLengthSeconds, Unit::Seconds,
               "Time in which something waited, times how much did."),
    io.gauge("wait_updated_seconds", &ZfsPool::waitUpdatedSeconds, Unit::Seconds,
             "When that was counted last, since the machine was started."),
    io.counter("run_seconds_total", &ZfsPool::runSeconds, Unit::Seconds, "Time in which something was in progress."),
    io.counter("run_length_seconds_total", &ZfsPool::runLengthSeconds, Unit::Seconds,
               "Time in which something was in progress, times how much was."),
    io.gauge("run_updated_seconds", &ZfsPool::runUpdatedSeconds, Unit::Seconds,
             "When that was counted last, since the machine was started."),
    io.gauge("waiting", &ZfsPool::waiting, Unit::None, "What waits now."),
    io.gauge("running", &ZfsPool::running, Unit::None, "What is in progress now."),
};

constexpr std::string_view objset = "/proc/spl/kstat/zfs/<pool>/objset-*";
constexpr Entries<ZfsDataset> dataset{Area::Filesystems, "zfs_datasets", objset,
                                      "a dataset of ZFS, release 0.8 or later"};
constexpr Entries<ZfsDataset> log = dataset.from(objset, "ZFS, release 2.2 or later");
constexpr Entries<ZfsDataset> room = dataset.from(objset, "ZFS, release 2.3 or later");
constexpr Field<ZfsDataset> datasetFields[] = {
    dataset.label("pool", &ZfsDataset::pool, "Name of the pool."),
    dataset.label("dataset", &ZfsDataset::dataset, "Name of the dataset."),
    dataset.counter("writes_total", &ZfsDataset::writes, Unit::None, "Writes."),
    dataset.counter("written_bytes_total", &ZfsDataset::writtenBytes, Unit::Bytes, "Bytes written."),
    dataset.counter("reads_total", &ZfsDataset::reads, Unit::None, "Reads."),
    dataset.counter("read_bytes_total", &ZfsDataset::readBytes, Unit::Bytes, "Bytes read."),
    dataset.counter("unlinks_total", &ZfsDataset::unlinks, Unit::None, "Files that were to be deleted."),
    dataset.counter("unlinked_total", &ZfsDataset::unlinked, Unit::None, "Those that were."),
    log.counter("log_commits_total", &ZfsDataset::logCommits, Unit::None, "Commits of the intent log that were asked."),
    log.counter("log_commit_writes_total", &ZfsDataset::logCommitWrites, Unit::None,
                "Those that wrote what was to be written."),
    log.counter("log_items_total", &ZfsDataset::logItems, Unit::None, "Items of the intent log."),
    log.counter("log_indirect_items_total", &ZfsDataset::logIndirectItems, Unit::None,
                "Those whose data was written to its place."),
    log.counter("log_indirect_bytes_total", &ZfsDataset::logIndirectBytes, Unit::Bytes, "Their data."),
    log.counter("log_copied_items_total", &ZfsDataset::logCopiedItems, Unit::None,
                "Those whose data was in the log already."),
    log.counter("log_copied_bytes_total", &ZfsDataset::logCopiedBytes, Unit::Bytes, "Their data."),
    log.counter("log_needcopy_items_total", &ZfsDataset::logNeedCopyItems, Unit::None,
                "Those whose data had to be copied into the log."),
    log.counter("log_needcopy_bytes_total", &ZfsDataset::logNeedCopyBytes, Unit::Bytes, "Their data."),
    log.counter("log_normal_items_total", &ZfsDataset::logNormalItems, Unit::None, "Those in the main pool."),
    log.counter("log_normal_bytes_total", &ZfsDataset::logNormalBytes, Unit::Bytes, "Their bytes."),
    room.counter("log_normal_written_bytes_total", &ZfsDataset::logNormalWrittenBytes, Unit::Bytes,
                 "What was written for them."),
    room.counter("log_normal_allocated_bytes_total", &ZfsDataset::logNormalAllocatedBytes, Unit::Bytes,
                 "What was allocated for them."),
    log.counter("log_slog_items_total", &ZfsDataset::logSlogItems, Unit::None, "Those on a log device."),
    log.counter("log_slog_bytes_total", &ZfsDataset::logSlogBytes, Unit::Bytes, "Their bytes."),
    room.counter("log_slog_written_bytes_total", &ZfsDataset::logSlogWrittenBytes, Unit::Bytes,
                 "What was written for them."),
    room.counter("log_slog_allocated_bytes_total", &ZfsDataset::logSlogAllocatedBytes, Unit::Bytes,
                 "What was allocated for them."),
};

} // namespace

template<> std::span<const Field<ZfsValue>> fieldsOf<ZfsValue>() {
    return valueFields;
}

template<> std::span<const Field<ZfsPool>> fieldsOf<ZfsPool>() {
    return poolFields;
}

template<> std::span<const Field<ZfsDataset>> fieldsOf<ZfsDataset>() {
    return datasetFields;
}

} // namespace zel

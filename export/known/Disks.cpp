// The known names of block devices.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr double sectorsPerByte = 1.0 / 512;

constexpr KnownLabel<Disk> labels[] = {{"device", &Disk::name}};

constexpr KnownLabel<Disk> infoLabels[] = {
    {"device", &Disk::name}, {"major", &Disk::major},       {"minor", &Disk::minor},
    {"model", &Disk::model}, {"revision", &Disk::firmware}, {"serial", &Disk::serial},
};
constexpr KnownInfo<Disk> infos[] = {{"node_disk_info", "What describes a block device.", infoLabels}};

constexpr KnownField<Disk> fields[] = {
    {&Disk::reads, "node_disk_reads_completed_total", MetricType::Counter, "Reads completed."},
    {&Disk::readsMerged, "node_disk_reads_merged_total", MetricType::Counter, "Reads merged with another request."},
    {&Disk::readBytes, "node_disk_read_bytes_total", MetricType::Counter, "Bytes read."},
    {&Disk::readSeconds, "node_disk_read_time_seconds_total", MetricType::Counter,
     "Time of all reads together, waiting included."},
    {&Disk::writes, "node_disk_writes_completed_total", MetricType::Counter, "Writes completed."},
    {&Disk::writesMerged, "node_disk_writes_merged_total", MetricType::Counter, "Writes merged with another request."},
    {&Disk::writtenBytes, "node_disk_written_bytes_total", MetricType::Counter, "Bytes written."},
    {&Disk::writeSeconds, "node_disk_write_time_seconds_total", MetricType::Counter,
     "Time of all writes together, waiting included."},
    {&Disk::inFlight, "node_disk_io_now", MetricType::Gauge, "Requests in progress."},
    {&Disk::ioSeconds, "node_disk_io_time_seconds_total", MetricType::Counter, "Time with requests in progress."},
    {&Disk::weightedSeconds, "node_disk_io_time_weighted_seconds_total", MetricType::Counter,
     "Time of all requests together, also of those in progress."},
    {&Disk::discards, "node_disk_discards_completed_total", MetricType::Counter, "Discards completed."},
    {&Disk::discardsMerged, "node_disk_discards_merged_total", MetricType::Counter,
     "Discards merged with another request."},
    {&Disk::discardedBytes, "node_disk_discarded_sectors_total", MetricType::Counter, "Sectors discarded.",
     sectorsPerByte},
    {&Disk::discardSeconds, "node_disk_discard_time_seconds_total", MetricType::Counter,
     "Time of all discards together, waiting included."},
    {&Disk::flushes, "node_disk_flush_requests_total", MetricType::Counter, "Flushes completed."},
    {&Disk::flushSeconds, "node_disk_flush_requests_time_seconds_total", MetricType::Counter,
     "Time of all flushes together, waiting included."},
};

constexpr std::string_view digits = "0123456789";

// Takes a number off the end; false where there is none.
bool dropNumber(std::string_view &name) {
    const std::size_t length = name.find_last_not_of(digits) + 1;
    const bool has = length < name.size();
    name = name.substr(0, length);
    return has;
}

// "sda" of "sda1": four kinds of disk that have one letter, not those with more.
bool isLetteredDisk(std::string_view stem) {
    if (stem.size() < 3 || stem.back() < 'a' || stem.back() > 'z')
        return false;
    const std::string_view kind = stem.substr(0, stem.size() - 1);
    return kind == "hd" || kind == "sd" || kind == "vd" || kind == "xvd";
}

// "nvme0n1p" of "nvme0n1p2".
bool isNvmePartition(std::string_view stem) {
    if (!stem.ends_with('p'))
        return false;
    stem.remove_suffix(1);
    if (!dropNumber(stem) || !stem.ends_with('n'))
        return false;
    stem.remove_suffix(1);
    return dropNumber(stem) && stem == "nvme";
}

// All but memory disks, loop devices, floppy disks and the partitions of most disks.
bool isShown(const Disk &disk) {
    std::string_view stem = disk.name;
    if (!dropNumber(stem))
        return true;
    const bool leftOut =
        stem == "ram" || stem == "loop" || stem == "fd" || isLetteredDisk(stem) || isNvmePartition(stem);
    return !leftOut;
}

constexpr KnownTable<Disk> table{
    .rows = &Sample::disks, .labels = labels, .fields = fields, .infos = infos, .isShown = isShown};

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(table, sample, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
}

} // namespace

const KnownMetrics knownDisks{Area::Disks, write, listFields};

} // namespace zel

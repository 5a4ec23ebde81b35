// The known names of what udev says of block devices. They know a disk as udev does: without its record all texts are
// empty, whatever the kernel says.
#include "export/known/Known.h"
#include "export/known/ShownDisks.h"

namespace zel {

namespace {

constexpr MetricType gauge = MetricType::Gauge;

bool isShown(const UdevDisk &disk) {
    return isShownDisk(disk.name);
}
bool hasFilesystem(const UdevDisk &disk) {
    return isShown(disk) && disk.filesystemType;
}
bool isMapped(const UdevDisk &disk) {
    return isShown(disk) && disk.mapperName;
}

constexpr KnownLabel<UdevDisk> labels[] = {{"device", &UdevDisk::name}};
constexpr KnownField<UdevDisk> fields[] = {
    {&UdevDisk::ataWriteCache, "node_disk_ata_write_cache", gauge, "1 when an ATA disk has a cache for writes."},
    {&UdevDisk::ataWriteCacheEnabled, "node_disk_ata_write_cache_enabled", gauge, "1 when that cache was in use."},
    {&UdevDisk::ataRotationRate, "node_disk_ata_rotation_rate_rpm", gauge,
     "How fast an ATA disk turns; 0 when it does not."},
};
constexpr KnownTable<UdevDisk> table{
    .rows = &Sample::udevDisks, .labels = labels, .fields = fields, .isShown = isShown};

constexpr KnownLabel<UdevDisk> filesystemLabels[] = {
    {"device", &UdevDisk::name},
    {"type", &UdevDisk::filesystemType},
    {"usage", &UdevDisk::filesystemUsage},
    {"uuid", &UdevDisk::filesystemUuid},
    {"version", &UdevDisk::filesystemVersion},
};
constexpr KnownInfo<UdevDisk> filesystemInfos[] = {
    {"node_disk_filesystem_info", "What is on a block device.", filesystemLabels}};
constexpr KnownTable<UdevDisk> filesystems{
    .rows = &Sample::udevDisks, .infos = filesystemInfos, .isShown = hasFilesystem};

constexpr KnownLabel<UdevDisk> mapperLabels[] = {
    {"device", &UdevDisk::name},         {"name", &UdevDisk::mapperName},       {"uuid", &UdevDisk::mapperUuid},
    {"vg_name", &UdevDisk::volumeGroup}, {"lv_name", &UdevDisk::logicalVolume}, {"lv_layer", &UdevDisk::mapperLayer},
};
constexpr KnownInfo<UdevDisk> mapperInfos[] = {
    {"node_disk_device_mapper_info", "What the device mapper calls a block device.", mapperLabels}};
constexpr KnownTable<UdevDisk> mapped{.rows = &Sample::udevDisks, .infos = mapperInfos, .isShown = isMapped};

constexpr KnownLabel<UdevDisk> infoLabels[] = {
    {"model", &UdevDisk::model},   {"path", &UdevDisk::path},         {"revision", &UdevDisk::revision},
    {"serial", &UdevDisk::serial}, {"wwn", &UdevDisk::worldWideName},
};

// Records are in the order of the disks, and not every disk has one.
void writeInfos(const Sample &sample, MetricSink &sink) {
    static const UdevDisk none;
    sink.family("node_disk_info", gauge, "What describes a block device.");
    const UdevDisk *record = sample.udevDisks.begin();
    for (const Disk &disk : sample.disks) {
        const bool isItsOwn = record != sample.udevDisks.end() && record->name == disk.name;
        if (isShownDisk(disk.name)) {
            sink.label("device", disk.name).label("major", disk.major).label("minor", disk.minor);
            addLabels<UdevDisk>(infoLabels, isItsOwn ? *record : none, sink);
            sink.one();
        }
        record += isItsOwn ? 1 : 0;
    }
}

void write(const Sample &sample, MetricSink &sink) {
    writeInfos(sample, sink);
    writeKnown(table, sample, sink);
    writeKnown(filesystems, sample, sink);
    writeKnown(mapped, sample, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
    known.add(filesystems);
    known.add(mapped);
    known.add<Disk>({&Disk::major, &Disk::minor});
    for (const KnownLabel<UdevDisk> &label : infoLabels)
        known.add<UdevDisk>({label.member});
}

} // namespace

const KnownMetrics knownUdevDisks{Area::Disks, write, listFields};

} // namespace zel

// The known names of filesystems of type btrfs.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType gauge = MetricType::Gauge;

constexpr KnownLabel<Btrfs> labels[] = {{"uuid", &Btrfs::uuid}};
constexpr KnownField<Btrfs> fields[] = {
    {&Btrfs::reserveBytes, "node_btrfs_global_rsv_size_bytes", gauge, "Size of the global reserve."},
};
constexpr KnownLabel<Btrfs> infoLabels[] = {{"label", &Btrfs::label}, {"uuid", &Btrfs::uuid}};
constexpr KnownInfo<Btrfs> infos[] = {{"node_btrfs_info", "What a filesystem is called.", infoLabels}};
constexpr KnownTable<Btrfs> whole{.rows = &Sample::btrfs, .labels = labels, .fields = fields, .infos = infos};

constexpr KnownLabel<BtrfsSpace> spaceLabels[] = {{"block_group_type", &BtrfsSpace::type}, {"uuid", &BtrfsSpace::uuid}};
constexpr KnownField<BtrfsSpace> spaceFields[] = {
    {&BtrfsSpace::reservedBytes, "node_btrfs_reserved_bytes", gauge,
     "What is promised to writes in progress, by the type of data."},
};
constexpr KnownTable<BtrfsSpace> spaces{.rows = &Sample::btrfsSpaces, .labels = spaceLabels, .fields = spaceFields};

constexpr KnownLabel<BtrfsProfile> profileLabels[] = {
    {"block_group_type", &BtrfsProfile::type}, {"mode", &BtrfsProfile::profile}, {"uuid", &BtrfsProfile::uuid}};
constexpr KnownField<BtrfsProfile> profileFields[] = {
    {&BtrfsProfile::usedBytes, "node_btrfs_used_bytes", gauge, "Space in use, by type of data and profile."},
    {&BtrfsProfile::totalBytes, "node_btrfs_size_bytes", gauge, "Space allocated, by type of data and profile."},
    {&BtrfsProfile::ratio, "node_btrfs_allocation_ratio", gauge, "Bytes on devices for each byte, parity included."},
};
constexpr KnownTable<BtrfsProfile> profiles{
    .rows = &Sample::btrfsProfiles, .labels = profileLabels, .fields = profileFields};

constexpr KnownField<BtrfsDevice> deviceFields[] = {
    {&BtrfsDevice::sizeBytes, "node_btrfs_device_size_bytes", gauge, "Size of a device."},
    {&BtrfsDevice::unusedBytes, "node_btrfs_device_unused_bytes", gauge, "Space of a device that is not allocated."},
};
constexpr KnownLabel<BtrfsDevice> deviceLabels[] = {
    {"btrfs_dev_uuid", &BtrfsDevice::deviceUuid}, {"device", &BtrfsDevice::device}, {"uuid", &BtrfsDevice::uuid}};
constexpr KnownTable<BtrfsDevice> devices{
    .rows = &Sample::btrfsDevices, .labels = deviceLabels, .fields = deviceFields};

struct ErrorType {
    std::string_view type;
    Count BtrfsDevice::*member;
};
constexpr ErrorType errors[] = {
    {"corruption", &BtrfsDevice::corruptionErrors}, {"flush", &BtrfsDevice::flushErrors},
    {"generation", &BtrfsDevice::generationErrors}, {"read", &BtrfsDevice::readErrors},
    {"write", &BtrfsDevice::writeErrors},
};

// With the rows of the devices.
void writeErrors(const Sample &sample, MetricSink &sink) {
    sink.family("node_btrfs_device_errors_total", MetricType::Counter, "Errors of a device, by their type.");
    for (std::size_t index = 0; index < sample.btrfsDevices.size(); ++index) {
        for (const ErrorType &error : errors)
            sink.row(index).label("type", error.type).value(sample.btrfsDevices[index].*error.member);
    }
}

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(whole, sample, sink);
    writeKnown(spaces, sample, sink);
    writeKnown(profiles, sample, sink);
    writeKnown(devices, sample, sink);
    writeErrors(sample, sink);
}

void listFields(KnownFields &known) {
    known.add(whole);
    known.add(spaces);
    known.add(profiles);
    known.add(devices);
    for (const ErrorType &error : errors)
        known.add<BtrfsDevice>({error.member});
}

} // namespace

const KnownMetrics knownBtrfs{Area::Filesystems, write, listFields};

} // namespace zel

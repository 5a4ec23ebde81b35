// The known names of filesystems: without those that hold no data of their own, and without mounts below some
// directories.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr std::string_view typesLeftOut[] = {
    "autofs",   "binfmt_misc", "bpf",        "cgroup",     "cgroup2",   "configfs", "debugfs", "devpts",
    "devtmpfs", "fusectl",     "hugetlbfs",  "iso9660",    "mqueue",    "nsfs",     "overlay", "proc",
    "procfs",   "pstore",      "rpc_pipefs", "securityfs", "selinuxfs", "squashfs", "sysfs",   "tracefs",
};
// These with what is below them; of containers, only what is below.
constexpr std::string_view mountPointsLeftOut[] = {"/dev", "/proc", "/run", "/sys", "/mnt", "/media"};
constexpr std::string_view directoriesLeftOut[] = {"/var/lib/docker/", "/var/lib/containers/storage/"};

bool isAtOrBelow(std::string_view path, std::string_view directory) {
    return path.starts_with(directory) && (path.size() == directory.size() || path[directory.size()] == '/');
}

bool isShown(const Filesystem &filesystem) {
    const std::string_view path = filesystem.mountPoint;
    if (std::find(std::begin(typesLeftOut), std::end(typesLeftOut), filesystem.type) != std::end(typesLeftOut))
        return false;
    for (const std::string_view directory : mountPointsLeftOut)
        if (isAtOrBelow(path, directory))
            return false;
    for (const std::string_view directory : directoriesLeftOut)
        if (path.size() > directory.size() && path.starts_with(directory))
            return false;
    return filesystem.hidden.valueOr(0) == 0; // the mount that hides it often has the same labels
}

constexpr KnownLabel<Filesystem> labels[] = {
    {"device", &Filesystem::device}, {"fstype", &Filesystem::type}, {"mountpoint", &Filesystem::mountPoint}};
constexpr KnownField<Filesystem> fields[] = {
    {&Filesystem::sizeBytes, "node_filesystem_size_bytes", MetricType::Gauge, "Size."},
    {&Filesystem::freeBytes, "node_filesystem_free_bytes", MetricType::Gauge, "Free space."},
    {&Filesystem::availableBytes, "node_filesystem_avail_bytes", MetricType::Gauge,
     "Free space that users without special rights can use."},
    {&Filesystem::files, "node_filesystem_files", MetricType::Gauge, "Files that it can hold (inodes)."},
    {&Filesystem::filesFree, "node_filesystem_files_free", MetricType::Gauge, "Files that can still be made."},
};
constexpr KnownTable<Filesystem> table{
    .rows = &Sample::filesystems, .labels = labels, .fields = fields, .isShown = isShown};

// Any failure to ask counts, want of rights among them, and silence too.
Count failureOf(const Filesystem &filesystem) {
    if (filesystem.stuck.valueOr(0) == 1)
        return std::uint64_t{1};
    const Count &error = filesystem.errorNumber;
    return error ? Count(*error != 0 ? std::uint64_t{1} : std::uint64_t{0}) : error;
}

// With the rows of the table.
void writeStates(const Sample &sample, MetricSink &sink) {
    sink.family("node_filesystem_readonly", MetricType::Gauge, "1 when nothing can be written to it.");
    for (std::size_t index = 0; index < sample.filesystems.size(); ++index) {
        const Filesystem &filesystem = sample.filesystems[index];
        if (filesystem.sizeBytes)
            sink.row(index).value(filesystem.readOnly);
    }
    sink.family("node_filesystem_device_error", MetricType::Gauge, "1 when asking for its size fails or hangs.");
    for (std::size_t index = 0; index < sample.filesystems.size(); ++index)
        sink.row(index).value(failureOf(sample.filesystems[index]));
}

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(table, sample, sink);
    writeStates(sample, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
    known.add<Filesystem>({&Filesystem::readOnly, &Filesystem::deviceError});
}

} // namespace

const KnownMetrics knownFilesystems{Area::Filesystems, write, listFields};

} // namespace zel

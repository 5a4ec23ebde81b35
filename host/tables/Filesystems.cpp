// The fields of the filesystems.
#include "host/Filesystem.h"

namespace zel {

namespace {

constexpr Entries<Filesystem> mount{Area::Filesystems, "filesystems", "/proc/self/mountinfo"};
constexpr Entries<Filesystem> size = mount.from("statfs");
constexpr Entries<Filesystem> shared = mount.from("/proc/self/mountinfo", "mount --make-shared");
constexpr Field<Filesystem> fields[] = {
    mount.info("mount_id", &Filesystem::mountId, "Number of the mount."),
    mount.label("mount_point", &Filesystem::mountPoint, "Directory that it is mounted at."),
    mount.label("device", &Filesystem::device, "What is mounted: a device, a server's directory, any name."),
    mount.label("type", &Filesystem::type, "Type of the filesystem."),
    mount.info("parent_id", &Filesystem::parentId, "Number of the mount that it is mounted on."),
    mount.info("major", &Filesystem::major, "Major number of the device of its files."),
    mount.info("minor", &Filesystem::minor, "Minor number of the device of its files."),
    mount.info("root", &Filesystem::root, "Directory of the filesystem that is mounted."),
    mount.info("options", &Filesystem::options, "Options of the mount, as the kernel writes them."),
    mount.info("super_options", &Filesystem::superOptions, "Options of the filesystem, as the kernel writes them."),
    shared.info("propagation", &Filesystem::propagation,
                "With which mounts it shares what is mounted below it; unsupported when with none."),
    size.gauge("size_bytes", &Filesystem::sizeBytes, Unit::Bytes, "Size of the filesystem."),
    size.gauge("free_bytes", &Filesystem::freeBytes, Unit::Bytes, "Free space, what is reserved for root included."),
    size.gauge("available_bytes", &Filesystem::availableBytes, Unit::Bytes, "Space that users without rights can use."),
    size.gauge("files", &Filesystem::files, Unit::None, "Inodes; 0 where the filesystem does not count them."),
    size.gauge("files_free", &Filesystem::filesFree, Unit::None, "Free inodes."),
    size.gauge("block_bytes", &Filesystem::blockBytes, Unit::Bytes, "The block in which its sizes are counted."),
    size.gauge("transfer_bytes", &Filesystem::transferBytes, Unit::Bytes,
               "The block in which it is best read and written."),
    size.info("longest_name", &Filesystem::longestName, "Longest name of a file, in bytes."),
    mount.from("/proc/self/mountinfo, statfs")
        .state("read_only", &Filesystem::readOnly, "1 when the mount or its filesystem is read-only."),
    mount.state("hidden", &Filesystem::hidden, "1 when a later mount hides it, so that it cannot be asked."),
    size.state("device_error", &Filesystem::deviceError,
               "1 when asking for its size failed, but not for want of rights."),
    size.state("error_number", &Filesystem::errorNumber, "errno of a failed call, 0 when it answered."),
    size.state("stuck", &Filesystem::stuck, "1 when it does not answer."),
    size.gauge("stuck_seconds", &Filesystem::stuckSeconds, Unit::Seconds,
               "How long it has not answered, since it was first asked in vain; 0 when it answers."),
};

} // namespace

template<> std::span<const Field<Filesystem>> fieldsOf<Filesystem>() {
    return fields;
}

} // namespace zel

// Asks a mounted btrfs for its devices and their errors.
#include "host/areas/BtrfsDevices.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/btrfs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

namespace zel {

namespace {

// The numbers of devices that were removed stay unused. Beyond this nothing is looked for.
constexpr std::uint64_t numbersAtMost = 65536;

// A path below /dev by its name there, as other tools show it.
std::string deviceName(const unsigned char *path, std::size_t size) {
    constexpr std::string_view prefix = "/dev/";
    const char *const text = reinterpret_cast<const char *>(path);
    const std::string_view whole(text, strnlen(text, size));
    return std::string(whole.starts_with(prefix) ? whole.substr(prefix.size()) : whole);
}

void askErrors(int mount, std::uint64_t number, BtrfsDevice &device) {
    struct btrfs_ioctl_get_dev_stats stats {};
    stats.devid = number;
    stats.nr_items = BTRFS_DEV_STAT_VALUES_MAX;
    const int error = ioctl(mount, BTRFS_IOC_GET_DEV_STATS, &stats) == 0 ? 0 : errno;
    const auto taken = [&](std::size_t which) {
        if (error != 0)
            return Count(absenceOf(error));
        return which < stats.nr_items ? Count(stats.values[which]) : Count(Absence::Unsupported);
    };
    device.writeErrors = taken(BTRFS_DEV_STAT_WRITE_ERRS);
    device.readErrors = taken(BTRFS_DEV_STAT_READ_ERRS);
    device.flushErrors = taken(BTRFS_DEV_STAT_FLUSH_ERRS);
    device.corruptionErrors = taken(BTRFS_DEV_STAT_CORRUPTION_ERRS);
    device.generationErrors = taken(BTRFS_DEV_STAT_GENERATION_ERRS);
}

// False when no device has this number.
bool askDevice(int mount, std::uint64_t number, BtrfsDevice &device) {
    struct btrfs_ioctl_dev_info_args info {};
    info.devid = number;
    if (ioctl(mount, BTRFS_IOC_DEV_INFO, &info) != 0)
        return false;
    device.device = deviceName(info.path, sizeof(info.path));
    device.deviceUuid = uuidText(info.uuid);
    device.sizeBytes = std::uint64_t{info.total_bytes};
    device.unusedBytes = std::uint64_t{info.total_bytes - std::min(info.bytes_used, info.total_bytes)};
    askErrors(mount, number, device);
    return true;
}

// A device or pipe at a mount point may do something when it is opened: only what cannot is.
ScopedDescriptor openMount(const HostDirectory &root, const char *path) {
    ScopedDescriptor place = root.open(path, O_PATH | O_NOFOLLOW | O_CLOEXEC);
    struct stat status {};
    if (!place.valid() || fstat(place.get(), &status) != 0)
        return ScopedDescriptor(-1);
    if (S_ISDIR(status.st_mode) || S_ISREG(status.st_mode))
        return root.open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    errno = EOPNOTSUPP;
    return ScopedDescriptor(-1);
}

} // namespace

std::string uuidText(const unsigned char (&bytes)[16]) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (std::size_t index = 0; index < sizeof(bytes); ++index) {
        if (index == 4 || index == 6 || index == 8 || index == 10)
            text += '-';
        text += digits[bytes[index] / digits.size()];
        text += digits[bytes[index] % digits.size()];
    }
    return text;
}

int askBtrfs(const HostDirectory &root, const std::string &mountPoint, BtrfsAnswer &answer) {
    const char *const below = mountPoint.c_str() + (mountPoint.starts_with('/') ? 1 : 0);
    const ScopedDescriptor mount = openMount(root, *below == '\0' && !root.own() ? "." : below);
    if (!mount.valid())
        return errno;
    struct btrfs_ioctl_fs_info_args info {};
    if (ioctl(mount.get(), BTRFS_IOC_FS_INFO, &info) != 0)
        return errno;
    answer.uuid = uuidText(info.fsid);
    answer.devices.clear();
    for (std::uint64_t number = 0; number <= std::min<std::uint64_t>(info.max_id, numbersAtMost); ++number) {
        BtrfsDevice device;
        if (askDevice(mount.get(), number, device))
            answer.devices.push_back(std::move(device));
    }
    return 0;
}

} // namespace zel

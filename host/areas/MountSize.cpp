// Asks mounts for their sizes.
#include "host/areas/MountSize.h"

#include "host/HostOpen.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <sys/statvfs.h>

#ifndef STATX_MNT_ID
#define STATX_MNT_ID 0x1000U
#endif

namespace zel {

namespace {

// Directories of a subvolume have a device of their own, which is not that of the mount table.
bool hasDevicesOfItsOwn(const std::string &type) {
    return type == "btrfs" || type == "bcachefs";
}

// DONT_SYNC: what the kernel remembers of the directory is enough, and no server is asked.
bool isWanted(const WantedMount &wanted, int place) {
    struct statx found {};
    if (statx(place, "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, STATX_MNT_ID, &found) != 0)
        return false;
    if (wanted.root.own() && !wanted.otherView && (found.stx_mask & STATX_MNT_ID) != 0)
        return found.stx_mnt_id == wanted.id;
    return hasDevicesOfItsOwn(wanted.type) ||
           (found.stx_dev_major == wanted.major && found.stx_dev_minor == wanted.minor);
}

// A count of blocks in bytes. All ones is how a filesystem says that it does not know.
Count bytesOf(std::uint64_t blocks, std::uint64_t block) {
    std::uint64_t bytes = 0;
    if (blocks == std::numeric_limits<std::uint64_t>::max())
        return Absence::Unsupported;
    return __builtin_mul_overflow(blocks, block, &bytes) ? Count(Absence::Malformed) : Count(bytes);
}

bool wasNotAsked(int error) {
    return error == EOPNOTSUPP || error == ETIMEDOUT || error == EAGAIN || error == ENOMEM;
}

bool saysNothingOfTheDevice(int error) {
    return error == EACCES || error == EPERM || error == ENOENT || error == ENOTDIR || wasNotAsked(error);
}

// Every field that statfs fills.
void clearSizes(Absence reason, Filesystem &filesystem) {
    for (Count *size :
         {&filesystem.sizeBytes, &filesystem.freeBytes, &filesystem.availableBytes, &filesystem.files,
          &filesystem.filesFree, &filesystem.blockBytes, &filesystem.transferBytes, &filesystem.longestName})
        *size = reason;
}

void setAnswer(int error, bool deviceError, Filesystem &filesystem) {
    filesystem.errorNumber = static_cast<std::uint64_t>(error);
    filesystem.deviceError = static_cast<std::uint64_t>(deviceError);
    filesystem.stuck = std::uint64_t{0};
    filesystem.stuckSeconds = 0.0;
}

} // namespace

int askMount(const std::string &mountPoint, struct statfs64 &status) {
    return measureFilesystem(mountPoint.c_str(), status);
}

int askWantedMount(const WantedMount &wanted, struct statfs64 &status) {
    const char *below = wanted.mountPoint.c_str() + (wanted.mountPoint.front() == '/' ? 1 : 0);
    const char *path = *below == '\0' && !wanted.root.own() ? "." : below;
    const ScopedDescriptor place = wanted.root.open(path, O_PATH | O_NOFOLLOW | O_CLOEXEC);
    if (!place.valid())
        return errno;
    if (!isWanted(wanted, place.get()))
        return EOPNOTSUPP;
    if (fstatfs64(place.get(), &status) == 0)
        return 0;
    // Kernels before 3.12 do not take such a descriptor.
    return errno == EBADF && wanted.root.own() ? askMount(wanted.mountPoint, status) : errno;
}

void setSizes(const struct statfs64 &status, Filesystem &filesystem) {
    const auto transfer = static_cast<std::uint64_t>(status.f_bsize);
    const std::uint64_t block = status.f_frsize != 0 ? static_cast<std::uint64_t>(status.f_frsize) : transfer;
    filesystem.sizeBytes = bytesOf(status.f_blocks, block);
    filesystem.freeBytes = bytesOf(status.f_bfree, block);
    filesystem.availableBytes = bytesOf(status.f_bavail, block);
    filesystem.files = bytesOf(status.f_files, 1);
    filesystem.filesFree = bytesOf(status.f_ffree, 1);
    filesystem.blockBytes = block;
    filesystem.transferBytes = transfer;
    filesystem.longestName = static_cast<std::uint64_t>(status.f_namelen);
    if ((static_cast<unsigned long>(status.f_flags) & ST_RDONLY) != 0)
        filesystem.readOnly = std::uint64_t{1}; // a filesystem that found an error tells nobody else
    setAnswer(0, false, filesystem);
}

void setNoSizes(int error, Filesystem &filesystem) {
    const bool notAsked = wasNotAsked(error);
    const Absence reason = error == ENOENT                   ? Absence::Vanished
                           : notAsked && error != EOPNOTSUPP ? Absence::TimedOut
                                                             : absenceOf(error);
    clearSizes(reason, filesystem);
    setAnswer(error, !saysNothingOfTheDevice(error), filesystem);
    if (!notAsked)
        return;
    filesystem.errorNumber = filesystem.deviceError = filesystem.stuck = reason;
    filesystem.stuckSeconds = reason;
}

void setStuck(double seconds, Filesystem &filesystem) {
    clearSizes(Absence::TimedOut, filesystem);
    setAnswer(ETIMEDOUT, false, filesystem);
    filesystem.stuck = std::uint64_t{1};
    filesystem.stuckSeconds = seconds;
}

} // namespace zel

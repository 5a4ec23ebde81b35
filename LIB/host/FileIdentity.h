// Which file a name or a descriptor leads to: two of them may lead to the same one.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace zel {

struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;

    bool operator==(const FileIdentity &) const = default;
};

inline FileIdentity identityOf(const struct stat &status) {
    return {status.st_dev, status.st_ino};
}

/// That of an open file, by what the kernel remembers of it: the server of a mount that does not answer is not asked.
/// False, with errno, for a descriptor that is not open. (Kernels before 4.11 ask.)
inline bool rememberedIdentity(int descriptor, FileIdentity &identity) {
    struct statx status {};
    if (statx(descriptor, "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, STATX_INO, &status) != 0)
        return false;
    identity = {makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino};
    return true;
}

} // namespace zel

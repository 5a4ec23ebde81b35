// The sizes of one mount: asked for, and turned into the fields of a filesystem.
#pragma once

#include "host/Filesystem.h"
#include "host/source/HostDirectory.h"

#include <string>
#include <sys/statfs.h>

namespace zel {

/// Asks without a look at what is there, in one call: for mounts of this host that its table shows not to be hidden.
int askMount(const std::string &mountPoint, struct statfs64 &status);

/// Which mount is meant.
struct WantedMount {
    HostDirectory root;
    std::string mountPoint, type;
    std::uint64_t id = 0, major = 0, minor = 0;
    bool otherView = false; // its number may be that of another process's view of the mounts
};

/// Opens the mount point below the root without mounting anything there, and asks it when it is the mount that is
/// meant: on this host by its number, below a directory or in another view, where the numbers are others, by its
/// device. Gives 0 or an
/// errno: EOPNOTSUPP when another filesystem is there.
int askWantedMount(const WantedMount &wanted, struct statfs64 &status);

/// Sets the sizes. A size that does not fit 64 bits is malformed.
void setSizes(const struct statfs64 &status, Filesystem &filesystem);
/// A mount that gave an error, and one that was not asked: EOPNOTSUPP when it never is, ETIMEDOUT, EAGAIN or ENOMEM
/// when there was no time, thread or memory for it.
void setNoSizes(int error, Filesystem &filesystem);
/// One that does not answer.
void setStuck(double seconds, Filesystem &filesystem);

} // namespace zel

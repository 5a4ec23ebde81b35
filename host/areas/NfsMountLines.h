// The NFS mounts of /proc/self/mountstats.
#pragma once

#include "host/Nfs.h"
#include "host/Rows.h"

#include <string_view>

namespace zel {

/// The first line of a mount, as it stands there; empty when the line at `line` is none, or of another filesystem.
std::string_view nfsMountLine(const char *line);
/// The start of the first line after the mount that begins at `line`: of the next mount, or the terminator.
const char *nextMount(const char *line);

/// Where the parts of a mount go.
struct NfsMountRows {
    NfsMount &mount;
    Rows<NfsOperation> &operations;
    Rows<NfsTransport> &transports;
};

/// Takes the mount that begins at `line`, up to `end`. False when something of it is not what kernels write: that is
/// malformed then, and the rest counts.
bool parseNfsMount(const char *line, const char *end, NfsMountRows rows);

} // namespace zel

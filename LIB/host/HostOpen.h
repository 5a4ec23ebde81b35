// How kernel and system files of the sampled host are opened: the one place that decides what such an open may do. The
// host root may be that of a container or of a mounted disk, where anything can be in the place of a file.
#pragma once

#include "host/ScopedHandle.h"

#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <sys/vfs.h>

namespace zel {

/// A pipe or a device in the place of a kernel file neither holds the sampler up nor becomes its terminal: without
/// data it reads as an empty file or as one that cannot be read. Kernel files do not notice.
inline constexpr int HOST_FILE_FLAGS = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

/// What follows is not read: no kernel file of counters comes near it, and a device may have no end.
inline constexpr std::size_t HOST_FILE_LIMIT = std::size_t{64} * 1024 * 1024;

/// Opens the file `path` (below the host root) to read. An invalid one leaves errno.
ScopedDescriptor openHostFile(const char *path);

/// The same for a path relative to the open directory `directory`.
ScopedDescriptor openHostFileAt(int directory, const char *path);

/// Opens the directory `path` (below the host root), to read its names and to open what is in it.
ScopedDescriptor openHostDirectory(const char *path);

/// The same as openHostFile as a stream, which ends after HOST_FILE_LIMIT bytes and where a read fails: what is read
/// later would be taken for what is missing. Null leaves errno. It asks the system for nothing but the open, the reads
/// and the close.
ScopedFile openHostStream(const char *path);

/// Such a stream over a file that the caller has opened and that stays open, from where it was read last.
ScopedFile openStreamOver(int descriptor);
/// The same from its beginning, whatever was read. When a read fails, the file is opened anew at `path`, a literal, and
/// read on, once.
ScopedFile openStreamFromStart(int descriptor, const char *path);

/// The size of the filesystem that holds `path`, which has the host root before it already: 0, or the error number of
/// statfs64. The call may never return (threads/BoundedCall.h).
int measureFilesystem(const char *path, struct statfs64 &size);

} // namespace zel

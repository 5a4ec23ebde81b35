// The one place that turns the path of a kernel or system file into the path that is opened.
//
// Every absolute path that the library reads (/proc, /sys, /etc/mtab, a mount point given to statfs64 ...) goes
// through fgHostPath, so that an agent in a container reads its host and a test reads a fixture tree. Names that the
// library reports never carry the root. Paths relative to the working directory are never prefixed.
#pragma once

#include <cstddef>

inline constexpr std::size_t HOST_ROOT_SIZE = 256;

/// Directory that is "/" of the sampled host, without a trailing slash; empty (the default): "/" itself.
/// Set before the first collector is built.
extern char g_strHostRoot[HOST_ROOT_SIZE];

/// The path to open for `path`. With an empty root, or for a relative path, it is `path` itself (no copy). Otherwise
/// it is a text of the calling thread, valid until its next call. A result that would exceed the longest path of the
/// system is the empty text, which no open accepts. Never null.
const char *fgHostPath(const char *path);

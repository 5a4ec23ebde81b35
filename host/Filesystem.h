// Mounted filesystems: every mount of /proc/self/mountinfo, and what statfs says of it, small and virtual ones too. Any
// user; a mount below a directory that is closed to the user is denied.
//
// A filesystem is its mount id. A mount that does not answer within the deadline is "timed out" and not asked again
// until its call returns. A mount that a later one hides has no sizes: its path leads to another filesystem. Neither
// has an autofs, which would mount what it is asked for.
//
// Below a root directory the mounts are those of its first process. They have sizes when the directory is the root of
// a running host (its proc is the kernel's) and its mount point leads to the same device; a recording has none.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Filesystem {
    Count mountId; // unsupported by a kernel without mountinfo
    std::string mountPoint;
    std::string device; // the source field
    std::string type;
    Count parentId; // the mount that it is mounted on
    Count major, minor;
    Reading<std::string> root;         // the directory of the filesystem that is mounted
    Reading<std::string> options;      // of the mount
    Reading<std::string> superOptions; // of the filesystem
    Reading<std::string> propagation;  // "shared:7 master:1"; unsupported when it is private

    Count sizeBytes, freeBytes, availableBytes; // available to users without rights
    Count files, filesFree;
    Count blockBytes;    // in which its sizes are counted
    Count transferBytes; // that are best read and written at a time
    Count longestName;
    Count readOnly; // 1 or 0
    Count hidden;   // 1: a later mount hides it

    Count deviceError; // 1: asking failed, and not for want of rights
    Count errorNumber; // errno of a failed call, 0 when it answered
    Count stuck;       // 1: it did not answer
    Number stuckSeconds;
};

template<> std::span<const Field<Filesystem>> fieldsOf<Filesystem>();

} // namespace zel

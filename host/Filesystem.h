// Mounted filesystems: /proc/self/mountinfo and statvfs of every mount, small and virtual ones with a size too. Any
// user; a mount below a directory that is closed to the user is denied.
//
// A filesystem is its mount id. A mount that does not answer within the deadline is "timed out" and not asked again
// until its call returns.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Filesystem {
    std::uint64_t mountId = 0;
    std::string mountPoint;
    std::string device; // the source field
    std::string type;
    Reading<std::string> root;    // the directory of the filesystem that is mounted
    Reading<std::string> options; // of the mount and of the filesystem
    std::uint64_t major = 0, minor = 0;

    Count sizeBytes, freeBytes, availableBytes;
    Count files, filesFree, filesAvailable;
    Count blockBytes;
    Count longestName;
    Count readOnly;    // 1 or 0
    Count deviceError; // 1: asking for its size failed
    Count stuck;       // 1: it did not answer
    Number stuckSeconds;
};

template<> std::span<const Field<Filesystem>> fieldsOf<Filesystem>();

} // namespace zel

// The sizes of a mount: asked for, and turned from block and inode counts into kilobytes and percentages. Internal to
// the filesystem collector.
#pragma once

#include "threads/BoundedCall.h"

#include <sys/statfs.h>

struct _ST_FS;

namespace zel {

/// What a mount says of itself, and whether it took longer than FS_SLOW_MILLISECONDS for it.
struct MountAnswer {
    struct statfs64 status {};
    bool slow = false;
};

using MountCall = BoundedCall<MountAnswer>;

/// Starts statfs64 of `path` on a thread of its own, held to FS_REMOTE_SECONDS.
MountCall startAskingMount(const std::string &path);

/// Sets the sizes, inode counts and usages of `filesystem`. Whatever the filesystem claims, nothing wraps below zero
/// and no percentage is undefined: more free than there is counts as nothing used, a percentage of nothing is 0.
void measure(const struct statfs64 &status, _ST_FS &filesystem);

} // namespace zel

// From the kernel's block and inode counts to kilobytes and percentages. Internal to the filesystem collector.
#pragma once

#include <sys/statfs.h>

struct _ST_FS;

namespace zel {

/// statfs64 of `path`: 0 or the error number.
int statfsLocal(const char *path, struct statfs64 &status);
/// The same for a mount that may hang: ETIMEDOUT after FS_REMOTE_SECONDS, and at once while an earlier call on the same
/// path still hangs.
int statfsRemote(const char *path, struct statfs64 &status);

/// Sets the sizes, inode counts and usages of `filesystem`. Whatever the filesystem claims, nothing wraps below zero
/// and no percentage is undefined: more free than there is counts as nothing used, a percentage of nothing is 0.
void measure(const struct statfs64 &status, _ST_FS &filesystem);

} // namespace zel

// What a mounted btrfs answers of its devices: calls to the mount, which wait while a device is written to.
#pragma once

#include "host/Btrfs.h"
#include "host/source/HostDirectory.h"

#include <string>
#include <string_view>
#include <vector>

namespace zel {

struct BtrfsAnswer {
    std::string uuid;                 // of the filesystem
    std::vector<BtrfsDevice> devices; // without that UUID
};

/// Asks the filesystem at a mount point. Gives 0 or an errno: ENOTTY when there is another filesystem.
int askBtrfs(const HostDirectory &root, const std::string &mountPoint, BtrfsAnswer &answer);

/// The 16 bytes as "67ca9d8b-25d1-42ca-a1b1-a74804cabc2d".
std::string uuidText(const unsigned char (&bytes)[16]);

} // namespace zel

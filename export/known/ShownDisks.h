// Which block devices the known names are of.
#pragma once

#include <string_view>

namespace zel {

/// All but memory disks, loop devices, floppy disks and the partitions of most disks.
bool isShownDisk(std::string_view name);

} // namespace zel

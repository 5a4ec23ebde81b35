// What udev wrote down about a block device: /run/udev/data/b8:0, a line "E:KEY=VALUE" for each property.
#pragma once

#include "host/StorageDevices.h"

namespace zel {

/// Takes the properties of a terminated text into `disk`; its name stays.
void parseUdevRecord(const char *text, UdevDisk &disk);

inline constexpr std::size_t UDEV_VALUE_AT_MOST = 1024; // a longer one is malformed

} // namespace zel

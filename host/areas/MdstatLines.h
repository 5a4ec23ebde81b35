// The arrays of /proc/mdstat.
#pragma once

#include "host/StorageDevices.h"

#include <vector>

namespace zel {

/// Appends the arrays of a terminated text. False when a line of one is not the kernel's: what it lacks is malformed.
bool parseMdstat(const char *text, std::vector<MdArray> &arrays);

inline constexpr std::size_t MD_ARRAYS_AT_MOST = 4096; // more is not believed

} // namespace zel

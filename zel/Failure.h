// What could not be read, in words.
#pragma once

#include "host/Sample.h"

#include <string>
#include <string_view>

namespace zel {

/// "disks: /proc/diskstats: Permission denied (EACCES)"; empty when nothing failed, or nothing was asked for.
std::string failureText(std::string_view what, const std::string &root, const AreaState &state);

} // namespace zel

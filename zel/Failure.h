// What could not be read, in words.
#pragma once

#include "host/Sample.h"

#include <string>
#include <string_view>

namespace zel {

/// A file of an area's state as a reader finds it: "/host/proc/meminfo". What is no path, such as the name of a
/// library, stays as it is.
std::string failedFile(const std::string &root, const std::string &file);

/// "Permission denied (EACCES)"; empty for 0 and for a number that is no error.
std::string errorText(int error);

/// "disks: /proc/diskstats: Permission denied (EACCES)"; empty when nothing failed, or nothing was asked for.
std::string failureText(std::string_view what, const std::string &root, const AreaState &state);

} // namespace zel

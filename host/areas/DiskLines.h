// The lines of /proc/diskstats.
#pragma once

#include "host/Disk.h"

namespace zel {

/// Takes the numbers, the name and the columns of the line at `line`, which ends with a line feed or the terminator.
/// False when it has no numbers and name, and nothing counts then. `sum` is made of all columns: it is another one when
/// the line changed.
bool parseDiskLine(const char *line, Disk &disk, std::uint64_t &sum);

} // namespace zel

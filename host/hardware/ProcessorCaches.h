// The caches of processors: /sys/devices/system/cpu/cpu*/cache.
#pragma once

#include "host/Hardware.h"
#include "host/source/HostDirectory.h"

#include <vector>

namespace zel {

/// Appends one row for each kind of cache, by name and size.
void readProcessorCaches(const HostDirectory &root, const std::vector<std::uint64_t> &processors,
                         Rows<ProcessorCache> &rows);

} // namespace zel

// The entries of a sysfs directory that begin with a word and go on with a number, such as node0 or hugepages-2048kB.
#pragma once

#include "host/source/HostDirectory.h"

#include <cstdint>
#include <vector>

namespace zel {

/// Puts the numbers behind `prefix` into `numbers`, in ascending order, and gives 0; or the errno that kept the
/// directory from being read.
int numberedEntries(const HostDirectory &root, const char *directory, const char *prefix,
                    std::vector<std::uint64_t> &numbers);

} // namespace zel

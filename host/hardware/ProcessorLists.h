// Lists of processors as the kernel writes them: "0-3,8".
#pragma once

#include "host/Schema.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// Of ascending numbers.
std::string processorList(const std::vector<std::uint64_t> &numbers);

/// How many processors a list names; malformed when it is none.
Count processorCount(std::string_view list);

} // namespace zel

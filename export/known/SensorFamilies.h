// Tells which names of families the tables of sensors have.
#pragma once

#include <string_view>

namespace zel {

/// Whether `name` is a family of a file that all drivers of chips share, such as node_hwmon_fan_rpm.
bool isSensorFamily(std::string_view name);

} // namespace zel

// Conversions that never overflow.
#pragma once

#include <limits>

namespace zel {

/// `value` cut towards zero, saturated at the limits of int; not-a-number gives 0.
inline int saturatedInt(double value) {
    if (value != value)
        return 0;
    if (value >= static_cast<double>(std::numeric_limits<int>::max()))
        return std::numeric_limits<int>::max();
    if (value <= static_cast<double>(std::numeric_limits<int>::min()))
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

} // namespace zel

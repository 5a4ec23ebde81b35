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

/// `value` cut towards zero, saturated at 0 and at the largest 64-bit number; not-a-number gives 0.
inline unsigned long long saturatedUnsigned(double value) {
    constexpr double limit = 18446744073709551616.0; // 2^64
    if (!(value > 0.0))
        return 0;
    return value >= limit ? std::numeric_limits<unsigned long long>::max() : static_cast<unsigned long long>(value);
}

} // namespace zel

// When what a device said is asked for again.
#pragma once

#include <chrono>
#include <functional>
#include <string_view>

namespace zel {

/// A time between three quarters of the period and all of it, by the name of the device: so that the devices which were
/// asked together are not asked together again.
inline std::chrono::milliseconds spread(std::chrono::milliseconds period, std::string_view name) {
    constexpr std::size_t steps = 64;
    return period - period * static_cast<long>(std::hash<std::string_view>{}(name) % steps) / (4 * steps);
}

} // namespace zel

// A clock for what is done again after some seconds: it costs no system call.
#pragma once

#include <cstdint>
#include <ctime>

namespace zel {

/// Seconds of a monotonic clock.
inline std::int64_t coarseSeconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return now.tv_sec;
}

/// A moment that lies further back than any other.
inline constexpr std::int64_t LONG_AGO = INT64_MIN / 2;

} // namespace zel

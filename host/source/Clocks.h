// The clocks of a sample, and one for what is done again after some seconds.
#pragma once

#include <cstdint>
#include <ctime>

namespace zel {

inline constexpr std::int64_t NANOSECONDS_PER_SECOND = 1000000000;

inline std::int64_t nanosecondsOf(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * NANOSECONDS_PER_SECOND + now.tv_nsec;
}

inline double secondsSince(std::int64_t before, clockid_t clock) {
    return static_cast<double>(nanosecondsOf(clock) - before) / static_cast<double>(NANOSECONDS_PER_SECOND);
}

/// Seconds of a monotonic clock. It costs no system call.
inline std::int64_t coarseSeconds() {
    return nanosecondsOf(CLOCK_MONOTONIC_COARSE) / NANOSECONDS_PER_SECOND;
}

/// A moment of it that lies further back than any other.
inline constexpr std::int64_t LONG_AGO = INT64_MIN / 2;

} // namespace zel

// The elapsed time between two samples, in the one arithmetic that every rate of the library is computed with.
#pragma once

#include <sys/time.h>

namespace zel {

/// Seconds from `from` to `to`: the whole-second difference plus the microsecond difference taken in single precision
/// times 0.000001. Negative when the clock was set back.
inline double elapsedSeconds(const timeval &from, const timeval &to) {
    const float microseconds = static_cast<float>(to.tv_usec - from.tv_usec);
    return static_cast<double>(to.tv_sec - from.tv_sec) + static_cast<double>(microseconds) * 0.000001;
}

/// Seconds since `previous`, which then takes the current time (gettimeofday).
inline double elapsedSince(timeval &previous) {
    timeval now{};
    gettimeofday(&now, nullptr);
    const double elapsed = elapsedSeconds(previous, now);
    previous = now;
    return elapsed;
}

} // namespace zel

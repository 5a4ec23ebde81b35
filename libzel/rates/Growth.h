// What every rate is made of: growth per time, and the floor of 0 that consumers of the texts expect.
#pragma once

namespace zel {

/// Per second of `elapsed`. A counter that did not grow gives 0 whatever the time between the samples; one that grew in
/// no time at all an infinity, which the ceilings of the collectors catch.
inline double perSecond(unsigned long long growth, double elapsed) {
    return growth == 0 ? 0.0 : static_cast<double>(growth) / elapsed;
}

/// 0 for whatever is not above 0: a negative number, minus zero (which would be printed with its sign), not-a-number.
inline double notBelowZero(double value) {
    return value > 0.0 ? value : 0.0;
}

/// Per second of `elapsed`, never below 0, for a difference that is negative when the counter fell: that gives 0.
inline double risePerSecond(long difference, double elapsed) {
    return difference > 0 ? notBelowZero(perSecond(static_cast<unsigned long long>(difference), elapsed)) : 0.0;
}

} // namespace zel

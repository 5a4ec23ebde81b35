// How long it is until a moment, as the calls that wait take it.
#pragma once

#include <algorithm>
#include <chrono>
#include <ctime>

namespace zel {

/// 0 for a moment that went by.
inline timespec timeUntil(std::chrono::steady_clock::time_point moment) {
    using namespace std::chrono;
    const nanoseconds left = std::max<nanoseconds>(moment - steady_clock::now(), nanoseconds(0));
    const seconds whole = duration_cast<seconds>(left);
    return {whole.count(), (left - whole).count()};
}

} // namespace zel

// Waiting for a descriptor, in slices in which the end of the agent is noticed.
#include "Destination.h"

#include <algorithm>

namespace agent {

bool waitFor(int descriptor, short events, Clock::time_point limit, const StopTime &stop) {
    constexpr std::chrono::milliseconds slice{100};
    while (!stop.isOver()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now());
        if (left.count() <= 0)
            return false;
        pollfd waited{descriptor, events, 0};
        if (poll(&waited, 1, static_cast<int>(std::min(left, slice).count())) > 0)
            return true;
    }
    return false;
}

} // namespace agent

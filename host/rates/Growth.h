// The growth of counters between two samples.
#pragma once

#include "host/Schema.h"

namespace zel {

/// What a counter grew by. A 32-bit counter wraps; another one that fell was reset: "not yet". Without both values the
/// reason of the later one, or of the earlier.
Number growthOf(const Count &before, const Count &now, unsigned char counterBits = 64);
Number growthOf(const Number &before, const Number &now);

/// A growth per second; over no time at all nothing can be said: "not yet".
Number perSecond(const Number &growth, double seconds);

/// A number per unit of another; nothing of nothing is `otherwise`.
Number quotient(const Number &of, const Number &by, double otherwise = 0);

} // namespace zel

// The growth of counters between two samples.
#pragma once

#include "host/Schema.h"

namespace zel {

/// What a counter grew by. A counter of 32 bits, and a sum of such counters, wraps; one that would have grown by 2^31
/// or more, and any other that fell, was reset: "not yet". Without both values the reason of the later one, or of the
/// earlier.
Number growthOf(const Count &before, const Count &now, unsigned char counterBits = 64);
Number growthOf(const Number &before, const Number &now);
/// Of a time that the kernel keeps as milliseconds in 32 bits: it wraps like a counter of 32 bits.
Number wrappingSeconds(const Number &before, const Number &now);

/// Of a counter that begins again at 0 when it comes to `wrapsAt`. One that would have grown by half of that or more
/// was reset.
Number wrappingGrowth(const Number &before, const Number &now, const Number &wrapsAt);

/// A number per unit of another; nothing of nothing is `otherwise`.
Number quotient(const Number &of, const Number &by, double otherwise = 0);

} // namespace zel

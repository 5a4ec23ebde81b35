// What adjtimex says of the clock.
#pragma once

#include "host/Timekeeping.h"

#include <sys/timex.h>

namespace zel {

/// Takes what the call filled in and returned into the fields that come from it.
void takeAdjustment(const timex &adjustment, int state, Timekeeping &time);
/// The same of a call that failed.
void loseAdjustment(Timekeeping &time, Absence reason);

} // namespace zel

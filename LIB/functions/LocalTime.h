// The calendar of the host's time zone, in a form that the child of a fork can use.
#pragma once

#include <ctime>

namespace zel {

/// As localtime_r: false when the time has no calendar form. The C library guards its time zone with a lock that stays
/// locked in the child of a fork when another thread was inside; this function lets no fork come in between.
bool localTime(std::time_t time, std::tm &local);

} // namespace zel

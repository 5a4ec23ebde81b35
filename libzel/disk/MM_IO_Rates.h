// The arithmetic of the disk rates. Plain functions over values.
//
// An interval of 0 is divided by as IEEE has it; limitRates then brings the result into its range.
#pragma once

#include "rates/Growth.h"

struct _ST_COMPUTE_IO;
struct _ST_DISKIO;

namespace zel {

/// What a counter grew by, 0 when it fell. The difference is a signed 64-bit one: a counter that wrapped has grown.
unsigned long long growth(unsigned long long current, unsigned long long previous);

/// Share of the interval in percent; the milliseconds count in single precision.
double busyPercent(unsigned long long busyMilliseconds, double elapsed);

/// Milliseconds per request between two samples of 2.2, whose ticks are hundredths of a second; 0 without requests.
double averageWait(const _ST_COMPUTE_IO &current, const _ST_COMPUTE_IO &previous);

/// Negative values, and request rates of 1e9 and more, become -1.0; busy above 100 becomes 100. Kilobyte rates have no
/// ceiling.
void limitRates(_ST_DISKIO &result);

} // namespace zel

// The arithmetic of the disk rates. Plain functions over values.
//
// An interval of 0 is divided by as IEEE has it; limitRates then brings the result into its range.
#pragma once

#include "rates/Growth.h"

struct _ST_COMPUTE_IO;
struct _ST_DISKIO;
struct _ST_DISK_OLD_LIST;

namespace zel {

/// What a disk did between two samples.
struct DiskRates {
    double readRequests; // per second
    double writeRequests;
    double readKilobytes; // per second; on 2.2 the kernel's blocks
    double writeKilobytes;
    double busy;        // percent of the interval
    double averageWait; // milliseconds per request, 2.2 only
};

/// What a counter grew by, 0 when it fell. The difference is a signed 64-bit one: a counter that wrapped has grown.
unsigned long long growth(unsigned long long current, unsigned long long previous);

/// Share of the interval in percent; the milliseconds count in single precision.
double busyPercent(unsigned long long busyMilliseconds, double elapsed);

/// Milliseconds per request between two samples of 2.2, whose ticks are hundredths of a second; 0 without requests.
double averageWait(const _ST_COMPUTE_IO &current, const _ST_COMPUTE_IO &previous);

/// Kernel 2.2: blocks, an average wait, no busy time. A counter that fell counts 0.
DiskRates ratesOfBlocks(const _ST_COMPUTE_IO &current, const _ST_COMPUTE_IO &previous, double elapsed);

/// Kernel 2.4, and the list form of 2.6: a counter that fell counts 0.
DiskRates ratesByName(const _ST_COMPUTE_IO &current, const _ST_COMPUTE_IO &previous, double elapsed);

/// The text form of 2.6: a counter that fell gives an enormous rate, by which consumers of the text tell a reset.
DiskRates ratesByKey(const _ST_COMPUTE_IO &current, const _ST_DISK_OLD_LIST &previous, double elapsed);

/// Makes `result` that of the disk of `sample`. The rest of it is zero.
void setResult(_ST_DISKIO &result, const _ST_COMPUTE_IO &sample, const DiskRates &rates);

/// Negative values, and request rates of 1e9 and more, become -1.0; busy above 100 becomes 100. Kilobyte rates have no
/// ceiling.
void limitRates(_ST_DISKIO &result);

} // namespace zel

// What a disk did between two samples, and the ranges of the results.
#include "disk/MM_IO_Rates.h"

#include "MM_IO_Info.h"

#include <cstring>

namespace {

constexpr std::size_t longestName = DISK_NAME_SIZE - 1;
constexpr double kilobytesPerSector = 0.5;
constexpr double blockUnit = 1.0; // 2.2: blocks are reported as the kernel counts them
constexpr double millisecondsPerSecond = 1000.0;
constexpr double percent = 100.0;
constexpr double requestRateCeiling = 1e9;
constexpr double noRate = -1.0;
constexpr double awaitScale = 10.0;

double allowedRate(double rate) {
    return rate < 0.0 ? noRate : rate;
}

double allowedRequestRate(double rate) {
    return rate >= requestRateCeiling ? noRate : allowedRate(rate);
}

// Requests and volumes; a volume is a counter times `unit`, and `grown` says by how much a counter grew.
template<typename Previous>
zel::DiskRates requestsAndVolumes(const _ST_COMPUTE_IO &current, const Previous &previous, double elapsed, double unit,
                                  unsigned long long (*grown)(unsigned long long, unsigned long long)) {
    zel::DiskRates rates{};
    rates.readRequests = zel::perSecond(grown(current.l_ulRead_N, previous.l_ulRead_N), elapsed);
    rates.writeRequests = zel::perSecond(grown(current.l_ulWrite_N, previous.l_ulWrite_N), elapsed);
    rates.readKilobytes = zel::perSecond(grown(current.l_ulRead_B, previous.l_ulRead_B), elapsed) * unit;
    rates.writeKilobytes = zel::perSecond(grown(current.l_ulWrite_B, previous.l_ulWrite_B), elapsed) * unit;
    return rates;
}

// For a counter of the text form: one that fell has grown enormously.
unsigned long long anyChange(unsigned long long current, unsigned long long previous) {
    return current - previous;
}

} // namespace

namespace zel {

unsigned long long growth(unsigned long long current, unsigned long long previous) {
    const unsigned long long difference = current - previous;
    return static_cast<long long>(difference) > 0 ? difference : 0;
}

double busyPercent(unsigned long long busyMilliseconds, double elapsed) {
    if (busyMilliseconds == 0)
        return 0.0;
    return static_cast<double>(static_cast<float>(busyMilliseconds)) / (elapsed * millisecondsPerSecond) * percent;
}

double averageWait(const _ST_COMPUTE_IO &current, const _ST_COMPUTE_IO &previous) {
    const unsigned ticks =
        current.l_uiRead_ticks - previous.l_uiRead_ticks + (current.l_uiWrite_ticks - previous.l_uiWrite_ticks);
    const unsigned requests =
        current.l_uiRead_ios - previous.l_uiRead_ios + (current.l_uiWrite_ios - previous.l_uiWrite_ios);
    if (ticks == 0 || requests == 0)
        return 0.0;
    return static_cast<double>(ticks) / static_cast<double>(static_cast<int>(requests)) * awaitScale;
}

DiskRates ratesOfBlocks(const _ST_COMPUTE_IO &current, const _ST_COMPUTE_IO &previous, double elapsed) {
    DiskRates rates = requestsAndVolumes(current, previous, elapsed, blockUnit, growth);
    rates.averageWait = averageWait(current, previous);
    return rates;
}

DiskRates ratesByName(const _ST_COMPUTE_IO &current, const _ST_COMPUTE_IO &previous, double elapsed) {
    DiskRates rates = requestsAndVolumes(current, previous, elapsed, kilobytesPerSector, growth);
    if (current.l_lTick >= previous.l_lTick)
        rates.busy = busyPercent(growth(current.l_lTick, previous.l_lTick), elapsed);
    return rates;
}

DiskRates ratesByKey(const _ST_COMPUTE_IO &current, const _ST_DISK_OLD_LIST &previous, double elapsed) {
    DiskRates rates = requestsAndVolumes(current, previous, elapsed, kilobytesPerSector, anyChange);
    if (current.l_lTick > previous.l_lTick)
        rates.busy = busyPercent(current.l_lTick - previous.l_lTick, elapsed);
    return rates;
}

// The bytes after a name are zero already: clearing the former name clears the whole record.
void setResult(_ST_DISKIO &result, const _ST_COMPUTE_IO &sample, const DiskRates &rates) {
    std::memset(result.l_strDEVname, 0, strnlen(result.l_strDEVname, longestName));
    std::memcpy(result.l_strDEVname, sample.l_strDEVname, strnlen(sample.l_strDEVname, longestName));
    result.l_uiRead_ios = result.l_uiRead_ticks = 0;
    result.l_uiWrite_ios = result.l_uiWrite_ticks = 0;
    result.l_dAwait = rates.averageWait;
    result.l_dRead_B = rates.readKilobytes;
    result.l_dWrite_B = rates.writeKilobytes;
    result.l_dRead_N = rates.readRequests;
    result.l_dWrite_N = rates.writeRequests;
    result.l_dXfer_B = result.l_dXfer_N = 0.0;
    result.l_nTotSize = sample.l_nTotSize;
    result.l_dBusy = rates.busy;
}

void limitRates(_ST_DISKIO &result) {
    result.l_dRead_B = allowedRate(result.l_dRead_B);
    result.l_dWrite_B = allowedRate(result.l_dWrite_B);
    result.l_dRead_N = allowedRequestRate(result.l_dRead_N);
    result.l_dWrite_N = allowedRequestRate(result.l_dWrite_N);
    result.l_dBusy = allowedRate(result.l_dBusy);
    if (result.l_dBusy > percent)
        result.l_dBusy = percent;
}

} // namespace zel

// Takes the numbers of adjtimex to base units.
#include "host/areas/ClockAdjustment.h"

#include <algorithm>
#include <iterator>

namespace zel {

namespace {

constexpr double perMicrosecond = 1e6, perNanosecond = 1e9;
constexpr double partsPerMillion = 65536.0 * 1e6; // of which the kernel counts 1/65536

constexpr Number Timekeeping::*numbers[] = {
    &Timekeeping::offset,         &Timekeeping::frequency, &Timekeeping::maximumError,
    &Timekeeping::estimatedError, &Timekeeping::constant,  &Timekeeping::precision,
    &Timekeeping::tolerance,      &Timekeeping::tick,      &Timekeeping::taiOffset};
constexpr Count Timekeeping::*counts[] = {&Timekeeping::synchronised, &Timekeeping::status, &Timekeeping::insertLeap,
                                          &Timekeeping::deleteLeap};
constexpr Number Timekeeping::*pulseNumbers[] = {&Timekeeping::ppsFrequency, &Timekeeping::ppsJitter,
                                                 &Timekeeping::ppsInterval, &Timekeeping::ppsStability};
constexpr Count Timekeeping::*pulseCounts[] = {&Timekeeping::ppsSignal, &Timekeeping::ppsJitters,
                                               &Timekeeping::ppsCalibrations, &Timekeeping::ppsErrors,
                                               &Timekeeping::ppsUnstable};

void losePulses(Timekeeping &time, Absence reason) {
    for (const auto member : pulseNumbers)
        time.*member = reason;
    for (const auto member : pulseCounts)
        time.*member = reason;
}

std::uint64_t isSet(const timex &adjustment, int bit) {
    return (adjustment.status & bit) != 0 ? 1 : 0;
}

Count countOf(long number) {
    return number < 0 ? Count(Absence::Malformed) : Count(static_cast<std::uint64_t>(number));
}

// A kernel that knows no pulses leaves zeros, also where one that does has 2 at least: in the shift of the interval.
void takePulses(const timex &adjustment, double subsecond, Timekeeping &time) {
    constexpr int shiftAtMost = 62;
    if (adjustment.shift <= 0 || adjustment.shift > shiftAtMost)
        return losePulses(time, Absence::Unsupported);
    time.ppsSignal = isSet(adjustment, STA_PPSSIGNAL);
    time.ppsFrequency = static_cast<double>(adjustment.ppsfreq) / partsPerMillion;
    time.ppsJitter = static_cast<double>(adjustment.jitter) / subsecond;
    time.ppsInterval = static_cast<double>(std::uint64_t{1} << static_cast<unsigned>(adjustment.shift));
    time.ppsStability = static_cast<double>(adjustment.stabil) / partsPerMillion;
    time.ppsJitters = countOf(adjustment.jitcnt);
    time.ppsCalibrations = countOf(adjustment.calcnt);
    time.ppsErrors = countOf(adjustment.errcnt);
    time.ppsUnstable = countOf(adjustment.stbcnt);
}

} // namespace

void takeAdjustment(const timex &adjustment, int state, Timekeeping &time) {
    constexpr std::string_view states[] = {"ok", "insert_leap", "delete_leap", "leap_second", "leap_done", "error"};
    if (state >= 0 && static_cast<std::size_t>(state) < std::size(states))
        time.state.set(states[state]);
    else
        time.state.clear(Absence::Malformed);
    const double subsecond = (adjustment.status & STA_NANO) != 0 ? perNanosecond : perMicrosecond;
    time.synchronised = state == TIME_ERROR ? 0 : 1;
    time.offset = static_cast<double>(adjustment.offset) / subsecond;
    time.frequency = 1 + static_cast<double>(adjustment.freq) / partsPerMillion;
    time.maximumError = static_cast<double>(adjustment.maxerror) / perMicrosecond;
    time.estimatedError = static_cast<double>(adjustment.esterror) / perMicrosecond;
    time.constant = static_cast<double>(adjustment.constant);
    time.precision = static_cast<double>(adjustment.precision) / perMicrosecond;
    time.tolerance = static_cast<double>(adjustment.tolerance) / partsPerMillion;
    time.tick = static_cast<double>(adjustment.tick) / perMicrosecond;
    time.taiOffset = static_cast<double>(adjustment.tai);
    time.status = countOf(adjustment.status);
    time.insertLeap = isSet(adjustment, STA_INS);
    time.deleteLeap = isSet(adjustment, STA_DEL);
    takePulses(adjustment, subsecond, time);
}

void loseAdjustment(Timekeeping &time, Absence reason) {
    time.state.clear(reason);
    for (const auto member : numbers)
        time.*member = reason;
    for (const auto member : counts)
        time.*member = reason;
    losePulses(time, reason);
}

} // namespace zel

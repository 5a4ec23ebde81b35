// The growth of counters between two samples.
#include "host/rates/Growth.h"

namespace zel {

namespace {

constexpr double wrap32 = 4294967296.0;

} // namespace

Number growthOf(const Count &before, const Count &now, unsigned char counterBits) {
    if (!now)
        return now.absence();
    if (!before)
        return before.absence() == Absence::Unsupported ? Absence::NotYet : before.absence();
    if (*now >= *before)
        return static_cast<double>(*now - *before);
    const bool wraps = counterBits == 32 && *before < static_cast<std::uint64_t>(wrap32);
    return wraps ? Number(static_cast<double>(*now) + wrap32 - static_cast<double>(*before)) : Number(Absence::NotYet);
}

Number growthOf(const Number &before, const Number &now) {
    if (!now)
        return now.absence();
    if (!before)
        return before.absence() == Absence::Unsupported ? Absence::NotYet : before.absence();
    return *now >= *before ? Number(*now - *before) : Number(Absence::NotYet);
}

Number perSecond(const Number &growth, double seconds) {
    if (!growth)
        return growth;
    return seconds > 0 ? Number(*growth / seconds) : Number(Absence::NotYet);
}

Number quotient(const Number &of, const Number &by, double otherwise) {
    if (!of)
        return of;
    if (!by)
        return by;
    return *by > 0 ? *of / *by : otherwise;
}

} // namespace zel

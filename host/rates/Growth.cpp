// The growth of counters between two samples.
#include "host/rates/Growth.h"

namespace zel {

namespace {

constexpr std::uint64_t wrap32 = std::uint64_t{1} << 32;

} // namespace

Number growthOf(const Count &before, const Count &now, unsigned char counterBits) {
    if (!now)
        return now.absence();
    if (!before)
        return before.absence() == Absence::Unsupported ? Absence::NotYet : before.absence();
    if (*now >= *before)
        return static_cast<double>(*now - *before);
    // A sum of counters has lost 2^32 with each of them that wrapped.
    const std::uint64_t growth = (*now - *before) % wrap32;
    const bool wrapped = counterBits == 32 && growth < wrap32 / 2;
    return wrapped ? Number(static_cast<double>(growth)) : Number(Absence::NotYet);
}

Number growthOf(const Number &before, const Number &now) {
    if (!now)
        return now.absence();
    if (!before)
        return before.absence() == Absence::Unsupported ? Absence::NotYet : before.absence();
    return *now >= *before ? Number(*now - *before) : Number(Absence::NotYet);
}

Number wrappingSeconds(const Number &before, const Number &now) {
    return wrappingGrowth(before, now, static_cast<double>(wrap32) / 1000);
}

Number wrappingGrowth(const Number &before, const Number &now, const Number &wrapsAt) {
    if (!now || !before || !wrapsAt || *now >= *before)
        return growthOf(before, now);
    const double growth = *now + *wrapsAt - *before;
    return growth >= 0 && growth < *wrapsAt / 2 ? Number(growth) : Number(Absence::NotYet);
}

Number quotient(const Number &of, const Number &by, double otherwise) {
    if (!of)
        return of;
    if (!by)
        return by;
    return *by > 0 ? *of / *by : otherwise;
}

} // namespace zel

// The time between two samples of an area.
#include "host/rates/Matching.h"

namespace zel {

double secondsBetween(const Sample &before, const Sample &now, Area area) {
    constexpr double nanosecondsPerSecond = 1e9;
    const AreaState &earlier = before.area(area);
    if (!earlier.asked)
        return 0;
    return static_cast<double>(now.area(area).monotonicNanoseconds - earlier.monotonicNanoseconds) /
           nanosecondsPerSecond;
}

Number perSecond(const Number &growth, double seconds) {
    if (!growth)
        return growth;
    return seconds > 0 ? Number(*growth / seconds) : Number(Absence::NotYet);
}

} // namespace zel

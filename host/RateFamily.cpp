// Names the rates of counters.
#include "host/RateFamily.h"

namespace zel {

namespace {

// What a unit is per second: seconds are a share of the time, joules are watts; of any other there is no name.
Unit unitOfRate(Unit unit) {
    return unit == Unit::Seconds ? Unit::Ratio : unit == Unit::Joules ? Unit::Watts : unit;
}

std::string rateName(const Family &counter) {
    constexpr std::string_view total = "_total";
    std::string name(counter.name);
    if (name.ends_with(total))
        name.resize(name.size() - total.size());
    const Unit unit = unitOfRate(counter.unit);
    if (unit == counter.unit)
        return name + "_per_second";
    const std::string ending = '_' + std::string(unitName(counter.unit));
    if (name.ends_with(ending))
        name.resize(name.size() - ending.size());
    return name + '_' + std::string(unitName(unit));
}

} // namespace

RateFamily::RateFamily(const Family &counter) : m_name(rateName(counter)), m_family(counter) {
    m_family.name = m_name;
    m_family.kind = Kind::Gauge;
    m_family.unit = unitOfRate(counter.unit);
}

} // namespace zel

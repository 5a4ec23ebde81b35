// The families of the rates of counters.
#include "export/Walk.h"

#include <map>
#include <memory>
#include <mutex>

namespace zel {

namespace {

struct NamedFamily {
    std::string name;
    Family family;
};

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

std::unique_ptr<NamedFamily> makeRateFamily(const Family &counter) {
    auto made = std::make_unique<NamedFamily>(NamedFamily{rateName(counter), counter});
    made->family.name = made->name;
    made->family.kind = Kind::Gauge;
    made->family.unit = unitOfRate(counter.unit);
    return made;
}

} // namespace

// Made once for each counter of the schema, whose entries last as long as the program.
const Family &rateFamily(const Family &counter) {
    static std::mutex lock;
    static std::map<const Family *, std::unique_ptr<NamedFamily>> families;
    const std::lock_guard held(lock);
    std::unique_ptr<NamedFamily> &family = families[&counter];
    if (family == nullptr)
        family = makeRateFamily(counter);
    return family->family;
}

} // namespace zel

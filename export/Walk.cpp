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

std::string rateName(const Family &counter) {
    constexpr std::string_view total = "_total", seconds = "_seconds";
    std::string name(counter.name);
    if (name.ends_with(total))
        name.resize(name.size() - total.size());
    if (counter.unit != Unit::Seconds)
        return name + "_per_second";
    if (name.ends_with(seconds))
        name.resize(name.size() - seconds.size());
    return name + "_ratio";
}

std::unique_ptr<NamedFamily> makeRateFamily(const Family &counter) {
    auto made = std::make_unique<NamedFamily>(NamedFamily{rateName(counter), counter});
    made->family.name = made->name;
    made->family.kind = Kind::Gauge;
    if (counter.unit == Unit::Seconds)
        made->family.unit = Unit::Ratio;
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

// The fields of the load averages.
#include "host/Load.h"

namespace zel {

namespace {

constexpr Entries<Load> load{Area::Load, "load", "/proc/loadavg"};
constexpr Field<Load> fields[] = {
    load.gauge("load1", &Load::load1, Unit::None, "Load average over one minute."),
    load.gauge("load5", &Load::load5, Unit::None, "Load average over 5 minutes."),
    load.gauge("load15", &Load::load15, Unit::None, "Load average over 15 minutes."),
    load.gauge("runnable", &Load::runnable, Unit::None, "Tasks that can run now."),
    load.gauge("entities", &Load::entities, Unit::None, "Tasks in all."),
    load.info("last_pid", &Load::lastPid, "The pid that was given last."),
};

} // namespace

template<> std::span<const Field<Load>> fieldsOf<Load>() {
    return fields;
}

} // namespace zel

// The fields of the pressure stall information.
#include "host/Pressure.h"

namespace zel {

namespace {

constexpr Entries<Pressure> pressure{Area::Pressure, "pressure", "/proc/pressure/<resource>",
                                     "CONFIG_PSI=y, and psi=1 on the kernel's command line"};
constexpr Field<Pressure> fields[] = {
    pressure.label("resource", &Pressure::resource, "cpu, io, memory or irq."),
    pressure.gauge("some_average_10_ratio", &Pressure::someAverage10, Unit::Ratio,
                   "Share of the last 10 seconds in which a task waited."),
    pressure.gauge("some_average_60_ratio", &Pressure::someAverage60, Unit::Ratio,
                   "Share of the last minute in which a task waited."),
    pressure.gauge("some_average_300_ratio", &Pressure::someAverage300, Unit::Ratio,
                   "Share of the last 5 minutes in which a task waited."),
    pressure.counter("some_seconds_total", &Pressure::someSeconds, Unit::Seconds,
                     "Time in which at least one task waited."),
    pressure.gauge("full_average_10_ratio", &Pressure::fullAverage10, Unit::Ratio,
                   "Share of the last 10 seconds in which all tasks waited."),
    pressure.gauge("full_average_60_ratio", &Pressure::fullAverage60, Unit::Ratio,
                   "Share of the last minute in which all tasks waited."),
    pressure.gauge("full_average_300_ratio", &Pressure::fullAverage300, Unit::Ratio,
                   "Share of the last 5 minutes in which all tasks waited."),
    pressure.counter("full_seconds_total", &Pressure::fullSeconds, Unit::Seconds, "Time in which all tasks waited."),
};

} // namespace

template<> std::span<const Field<Pressure>> fieldsOf<Pressure>() {
    return fields;
}

} // namespace zel

// What the rate of a counter is called, and its unit.
#include "host/RateFamily.h"

#include <gtest/gtest.h>

namespace {

TEST(RateFamily, IsNamedByWhatItsUnitIsPerSecond) {
    using zel::Unit;
    const auto expect = [](const zel::Family &counter, std::string_view name, Unit unit) {
        const zel::RateFamily rate(counter);
        EXPECT_EQ(rate.family().name, name);
        EXPECT_EQ(rate.family().unit, unit) << name;
        EXPECT_EQ(rate.family().kind, zel::Kind::Gauge) << name;
    };
    const auto counter = [](std::string_view name, Unit unit) {
        return zel::Family{zel::Area::Sensors, "x", name, unit, zel::Kind::Counter, "", ""};
    };
    static const zel::Family energy = counter("consumed_joules_total", Unit::Joules),
                             time = counter("some_seconds_total", Unit::Seconds),
                             bytes = counter("read_bytes_total", Unit::Bytes),
                             count = counter("faults_total", Unit::None);
    expect(energy, "consumed_watts", Unit::Watts);
    expect(time, "some_ratio", Unit::Ratio);
    expect(bytes, "read_bytes_per_second", Unit::Bytes);
    expect(count, "faults_per_second", Unit::None);
}

} // namespace

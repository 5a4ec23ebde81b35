// The known names of load, /proc/stat, vmstat and pressure.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

TEST(KnownActivity, LoadHasThreeGauges) {
    zel::Sample sample;
    sample.load.load1 = 0.64;
    sample.load.load5 = 0.52;
    sample.load.load15 = 0.47;
    const KnownText text(zel::knownLoad, sample);
    EXPECT_EQ(text.series(), (Lines{"node_load1 0.64", "node_load5 0.52", "node_load15 0.47"}));
    EXPECT_EQ(text.type("node_load1"), "gauge");
}

TEST(KnownActivity, NumbersOfStatKeepTheirDigits) {
    zel::Sample sample;
    sample.activity.interrupts = std::uint64_t{18446744073709551615U};
    sample.activity.contextSwitches = std::uint64_t{52917386};
    sample.activity.forks = std::uint64_t{31875};
    sample.activity.running = std::uint64_t{2};
    sample.activity.blocked = std::uint64_t{1};
    sample.activity.bootTimeSeconds = 1655021207.0;
    const KnownText text(zel::knownActivity, sample);
    EXPECT_EQ(text.series(), (Lines{"node_intr_total 18446744073709551615", "node_context_switches_total 52917386",
                                    "node_forks_total 31875", "node_procs_running 2", "node_procs_blocked 1",
                                    "node_boot_time_seconds 1655021207"}));
    EXPECT_EQ(text.type("node_intr_total"), "counter");
    EXPECT_EQ(text.type("node_boot_time_seconds"), "gauge");
}

TEST(KnownActivity, VmCountersAreOfUnknownType) {
    zel::Sample sample;
    sample.vm.oomKill = std::uint64_t{3};
    sample.vm.pgpgin = std::uint64_t{8003052};
    const KnownText text(zel::knownVm, sample);
    EXPECT_EQ(text.series(), (Lines{"node_vmstat_oom_kill 3", "node_vmstat_pgpgin 8003052"}));
    EXPECT_EQ(text.type("node_vmstat_oom_kill"), "untyped");
}

zel::Pressure pressureOf(const char *resource, double some, double full) {
    zel::Pressure pressure;
    pressure.resource = resource;
    pressure.someSeconds = some;
    pressure.fullSeconds = full;
    return pressure;
}

TEST(KnownActivity, PressureIsWaitingAndStalledByResource) {
    zel::Sample sample;
    sample.pressure.append() = pressureOf("cpu", 1.5, 2.5);
    sample.pressure.append() = pressureOf("memory", 5.5, 6.5);
    sample.pressure.append() = pressureOf("io", 3.5, 4.5);
    const KnownText text(zel::knownPressure, sample);
    EXPECT_EQ(text.series(),
              (Lines{"node_pressure_cpu_waiting_seconds_total 1.5", "node_pressure_io_waiting_seconds_total 3.5",
                     "node_pressure_io_stalled_seconds_total 4.5", "node_pressure_memory_waiting_seconds_total 5.5",
                     "node_pressure_memory_stalled_seconds_total 6.5"}));
    EXPECT_EQ(text.type("node_pressure_io_stalled_seconds_total"), "counter");
}

TEST(KnownActivity, PressureOfInterruptsHasNoKnownName) {
    zel::Sample sample;
    sample.pressure.append() = pressureOf("irq", 1.5, 2.5);
    EXPECT_EQ(KnownText(zel::knownPressure, sample).series(), Lines{});
}

} // namespace

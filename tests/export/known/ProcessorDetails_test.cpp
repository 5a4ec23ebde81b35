// The known names of what processors have beside their times.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

// Two cores of two processors each, in two packages.
zel::Sample machine() {
    zel::Sample sample;
    for (std::uint64_t cpu = 0; cpu < 4; ++cpu) {
        zel::Processor &processor = sample.processors.append();
        processor.cpu = cpu;
        processor.core = std::uint64_t{7};
        processor.package = cpu / 2;
        processor.coreThrottles = std::uint64_t{5} + cpu / 2;
        processor.packageThrottles = std::uint64_t{30} + cpu / 2;
        processor.isolated = std::uint64_t{cpu == 3 ? 1U : 0U};
    }
    return sample;
}

TEST(KnownProcessorDetails, ACoreAndAPackageAreCountedOnce) {
    const KnownText text(zel::knownProcessorDetails, machine());
    EXPECT_EQ(text.series("node_cpu_core_throttles_total"),
              (Lines{R"(node_cpu_core_throttles_total{core="7",package="0"} 5)",
                     R"(node_cpu_core_throttles_total{core="7",package="1"} 6)"}));
    EXPECT_EQ(text.series("node_cpu_package_throttles_total"),
              (Lines{R"(node_cpu_package_throttles_total{package="0"} 30)",
                     R"(node_cpu_package_throttles_total{package="1"} 31)"}));
}

TEST(KnownProcessorDetails, OnlyIsolatedProcessorsAreNamed) {
    EXPECT_EQ(KnownText(zel::knownProcessorDetails, machine()).series("node_cpu_isolated"),
              (Lines{R"(node_cpu_isolated{cpu="3"} 1)"}));
}

TEST(KnownProcessorDetails, WithoutItsPlaceACoreHasNoSeries) {
    zel::Sample sample = machine();
    for (zel::Processor &processor : sample.processors)
        processor.package = zel::Absence::Unsupported;
    EXPECT_EQ(KnownText(zel::knownProcessorDetails, sample).series().size(), 1U) << "the isolated one";
}

TEST(KnownProcessorDetails, FrequenciesAndTheSchedulerHaveTheirFamilies) {
    zel::Sample sample;
    zel::Processor &processor = sample.processors.append();
    processor.cpu = 2;
    processor.hardwareFrequencyHertz = 1600000123.0;
    processor.scalingMaxHertz = 3700000456.0;
    processor.runningSeconds = 1.5;
    processor.timeslices = std::uint64_t{5959626939};
    EXPECT_EQ(KnownText(zel::knownProcessorDetails, sample).series(),
              (Lines{R"(node_cpu_frequency_hertz{cpu="2"} 1600000123)",
                     R"(node_cpu_scaling_frequency_max_hertz{cpu="2"} 3700000456)",
                     R"(node_schedstat_running_seconds_total{cpu="2"} 1.5)",
                     R"(node_schedstat_timeslices_total{cpu="2"} 5959626939)"}));
}

} // namespace

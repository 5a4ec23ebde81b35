// The known names of the processors.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

using zel::Absence;

zel::Processor processorOf(std::uint64_t number) {
    zel::Processor processor;
    processor.cpu = number;
    processor.userSeconds = 1.5;
    processor.niceSeconds = 2.25;
    processor.systemSeconds = 3;
    processor.idleSeconds = 4;
    processor.iowaitSeconds = 5;
    processor.irqSeconds = 6;
    processor.softirqSeconds = 7;
    processor.stealSeconds = 8;
    processor.guestSeconds = 0.5;
    processor.guestNiceSeconds = 0.25;
    return processor;
}

TEST(KnownProcessors, TimeIsOneFamilyByProcessorAndMode) {
    zel::Sample sample;
    sample.processors.append() = processorOf(3);
    const KnownText text(zel::knownProcessors, sample);
    EXPECT_EQ(text.series("node_cpu_seconds_total"), (Lines{
                                                         R"(node_cpu_seconds_total{cpu="3",mode="idle"} 4)",
                                                         R"(node_cpu_seconds_total{cpu="3",mode="iowait"} 5)",
                                                         R"(node_cpu_seconds_total{cpu="3",mode="irq"} 6)",
                                                         R"(node_cpu_seconds_total{cpu="3",mode="nice"} 2.25)",
                                                         R"(node_cpu_seconds_total{cpu="3",mode="softirq"} 7)",
                                                         R"(node_cpu_seconds_total{cpu="3",mode="steal"} 8)",
                                                         R"(node_cpu_seconds_total{cpu="3",mode="system"} 3)",
                                                         R"(node_cpu_seconds_total{cpu="3",mode="user"} 1.5)",
                                                     }));
    EXPECT_EQ(text.type("node_cpu_seconds_total"), "counter");
}

TEST(KnownProcessors, GuestsHaveAFamilyOfTheirOwn) {
    zel::Sample sample;
    sample.processors.append() = processorOf(0);
    const KnownText text(zel::knownProcessors, sample);
    EXPECT_EQ(text.series("node_cpu_guest_seconds_total"),
              (Lines{R"(node_cpu_guest_seconds_total{cpu="0",mode="user"} 0.5)",
                     R"(node_cpu_guest_seconds_total{cpu="0",mode="nice"} 0.25)"}));
}

TEST(KnownProcessors, ProcessorThatIsOfflineHasNoSeries) {
    zel::Sample sample;
    sample.processors.append().cpu = 1;
    EXPECT_EQ(KnownText(zel::knownProcessors, sample).series(), Lines{});
}

TEST(KnownProcessors, FrequencyNowIsThatOfTheGovernor) {
    zel::Sample sample;
    zel::Processor &processor = sample.processors.append();
    processor.frequencyHertz = 1609982000.0;
    processor.frequencyMinHertz = 812345000.0;
    processor.frequencyMaxHertz = 3723456000.0;
    const KnownText text(zel::knownProcessors, sample);
    EXPECT_EQ(text.series(), (Lines{R"(node_cpu_scaling_frequency_hertz{cpu="0"} 1609982000)",
                                    R"(node_cpu_frequency_min_hertz{cpu="0"} 812345000)",
                                    R"(node_cpu_frequency_max_hertz{cpu="0"} 3723456000)"}));
    EXPECT_EQ(text.type("node_cpu_scaling_frequency_hertz"), "gauge");
}

} // namespace

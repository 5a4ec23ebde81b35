// The processors of hosts of all ages: times, offline processors, frequencies, throttling.
#include "SampledHost.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;

// 2.6.32: nine columns, guest_nice came later.
constexpr const char *oldStat = "cpu  3000 200 700 96000 100 3 7 50 10\n"
                                "cpu0 1000 100 300 48000 40 1 4 20 10\n"
                                "cpu1 2000 100 400 48000 60 2 3 30 0\n"
                                "intr 1 2\n";

TEST(CpuReader, TenModesAreSecondsOfEachProcessorAndOfAll) {
    SampledHost host(Area::Cpu, {{"proc/stat", "cpu  300 200 100 4000 50 6 7 8 90 10\n"
                                               "cpu0 100 110 40 1500 20 1 3 5 30 4\n"
                                               "cpu1 200 90 60 2500 30 5 4 3 60 6\n"
                                               "intr 9\n"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.cpu.userSeconds, 3));
    EXPECT_TRUE(holds(sample.cpu.niceSeconds, 2));
    EXPECT_TRUE(holds(sample.cpu.systemSeconds, 1));
    EXPECT_TRUE(holds(sample.cpu.idleSeconds, 40));
    EXPECT_TRUE(holds(sample.cpu.iowaitSeconds, 0.5));
    EXPECT_TRUE(holds(sample.cpu.irqSeconds, 0.06));
    EXPECT_TRUE(holds(sample.cpu.softirqSeconds, 0.07));
    EXPECT_TRUE(holds(sample.cpu.stealSeconds, 0.08));
    EXPECT_TRUE(holds(sample.cpu.guestSeconds, 0.9));
    EXPECT_TRUE(holds(sample.cpu.guestNiceSeconds, 0.1));
    EXPECT_TRUE(holds(sample.cpu.online, 2U));
    ASSERT_EQ(sample.processors.size(), 2U);
    EXPECT_EQ(sample.processors[0].cpu, 0U) << "the kernel's numbers";
    EXPECT_EQ(sample.processors[1].cpu, 1U);
    EXPECT_TRUE(holds(sample.processors[1].userSeconds, 2));
    EXPECT_TRUE(holds(sample.processors[1].guestNiceSeconds, 0.06));
    EXPECT_TRUE(holds(sample.processors[1].online, 1U));
    EXPECT_EQ(failureOf(sample, Area::Cpu), NO_FAILURE);
}

TEST(CpuReader, ColumnThatAnOldKernelLacksIsUnsupported) {
    SampledHost host(Area::Cpu, {{"proc/stat", oldStat}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.cpu.guestSeconds, 0.1));
    EXPECT_TRUE(lacks(sample.cpu.guestNiceSeconds, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.processors[0].guestNiceSeconds, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Cpu), NO_FAILURE);
}

TEST(CpuReader, ColumnsThatANewerKernelAppendsAreLeftOut) {
    SampledHost host(Area::Cpu, {{"proc/stat", "cpu  1 2 3 4 5 6 7 8 9 10 11\n"}});
    EXPECT_TRUE(holds(host.take().cpu.guestNiceSeconds, 0.1));
    EXPECT_EQ(failureOf(host.take(), Area::Cpu), NO_FAILURE);
}

TEST(CpuReader, WithoutTheListOfPresentProcessorsTheirNumberIsUnsupported) {
    SampledHost host(Area::Cpu, {{"proc/stat", oldStat}});
    EXPECT_TRUE(lacks(host.take().cpu.present, Absence::Unsupported));
}

TEST(CpuReader, OfflineProcessorsAreInTheirPlaceWithoutTimes) {
    SampledHost host(Area::Cpu, {{"proc/stat", "cpu  4 0 0 0\ncpu1 1 0 0 0\ncpu4 3 0 0 0\n"},
                                 {"sys/devices/system/cpu/present", "0-2,4,6-7\n"},
                                 {"sys/devices/system/cpu/cpu2/cpufreq/scaling_cur_freq", "1000000\n"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.cpu.present, 6U));
    EXPECT_TRUE(holds(sample.cpu.online, 2U));
    std::vector<std::pair<std::uint64_t, std::uint64_t>> seen;
    for (const zel::Processor &processor : sample.processors)
        seen.emplace_back(processor.cpu, processor.online.valueOr(9));
    const std::vector<std::pair<std::uint64_t, std::uint64_t>> expected{{0, 0}, {1, 1}, {2, 0}, {4, 1}, {6, 0}, {7, 0}};
    EXPECT_EQ(seen, expected);
    EXPECT_TRUE(lacks(sample.processors[2].idleSeconds, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.processors[2].frequencyHertz, Absence::Unsupported)) << "what is off has no frequency";
}

TEST(CpuReader, ProcessorThatComesBackHasItsTimesAgain) {
    SampledHost host(Area::Cpu,
                     {{"proc/stat", "cpu  4 0 0 0\ncpu0 4 0 0 0\n"}, {"sys/devices/system/cpu/present", "0-1\n"}});
    EXPECT_TRUE(holds(host.take().processors[1].online, 0U));
    host.write("proc/stat", "cpu  4 0 0 0\ncpu0 4 0 0 0\ncpu1 200 0 0 0\n");
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.processors[1].online, 1U));
    EXPECT_TRUE(holds(sample.processors[1].userSeconds, 2));
    EXPECT_EQ(sample.processors.size(), 2U);
}

TEST(CpuReader, FrequenciesAreHertzAndThrottlesAreCounted) {
    SampledHost host(Area::Cpu, {{"proc/stat", "cpu  1 2 3 4\ncpu0 1 2 3 4\n"},
                                 {"sys/devices/system/cpu/cpu0/cpufreq/scaling_cur_freq", "2400123\n"},
                                 {"sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_min_freq", "800000\n"},
                                 {"sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq", "3700000\n"},
                                 {"sys/devices/system/cpu/cpu0/thermal_throttle/core_throttle_count", "5\n"}});
    const zel::Processor &processor = host.take().processors[0];
    EXPECT_TRUE(holds(processor.frequencyHertz, 2400123000.0));
    EXPECT_TRUE(holds(processor.frequencyMinHertz, 800000000.0));
    EXPECT_TRUE(holds(processor.frequencyMaxHertz, 3700000000.0));
    EXPECT_TRUE(holds(processor.coreThrottles, 5U));
    EXPECT_TRUE(lacks(processor.packageThrottles, Absence::Unsupported));
}

TEST(CpuReader, WithoutTheDriverOfFrequenciesTheyAreUnsupported) {
    SampledHost host(Area::Cpu, {{"proc/stat", "cpu  1 2 3 4\ncpu0 1 2 3 4\n"}});
    const zel::Processor &processor = host.take().processors[0];
    EXPECT_TRUE(lacks(processor.frequencyHertz, Absence::Unsupported));
    EXPECT_TRUE(lacks(processor.frequencyMaxHertz, Absence::Unsupported));
    EXPECT_TRUE(lacks(processor.packageThrottles, Absence::Unsupported));
}

TEST(CpuReader, DamagedColumnIsMalformedWithAllThatFollow) {
    SampledHost host(Area::Cpu, {{"proc/stat", "cpu  1 2 3x 4 5 6 7 8 9 10\ncpu0 1 2 3 4 5 6 7 8 9 10\n"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.cpu.niceSeconds, 0.02));
    EXPECT_TRUE(lacks(sample.cpu.systemSeconds, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.cpu.guestNiceSeconds, Absence::Malformed));
    EXPECT_TRUE(holds(sample.processors[0].systemSeconds, 0.03));
    EXPECT_EQ(failureOf(sample, Area::Cpu), std::pair(EBADMSG, std::string("proc/stat")));
}

TEST(CpuReader, NegativeAndHugeTicksAreNoTimes) {
    for (const char *line :
         {"cpu  -1 2 3 4\n", "cpu  99999999999999999999999 2 3 4\n", "cpu  1e9 2 3 4\n", "cpu  \n"}) {
        SampledHost host(Area::Cpu, {{"proc/stat", line}});
        const zel::Sample &sample = host.take();
        EXPECT_FALSE(sample.cpu.userSeconds) << line;
        EXPECT_EQ(failureOf(sample, Area::Cpu).first, EBADMSG) << line;
    }
}

TEST(CpuReader, WithoutTheLineOfAllProcessorsTheirTimesAreMalformed) {
    SampledHost host(Area::Cpu, {{"proc/stat", "cpu0 100 200 300 400\n"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.cpu.userSeconds, Absence::Malformed));
    EXPECT_TRUE(holds(sample.processors[0].userSeconds, 1));
    EXPECT_EQ(failureOf(sample, Area::Cpu), std::pair(EBADMSG, std::string("proc/stat")));
}

TEST(CpuReader, FileThatIsCutLosesWhatIsCut) {
    SampledHost host(Area::Cpu, {{"proc/stat", "cpu  100 200 300 400 500 0 0 0 0 0\ncpu0 100 200"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.cpu.iowaitSeconds, 5));
    ASSERT_EQ(sample.processors.size(), 1U);
    EXPECT_FALSE(sample.processors[0].systemSeconds);
}

TEST(CpuReader, NumbersThatDoNotAscendAreNotBelieved) {
    SampledHost host(Area::Cpu, {{"proc/stat", "cpu  1 1 1 1\ncpu3 1 1 1 1\ncpu3 2 2 2 2\ncpu1 3 3 3 3\n"
                                               "cpu99999999 4 4 4 4\ncpux 5 5 5 5\n"}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.processors.size(), 1U);
    EXPECT_TRUE(holds(sample.processors[0].userSeconds, 0.01));
    EXPECT_EQ(failureOf(sample, Area::Cpu), std::pair(EBADMSG, std::string("proc/stat")));
}

TEST(CpuReader, ListOfPresentProcessorsThatIsNoListIsMalformed) {
    for (const char *present : {"", "0-", "3-1\n", "0-99999999999\n", "1,1\n", "0-1;3\n", "-1\n", "a\n"}) {
        SampledHost host(Area::Cpu, {{"proc/stat", oldStat}, {"sys/devices/system/cpu/present", present}});
        const zel::Sample &sample = host.take();
        EXPECT_TRUE(lacks(sample.cpu.present, Absence::Malformed)) << present;
        EXPECT_EQ(sample.processors.size(), 2U) << present;
        EXPECT_EQ(failureOf(sample, Area::Cpu), std::pair(EBADMSG, std::string("sys/devices/system/cpu/present")));
    }
}

TEST(CpuReader, WithoutAReadableFileTheAreaIsLost) {
    SampledHost host({Area::Cpu});
    const zel::Sample &missing = host.take();
    EXPECT_TRUE(lacks(missing.cpu.userSeconds, Absence::Unsupported));
    EXPECT_TRUE(lacks(missing.cpu.present, Absence::Unsupported));
    EXPECT_TRUE(missing.processors.empty());
    EXPECT_EQ(missing.area(Area::Cpu).absence, Absence::Unsupported);
    EXPECT_EQ(failureOf(missing, Area::Cpu), std::pair(ENOENT, std::string("proc/stat")));
    for (const char *text : {"", "garbage\n", "\0", "intr 1\n"}) {
        host.write("proc/stat", text);
        const zel::Sample &sample = host.take();
        EXPECT_TRUE(lacks(sample.cpu.userSeconds, Absence::Malformed));
        EXPECT_EQ(sample.area(Area::Cpu).absence, Absence::Malformed);
        EXPECT_EQ(failureOf(sample, Area::Cpu), std::pair(EBADMSG, std::string("proc/stat")));
    }
    host.write("proc/stat", oldStat);
    const zel::Sample &whole = host.take();
    EXPECT_EQ(whole.area(Area::Cpu).absence, Absence::None);
    EXPECT_EQ(failureOf(whole, Area::Cpu), NO_FAILURE);
    EXPECT_EQ(whole.processors.size(), 2U);
}

} // namespace

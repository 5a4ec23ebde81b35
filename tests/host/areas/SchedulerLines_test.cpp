// What the scheduler counts of each processor, on kernels of all ages; and the processors that it leaves alone.
#include "host/areas/SchedulerLines.h"

#include "SampledHost.h"
#include "host/source/NumberRanges.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;
using zel::Processor;

zel::Rows<Processor> processors(std::initializer_list<std::uint64_t> numbers) {
    zel::Rows<Processor> rows;
    for (const std::uint64_t number : numbers)
        rows.append().cpu = number;
    zel::loseScheduler(rows, Absence::Unsupported);
    return rows;
}

TEST(SchedulerLines, TheLastThreeColumnsAreTimesAndHowOften) {
    zel::Rows<Processor> rows = processors({0, 1});
    EXPECT_TRUE(zel::parseScheduler("version 15\ntimestamp 38629657224\n"
                                    "cpu0 677115643 0 3716614584 7035908128 1090449977 8348990432 5604425267399685 "
                                    "846739098984101 5959626939\n"
                                    "domain0 00000000,00000003 510287245 641595476 3169836\n"
                                    "cpu1 0 0 0 0 0 0 1500000000 2000000000 7\n",
                                    rows));
    EXPECT_TRUE(holds(rows[0].runningSeconds, 5604425.267399685));
    EXPECT_TRUE(holds(rows[0].waitingSeconds, 846739.098984101));
    EXPECT_TRUE(holds(rows[0].timeslices, 5959626939));
    EXPECT_TRUE(holds(rows[1].runningSeconds, 1.5));
    EXPECT_TRUE(holds(rows[1].waitingSeconds, 2));
    EXPECT_TRUE(holds(rows[1].timeslices, 7));
}

TEST(SchedulerLines, AnOldKernelHasMoreColumnsInFront) {
    zel::Rows<Processor> rows = processors({0});
    EXPECT_TRUE(zel::parseScheduler("version 14\ncpu0 1 2 3 4 5 6 7 8 9 3000000000 11 12\n", rows));
    EXPECT_TRUE(holds(rows[0].runningSeconds, 3));
    EXPECT_TRUE(holds(rows[0].timeslices, 12));
}

TEST(SchedulerLines, AProcessorWithoutALineHasNone) {
    zel::Rows<Processor> rows = processors({0, 1, 3});
    EXPECT_TRUE(zel::parseScheduler("cpu1 0 0 0 0 0 0 1 2 3\ncpu2 0 0 0 0 0 0 4 5 6\ncpu3 0 0 0 0 0 0 7 8 9", rows));
    EXPECT_TRUE(lacks(rows[0].timeslices, Absence::Unsupported));
    EXPECT_TRUE(holds(rows[1].timeslices, 3));
    EXPECT_TRUE(holds(rows[2].timeslices, 9)) << "the last line has no end";
}

TEST(SchedulerLines, ALineThatIsNotTheKernelsIsMalformed) {
    for (const char *line : {"cpu0\n", "cpu0 1 2 3\n", "cpu0 0 0 0 0 0 0 x 2 3\n", "cpu0 0 0 0 0 0 0 1 2 3x\n",
                             "cpu0 0 0 0 0 0 0 -1 2 3\n", "cpu0 0 0 0 0 0 0 99999999999999999999999 2 3\n"}) {
        zel::Rows<Processor> rows = processors({0});
        EXPECT_FALSE(zel::parseScheduler(line, rows)) << line;
        EXPECT_TRUE(lacks(rows[0].runningSeconds, Absence::Malformed)) << line;
        EXPECT_TRUE(lacks(rows[0].timeslices, Absence::Malformed)) << line;
    }
    zel::Rows<Processor> rows = processors({0});
    EXPECT_FALSE(zel::parseScheduler("cpux 0 0 0 0 0 0 1 2 3\n", rows));
    EXPECT_TRUE(zel::parseScheduler("", rows));
}

TEST(NumberRanges, RangesAreWrittenOutAndAscend) {
    std::vector<std::uint64_t> numbers;
    EXPECT_TRUE(zel::takeNumberRanges("0-2,5,7-8\n", 100, numbers));
    EXPECT_EQ(numbers, (std::vector<std::uint64_t>{0, 1, 2, 5, 7, 8}));
    numbers.clear();
    EXPECT_TRUE(zel::takeNumberRanges("\n", 100, numbers));
    EXPECT_TRUE(numbers.empty());
    for (const char *text : {"x", "1-", "-1", "3-1", "1,1", "2,1", "1,", "99-100", "1 2", "4294967296"}) {
        numbers.clear();
        EXPECT_FALSE(zel::takeNumberRanges(text, 100, numbers)) << text;
    }
}

TEST(CpuDetails, AProcessorHasItsPlaceItsLimitsAndItsScheduler) {
    SampledHost host(Area::Cpu, {{"proc/stat", "cpu  1 2 3 4\ncpu0 1 2 3 4\ncpu1 1 2 3 4\n"},
                                 {"proc/schedstat", "version 15\ncpu0 0 0 0 0 0 0 1000000000 2000000000 3\n"},
                                 {"sys/devices/system/cpu/isolated", "1,9\n"},
                                 {"sys/devices/system/cpu/cpu0/topology/physical_package_id", "2\n"},
                                 {"sys/devices/system/cpu/cpu0/topology/core_id", "33\n"},
                                 {"sys/devices/system/cpu/cpu1/topology/physical_package_id", "-1\n"},
                                 {"sys/devices/system/cpu/cpu0/cpufreq/scaling_cur_freq", "2400123\n"},
                                 {"sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_cur_freq", "2400456\n"},
                                 {"sys/devices/system/cpu/cpu0/cpufreq/scaling_min_freq", "900000\n"},
                                 {"sys/devices/system/cpu/cpu0/cpufreq/scaling_max_freq", "3600000\n"}});
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.processors.size(), 2U);
    const Processor &first = sample.processors[0], &second = sample.processors[1];
    EXPECT_TRUE(holds(first.package, 2));
    EXPECT_TRUE(holds(first.core, 33));
    EXPECT_TRUE(holds(first.isolated, 0));
    EXPECT_TRUE(holds(first.hardwareFrequencyHertz, 2400456000.0));
    EXPECT_TRUE(holds(first.scalingMinHertz, 900000000.0));
    EXPECT_TRUE(holds(first.scalingMaxHertz, 3600000000.0));
    EXPECT_TRUE(holds(first.runningSeconds, 1));
    EXPECT_TRUE(holds(first.waitingSeconds, 2));
    EXPECT_TRUE(holds(first.timeslices, 3));
    EXPECT_TRUE(holds(second.isolated, 1));
    EXPECT_TRUE(lacks(second.package, Absence::Unsupported)) << "a machine that does not say";
    EXPECT_TRUE(lacks(second.timeslices, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Cpu), NO_FAILURE);
}

TEST(CpuDetails, WithoutTheirFilesTheyAreUnsupported) {
    SampledHost host(Area::Cpu, {{"proc/stat", "cpu  1 2 3 4\ncpu0 1 2 3 4\n"}});
    const Processor &processor = host.take().processors[0];
    EXPECT_TRUE(lacks(processor.isolated, Absence::Unsupported));
    EXPECT_TRUE(lacks(processor.package, Absence::Unsupported));
    EXPECT_TRUE(lacks(processor.core, Absence::Unsupported));
    EXPECT_TRUE(lacks(processor.hardwareFrequencyHertz, Absence::Unsupported));
    EXPECT_TRUE(lacks(processor.scalingMaxHertz, Absence::Unsupported));
    EXPECT_TRUE(lacks(processor.runningSeconds, Absence::Unsupported));
}

TEST(CpuDetails, AFileThatIsDamagedIsNamed) {
    SampledHost host(Area::Cpu, {{"proc/stat", "cpu  1 2 3 4\ncpu0 1 2 3 4\n"}, {"proc/schedstat", "cpu0 1 2\n"}});
    EXPECT_TRUE(lacks(host.take().processors[0].timeslices, Absence::Malformed));
    EXPECT_EQ(failureOf(host.take(), Area::Cpu), std::pair(EBADMSG, std::string("proc/schedstat")));
    host.remove("proc/schedstat");
    host.write("sys/devices/system/cpu/isolated", "1-x\n");
    EXPECT_TRUE(lacks(host.take().processors[0].isolated, Absence::Malformed));
    EXPECT_EQ(failureOf(host.take(), Area::Cpu), std::pair(EBADMSG, std::string("sys/devices/system/cpu/isolated")));
}

} // namespace

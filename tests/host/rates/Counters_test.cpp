// The rates of the counters that have no struct of their own.
#include "SampledHost.h"
#include "host/Rates.h"

namespace {

using zel::Absence;
using zel::Area;

zel::Sample at(double seconds, Area area) {
    zel::Sample sample;
    sample.monotonicNanoseconds = static_cast<std::int64_t>(seconds * 1e9);
    sample.area(area).asked = true;
    sample.area(area).monotonicNanoseconds = sample.monotonicNanoseconds;
    return sample;
}

void addLine(zel::Sample &sample, const char *name, std::uint64_t count) {
    zel::InterruptLine &line = sample.interrupts.append();
    line.interrupt = name;
    line.count = count;
}

TEST(CounterRates, ArePerSecondOfTheTimeBetweenTheReadings) {
    zel::Sample before = at(10, Area::Vm), now = at(14, Area::Vm);
    before.vm.pgfault = 100;
    now.vm.pgfault = 300;
    const zel::Rates rates = zel::between(before, now);
    EXPECT_EQ(rates.seconds, 4);
    EXPECT_TRUE(holds(rates.perSecond("vm", "pgfault_total"), 50));
    EXPECT_TRUE(lacks(rates.perSecond("vm", "pgmajfault_total"), Absence::Unsupported));
    EXPECT_TRUE(lacks(rates.perSecond("vm", "nr_free_pages"), Absence::Unsupported)) << "no counter";
    EXPECT_TRUE(lacks(rates.perSecond("load", "load1"), Absence::Unsupported));
}

TEST(CounterRates, ThoseOfProcessesAloneLeaveTheOthersOut) {
    zel::Sample before = at(10, Area::Processes), now = at(12, Area::Processes);
    before.area(Area::Vm) = before.area(Area::Processes);
    now.area(Area::Vm) = now.area(Area::Processes);
    before.vm.pgfault = 10, now.vm.pgfault = 30;
    for (zel::Sample *sample : {&before, &now}) {
        zel::Process &process = sample->processes.append();
        process.startSeconds = 1;
        process.userSeconds = sample == &before ? 4 : 5;
    }
    zel::Rates rates = zel::between(before, now);
    EXPECT_TRUE(holds(rates.perSecond("vm", "pgfault_total"), 10));
    zel::processesBetween(before, now, rates);
    EXPECT_TRUE(rates.counters.empty());
    ASSERT_EQ(rates.processes.size(), 1U);
    EXPECT_TRUE(holds(rates.processes[0].user, 0.5));
}

TEST(CounterRates, ResetFirstSampleAndNoTimeAreNotYet) {
    zel::Sample before = at(10, Area::Vm), now = at(14, Area::Vm);
    before.vm.pgfault = 300;
    now.vm.pgfault = 100;
    EXPECT_TRUE(lacks(zel::between(before, now).perSecond("vm", "pgfault_total"), Absence::NotYet));
    EXPECT_TRUE(lacks(zel::between(zel::Sample{}, now).perSecond("vm", "pgfault_total"), Absence::NotYet));
    EXPECT_TRUE(lacks(zel::between(now, now).perSecond("vm", "pgfault_total"), Absence::NotYet));
    EXPECT_TRUE(lacks(zel::between(now, before).perSecond("vm", "pgfault_total"), Absence::NotYet)) << "backwards";
}

TEST(CounterRates, RowsAreMatchedByTheirLabels) {
    zel::Sample before = at(0, Area::Interrupts), now = at(2, Area::Interrupts);
    addLine(before, "1", 10);
    addLine(before, "2", 20);
    addLine(before, "3", 30);
    addLine(now, "3", 36);
    addLine(now, "4", 99);
    addLine(now, "1", 12);
    const zel::Rates rates = zel::between(before, now);
    EXPECT_TRUE(holds(rates.perSecond("interrupts", "count_total", "3"), 3));
    EXPECT_TRUE(holds(rates.perSecond("interrupts", "count_total", "1"), 1));
    EXPECT_TRUE(lacks(rates.perSecond("interrupts", "count_total", "4"), Absence::NotYet)) << "it is new";
    EXPECT_TRUE(lacks(rates.perSecond("interrupts", "count_total", "2"), Absence::Unsupported)) << "it went";
}

TEST(CounterRates, LabelMayBeANumber) {
    zel::Sample before = at(0, Area::Memory), now = at(1, Area::Memory);
    for (zel::Sample *sample : {&before, &now}) {
        for (const std::uint64_t number : {0U, 3U})
            sample->memoryNodes.append().node = number;
    }
    before.memoryNodes[1].numaHit = 5;
    now.memoryNodes[1].numaHit = 9;
    const zel::Rates rates = zel::between(before, now);
    EXPECT_TRUE(holds(rates.perSecond("memory_nodes", "numa_hit_total", "3"), 4));
    EXPECT_TRUE(lacks(rates.perSecond("memory_nodes", "numa_hit_total", "0"), Absence::Unsupported));
    EXPECT_TRUE(lacks(rates.perSecond("memory_nodes", "numa_hit_total", "3x"), Absence::Unsupported));
}

TEST(CounterRates, InterruptSumThatWrapsGoesOn) {
    zel::Sample before = at(0, Area::Interrupts), now = at(2, Area::Interrupts);
    addLine(before, "LOC", (std::uint64_t{1} << 33) + 10);
    addLine(now, "LOC", (std::uint64_t{1} << 32) + 30);
    EXPECT_TRUE(holds(zel::between(before, now).perSecond("interrupts", "count_total", "LOC"), 10));
}

TEST(CounterRates, InterruptLinesStartAnewWithAnotherNumberOfProcessors) {
    zel::Sample before = at(0, Area::Interrupts), now = at(1, Area::Interrupts);
    before.activity.interruptProcessors = 4;
    now.activity.interruptProcessors = 5;
    before.activity.contextSwitches = 1;
    now.activity.contextSwitches = 8;
    addLine(before, "LOC", 1000);
    addLine(now, "LOC", 900000);
    const zel::Rates rates = zel::between(before, now);
    EXPECT_TRUE(lacks(rates.perSecond("interrupts", "count_total", "LOC"), Absence::NotYet));
    EXPECT_TRUE(holds(rates.perSecond("activity", "context_switches_total"), 7));
}

TEST(CounterRates, AreasThatWereNotAskedHaveNone) {
    zel::Sample before = at(0, Area::Vm), now = at(1, Area::Vm);
    before.activity.forks = 1;
    now.activity.forks = 2;
    const zel::Rates rates = zel::between(before, now);
    EXPECT_TRUE(lacks(rates.perSecond("activity", "forks_total"), Absence::Unsupported));
    EXPECT_FALSE(rates.asked[static_cast<std::size_t>(Area::Interrupts)]);
    EXPECT_TRUE(rates.asked[static_cast<std::size_t>(Area::Vm)]);
}

TEST(CounterRates, FilledAgainTheyAreThoseOfTheLastPair) {
    zel::Sample before = at(0, Area::Interrupts), now = at(1, Area::Interrupts);
    addLine(before, "1", 1);
    addLine(now, "1", 2);
    zel::Rates rates = zel::between(before, now);
    const std::size_t counters = rates.counters.size();
    zel::between(before, now, rates);
    EXPECT_EQ(rates.counters.size(), counters);
    now.interrupts.clear();
    zel::between(before, now, rates);
    EXPECT_EQ(rates.counters.size(), counters - 1);
}

} // namespace

// How processors spent the time between two samples.
#include "Paths.h"
#include "SampledHost.h"
#include "host/Rates.h"

#include <cmath>
#include <thread>

namespace {

using zel::Absence;
using zel::Area;

constexpr std::int64_t second = 1000000000;

// A sample of one processor after `seconds`, with its modes in seconds.
zel::Sample sampleOf(double seconds, const std::vector<double> &modes) {
    zel::Sample sample;
    sample.monotonicNanoseconds = static_cast<std::int64_t>(seconds * second);
    sample.area(Area::Cpu).asked = true;
    sample.area(Area::Cpu).monotonicNanoseconds = sample.monotonicNanoseconds;
    zel::Processor &processor = sample.processors.append();
    zel::Number *const places[] = {&sample.cpu.userSeconds,     &sample.cpu.niceSeconds,   &sample.cpu.systemSeconds,
                                   &sample.cpu.idleSeconds,     &sample.cpu.iowaitSeconds, &sample.cpu.irqSeconds,
                                   &sample.cpu.softirqSeconds,  &sample.cpu.stealSeconds,  &sample.cpu.guestSeconds,
                                   &sample.cpu.guestNiceSeconds};
    zel::Number *const same[] = {&processor.userSeconds,     &processor.niceSeconds,   &processor.systemSeconds,
                                 &processor.idleSeconds,     &processor.iowaitSeconds, &processor.irqSeconds,
                                 &processor.softirqSeconds,  &processor.stealSeconds,  &processor.guestSeconds,
                                 &processor.guestNiceSeconds};
    for (std::size_t mode = 0; mode < modes.size(); ++mode)
        *places[mode] = *same[mode] = modes[mode];
    return sample;
}

template<class Shares> double sumOf(const Shares &shares) {
    double sum = 0;
    for (const zel::Number *part : {&shares.user, &shares.nice, &shares.system, &shares.idle, &shares.iowait,
                                    &shares.irq, &shares.softirq, &shares.steal, &shares.guest, &shares.guestNice})
        sum += part->valueOr(0);
    return sum;
}

TEST(ProcessorRates, ModesAreSharesOfTheTime) {
    const zel::Sample before = sampleOf(0, {10, 20, 30, 400, 5, 1, 2, 3, 4, 6});
    // Growths: user 4 with 1 of guest, nice 3 with 2 of guest nice, system 2, idle 8, iowait 1, irq 0.5, softirq 0.5,
    // steal 1.
    const zel::Sample now = sampleOf(10, {14, 23, 32, 408, 6, 1.5, 2.5, 4, 5, 8});
    const zel::CpuRates cpu = zel::between(before, now).cpu;
    EXPECT_DOUBLE_EQ(*cpu.user, 3 / 20.0);
    EXPECT_DOUBLE_EQ(*cpu.nice, 1 / 20.0);
    EXPECT_DOUBLE_EQ(*cpu.system, 2 / 20.0);
    EXPECT_DOUBLE_EQ(*cpu.idle, 8 / 20.0);
    EXPECT_DOUBLE_EQ(*cpu.iowait, 1 / 20.0);
    EXPECT_DOUBLE_EQ(*cpu.irq, 0.5 / 20.0);
    EXPECT_DOUBLE_EQ(*cpu.softirq, 0.5 / 20.0);
    EXPECT_DOUBLE_EQ(*cpu.steal, 1 / 20.0);
    EXPECT_DOUBLE_EQ(*cpu.guest, 1 / 20.0);
    EXPECT_DOUBLE_EQ(*cpu.guestNice, 2 / 20.0);
    EXPECT_DOUBLE_EQ(*cpu.busy, 11 / 20.0);
    EXPECT_NEAR(sumOf(cpu), 1, 1e-12);
}

TEST(ProcessorRates, IdleThatStepsBackCountsAsNone) {
    const zel::Sample before = sampleOf(0, {10, 0, 0, 100, 5, 0, 0, 0, 0, 0});
    const zel::Sample now = sampleOf(1, {11, 0, 0, 99.99, 4.99, 0, 0, 0, 0, 0});
    const zel::CpuRates cpu = zel::between(before, now).cpu;
    EXPECT_EQ(*cpu.user, 1);
    EXPECT_EQ(*cpu.idle, 0);
    EXPECT_EQ(*cpu.busy, 1);
    EXPECT_NEAR(sumOf(cpu), 1, 1e-12);
}

TEST(ProcessorRates, TimesThatWereCountedAnewAreNotYet) {
    const zel::Sample before = sampleOf(0, {1000, 0, 0, 5000, 0, 0, 0, 0, 0, 0});
    const zel::Sample now = sampleOf(1, {3, 0, 0, 4, 0, 0, 0, 0, 0, 0});
    const zel::Rates rates = zel::between(before, now);
    EXPECT_TRUE(lacks(rates.cpu.user, Absence::NotYet));
    EXPECT_TRUE(lacks(rates.cpu.idle, Absence::NotYet));
    EXPECT_TRUE(lacks(rates.cpu.busy, Absence::NotYet));
    EXPECT_TRUE(lacks(rates.processors[0].user, Absence::NotYet));
}

TEST(ProcessorRates, NoTimeAtAllIsNotYet) {
    const zel::Sample before = sampleOf(5, {1, 1, 1, 1, 1, 1, 1, 1, 1, 1});
    EXPECT_TRUE(lacks(zel::between(before, before).cpu.user, Absence::NotYet));
    EXPECT_TRUE(lacks(zel::between(before, before).cpu.busy, Absence::NotYet));
}

TEST(ProcessorRates, FirstSampleAndNewProcessorAreNotYet) {
    const zel::Sample now = sampleOf(5, {1, 1, 1, 1, 1, 1, 1, 1, 1, 1});
    EXPECT_TRUE(lacks(zel::between(zel::Sample{}, now).cpu.user, Absence::NotYet));
    zel::Sample later = sampleOf(6, {2, 2, 2, 2, 2, 2, 2, 2, 1, 1});
    zel::Processor &added = later.processors.append();
    added = later.processors[0];
    added.cpu = 7;
    const zel::Rates rates = zel::between(now, later);
    EXPECT_TRUE(rates.processors[0].user);
    EXPECT_EQ(rates.processors[1].cpu, 7U);
    EXPECT_TRUE(lacks(rates.processors[1].user, Absence::NotYet));
}

TEST(ProcessorRates, ModesThatTheKernelLacksAreUnsupportedAndTheOthersAddUp) {
    const zel::Sample before = sampleOf(0, {10, 0, 0, 100});
    const zel::Sample now = sampleOf(1, {11, 0, 1, 102});
    const zel::CpuRates cpu = zel::between(before, now).cpu;
    EXPECT_TRUE(lacks(cpu.iowait, Absence::Unsupported));
    EXPECT_TRUE(lacks(cpu.guest, Absence::Unsupported));
    EXPECT_EQ(*cpu.user, 0.25);
    EXPECT_EQ(*cpu.busy, 0.5);
    EXPECT_NEAR(sumOf(cpu), 1, 1e-12);
}

TEST(ProcessorRates, OfflineProcessorHasNoRatesAndStartsAnew) {
    SampledHost host(Area::Cpu, {{"proc/stat", "cpu  1 1 1 1\ncpu0 1 1 1 1\ncpu1 50 50 50 50\n"},
                                 {"sys/devices/system/cpu/present", "0-1\n"}});
    const zel::Sample on = host.take();
    host.write("proc/stat", "cpu  2 1 1 1\ncpu0 2 1 1 1\n");
    const zel::Sample off = host.take();
    const zel::Rates going = zel::between(on, off);
    EXPECT_TRUE(lacks(going.processors[1].user, Absence::Unsupported));
    EXPECT_TRUE(holds(going.processors[0].user, 1));
    host.write("proc/stat", "cpu  3 1 1 1\ncpu0 3 1 1 1\ncpu1 60 50 50 50\n");
    EXPECT_TRUE(lacks(zel::between(off, host.take()).processors[1].user, Absence::NotYet));
}

TEST(ProcessorRates, ThrottlesArePerSecond) {
    zel::Sample before = sampleOf(0, {1, 1, 1, 1}), now = sampleOf(2, {2, 1, 1, 1});
    before.processors[0].coreThrottles = 5;
    now.processors[0].coreThrottles = 11;
    const zel::Rates rates = zel::between(before, now);
    EXPECT_TRUE(holds(rates.processors[0].coreThrottles, 3));
    EXPECT_TRUE(lacks(rates.processors[0].packageThrottles, Absence::Unsupported));
}

TEST(ProcessorRates, AddUpOnThisHost) {
    zel::Sampler sampler({.areas = {Area::Cpu}});
    const zel::Sample before = sampler.take();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const zel::Sample now = sampler.take();
    const zel::Rates rates = zel::between(before, now);
    EXPECT_NEAR(sumOf(rates.cpu), 1, 1e-9);
    ASSERT_FALSE(rates.processors.empty());
    for (const zel::ProcessorRates &processor : rates.processors) {
        if (processor.idle) {
            EXPECT_NEAR(sumOf(processor), 1, 1e-9) << processor.cpu;
        }
    }
}

TEST(ProcessorRates, AddUpBetweenTwoMomentsOfOtherHosts) {
    for (const char *name : {"linux-5.10", "linux-6.1.0", "linux-6.18"}) {
        const std::string directory = std::string(paths::fixtures) + "/" + name;
        const zel::Sample before = zel::Sampler({.root = directory + "/t0", .areas = {Area::Cpu}}).take();
        const zel::Sample now = zel::Sampler({.root = directory + "/t1", .areas = {Area::Cpu}}).take();
        EXPECT_NEAR(sumOf(zel::between(before, now).cpu), 1, 1e-9) << name;
    }
    // Of linux-6.1.0: user 500 of 500 + 200 + 250 + 50 ticks.
    const std::string directory = std::string(paths::fixtures) + "/linux-6.1.0";
    const zel::Sample before = zel::Sampler({.root = directory + "/t0", .areas = {Area::Cpu}}).take();
    const zel::Sample now = zel::Sampler({.root = directory + "/t1", .areas = {Area::Cpu}}).take();
    EXPECT_NEAR(*zel::between(before, now).cpu.user, 0.5, 1e-9);
    EXPECT_NEAR(*zel::between(before, now).cpu.busy, 0.7, 1e-9);
}

} // namespace

// What adjtimex says of the clock, and what a sample has of it.
#include "host/areas/ClockAdjustment.h"

#include "SampledHost.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;

timex adjustmentOf(int status) {
    timex adjustment{};
    adjustment.status = status;
    adjustment.offset = -1500;
    adjustment.freq = 655360; // 10 parts of a million
    adjustment.maxerror = 2500;
    adjustment.esterror = 250;
    adjustment.constant = 6;
    adjustment.precision = 1;
    adjustment.tolerance = 32768000; // 500 parts of a million
    adjustment.tick = 10000;
    adjustment.tai = 37;
    return adjustment;
}

TEST(ClockAdjustment, IsInBaseUnits) {
    zel::Timekeeping time;
    zel::takeAdjustment(adjustmentOf(STA_PLL), TIME_OK, time);
    EXPECT_TRUE(holds(time.state, "ok"));
    EXPECT_TRUE(holds(time.synchronised, 1));
    EXPECT_TRUE(holds(time.offset, -0.0015));
    EXPECT_TRUE(holds(time.frequency, 1.00001));
    EXPECT_TRUE(holds(time.maximumError, 0.0025));
    EXPECT_TRUE(holds(time.estimatedError, 0.00025));
    EXPECT_TRUE(holds(time.constant, 6));
    EXPECT_TRUE(holds(time.precision, 1e-6));
    EXPECT_TRUE(holds(time.tolerance, 0.0005));
    EXPECT_TRUE(holds(time.tick, 0.01));
    EXPECT_TRUE(holds(time.taiOffset, 37));
    EXPECT_TRUE(holds(time.status, 1));
    EXPECT_TRUE(holds(time.insertLeap, 0));
}

TEST(ClockAdjustment, OffsetIsInNanosecondsWhereTheStatusSaysSo) {
    zel::Timekeeping time;
    zel::takeAdjustment(adjustmentOf(STA_NANO | STA_INS), TIME_INS, time);
    EXPECT_TRUE(holds(time.offset, -1.5e-6));
    EXPECT_TRUE(holds(time.state, "insert_leap"));
    EXPECT_TRUE(holds(time.insertLeap, 1));
    EXPECT_TRUE(holds(time.deleteLeap, 0));
    EXPECT_TRUE(holds(time.synchronised, 1));
}

TEST(ClockAdjustment, StateErrorIsNotSynchronised) {
    zel::Timekeeping time;
    zel::takeAdjustment(adjustmentOf(STA_UNSYNC), TIME_ERROR, time);
    EXPECT_TRUE(holds(time.synchronised, 0));
    EXPECT_TRUE(holds(time.state, "error"));
    zel::takeAdjustment(adjustmentOf(0), 6, time);
    EXPECT_TRUE(lacks(time.state, Absence::Malformed)) << "no kernel has this one";
}

TEST(ClockAdjustment, KernelWithoutPulsesHasNoNumbersOfThem) {
    zel::Timekeeping time;
    timex adjustment = adjustmentOf(STA_PLL);
    zel::takeAdjustment(adjustment, TIME_OK, time);
    EXPECT_TRUE(lacks(time.ppsFrequency, Absence::Unsupported));
    EXPECT_TRUE(lacks(time.ppsErrors, Absence::Unsupported));
    adjustment.shift = 4;
    adjustment.status = STA_PPSSIGNAL | STA_NANO;
    adjustment.ppsfreq = 65536;
    adjustment.jitter = 700;
    adjustment.stabil = 131072;
    adjustment.jitcnt = 1;
    adjustment.calcnt = 2;
    adjustment.errcnt = 3;
    adjustment.stbcnt = 4;
    zel::takeAdjustment(adjustment, TIME_OK, time);
    EXPECT_TRUE(holds(time.ppsSignal, 1));
    EXPECT_TRUE(holds(time.ppsFrequency, 1e-6));
    EXPECT_TRUE(holds(time.ppsJitter, 7e-7));
    EXPECT_TRUE(holds(time.ppsInterval, 16));
    EXPECT_TRUE(holds(time.ppsStability, 2e-6));
    EXPECT_TRUE(holds(time.ppsJitters, 1));
    EXPECT_TRUE(holds(time.ppsCalibrations, 2));
    EXPECT_TRUE(holds(time.ppsErrors, 3));
    EXPECT_TRUE(holds(time.ppsUnstable, 4));
}

TEST(TimeReader, BelowARootThereIsTheClockSourceAlone) {
    SampledHost host(Area::Time,
                     {{"sys/devices/system/clocksource/clocksource0/current_clocksource", "tsc\n"},
                      {"sys/devices/system/clocksource/clocksource0/available_clocksource", "tsc hpet \n"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.time.source, "tsc"));
    EXPECT_TRUE(holds(sample.time.sources, "tsc hpet"));
    EXPECT_TRUE(lacks(sample.time.realtime, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.time.status, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.time.zone, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Time), NO_FAILURE);
}

TEST(TimeReader, ClocksOfThisHostGoOn) {
    zel::Sampler sampler({.areas = {Area::Time}});
    const zel::Sample before = sampler.take(), after = sampler.take();
    ASSERT_TRUE(before.time.monotonic.has());
    EXPECT_GT(*after.time.monotonic, *before.time.monotonic);
    EXPECT_GE(*after.time.boottime, *after.time.monotonic);
    EXPECT_NEAR(*after.time.realtimeOffset, *after.time.realtime - *after.time.monotonic, 1e-3);
    EXPECT_TRUE(after.time.zone.has());
    EXPECT_EQ(after.area(Area::Time).absence, Absence::None);
}

} // namespace

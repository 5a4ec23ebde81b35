// The fields of the clocks.
#include "host/Timekeeping.h"

namespace zel {

namespace {

constexpr std::string_view ppsProvider = "CONFIG_NTP_PPS=y and a source of pulses";

constexpr Entries<Timekeeping> call{Area::Time, "time", "adjtimex"};
constexpr Entries<Timekeeping> clock = call.from("clock_gettime");
constexpr Entries<Timekeeping> zone = call.from("/etc/localtime");
constexpr Entries<Timekeeping> source = call.from("/sys/devices/system/clocksource/clocksource0");
constexpr Entries<Timekeeping> pps = call.from("adjtimex", ppsProvider);
constexpr Field<Timekeeping> fields[] = {
    clock.gauge("realtime_seconds", &Timekeeping::realtime, Unit::Seconds, "Time since the epoch."),
    clock.gauge("monotonic_seconds", &Timekeeping::monotonic, Unit::Seconds,
                "Time since the boot, without that in which the machine was asleep."),
    clock.gauge("boottime_seconds", &Timekeeping::boottime, Unit::Seconds, "Time since the boot."),
    clock.gauge("realtime_offset_seconds", &Timekeeping::realtimeOffset, Unit::Seconds,
                "Realtime clock less the monotonic one: it jumps when somebody sets the clock."),
    zone.info("zone", &Timekeeping::zone, "Short name of the time zone of the program that asks."),
    zone.gauge("zone_offset_seconds", &Timekeeping::zoneOffset, Unit::Seconds, "How far it is east of UTC now."),
    source.info("clock_source", &Timekeeping::source, "What the kernel takes the time from."),
    source.info("clock_sources", &Timekeeping::sources, "What it could take it from, separated by blanks."),

    call.state("synchronised", &Timekeeping::synchronised, "1 when something keeps the clock right, such as NTP."),
    call.state("state", &Timekeeping::state,
               "ok, insert_leap, delete_leap, leap_second, leap_done, or error: not synchronised."),
    call.gauge("offset_seconds", &Timekeeping::offset, Unit::Seconds, "How far the clock is still to be moved."),
    call.gauge("frequency_ratio", &Timekeeping::frequency, Unit::Ratio,
               "How fast the clock runs by what it was told: 1 is not corrected."),
    call.gauge("maximum_error_seconds", &Timekeeping::maximumError, Unit::Seconds, "How wrong the clock can be."),
    call.gauge("estimated_error_seconds", &Timekeeping::estimatedError, Unit::Seconds, "How wrong it probably is."),
    call.gauge("constant", &Timekeeping::constant, Unit::None, "Time constant of the loop that steers it."),
    call.gauge("precision_seconds", &Timekeeping::precision, Unit::Seconds, "Resolution of the clock."),
    call.gauge("tolerance_ratio", &Timekeeping::tolerance, Unit::Ratio, "Largest correction of its frequency."),
    call.gauge("tick_seconds", &Timekeeping::tick, Unit::Seconds, "Time between two ticks of the clock."),
    call.gauge("tai_offset_seconds", &Timekeeping::taiOffset, Unit::Seconds, "Leap seconds between TAI and UTC."),
    call.state("status", &Timekeeping::status, "The bits of the kernel, STA_PLL (1) to STA_CLK (32768)."),
    call.state("insert_leap", &Timekeeping::insertLeap, "1 when a second is added at the end of the day."),
    call.state("delete_leap", &Timekeeping::deleteLeap, "1 when a second is left out at the end of the day."),

    pps.state("pps_signal", &Timekeeping::ppsSignal, "1 when pulses come."),
    pps.gauge("pps_frequency_ratio", &Timekeeping::ppsFrequency, Unit::Ratio, "Correction by the pulses."),
    pps.gauge("pps_jitter_seconds", &Timekeeping::ppsJitter, Unit::Seconds, "Jitter of the pulses."),
    pps.gauge("pps_interval_seconds", &Timekeeping::ppsInterval, Unit::Seconds,
              "Time over which they are compared with the clock."),
    pps.gauge("pps_stability_ratio", &Timekeeping::ppsStability, Unit::Ratio, "How much the correction wanders."),
    pps.counter("pps_jitters_total", &Timekeeping::ppsJitters, Unit::None, "Pulses that came too early or late."),
    pps.counter("pps_calibrations_total", &Timekeeping::ppsCalibrations, Unit::None, "Intervals that were compared."),
    pps.counter("pps_errors_total", &Timekeeping::ppsErrors, Unit::None, "Intervals in which that failed."),
    pps.counter("pps_unstable_total", &Timekeeping::ppsUnstable, Unit::None,
                "Intervals in which the frequency wandered too much."),
};

} // namespace

template<> std::span<const Field<Timekeeping>> fieldsOf<Timekeeping>() {
    return fields;
}

} // namespace zel

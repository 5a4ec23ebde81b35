// The known names of the clocks and of what steers them.
#include "export/known/Known.h"

#include <cmath>

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter, gauge = MetricType::Gauge;

constexpr KnownField<Timekeeping> fields[] = {
    {&Timekeeping::realtime, "node_time_seconds", gauge, "Time of the host since the epoch."},
    {&Timekeeping::synchronised, "node_timex_sync_status", gauge, "1 when something keeps the clock right."},
    {&Timekeeping::offset, "node_timex_offset_seconds", gauge, "How far the clock is still to be moved."},
    {&Timekeeping::frequency, "node_timex_frequency_adjustment_ratio", gauge,
     "How fast the clock runs by what it was told: 1 is not corrected."},
    {&Timekeeping::maximumError, "node_timex_maxerror_seconds", gauge, "How wrong the clock can be."},
    {&Timekeeping::estimatedError, "node_timex_estimated_error_seconds", gauge, "How wrong it probably is."},
    {&Timekeeping::status, "node_timex_status", gauge, "The bits of the kernel's state, STA_PLL (1) to STA_CLK."},
    {&Timekeeping::constant, "node_timex_loop_time_constant", gauge, "Time constant of the loop that steers it."},
    {&Timekeeping::tick, "node_timex_tick_seconds", gauge, "Time between two ticks of the clock."},
    {&Timekeeping::taiOffset, "node_timex_tai_offset_seconds", gauge, "Leap seconds between TAI and UTC."},
    {&Timekeeping::ppsFrequency, "node_timex_pps_frequency_hertz", gauge, "Correction by a source of pulses."},
    {&Timekeeping::ppsJitter, "node_timex_pps_jitter_seconds", gauge, "Jitter of the pulses."},
    {&Timekeeping::ppsStability, "node_timex_pps_stability_hertz", gauge, "How much the correction wanders."},
    {&Timekeeping::ppsJitters, "node_timex_pps_jitter_total", counter, "Pulses that came too early or late."},
    {&Timekeeping::ppsCalibrations, "node_timex_pps_calibration_total", counter, "Intervals that were compared."},
    {&Timekeeping::ppsErrors, "node_timex_pps_error_total", counter, "Intervals in which that failed."},
    {&Timekeeping::ppsUnstable, "node_timex_pps_stability_exceeded_total", counter,
     "Intervals in which the frequency wandered too much."},
};
constexpr KnownTable<Timekeeping> table{.one = &Sample::time, .fields = fields};

constexpr std::string_view firstDevice = "0"; // of the clock sources: there is one on every machine of today

// Sample: tsc hpet acpi_pm
void writeClockSources(const Timekeeping &time, MetricSink &sink) {
    sink.family("node_time_clocksource_available_info", gauge, "What the kernel can take the time from.");
    std::string_view rest = time.sources ? std::string_view(*time.sources) : std::string_view();
    while (!rest.empty()) {
        const std::string_view source = rest.substr(0, rest.find(' '));
        rest.remove_prefix(std::min(rest.size(), source.size() + 1));
        if (!source.empty())
            sink.label("clocksource", source).label("device", firstDevice).one();
    }
    sink.family("node_time_clocksource_current_info", gauge, "What the kernel takes the time from.");
    if (time.source)
        sink.label("clocksource", *time.source).label("device", firstDevice).one();
}

void write(const Sample &sample, MetricSink &sink) {
    const Timekeeping &time = sample.time;
    writeKnown(table, sample, sink);
    sink.family("node_timex_pps_shift_seconds", gauge,
                "Power of 2 of the seconds over which pulses are compared with the clock.");
    sink.value(time.ppsInterval ? Number(std::log2(*time.ppsInterval)) : time.ppsInterval);
    sink.family("node_time_zone_offset_seconds", gauge, "How far the time zone is east of UTC now.");
    sink.label("time_zone", time.zone).value(time.zoneOffset);
    writeClockSources(time, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
    known.add<Timekeeping>({&Timekeeping::ppsInterval, &Timekeeping::zone, &Timekeeping::zoneOffset,
                            &Timekeeping::source, &Timekeeping::sources});
}

} // namespace

const KnownMetrics knownTime{Area::Time, write, listFields};

} // namespace zel

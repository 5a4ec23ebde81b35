// Reads the clocks.
#include "host/areas/AreaReader.h"
#include "host/areas/ClockAdjustment.h"
#include "host/source/Attribute.h"
#include "host/source/Clocks.h"

#include <cerrno>
#include <ctime>

namespace zel {

namespace {

constexpr double nanosecondsPerSecond = 1e9;

double secondsOf(std::int64_t nanoseconds) {
    return static_cast<double>(nanoseconds) / nanosecondsPerSecond;
}

class TimeReader : public AreaReader {
public:
    bool hasOneStep() const override { return true; }
    void read(Take &take) override {
        Timekeeping &time = take.sample.time;
        readSource(take, m_source, time.source);
        readSource(take, m_sources, time.sources);
        if (take.root.own())
            return readOwn(take.sample);
        loseClocks(time);
        loseAdjustment(time, Absence::Unsupported);
    }

private:
    static void readSource(Take &take, Attribute &file, Reading<std::string> &reading) {
        file.text(take.root, reading);
        noteUnlessMissing(take.sample.area(Area::Time), file.error(), file.path());
    }

    void readOwn(Sample &sample) {
        Timekeeping &time = sample.time;
        const std::int64_t realtime = nanosecondsOf(CLOCK_REALTIME), monotonic = nanosecondsOf(CLOCK_MONOTONIC);
        time.realtime = secondsOf(realtime);
        time.monotonic = secondsOf(monotonic);
        time.boottime = secondsOf(nanosecondsOf(CLOCK_BOOTTIME));
        time.realtimeOffset = secondsOf(realtime - monotonic);
        readZone(static_cast<std::time_t>(realtime / NANOSECONDS_PER_SECOND), time);
        timex adjustment{};
        const int state = adjtimex(&adjustment);
        if (state >= 0)
            return takeAdjustment(adjustment, state, time);
        const int error = errno;
        noteFailure(sample.area(Area::Time), error, "adjtimex");
        loseAdjustment(time, absenceOf(error));
    }

    static void readZone(std::time_t now, Timekeeping &time) {
        std::tm local{};
        if (localtime_r(&now, &local) == nullptr || local.tm_zone == nullptr) {
            time.zone.clear(Absence::Unsupported);
            time.zoneOffset = Absence::Unsupported;
            return;
        }
        time.zone.set(local.tm_zone);
        time.zoneOffset = static_cast<double>(local.tm_gmtoff);
    }

    static void loseClocks(Timekeeping &time) {
        for (Number *clock : {&time.realtime, &time.monotonic, &time.boottime, &time.realtimeOffset, &time.zoneOffset})
            *clock = Absence::Unsupported;
        time.zone.clear(Absence::Unsupported);
    }

    Attribute m_source{"sys/devices/system/clocksource/clocksource0/current_clocksource"};
    Attribute m_sources{"sys/devices/system/clocksource/clocksource0/available_clocksource"};
};

} // namespace

std::unique_ptr<AreaReader> timeReader() {
    return std::make_unique<TimeReader>();
}

} // namespace zel

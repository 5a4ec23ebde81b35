// The state of an area: when it was read, what that cost, and what failed.
#include "host/areas/AreaReader.h"

#include "host/source/Clocks.h"

#include <algorithm>
#include <cerrno>
#include <new>

namespace zel {

void beginArea(AreaState &state) {
    state.asked = true;
    state.monotonicNanoseconds = nanosecondsOf(CLOCK_MONOTONIC);
    state.costSeconds = 0;
    state.absence = Absence::None;
    state.error = 0;
    state.file.clear();
    state.silentSeconds = 0;
}

void doStep(AreaReader &reader, void (AreaReader::*step)(Take &), Take &take, Area area) {
    AreaState &state = take.sample.area(area);
    if (state.absence != Absence::None)
        return;
    const std::int64_t before = nanosecondsOf(CLOCK_THREAD_CPUTIME_ID);
    try {
        (reader.*step)(take);
    } catch (const std::bad_alloc &) {
        loseArea(take.sample, area, ENOMEM, "");
    }
    state.costSeconds += secondsSince(before, CLOCK_THREAD_CPUTIME_ID);
}

void noteFailure(AreaState &state, int error, std::string_view file) {
    if (state.error != 0)
        return;
    state.error = error;
    state.file = file;
}

void noteSilence(AreaState &state, double silentSeconds, std::string_view file) {
    noteFailure(state, ETIMEDOUT, file);
    state.silentSeconds = std::max(state.silentSeconds, silentSeconds);
}

void loseArea(Sample &sample, Area area, int error, std::string_view file) {
    AreaState &state = sample.area(area);
    noteFailure(state, error, file);
    state.absence = absenceOf(error);
    for (const AnySection<Sample> &section : sections()) {
        if (section.area == area)
            section.lose(sample, state.absence);
    }
}

} // namespace zel

// The state of an area: when it was read, what that cost, and what failed.
#include "host/areas/AreaReader.h"

#include "host/source/Clocks.h"

#include <algorithm>
#include <cerrno>

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

void doStep(AreaReader &reader, void (AreaReader::*step)(Take &), Take &take, AreaState &state) {
    const std::int64_t before = nanosecondsOf(CLOCK_THREAD_CPUTIME_ID);
    (reader.*step)(take);
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
    forEachSection([&]<class Row>(const Section<Row> &section) {
        if (section.area != area)
            return;
        if (section.one != nullptr)
            forget(sample.*section.one, state.absence);
        else
            (sample.*section.many).clear();
    });
}

} // namespace zel

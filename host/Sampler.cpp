// Takes samples: asks the reader of each area, and notes when it was read and what that cost.
#include "host/Sampler.h"

#include "host/areas/AreaReader.h"

#include <algorithm>
#include <ctime>

namespace zel {

namespace {

using MakeReader = std::unique_ptr<AreaReader> (*)();

// By Area.
constexpr std::array<MakeReader, AREA_COUNT> readers{cpuReader,       loadReader,      pressureReader, memoryReader,
                                                     vmReader,        interruptReader, diskReader,     filesystemReader,
                                                     interfaceReader, processReader,   identityReader};

constexpr std::int64_t nanosecondsPerSecond = 1000000000;

std::int64_t nanoseconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * nanosecondsPerSecond + now.tv_nsec;
}

double secondsSince(std::int64_t before, clockid_t clock) {
    return static_cast<double>(nanoseconds(clock) - before) / static_cast<double>(nanosecondsPerSecond);
}

bool isAsked(const Options &options, Area area) {
    return options.areas.empty() || std::find(options.areas.begin(), options.areas.end(), area) != options.areas.end();
}

} // namespace

void noteFailure(AreaState &state, int error, std::string_view file) {
    if (state.error != 0)
        return;
    state.error = error;
    state.file = file;
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

struct Sampler::State {
    Options options;
    HostDirectory root;
    SharedSource stat{"proc/stat", Records::One};
    std::array<std::unique_ptr<AreaReader>, AREA_COUNT> areas;

    explicit State(Options wanted) : options(std::move(wanted)), root(options.root, options.keptFiles) {
        for (std::size_t index = 0; index < AREA_COUNT; ++index) {
            if (isAsked(options, static_cast<Area>(index)))
                areas[index] = readers[index]();
        }
    }

    void readArea(std::size_t index, Take &take) {
        AreaState &state = take.sample.areas[index];
        state.asked = areas[index] != nullptr;
        state.absence = Absence::None;
        state.error = 0;
        state.file.clear();
        if (!state.asked)
            return;
        state.monotonicNanoseconds = nanoseconds(CLOCK_MONOTONIC);
        if (root.error() != 0) {
            loseArea(take.sample, static_cast<Area>(index), root.error(), options.root);
            return;
        }
        const std::int64_t before = nanoseconds(CLOCK_THREAD_CPUTIME_ID);
        areas[index]->read(take);
        state.costSeconds = secondsSince(before, CLOCK_THREAD_CPUTIME_ID);
    }
};

Sampler::Sampler(Options options) : m_state(std::make_unique<State>(std::move(options))) {}
Sampler::~Sampler() = default;
Sampler::Sampler(Sampler &&) noexcept = default;
Sampler &Sampler::operator=(Sampler &&) noexcept = default;

Sample Sampler::take() {
    Sample sample;
    take(sample);
    return sample;
}

void Sampler::take(Sample &sample) {
    sample.realtimeNanoseconds = nanoseconds(CLOCK_REALTIME);
    sample.monotonicNanoseconds = nanoseconds(CLOCK_MONOTONIC);
    m_state->stat.startSample();
    Take take{m_state->root, m_state->options, std::chrono::steady_clock::now() + m_state->options.deadline,
              m_state->stat, sample};
    for (std::size_t index = 0; index < AREA_COUNT; ++index)
        m_state->readArea(index, take);
    sample.elapsedSeconds = secondsSince(sample.monotonicNanoseconds, CLOCK_MONOTONIC);
}

} // namespace zel

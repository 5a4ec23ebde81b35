// Takes samples: asks the reader of each area, and notes when it was read and what that cost.
#include "host/Sampler.h"

#include "host/areas/AreaReader.h"
#include "host/areas/RootAreas.h"
#include "host/source/Clocks.h"

#include <algorithm>
#include <optional>

namespace zel {

namespace {

// By Area.
constexpr std::array<MakeReader, AREA_COUNT> readers{
    cpuReader,       loadReader,   pressureReader,   memoryReader,       vmReader,
    interruptReader, diskReader,   filesystemReader, interfaceReader,    protocolReader,
    processReader,   cgroupReader, sensorReader,     fibreChannelReader, gpuReader,
    nfsReader,       timeReader,   limitsReader,     identityReader,
};

bool isAsked(const Options &options, Area area) {
    return options.areas.empty() || std::find(options.areas.begin(), options.areas.end(), area) != options.areas.end();
}

MakeReader readerOf(const Options &options, Area area) {
    if (options.root.empty() && area == Area::Processes)
        return ownProcessReader;
    return readers[static_cast<std::size_t>(area)];
}

std::array<MakeReader, AREA_COUNT> askedReaders(const Options &options) {
    std::array<MakeReader, AREA_COUNT> asked{};
    for (std::size_t index = 0; index < AREA_COUNT; ++index) {
        if (isAsked(options, static_cast<Area>(index)))
            asked[index] = readerOf(options, static_cast<Area>(index));
    }
    return asked;
}

// The areas of the host itself, whose kernel files do not hang, but for those of processes.
class OwnAreas {
public:
    OwnAreas(const Options &options, const std::array<MakeReader, AREA_COUNT> &makeReader)
        : m_root("", options.keptFiles) {
        for (std::size_t index = 0; index < AREA_COUNT; ++index) {
            if (makeReader[index] != nullptr)
                m_areas[index] = makeReader[index]();
        }
    }

    void read(Sample &sample, const Options &options, BoundedPass::Time deadline) {
        Take take{m_root, options, deadline, m_stat, m_loadavg, sample};
        m_stat.startSample();
        m_loadavg.startSample();
        for (std::size_t index = 0; index < AREA_COUNT; ++index) {
            sample.areas[index].asked = m_areas[index] != nullptr;
            if (m_areas[index] == nullptr)
                continue;
            beginArea(sample.areas[index]);
            if (m_root.error() == 0)
                doStep(*m_areas[index], &AreaReader::read, take, static_cast<Area>(index));
            else
                loseArea(sample, static_cast<Area>(index), m_root.error(), "/");
        }
        if (m_root.error() != 0)
            return;
        for (auto step : {&AreaReader::ask, &AreaReader::finish}) {
            for (std::size_t index = 0; index < AREA_COUNT; ++index) {
                if (m_areas[index] != nullptr && !m_areas[index]->hasOneStep())
                    doStep(*m_areas[index], step, take, static_cast<Area>(index));
            }
        }
    }

private:
    HostDirectory m_root;
    SharedSource m_stat{"proc/stat", Records::One};
    SharedSource m_loadavg{"proc/loadavg", Records::One};
    std::array<std::unique_ptr<AreaReader>, AREA_COUNT> m_areas;
};

} // namespace

struct Sampler::State {
    Options options;
    std::optional<OwnAreas> own;
    std::optional<RootAreas> root;

    explicit State(Options wanted) : options(std::move(wanted)) {
        if (options.root.empty())
            own.emplace(options, askedReaders(options));
        else
            root.emplace(options, askedReaders(options));
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
    sample.realtimeNanoseconds = nanosecondsOf(CLOCK_REALTIME);
    sample.monotonicNanoseconds = nanosecondsOf(CLOCK_MONOTONIC);
    const BoundedPass::Time deadline = std::chrono::steady_clock::now() + m_state->options.deadline;
    if (m_state->own)
        m_state->own->read(sample, m_state->options, deadline);
    else
        m_state->root->read(sample, deadline);
    sample.elapsedSeconds = secondsSince(sample.monotonicNanoseconds, CLOCK_MONOTONIC);
}

} // namespace zel

// Reads areas of the typed model, and judges their samples and rates.
#include "HostArea.h"

#include "Ensure.h"
#include "HostRoot.h"
#include "RootOnTmpfs.h"

#include <cmath>
#include <utility>

namespace fuzz {

namespace {

constexpr std::int64_t second = 1000000000;
constexpr std::size_t longestText = 16384;

// A priority of a swap device, a process or its niceness is negative by right, and so are what a sensor measures, the
// terms of a controller, and what no field has.
bool mayBeNegative(const zel::Family &family) {
    return family.name == "priority" || family.name == "nice" || family.name == "max_conn" ||
           family.name == "signed_value" || family.name == "writeback_proportional" ||
           family.name == "writeback_integral" || family.name == "writeback_change" ||
           family.section == "protocol_others" || family.area == zel::Area::Sensors;
}

// What a device or a process says of itself is malformed in its reading alone: its schema entry names the file.
bool isOfADevice(const zel::Family &family) {
    using enum zel::Area;
    return family.area == Disks || family.area == Interfaces || family.area == Processes || family.area == Sensors ||
           family.area == FibreChannel || family.area == Gpus;
}

void ensureValue(const zel::Sample &sample, const zel::Family &family, const zel::Value &value) {
    if (value.type() == zel::Value::Type::Real) {
        ensure(std::isfinite(value.asReal()), "a number without an end");
        ensure(value.asReal() >= 0 || mayBeNegative(family), "a negative number");
    }
    ensure(value.asText().size() <= longestText, "a text beyond reason");
    if (value.absence() == zel::Absence::Malformed && !isOfADevice(family))
        ensure(sample.area(family.area).error != 0, "a malformed value without a failure");
}

} // namespace

void ensureSample(const zel::Sample &sample) {
    sample.visit([&sample](const zel::Family &family, const zel::Labels &labels, const zel::Value &value) {
        ensureValue(sample, family, value);
        for (const zel::Label &label : labels)
            ensureValue(sample, *label.family, label.value);
    });
    for (const zel::AreaState &state : sample.areas)
        ensure(state.error == 0 || !state.file.empty(), "a failure without its file");
}

void ensureRates(const zel::Rates &rates) {
    constexpr double rounding = 1e-9;
    for (const zel::CounterRate &rate : rates.counters)
        ensure(!rate.perSecond || (std::isfinite(*rate.perSecond) && *rate.perSecond >= 0), "a rate that cannot be");
    const auto ensureShares = [](const auto &shares) {
        double sum = 0;
        for (const zel::Number *part : {&shares.user, &shares.nice, &shares.system, &shares.idle, &shares.iowait,
                                        &shares.irq, &shares.softirq, &shares.steal, &shares.guest, &shares.guestNice})
            sum += part->valueOr(0);
        ensure(!shares.user || std::abs(sum - 1) < rounding, "shares that do not add up");
    };
    ensureShares(rates.cpu);
    for (const zel::ProcessorRates &processor : rates.processors)
        ensureShares(processor);
}

HostArea::HostArea(zel::Area area, std::unique_ptr<zel::AreaReader> reader)
    : m_area(area), m_reader(std::move(reader)), m_root((root(), g_strHostRoot)) {}

const zel::Sample &HostArea::take() {
    std::swap(m_before, m_sample);
    const auto deadline = std::chrono::steady_clock::now() + m_options.deadline;
    zel::Take take{m_root, m_options, deadline, m_stat, m_loadavg, m_sample};
    m_stat.startSample();
    m_loadavg.startSample();
    zel::beginArea(m_sample.area(m_area));
    m_sample.monotonicNanoseconds = m_before.monotonicNanoseconds + second;
    m_sample.area(m_area).monotonicNanoseconds = m_sample.monotonicNanoseconds;
    m_reader->read(take);
    ensureSample(m_sample);
    zel::between(m_before, m_sample, m_rates);
    ensureRates(m_rates);
    return m_sample;
}

void hostFile(const std::string &path, FuzzedInput &input) {
    root().host(path, input.piece());
}

} // namespace fuzz

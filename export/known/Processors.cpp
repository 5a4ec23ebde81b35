// The known names of the processors: their times by mode, and their frequencies.
#include "export/known/Known.h"

namespace zel {

namespace {

struct Mode {
    std::string_view name;
    Number Processor::*seconds;
};

constexpr Mode modes[] = {
    {"idle", &Processor::idleSeconds},     {"iowait", &Processor::iowaitSeconds},   {"irq", &Processor::irqSeconds},
    {"nice", &Processor::niceSeconds},     {"softirq", &Processor::softirqSeconds}, {"steal", &Processor::stealSeconds},
    {"system", &Processor::systemSeconds}, {"user", &Processor::userSeconds},
};
constexpr Mode guestModes[] = {{"user", &Processor::guestSeconds}, {"nice", &Processor::guestNiceSeconds}};

constexpr KnownLabel<Processor> labels[] = {{"cpu", &Processor::cpu}};
constexpr KnownField<Processor> fields[] = {
    {&Processor::frequencyHertz, "node_cpu_scaling_frequency_hertz", MetricType::Gauge,
     "Frequency that the processor runs at, as its driver says."},
    {&Processor::frequencyMinHertz, "node_cpu_frequency_min_hertz", MetricType::Gauge, "Lowest frequency."},
    {&Processor::frequencyMaxHertz, "node_cpu_frequency_max_hertz", MetricType::Gauge, "Highest frequency."},
};
constexpr KnownTable<Processor> table{.rows = &Sample::processors, .labels = labels, .fields = fields};

// With the rows of the table.
void writeModes(std::span<const Mode> of, const Sample &sample, MetricSink &sink) {
    for (std::size_t index = 0; index < sample.processors.size(); ++index) {
        for (const Mode &mode : of)
            sink.row(index).label("mode", mode.name).value(sample.processors[index].*mode.seconds);
    }
}

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(table, sample, sink);
    sink.family("node_cpu_seconds_total", MetricType::Counter,
                "What the processors did with their time: that in guests is part of user and nice.");
    writeModes(modes, sample, sink);
    sink.family("node_cpu_guest_seconds_total", MetricType::Counter,
                "Time of the processors in guests, with normal and with low priority.");
    writeModes(guestModes, sample, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
    for (const Mode &mode : modes)
        known.add<Processor>({mode.seconds});
    for (const Mode &mode : guestModes)
        known.add<Processor>({mode.seconds});
}

} // namespace

const KnownMetrics knownProcessors{Area::Cpu, write, listFields};

} // namespace zel

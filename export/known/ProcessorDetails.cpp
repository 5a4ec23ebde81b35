// The known names of what processors have beside their times: frequencies, throttling, isolation, the scheduler's
// counts.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter, gauge = MetricType::Gauge;

constexpr KnownLabel<Processor> labels[] = {{"cpu", &Processor::cpu}};
constexpr KnownField<Processor> fields[] = {
    {&Processor::hardwareFrequencyHertz, "node_cpu_frequency_hertz", gauge,
     "Frequency that the processor runs at, as the hardware says."},
    {&Processor::scalingMinHertz, "node_cpu_scaling_frequency_min_hertz", gauge, "Lowest that its driver may set."},
    {&Processor::scalingMaxHertz, "node_cpu_scaling_frequency_max_hertz", gauge, "Highest that its driver may set."},
    {&Processor::runningSeconds, "node_schedstat_running_seconds_total", counter, "Time in which a task ran."},
    {&Processor::waitingSeconds, "node_schedstat_waiting_seconds_total", counter,
     "Time of all tasks together that waited to run."},
    {&Processor::timeslices, "node_schedstat_timeslices_total", counter, "How often a task was put on it."},
};
constexpr KnownTable<Processor> table{.rows = &Sample::processors, .labels = labels, .fields = fields};

// The processors of a core, and the cores of a package, have the same count: the first one's is taken.
void writeThrottles(const Rows<Processor> &processors, MetricSink &sink) {
    sink.family("node_cpu_core_throttles_total", counter, "How often a core was slowed down because it was too hot.");
    for (const Processor &processor : processors) {
        if (processor.core && processor.package && processor.coreThrottles)
            sink.label("core", *processor.core).label("package", *processor.package).value(processor.coreThrottles);
    }
    sink.family("node_cpu_package_throttles_total", counter,
                "How often a package was slowed down because it was too hot.");
    for (const Processor &processor : processors) {
        if (processor.package && processor.packageThrottles)
            sink.label("package", *processor.package).value(processor.packageThrottles);
    }
}

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(table, sample, sink);
    writeThrottles(sample.processors, sink);
    sink.family("node_cpu_isolated", gauge, "1 for a processor that the scheduler gives no task by itself.");
    for (const Processor &processor : sample.processors) {
        if (processor.isolated.valueOr(0) == 1)
            sink.label("cpu", processor.cpu).one();
    }
}

void listFields(KnownFields &known) {
    known.add(table);
    known.add<Processor>({&Processor::core, &Processor::package, &Processor::coreThrottles,
                          &Processor::packageThrottles, &Processor::isolated});
}

} // namespace

const KnownMetrics knownProcessorDetails{Area::Cpu, write, listFields};

} // namespace zel

// The known names of what a host can run out of: entropy and open files.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr KnownField<Limits> fields[] = {
    {&Limits::entropyAvailableBits, "node_entropy_available_bits", MetricType::Gauge, "Entropy that is there."},
    {&Limits::entropyPoolBits, "node_entropy_pool_size_bits", MetricType::Gauge, "Entropy that there can be."},
    {&Limits::filesAllocated, "node_filefd_allocated", MetricType::Gauge, "Open files of the whole host."},
    {&Limits::filesLimit, "node_filefd_maximum", MetricType::Gauge, "Open files that there can be."},
};
constexpr KnownTable<Limits> table{.one = &Sample::limits, .fields = fields};

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(table, sample, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
}

} // namespace

const KnownMetrics knownLimits{Area::Limits, write, listFields};

} // namespace zel

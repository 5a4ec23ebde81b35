// Metrics that other programs wrote: what is taken can be written and read again, and is the same then.
#include "FuzzTarget.h"

#include "Ensure.h"

#include "zel/serve/MetricsText.h"

namespace {

std::string written(const std::vector<zel::TextFamily> &families, zel::MetricFormat format) {
    std::string text;
    for (const zel::TextFamily &family : families)
        zel::appendFamily(family, format, text);
    return text;
}

} // namespace

FUZZ_TARGET(serve_textfile_fuzz) {
    const zel::MetricsText read = zel::readMetricsText(input.piece());
    fuzz::ensure(read.problem.empty() || read.families.empty(), "a wrong text is refused as a whole");
    const std::string once = written(read.families, zel::MetricFormat::PrometheusText);
    const zel::MetricsText again = zel::readMetricsText(once);
    fuzz::ensure(again.problem.empty(), "what was written can be read");
    fuzz::ensure(written(again.families, zel::MetricFormat::PrometheusText) == once, "and is the same");
    written(read.families, zel::MetricFormat::OpenMetrics);
}

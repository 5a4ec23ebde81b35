// Reads what programs leave for a scrape: metrics in the Prometheus text format 0.0.4, strictly, and writes them in
// both formats. Pure functions.
//
//   # HELP backup_bytes Size of the last backup.
//   # TYPE backup_bytes gauge
//   backup_bytes{job="daily"} 1.2e+09
//
// A text is taken whole or not at all. What makes it no such text: a line that is neither, a second HELP or TYPE of a
// name, a TYPE after its series, a timestamp, a label twice, bytes that are no UTF-8, a last line without its end.
#pragma once

#include "export/MetricSink.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

enum class TextType : unsigned char { Untyped, Counter, Gauge, Histogram, Summary };

struct TextSeries {
    std::string suffix; // "_bucket", "_sum" or "_count" of a histogram or summary
    std::string labels; // as both formats write them, by name: `job="daily",le="1"`
    double value = 0;
};

struct TextFamily {
    std::string name;
    TextType type = TextType::Untyped;
    bool hasType = false;
    bool hasHelp = false;
    std::string help;
    std::vector<TextSeries> series;
};

struct MetricsText {
    std::vector<TextFamily> families; // those with series, in the order of the text
    std::string problem;              // what is wrong first; then there are no families
    std::size_t line = 0;             // and in which line
};

MetricsText readMetricsText(std::string_view text);

/// The names that nothing else may have beside a family, in a format or in both: its own, as its header has it, and
/// those that its series can have.
std::vector<std::string> namesOf(const TextFamily &family, MetricFormat format);
std::vector<std::string> namesOf(const TextFamily &family);

/// Appends a family.
void appendFamily(const TextFamily &family, MetricFormat format, std::string &out);

} // namespace zel

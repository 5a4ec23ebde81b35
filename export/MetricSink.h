// Writes metric families as text, in the Prometheus text format 0.0.4 or in OpenMetrics 1.0.
//
//   # HELP node_disk_reads_completed_total Reads completed.
//   # TYPE node_disk_reads_completed_total counter
//   node_disk_reads_completed_total{device="vda"} 812
//
//   sink.family("node_disk_reads_completed_total", MetricType::Counter, "Reads completed.");
//   sink.label("device", disk.name).value(disk.reads);
//
// A series begins with its first label (or, without labels, with its value) and ends with value(). A reading that is
// absent, a text, and a number that is none leave no series; a family without series leaves nothing. A series whose
// labels its family already has is left out, and so is a family whose name the page already has: what a host says twice
// must not cost a reader the whole page.
//
// Where many families have series of the same rows, the labels are written once:
//
//   sink.clearRows();
//   for (const Disk &disk : sample.disks)
//       sink.label("device", disk.name).keepRow(isShown(disk));
//   sink.family(...);
//   for (std::size_t index = 0; index < sample.disks.size(); ++index)
//       sink.row(index).value(sample.disks[index].reads);          // more labels may follow row()
//
// A family has its series either all by row(index).value(), or all with labels of their own, and all of them follow one
// another.
//
// A sink is kept from text to text: its memory is used again. It belongs to one thread.
#pragma once

#include "export/LabelSet.h"
#include "host/Schema.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

enum class MetricFormat : unsigned char { PrometheusText, OpenMetrics };

/// "text/plain; version=0.0.4; charset=utf-8", and that of OpenMetrics.
std::string_view mediaType(MetricFormat format);

enum class MetricType : unsigned char {
    Counter, // in OpenMetrics one whose name does not end in _total is unknown, so that its series keeps the name
    Gauge,
    Unknown, // "untyped" in the older format
    Info     // texts as labels, with the value 1: a gauge in the older format; the name ends in _info
};

class MetricSink {
public:
    /// Begins a text at the end of `out`, which stays where it is until finish().
    void start(MetricFormat format, std::string &out);
    /// Ends it.
    void finish();

    /// The next family. Name and help stay where they are until the next one.
    void family(std::string_view name, MetricType type, std::string_view help);

    /// Names are letters, digits and underscores; values may hold anything: bytes that are no UTF-8 become U+FFFD.
    MetricSink &label(std::string_view name, std::string_view value);
    MetricSink &label(std::string_view name, std::uint64_t value);
    /// A number in decimal; of an absent reading an empty text.
    MetricSink &label(std::string_view name, const Value &value);
    template<class T> MetricSink &label(std::string_view name, const Reading<T> &value) {
        return value ? label(name, Value(*value)) : label(name, std::string_view());
    }

    /// A whole number keeps every digit where the factor is 1.
    void value(std::uint64_t number, double factor = 1);
    void value(double number, double factor = 1);
    void value(const Value &value, double factor = 1);
    template<class T> void value(const Reading<T> &reading, double factor = 1) {
        if (reading)
            value(*reading, factor);
        else
            drop();
    }
    /// The value of a series that says something by its labels.
    void one() { value(std::uint64_t{1}); }
    /// Takes back the labels that were written since the last series.
    void drop();

    /// Forgets the rows of before.
    void clearRows();
    /// Keeps the labels that were written since the last series as those of the next row. A row that is not shown, and
    /// one whose labels another row has, keeps its index but gives no series.
    void keepRow(bool shown = true);
    /// Begins a series with the labels of a row.
    MetricSink &row(std::size_t index);

private:
    struct Row {
        std::size_t offset = 0;
        std::size_t length = 0;
        bool shown = false;
    };

    void beginLabel(std::string_view name);
    bool keepName(std::string_view name);
    bool isNewFamily();
    bool beginFamily();
    void writeHeader();
    void writeHeaderLine(std::string_view keyword, std::string_view text);
    std::string_view rowLabels() const;
    bool beginSample();
    void endSample();

    std::string *m_out = nullptr;
    MetricFormat m_format = MetricFormat::PrometheusText;
    std::string_view m_name, m_help;
    MetricType m_type = MetricType::Unknown;
    bool m_headerWritten = false;
    bool m_twin = false; // the page has a family of this name already
    LabelSet m_families; // the names that the page has, in m_familiesText
    std::string m_familiesText;

    std::string m_labels; // of the series that is begun
    bool m_ofRow = false; // it has those of m_row instead, and no more
    std::size_t m_row = 0;
    bool m_hidden = false; // it is that of a row that is not shown
    LabelSet m_series;     // of the family, in m_seriesText
    std::string m_seriesText;

    std::vector<Row> m_rows;
    std::string m_rowText;
    LabelSet m_rowSet;
};

} // namespace zel

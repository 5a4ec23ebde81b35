// Writes samples and rates as CSV.
#include "export/Csv.h"

#include "export/Text.h"
#include "export/Walk.h"

#include <algorithm>

namespace zel {

namespace {

constexpr std::string_view lineEnd = "\r\n";

void appendPlain(std::string &out, std::string_view text) {
    std::size_t start = 0;
    for (std::size_t at = text.find('"'); at != text.npos; at = text.find('"', at + 1)) {
        out.append(text.substr(start, at - start));
        out += '"';
        start = at;
    }
    out.append(text.substr(start));
}

// What every row of a sample begins with after the name of its section.
struct RowStart {
    const Sample &sample;
    const Rates *rates;

    void append(std::string &out, std::string_view section) const {
        out += section;
        out += ',';
        appendTimestamp(out, sample.realtimeNanoseconds);
        if (rates == nullptr)
            return;
        out += ',';
        appendNumber(out, rates->seconds);
    }
};

class CsvSink {
public:
    CsvSink(std::string &out, const RowStart &start) : m_out(out), m_start(start) {}

    void beginSection(std::string_view name, bool) { m_section = name; }
    void endSection() {}
    void beginRow() { m_start.append(m_out, m_section); }
    void endRow() { m_out += lineEnd; }
    void field(const Family &, const Value &value) {
        m_out += ',';
        if (value.type() == Value::Type::Unsigned)
            appendNumber(m_out, value.asUnsigned());
        else if (value.type() == Value::Type::Real)
            appendNumber(m_out, value.asReal());
        else if (value.type() == Value::Type::Text)
            appendCsvText(m_out, value.asText());
    }

private:
    std::string &m_out;
    const RowStart &m_start;
    std::string_view m_section;
};

void appendHeader(const AnySection<Sample> &section, bool withRates, std::string &out) {
    out += withRates ? "section,time,interval_seconds" : "section,time";
    forEachFamily(section, withRates, [&out](const Family &family) {
        out += ',';
        out += family.name;
    });
    out += lineEnd;
}

bool isWritten(const Sample &sample, std::span<const Area> areas, Area area) {
    return sample.area(area).asked && isShown(areas, area);
}

bool isOneSection(const Sample &sample, std::span<const Area> areas) {
    return std::ranges::count_if(sections(), [&](const AnySection<Sample> &section) {
               return isWritten(sample, areas, section.area);
           }) == 1;
}

void write(const Sample &sample, const Rates *rates, std::span<const Area> areas, bool header, std::string &out) {
    const bool alone = isOneSection(sample, areas);
    const RowStart start{sample, rates};
    CsvSink sink(out, start);
    CounterRates counters(rates);
    for (const AnySection<Sample> &section : sections()) {
        if (!isWritten(sample, areas, section.area))
            continue;
        const bool empty = section.size(sample) == 0;
        if (alone ? header : !empty)
            appendHeader(section, rates != nullptr, out);
        walkSection(section, sample, rates, counters, sink);
        if (!alone && !empty)
            out += lineEnd;
    }
}

} // namespace

void appendCsvText(std::string &out, std::string_view text) {
    const bool quoted = text.empty() || text.find_first_of(",\"") != text.npos;
    if (quoted)
        out += '"';
    if (!text.empty() && std::string_view("=+-@'").find(text[0]) != std::string_view::npos)
        out += '\'';
    forEachPiece(text, [&out](std::string_view piece, const Character &first) {
        if (first.kind == Character::Kind::Plain)
            appendPlain(out, piece);
        else
            out += REPLACEMENT;
    });
    if (quoted)
        out += '"';
}

void writeCsv(const Sample &sample, std::span<const Area> areas, bool header, std::string &out) {
    write(sample, nullptr, areas, header, out);
}

void writeCsv(const Sample &sample, const Rates &rates, std::span<const Area> areas, bool header, std::string &out) {
    write(sample, &rates, areas, header, out);
}

} // namespace zel

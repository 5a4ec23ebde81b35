// Writes headers, labels and values of metric families.
#include "export/MetricSink.h"

#include "export/Text.h"

#include <cmath>
#include <cstring>

namespace zel {

namespace {

constexpr std::string_view total = "_total", info = "_info";

bool isCounter(std::string_view name, MetricType type) {
    return type == MetricType::Counter && name.ends_with(total);
}

// OpenMetrics names the family without what the type adds to its series.
std::string_view familyName(MetricFormat format, std::string_view name, MetricType type) {
    if (format == MetricFormat::OpenMetrics && isCounter(name, type))
        name.remove_suffix(total.size());
    if (format == MetricFormat::OpenMetrics && type == MetricType::Info)
        name.remove_suffix(info.size());
    return name;
}

std::string_view typeName(MetricFormat format, std::string_view name, MetricType type) {
    const bool open = format == MetricFormat::OpenMetrics;
    switch (type) {
    case MetricType::Counter:
        return open && !isCounter(name, type) ? "unknown" : "counter";
    case MetricType::Gauge:
        return "gauge";
    case MetricType::Info:
        return open ? "info" : "gauge";
    case MetricType::Unknown:
        break;
    }
    return open ? "unknown" : "untyped";
}

constexpr std::uint64_t everyByte = 0x0101010101010101U, highBits = everyByte << 7U;

// The high bit of every byte of the word that is below `least`, which is at most 0x80, or above 0x7f.
constexpr std::uint64_t bytesBelow(std::uint64_t word, std::uint64_t least) {
    return (word - everyByte * least) | word;
}
constexpr std::uint64_t bytesEqual(std::uint64_t word, char byte) {
    return bytesBelow(word ^ everyByte * static_cast<unsigned char>(byte), 1);
}

// The length of the text up to the first byte that may not stand for itself: a control, a quote, a backslash, anything
// beyond ASCII. It is looked for in eight bytes at a time, and may be said to be earlier than it is.
std::size_t ordinaryLength(std::string_view text) {
    std::size_t at = 0;
    for (std::uint64_t word = 0; at + sizeof(word) <= text.size(); at += sizeof(word)) {
        std::memcpy(&word, text.data() + at, sizeof(word));
        const std::uint64_t special =
            bytesBelow(word, ' ') | bytesEqual(word, '"') | bytesEqual(word, '\\') | bytesEqual(word, '\x7f');
        if ((special & highBits) != 0)
            return at;
    }
    while (at < text.size() && isPlainByte(text[at]) && text[at] != '"' && text[at] != '\\')
        ++at;
    return at;
}

void appendEscapedText(std::string &out, std::string_view text, std::string_view special) {
    const std::size_t ordinary = ordinaryLength(text);
    out.append(text.substr(0, ordinary));
    if (ordinary == text.size())
        return;
    forEachPiece(text.substr(ordinary), [&](std::string_view piece, const Character &first) {
        if (first.kind == Character::Kind::Plain)
            appendWithBackslashes(out, piece, special);
        else if (first.kind == Character::Kind::Broken)
            out += REPLACEMENT;
        else if (piece == "\n")
            out += "\\n";
        else
            out += piece;
    });
}

} // namespace

std::string_view mediaType(MetricFormat format) {
    return format == MetricFormat::OpenMetrics ? "application/openmetrics-text; version=1.0.0; charset=utf-8"
                                               : "text/plain; version=0.0.4; charset=utf-8";
}

void MetricSink::start(MetricFormat format, std::string &out) {
    m_out = &out;
    m_format = format;
    m_headerWritten = m_twin = false;
    m_families.clear();
    m_familiesText.clear();
    clearRows();
    drop();
}

void MetricSink::finish() {
    if (m_format == MetricFormat::OpenMetrics)
        *m_out += "# EOF\n";
    m_out = nullptr;
}

void MetricSink::family(std::string_view name, MetricType type, std::string_view help) {
    m_name = name;
    m_type = type;
    m_help = help;
    m_headerWritten = m_twin = false;
    m_series.clear();
    m_seriesText.clear();
}

void MetricSink::beginLabel(std::string_view name) {
    if (m_ofRow)
        m_labels.assign(rowLabels());
    if (!m_labels.empty())
        m_labels += ',';
    m_labels += name;
    m_labels += std::string_view("=\"");
    m_ofRow = false;
}

MetricSink &MetricSink::label(std::string_view name, std::string_view value) {
    beginLabel(name);
    appendEscapedText(m_labels, value, "\"\\");
    m_labels += '"';
    return *this;
}

MetricSink &MetricSink::label(std::string_view name, std::uint64_t value) {
    beginLabel(name);
    appendNumber(m_labels, value);
    m_labels += '"';
    return *this;
}

MetricSink &MetricSink::label(std::string_view name, const Value &value) {
    if (value.type() == Value::Type::Unsigned)
        return label(name, value.asUnsigned());
    if (value.type() != Value::Type::Real)
        return label(name, value.asText());
    beginLabel(name);
    appendNumber(m_labels, value.asReal());
    m_labels += '"';
    return *this;
}

void MetricSink::writeHeaderLine(std::string_view keyword, std::string_view text) {
    *m_out += keyword;
    *m_out += familyName(m_format, m_name, m_type);
    *m_out += ' ';
    *m_out += text;
    *m_out += '\n';
}

bool MetricSink::keepName(std::string_view name) {
    const std::size_t offset = m_familiesText.size();
    m_familiesText += name;
    return m_families.add(m_familiesText, offset, name.size());
}

// Both the name of the family and that of its series must be new: in OpenMetrics a counter has two.
bool MetricSink::isNewFamily() {
    const std::string_view family = familyName(m_format, m_name, m_type);
    return keepName(family) && (family.size() == m_name.size() || keepName(m_name));
}

// A family without series takes no name.
bool MetricSink::beginFamily() {
    if (m_headerWritten || m_twin)
        return !m_twin;
    m_twin = !isNewFamily();
    if (!m_twin)
        writeHeader();
    return !m_twin;
}

void MetricSink::writeHeader() {
    *m_out += "# HELP ";
    *m_out += familyName(m_format, m_name, m_type);
    *m_out += ' ';
    appendEscapedText(*m_out, m_help, m_format == MetricFormat::OpenMetrics ? "\"\\" : "\\");
    *m_out += '\n';
    writeHeaderLine("# TYPE ", typeName(m_format, m_name, m_type));
    m_headerWritten = true;
}

// Everything up to the value; false when there is no such series to write.
bool MetricSink::beginSample() {
    if (m_hidden)
        return false;
    const std::string_view labels = m_ofRow ? rowLabels() : std::string_view(m_labels);
    if (!m_ofRow) {
        const std::size_t offset = m_seriesText.size();
        m_seriesText += m_labels;
        if (!m_series.add(m_seriesText, offset, m_labels.size()))
            return false;
    }
    if (!beginFamily())
        return false;
    *m_out += m_name;
    if (!labels.empty()) {
        *m_out += '{';
        *m_out += labels;
        *m_out += '}';
    }
    *m_out += ' ';
    return true;
}

void MetricSink::endSample() {
    *m_out += '\n';
    drop();
}

void MetricSink::drop() {
    m_labels.clear();
    m_ofRow = false;
    m_hidden = false;
}

void MetricSink::value(std::uint64_t number, double factor) {
    if (factor != 1)
        return value(static_cast<double>(number), factor);
    if (!beginSample())
        return drop();
    appendNumber(*m_out, number);
    endSample();
}

void MetricSink::value(double number, double factor) {
    const double scaled = number * factor;
    if (!std::isfinite(scaled) || !beginSample())
        return drop();
    appendNumber(*m_out, scaled);
    endSample();
}

void MetricSink::value(const Value &reading, double factor) {
    if (reading.type() == Value::Type::Unsigned)
        return value(reading.asUnsigned(), factor);
    if (reading.type() == Value::Type::Real)
        return value(reading.asReal(), factor);
    drop();
}

void MetricSink::clearRows() {
    m_rows.clear();
    m_rowText.clear();
    m_rowSet.clear();
}

void MetricSink::keepRow(bool shown) {
    const std::size_t offset = m_rowText.size();
    m_rowText += m_labels;
    const bool isNew = shown && m_rowSet.add(m_rowText, offset, m_labels.size());
    m_rows.push_back({offset, m_labels.size(), isNew});
    drop();
}

MetricSink &MetricSink::row(std::size_t index) {
    m_row = index;
    m_ofRow = true;
    m_hidden = !m_rows[index].shown;
    return *this;
}

std::string_view MetricSink::rowLabels() const {
    return std::string_view(m_rowText).substr(m_rows[m_row].offset, m_rows[m_row].length);
}

} // namespace zel

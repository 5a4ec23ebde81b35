#include "PerfText.h"

#include "Separators.h"

#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

using zel::COLUMN_SEPARATOR;
using zel::FIELD_SEPARATOR;
using zel::METRIC_SEPARATOR;
using zel::ROW_SEPARATOR;

namespace {

constexpr std::size_t separatorSize = 3;
constexpr std::size_t longestInteger = 20; // digits and sign of a 64-bit number
constexpr std::size_t longestNumber = 320; // "%.2f" of the largest double

constexpr double largestQuickNumber = 1e9; // its hundredths are exact to 1e-4, see formatQuickly
constexpr double tieMargin = 1e-3;
constexpr std::size_t quickNumberSize = 14; // "-1000000000.00"

void setSplit(PerfSplit &split, std::string_view first, std::string_view second) {
    std::memcpy(split[0], first.data(), first.size() + 1);
    std::memcpy(split[1], second.data(), second.size() + 1);
}

// A value byte that could be taken for a part of a separator, or that would end the text.
bool forbiddenInValues(char character) {
    return character == zel::SEPARATOR_BYTES[0] || character == zel::SEPARATOR_BYTES[1] || character == '\0';
}

// Most values are small and lie clearly between two roundings: their hundredths are an integer that is quickly written.
// Gives false for the others (large, or so near to half a hundredth that the product's own rounding could decide).
bool formatQuickly(double value, char *&out) {
    const double magnitude = std::fabs(value);
    if (!(magnitude < largestQuickNumber))
        return false;
    const double hundredths = magnitude * 100.0;
    const auto whole = static_cast<long long>(hundredths);
    const double rest = hundredths - static_cast<double>(whole);
    if (std::fabs(rest - 0.5) < tieMargin)
        return false;
    const long long rounded = rest > 0.5 ? whole + 1 : whole;
    if (std::signbit(value))
        *out++ = '-';
    out = std::to_chars(out, out + quickNumberSize, static_cast<unsigned>(rounded / 100)).ptr;
    *out++ = '.';
    *out++ = static_cast<char>('0' + rounded / 10 % 10);
    *out++ = static_cast<char>('0' + rounded % 10);
    return true;
}

} // namespace

void fgSetTableSplit(PerfSplit &split) {
    setSplit(split, ROW_SEPARATOR, COLUMN_SEPARATOR);
}

void fgSetPushSplit(PerfSplit &split) {
    setSplit(split, METRIC_SEPARATOR, FIELD_SEPARATOR);
}

char *fgNewTextBuffer(int size) {
    if (size < 1)
        return nullptr;
    return static_cast<char *>(std::calloc(static_cast<std::size_t>(size), 1));
}

CPerfText::CPerfText(char *&buffer, int &size, Growth growth)
    : m_buffer(buffer), m_size(size), m_length(buffer == nullptr ? 0 : std::strlen(buffer)), m_growth(growth) {}

std::size_t CPerfText::capacity() const {
    return m_buffer == nullptr || m_size < 1 ? 0 : static_cast<std::size_t>(m_size);
}

void CPerfText::clear() {
    if (m_buffer != nullptr)
        std::memset(m_buffer, 0, m_length);
    m_length = 0;
    m_incomplete = false;
}

void CPerfText::growTo(std::size_t size) {
    if (size <= capacity())
        return;
    char *larger = size > INT_MAX ? nullptr : fgNewTextBuffer(static_cast<int>(size));
    if (larger == nullptr) {
        m_incomplete = true;
        return;
    }
    if (m_buffer != nullptr)
        std::memcpy(larger, m_buffer, m_length);
    std::free(m_buffer);
    m_buffer = larger;
    m_size = static_cast<int>(size);
}

void CPerfText::reserveRoom(std::size_t room) {
    std::size_t size = capacity();
    if (m_incomplete || size >= m_length + room)
        return;
    if (size == 0)
        size = PERF_TABLE_SIZE;
    while (size < m_length + room)
        size *= 2;
    growTo(size);
}

// After something was left out nothing more is appended, so that a text never misses a piece in its middle.
bool CPerfText::makeRoom(std::size_t length) {
    if (m_incomplete)
        return false;
    if (m_length + length < capacity())
        return true;
    if (m_growth == Growth::Fixed) {
        m_incomplete = true;
        return false;
    }
    reserveRoom(length + 1);
    return !m_incomplete;
}

// The place behind the text when an integer or a quick number is sure to fit there; null otherwise.
char *CPerfText::placeForNumber() const {
    const bool fits = !m_incomplete && m_length + longestInteger < capacity();
    return fits ? m_buffer + m_length : nullptr;
}

void CPerfText::endAt(char *end) {
    *end = '\0';
    m_length = static_cast<std::size_t>(end - m_buffer);
}

void CPerfText::appendSeparator(std::string_view separator) {
    if (!makeRoom(separatorSize))
        return;
    std::memcpy(m_buffer + m_length, separator.data(), separatorSize);
    endAt(m_buffer + m_length + separatorSize);
}

void CPerfText::append(std::string_view text) {
    if (!makeRoom(text.size()))
        return;
    std::memcpy(m_buffer + m_length, text.data(), text.size());
    endAt(m_buffer + m_length + text.size());
}

void CPerfText::appendNeutralised(std::string_view text) {
    if (!makeRoom(text.size()))
        return;
    char *out = m_buffer + m_length;
    for (const char character : text)
        *out++ = forbiddenInValues(character) ? ' ' : character;
    endAt(out);
}

template<typename Integer> void CPerfText::appendInteger(Integer value) {
    if (char *place = placeForNumber(); place != nullptr)
        return endAt(std::to_chars(place, place + longestInteger, value).ptr);
    char digits[longestInteger];
    const auto end = std::to_chars(digits, digits + sizeof(digits), value).ptr;
    append({digits, static_cast<std::size_t>(end - digits)});
}

void CPerfText::appendNumber(double value) {
    if (char *place = placeForNumber(); place != nullptr && formatQuickly(value, place))
        return endAt(place);
    char digits[longestNumber];
    const auto end = std::to_chars(digits, digits + sizeof(digits), value, std::chars_format::fixed, 2).ptr;
    append({digits, static_cast<std::size_t>(end - digits)});
}

void CPerfText::header(std::initializer_list<std::string_view> names) {
    for (const std::string_view name : names)
        column(name);
}

void CPerfText::column(std::string_view name) {
    append(name);
    appendSeparator(COLUMN_SEPARATOR);
}

void CPerfText::beginRow(std::size_t room) {
    if (m_growth == Growth::Doubling)
        reserveRoom(room);
    appendSeparator(ROW_SEPARATOR);
}

void CPerfText::field(std::string_view value) {
    appendNeutralised(value);
    appendSeparator(COLUMN_SEPARATOR);
}

void CPerfText::field(int value) {
    appendInteger(value);
    appendSeparator(COLUMN_SEPARATOR);
}

void CPerfText::field(unsigned long long value) {
    appendInteger(value);
    appendSeparator(COLUMN_SEPARATOR);
}

void CPerfText::field(double value) {
    appendNumber(value);
    appendSeparator(COLUMN_SEPARATOR);
}

void CPerfText::numberedField(std::string_view prefix, int number) {
    append(prefix);
    field(number);
}

void CPerfText::endMarker() {
    appendSeparator(ROW_SEPARATOR);
    append(PERF_END_MARKER);
}

void CPerfText::agentKey(const char *key) {
    appendNeutralised(key == nullptr ? "" : key);
}

void CPerfText::metric(std::string_view code, unsigned long long value) {
    const std::size_t start = m_length;
    tableMetric(code);
    appendInteger(value);
    appendSeparator(FIELD_SEPARATOR);
    dropMetricThatDidNotFit(start);
}

void CPerfText::metric(std::string_view code, double value) {
    const std::size_t start = m_length;
    tableMetric(code);
    appendNumber(value);
    appendSeparator(FIELD_SEPARATOR);
    dropMetricThatDidNotFit(start);
}

void CPerfText::tableMetric(std::string_view code) {
    appendSeparator(METRIC_SEPARATOR);
    keylessTableMetric(code);
}

void CPerfText::keylessTableMetric(std::string_view code) {
    append(code);
    appendSeparator(FIELD_SEPARATOR);
}

void CPerfText::dropMetricThatDidNotFit(std::size_t metricStart) {
    if (!m_incomplete || m_length == metricStart)
        return;
    std::memset(m_buffer + metricStart, 0, m_length - metricStart);
    m_length = metricStart;
}

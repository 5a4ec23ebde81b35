// Writes tables and push texts: separators, numbers and buffer growth.
#include "PerfText.h"

#include "text/DecimalText.h"
#include "text/Separators.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

using zel::COLUMN_SEPARATOR;
using zel::FIELD_SEPARATOR;
using zel::METRIC_SEPARATOR;
using zel::ROW_SEPARATOR;

namespace {

constexpr std::size_t longestInteger = zel::LONGEST_DECIMAL + 1; // with its sign
constexpr std::size_t longestNumber = 320;                       // "%.2f" of the largest double
constexpr std::size_t longestField = longestNumber + COLUMN_SEPARATOR.size();

constexpr char zeroField[] = "0.00\x03\x1F~"; // the most frequent one, with its separator
static_assert(std::string_view(zeroField).ends_with(COLUMN_SEPARATOR));

constexpr double largestQuickNumber = 1e9; // its hundredths are exact to 1e-4, see formatQuickly
constexpr double tieMargin = 1e-3;

void setSplit(PerfSplit &split, std::string_view first, std::string_view second) {
    std::memcpy(split[0], first.data(), first.size() + 1);
    std::memcpy(split[1], second.data(), second.size() + 1);
}

// A value byte that could be taken for a part of a separator, or that would end the text.
bool forbiddenInValues(char character) {
    return character == zel::SEPARATOR_BYTES[0] || character == zel::SEPARATOR_BYTES[1] || character == '\0';
}

// True when one of eight bytes is below a blank; bytes of 0x80 and more may give true as well.
bool holdsControlBytes(std::uint64_t bytes) {
    constexpr std::uint64_t each = 0x0101010101010101;
    return ((bytes - each * ' ') & (each * 0x80)) != 0;
}

// Eight bytes at a time as long as nothing in them can be forbidden, as in nearly every value.
char *copyNeutralised(char *out, std::string_view text) {
    std::size_t done = 0;
    for (std::uint64_t bytes; done + sizeof(bytes) <= text.size(); done += sizeof(bytes), out += sizeof(bytes)) {
        std::memcpy(&bytes, text.data() + done, sizeof(bytes));
        if (holdsControlBytes(bytes))
            break;
        std::memcpy(out, &bytes, sizeof(bytes));
    }
    for (const char character : text.substr(done))
        *out++ = forbiddenInValues(character) ? ' ' : character;
    return out;
}

// Most values are small and clearly between two roundings: their hundredths are an integer that is quickly written.
// Gives false for the others (large, or so near to half a hundredth that the product's own rounding could decide).
bool formatQuickly(double value, char *&out) {
    const double magnitude = std::fabs(value);
    if (!(magnitude < largestQuickNumber))
        return false;
    const double hundredths = magnitude * 100.0;
    const auto whole = static_cast<unsigned long long>(hundredths);
    const double rest = hundredths - static_cast<double>(whole);
    if (std::fabs(rest - 0.5) < tieMargin)
        return false;
    const unsigned long long rounded = rest > 0.5 ? whole + 1 : whole;
    if (std::signbit(value))
        *out++ = '-';
    out = zel::writeDecimal(out, rounded / 100);
    *out++ = '.';
    out = zel::writeDecimalPair(out, static_cast<unsigned>(rounded % 100));
    return true;
}

// "%.2f"; returns the end of what was written.
char *formatNumber(double value, char *out, char *end) {
    if (formatQuickly(value, out))
        return out;
    return std::to_chars(out, end, value, std::chars_format::fixed, 2).ptr;
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

// The end of the text when `length` more bytes fit there, so that a value and its separator are written in place; null
// when they do not.
char *CPerfText::tailWithRoom(std::size_t length) const {
    return !m_incomplete && m_length + length < capacity() ? m_buffer + m_length : nullptr;
}

void CPerfText::endFieldAt(char *end) {
    std::memcpy(end, COLUMN_SEPARATOR.data(), COLUMN_SEPARATOR.size() + 1); // with its terminator
    m_length = static_cast<std::size_t>(end - m_buffer) + COLUMN_SEPARATOR.size();
}

void CPerfText::append(std::string_view text) {
    if (!makeRoom(text.size()))
        return;
    std::memcpy(m_buffer + m_length, text.data(), text.size());
    m_length += text.size();
    m_buffer[m_length] = '\0';
}

void CPerfText::appendNeutralised(std::string_view text) {
    if (!makeRoom(text.size()))
        return;
    copyNeutralised(m_buffer + m_length, text);
    m_length += text.size();
    m_buffer[m_length] = '\0';
}

void CPerfText::appendSigned(long long value) {
    char digits[longestInteger];
    const char *end = zel::writeSignedDecimal(digits, value);
    append({digits, static_cast<std::size_t>(end - digits)});
}

void CPerfText::appendUnsigned(unsigned long long value) {
    char digits[longestInteger];
    const char *end = zel::writeDecimal(digits, value);
    append({digits, static_cast<std::size_t>(end - digits)});
}

void CPerfText::appendNumber(double value) {
    char digits[longestNumber];
    const char *end = formatNumber(value, digits, digits + sizeof(digits));
    append({digits, static_cast<std::size_t>(end - digits)});
}

void CPerfText::header(std::initializer_list<std::string_view> names) {
    for (const std::string_view name : names)
        column(name);
}

void CPerfText::column(std::string_view name) {
    append(name);
    append(COLUMN_SEPARATOR);
}

void CPerfText::beginRow(std::size_t room) {
    if (char *tail = tailWithRoom(room + ROW_SEPARATOR.size())) {
        std::memcpy(tail, ROW_SEPARATOR.data(), ROW_SEPARATOR.size() + 1); // with its terminator
        m_length += ROW_SEPARATOR.size();
        return;
    }
    if (m_growth == Growth::Doubling)
        reserveRoom(room);
    append(ROW_SEPARATOR);
}

void CPerfText::field(std::string_view value) {
    if (char *tail = tailWithRoom(value.size() + COLUMN_SEPARATOR.size())) {
        endFieldAt(copyNeutralised(tail, value));
        return;
    }
    appendNeutralised(value);
    append(COLUMN_SEPARATOR);
}

void CPerfText::field(int value) {
    if (char *tail = tailWithRoom(longestField)) {
        endFieldAt(zel::writeSignedDecimal(tail, value));
        return;
    }
    appendSigned(value);
    append(COLUMN_SEPARATOR);
}

void CPerfText::field(unsigned long long value) {
    if (char *tail = tailWithRoom(longestField)) {
        endFieldAt(zel::writeDecimal(tail, value));
        return;
    }
    appendUnsigned(value);
    append(COLUMN_SEPARATOR);
}

void CPerfText::field(double value) {
    const bool isZero = std::bit_cast<std::uint64_t>(value) == 0; // 0, but not -0, which has a sign
    if (char *tail = isZero ? tailWithRoom(sizeof(zeroField)) : nullptr) {
        std::memcpy(tail, zeroField, sizeof(zeroField));
        m_length += sizeof(zeroField) - 1;
        return;
    }
    if (char *tail = tailWithRoom(longestField)) {
        endFieldAt(formatNumber(value, tail, tail + longestNumber));
        return;
    }
    appendNumber(value);
    append(COLUMN_SEPARATOR);
}

void CPerfText::numberedField(std::string_view prefix, int number) {
    append(prefix);
    field(number);
}

void CPerfText::columns(std::string_view values) {
    for (std::size_t end; (end = values.find(COLUMN_SEPARATOR)) != std::string_view::npos;) {
        field(values.substr(0, end));
        values.remove_prefix(end + COLUMN_SEPARATOR.size());
    }
    appendNeutralised(values);
}

void CPerfText::timeStamp(int seconds) {
    appendSigned(seconds);
    append(METRIC_SEPARATOR);
}

void CPerfText::endMarker() {
    append(ROW_SEPARATOR);
    append(PERF_END_MARKER);
}

void CPerfText::agentKey(const char *key) {
    appendNeutralised(key == nullptr ? "" : key);
}

void CPerfText::metric(std::string_view code, unsigned long long value) {
    const std::size_t start = m_length;
    tableMetric(code);
    appendUnsigned(value);
    append(FIELD_SEPARATOR);
    dropMetricThatDidNotFit(start);
}

void CPerfText::metric(std::string_view code, double value) {
    const std::size_t start = m_length;
    tableMetric(code);
    appendNumber(value);
    append(FIELD_SEPARATOR);
    dropMetricThatDidNotFit(start);
}

void CPerfText::tableMetric(std::string_view code) {
    append(METRIC_SEPARATOR);
    keylessTableMetric(code);
}

void CPerfText::keylessTableMetric(std::string_view code) {
    append(code);
    append(FIELD_SEPARATOR);
}

void CPerfText::dropMetricThatDidNotFit(std::size_t metricStart) {
    if (!m_incomplete || m_length == metricStart)
        return;
    std::memset(m_buffer + metricStart, 0, m_length - metricStart);
    m_length = metricStart;
}

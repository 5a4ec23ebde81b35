// Splits tables and push texts, and refuses malformed ones with the place of the fault.
#include "PerfTextReader.h"

#include "PerfText.h"
#include "text/Separators.h"

#include <new>

namespace {

using zel::COLUMN_SEPARATOR;
using zel::FIELD_SEPARATOR;
using zel::METRIC_SEPARATOR;
using zel::ROW_SEPARATOR;

constexpr std::size_t separatorLength = 3;
constexpr const char *noMemory = "no memory";

// A position in a text; everything is cut off at its front.
class Cursor {
public:
    Cursor(std::string_view text, std::size_t offset, PerfTextError &error)
        : m_text(text), m_offset(offset), m_error(error) {}

    bool atEnd() const { return m_text.empty(); }

    bool refuse(const char *reason) {
        m_error = {m_offset, reason};
        return false;
    }

    // Takes the separator when it is here.
    bool take(std::string_view separator) {
        if (m_text.substr(0, separatorLength) != separator)
            return false;
        advance(separatorLength);
        return true;
    }

    // The text up to the next separator byte, which no value holds.
    std::string_view takeValue() {
        const std::size_t end = m_text.find_first_of(zel::SEPARATOR_BYTES);
        const std::string_view value = m_text.substr(0, end);
        advance(value.size());
        return value;
    }

    // The text up to `separator`; all of it when there is none.
    std::string_view takeUntil(std::string_view separator) {
        const std::string_view piece = m_text.substr(0, m_text.find(separator));
        advance(piece.size());
        return piece;
    }

    std::size_t offset() const { return m_offset; }

private:
    void advance(std::size_t count) {
        m_text.remove_prefix(count);
        m_offset += count;
    }

    std::string_view m_text;
    std::size_t m_offset;
    PerfTextError &m_error;
};

bool readColumns(Cursor &cursor, std::vector<std::string_view> &columns) {
    while (!cursor.atEnd()) {
        const std::size_t start = cursor.offset();
        const std::string_view name = cursor.takeValue();
        if (!cursor.take(COLUMN_SEPARATOR)) {
            if (name.empty() && cursor.offset() == start)
                return true; // the rows begin
            return cursor.refuse("a column name without its separator");
        }
        columns.push_back(name);
    }
    return true;
}

// One row after its separator: as many values as there are columns, or the end marker.
bool readRow(Cursor &cursor, PerfTable &table) {
    std::vector<std::string_view> row;
    row.reserve(table.columns.size());
    while (row.size() < table.columns.size()) {
        const std::string_view value = cursor.takeValue();
        if (row.empty() && cursor.atEnd() && value == PERF_END_MARKER) {
            table.ended = true;
            return true;
        }
        if (!cursor.take(COLUMN_SEPARATOR))
            return cursor.refuse("a value without its separator, or too few values");
        row.push_back(value);
    }
    table.rows.push_back(std::move(row));
    return true;
}

bool readTable(Cursor &cursor, PerfTable &table) {
    if (!readColumns(cursor, table.columns))
        return false;
    if (table.columns.empty())
        return cursor.refuse("no columns");
    while (!cursor.atEnd()) {
        if (!cursor.take(ROW_SEPARATOR))
            return cursor.refuse("more values than columns, or no row separator");
        if (!readRow(cursor, table))
            return false;
    }
    return true;
}

// code F value F, or code F table.
bool readMetric(Cursor &cursor, PerfMetric &metric, PerfTextError &error) {
    metric.code = cursor.takeValue();
    if (!cursor.take(FIELD_SEPARATOR))
        return cursor.refuse("a metric code without its separator");
    const std::size_t start = cursor.offset();
    metric.value = cursor.takeUntil(METRIC_SEPARATOR);
    const std::size_t scalarEnd = metric.value.find(FIELD_SEPARATOR);
    if (scalarEnd == std::string_view::npos) {
        metric.isTable = true;
        Cursor table(metric.value, start, error);
        return readTable(table, metric.table);
    }
    if (scalarEnd + separatorLength != metric.value.size()) {
        error = {start + scalarEnd + separatorLength, "text behind a scalar value"};
        return false;
    }
    metric.value.remove_suffix(separatorLength);
    const std::size_t stray = metric.value.find_first_of(zel::SEPARATOR_BYTES);
    if (stray == std::string_view::npos)
        return true;
    error = {start + stray, "a separator inside a scalar value"};
    return false;
}

// The real-time process list: its table comes directly after the metric separator.
bool isBareTable(std::string_view text) {
    const std::size_t column = text.find(COLUMN_SEPARATOR);
    const std::size_t field = text.find(FIELD_SEPARATOR);
    return column != std::string_view::npos && column < field;
}

bool readPush(std::string_view text, PerfPush &push, PerfTextError &error) {
    Cursor cursor(text, 0, error);
    const std::string_view first = cursor.takeValue();
    if (text.substr(first.size(), separatorLength) == FIELD_SEPARATOR) {
        Cursor whole(text, 0, error);
        return readMetric(whole, push.metrics.emplace_back(), error) || (push.metrics.pop_back(), false);
    }

    push.key = first;
    if (cursor.atEnd())
        return cursor.refuse("no metric");
    while (!cursor.atEnd()) {
        if (!cursor.take(METRIC_SEPARATOR))
            return cursor.refuse("no metric separator");
        PerfMetric &metric = push.metrics.emplace_back();
        if (isBareTable(text.substr(cursor.offset()))) {
            metric.isTable = true;
            metric.value = text.substr(cursor.offset());
            return readTable(cursor, metric.table);
        }
        if (!readMetric(cursor, metric, error))
            return false;
    }
    return true;
}

} // namespace

std::string_view PerfTable::value(std::size_t row, std::string_view name) const {
    if (row >= rows.size())
        return {};
    for (std::size_t column = 0; column < columns.size(); ++column) {
        if (columns[column] == name)
            return rows[row][column];
    }
    return {};
}

bool fgReadPerfTable(std::string_view text, PerfTable &table, PerfTextError &error) {
    table = {};
    error = {};
    Cursor cursor(text, 0, error);
    try {
        return readTable(cursor, table);
    } catch (const std::bad_alloc &) {
        return cursor.refuse(noMemory);
    }
}

bool fgReadPerfPush(std::string_view text, PerfPush &push, PerfTextError &error) {
    push = {};
    error = {};
    try {
        return readPush(text, push, error);
    } catch (const std::bad_alloc &) {
        error.reason = noMemory;
        return false;
    }
}

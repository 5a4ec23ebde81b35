// Checks the texts that a target writes by reading them back.
#include "Ensure.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace fuzz {

namespace {

void ensureColumns(const PerfTable &table, int rows, std::initializer_list<std::string_view> textColumns) {
    ensure(rows < 0 || table.rows.size() == static_cast<std::size_t>(rows), "another number of rows");
    for (std::size_t column = 0; column < table.columns.size(); ++column) {
        if (std::find(textColumns.begin(), textColumns.end(), table.columns[column]) != textColumns.end())
            continue;
        for (const auto &row : table.rows)
            ensure(isNumber(row[column]), "a value is no number");
    }
}

void ensureRead(bool read, const PerfTextError &error, const char *text) {
    if (!read)
        std::fprintf(stderr, "refused at %zu: %s\n%s\n", error.offset, error.reason, text);
    ensure(read, "the text does not read back");
}

} // namespace

void ensure(bool holds, const char *what) {
    if (holds)
        return;
    std::fprintf(stderr, "fuzz: %s\n", what);
    std::abort();
}

bool isNumber(std::string_view value) {
    if (value == "-" || value == "inf" || value == "-inf")
        return true;
    if (value.starts_with('-'))
        value.remove_prefix(1);
    constexpr std::string_view digits = "0123456789";
    const std::size_t whole = std::min(value.find_first_not_of(digits), value.size());
    if (whole == 0)
        return false;
    value.remove_prefix(whole);
    if (value.empty())
        return true;
    return value.size() == 3 && value[0] == '.' && value.find_first_not_of(digits, 1) == std::string_view::npos;
}

PerfTable ensureTable(const char *text, int rows, std::initializer_list<std::string_view> textColumns) {
    ensure(text != nullptr, "no text");
    PerfTable table;
    PerfTextError error;
    ensureRead(fgReadPerfTable(text, table, error), error, text);
    ensureColumns(table, rows, textColumns);
    return table;
}

PerfTable ensurePushTable(const char *text, int rows, std::initializer_list<std::string_view> textColumns) {
    ensure(text != nullptr, "no text");
    PerfPush push;
    PerfTextError error;
    ensureRead(fgReadPerfPush(text, push, error), error, text);
    ensure(push.metrics.size() == 1 && push.metrics[0].isTable, "not one table");
    ensureColumns(push.metrics[0].table, rows, textColumns);
    return push.metrics[0].table;
}

void ensurePushScalars(const char *text, std::size_t metrics) {
    PerfPush push;
    PerfTextError error;
    ensureRead(fgReadPerfPush(text, push, error), error, text);
    ensure(push.metrics.size() == metrics, "another number of metrics");
    for (const PerfMetric &metric : push.metrics)
        ensure(!metric.isTable && isNumber(metric.value), "a metric is no number");
}

} // namespace fuzz

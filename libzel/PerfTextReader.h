// Reads the performance text back: splits a table or a push text into metric codes, columns and rows.
//
// Nothing is copied: every piece is a view into the text, which must outlive the result. Texts are split on the full
// three-byte separators (PerfText.h gives the layout). A text that does not keep to its layout is refused with the
// offset of the first byte that does not fit. Stateless; any thread.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

/// Why a text was refused, and where.
struct PerfTextError {
    std::size_t offset = 0;
    const char *reason = nullptr; // static text; null: no error
};

/// A table: rows hold as many values as there are columns.
struct PerfTable {
    std::vector<std::string_view> columns;
    std::vector<std::vector<std::string_view>> rows;
    bool ended = false; // the text closes with the end marker, as filesystem and process tables do

    /// The value of a row in the column `name`; empty when there is no such row or column.
    std::string_view value(std::size_t row, std::string_view name) const;
};

/// One metric of a push text: a scalar value, or a table.
struct PerfMetric {
    std::string_view code;  // "4.5.11.0"
    std::string_view value; // scalar text; the whole table text for a table
    bool isTable = false;
    PerfTable table;
};

/// A push text.
struct PerfPush {
    std::string_view key; // agent key; in the real-time process list the time of the list
    std::vector<PerfMetric> metrics;
};

/// Reads a table (what the poll operations give). True, or false with `error` set; `table` then holds what was read.
bool fgReadPerfTable(std::string_view text, PerfTable &table, PerfTextError &error);

/// Reads a push text: scalar metrics, table metrics, the CPU text (a metric without key) and the real-time process list
/// (a table without a code after its time). True, or false with `error` set.
bool fgReadPerfPush(std::string_view text, PerfPush &push, PerfTextError &error);

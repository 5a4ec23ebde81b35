// The columns of a performance text: one list that names every column and says where its value comes from. Header and
// rows are both written from it, so that they cannot differ.
//
//   constexpr zel::ColumnTable columns{
//       zel::Column{"INDEX", &Row::index},
//       zel::Column{"READCNT", [](const Row &row) { return row.disk.l_dRead_N; }},
//       zel::Column{"NAME", [](CPerfText &text, const Row &row) { text.numberedField("CPU", row.number); }},
//   };
#pragma once

#include "PerfText.h"

#include <cstddef>
#include <functional>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace zel {

/// A column: its name in the header, and a member of the row, a function of it that gives the value, or a function that
/// writes the one field itself.
template<class Value> struct Column {
    std::string_view name;
    Value value;
};
template<class Value> Column(std::string_view, Value) -> Column<Value>;

template<class... Values> class ColumnTable {
public:
    constexpr explicit ColumnTable(Column<Values>... columns) : m_columns(columns...) {}

    static constexpr std::size_t size() { return sizeof...(Values); }

    /// The names, each with its separator. Tables that follow one another make one header.
    void writeHeader(CPerfText &text) const {
        std::apply([&](const auto &...column) { (text.column(column.name), ...); }, m_columns);
    }

    /// The values of one row. The caller has begun the row.
    template<class Row> void writeFields(CPerfText &text, const Row &row) const {
        std::apply([&](const auto &...column) { (writeField(text, column.value, row), ...); }, m_columns);
    }

private:
    template<class Value, class Row> static void writeField(CPerfText &text, const Value &value, const Row &row) {
        if constexpr (std::is_invocable_v<const Value &, CPerfText &, const Row &>)
            std::invoke(value, text, row);
        else
            text.field(std::invoke(value, row));
    }

    std::tuple<Column<Values>...> m_columns;
};

} // namespace zel

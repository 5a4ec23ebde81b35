// Makes tables of sections: which columns, which rows, in which order. A sink of the walks (export/Walk.h).
#pragma once

#include "zel/SectionRows.h"
#include "zel/Table.h"
#include "zel/Views.h"

#include <string>
#include <string_view>
#include <vector>

namespace zel {

struct TableChoice {
    bool everything;                                 // every field of every row
    bool overview;                                   // long tables are cut, quiet ones left out
    const View *(*viewOf)(std::string_view section); // null where a section has no view
};

class TableSink {
public:
    TableSink(const TableChoice &choice, const Style &style, std::string &out)
        : m_choice(choice), m_style(style), m_out(out) {}

    void beginSection(std::string_view name, bool list) { m_rows = SectionRows(name, list); }
    void beginRow() {}
    void field(const Family &family, const Value &value) { m_rows.add(family, value); }
    void endRow() {}
    void endSection();

private:
    // One column of a table: a field, or what is made of several.
    struct Placed {
        const ViewColumn *column;
        std::size_t field;
    };

    bool isOverview() const { return m_choice.overview; }
    void startBlock();
    void writeEverything();
    void writePlain();
    void writeNamedCells(const View &view);
    void writeNothing(const View &view);
    std::vector<Placed> place(const View &view) const;
    bool isText(const Placed &placed) const;
    std::vector<std::size_t> chooseRows(const View &view, std::vector<std::string> &remarks) const;
    void sort(const View &view, std::vector<std::size_t> &rows) const;
    std::vector<Cell> totalsRow(const std::vector<Placed> &columns) const;
    void writeTable(const View &view);
    Cell cellOf(const Placed &placed, const RowValues &row) const;

    TableChoice m_choice;
    Style m_style;
    std::string &m_out;
    SectionRows m_rows, m_totals;
};

} // namespace zel

// Makes tables of sections.
#include "zel/TableSink.h"

#include "zel/Units.h"

#include <algorithm>
#include <optional>

namespace zel {

namespace {

constexpr std::string_view nothing = "none";
constexpr std::string_view noValue = "-"; // as cells that are made of several fields have it

bool isZero(const Value &value) {
    return (value.type() == Value::Type::Unsigned || value.type() == Value::Type::Real) && value.asReal() == 0;
}

Tone toneOf(const ViewColumn &column, const Value &value) {
    if (!value.has())
        return value.absence() == Absence::TimedOut || value.absence() == Absence::Malformed ? Tone::Alarm
                                                                                             : Tone::Quiet;
    if (value.type() == Value::Type::Text)
        return Tone::Plain;
    if (column.alarm > 0 && value.asReal() >= column.alarm)
        return Tone::Alarm;
    if (column.warning > 0 && value.asReal() >= column.warning)
        return Tone::Warning;
    return isZero(value) ? Tone::Quiet : Tone::Plain;
}

std::optional<std::size_t> fieldNamed(const SectionRows &rows, std::string_view name) {
    for (std::size_t field = 0; field < rows.families().size(); ++field) {
        if (rows.families()[field]->name == name)
            return field;
    }
    return std::nullopt;
}

// What this host has none of, or has not shown yet. A reason that somebody can do something about is worth a column.
bool isAbsent(const SectionRows &rows, std::size_t field) {
    for (std::size_t row = 0; row < rows.size(); ++row) {
        const Value &value = rows.at(row, field);
        if (value.has() || (value.absence() != Absence::Unsupported && value.absence() != Absence::NotYet))
            return false;
    }
    return true;
}

} // namespace

Cell TableSink::cellOf(const Placed &placed, const RowValues &row) const {
    const Value &value = row.at(placed.field);
    if (placed.column->derive != nullptr) {
        Cell derived = placed.column->derive(row, m_style);
        if (value.has() || derived.text != noValue)
            return derived; // else the field says why there is none
    }
    return {valueText(*row.section().families()[placed.field], value, m_style.charset), toneOf(*placed.column, value)};
}

void TableSink::endSection() {
    const View *view = m_choice.viewOf(m_rows.name());
    if (m_choice.everything)
        return writeEverything();
    if (view == nullptr)
        return writePlain();
    if (isOverview() && view->inHeadLine)
        return;
    if (view->layout == View::Layout::TotalsNext) {
        m_totals = std::move(m_rows);
        return;
    }
    if (view->layout == View::Layout::Pairs)
        writeNamedCells(*view);
    else
        writeTable(*view);
    m_totals = SectionRows();
}

void TableSink::startBlock() {
    if (!m_out.empty())
        m_out += '\n';
}

// Every field under the name that JSON and CSV give it, row by row.
void TableSink::writeEverything() {
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        std::string heading(m_rows.name());
        std::vector<NamedCell> pairs;
        for (std::size_t field = 0; field < m_rows.families().size(); ++field) {
            const Family &family = *m_rows.families()[field];
            const Value &value = m_rows.at(row, field);
            Cell cell{valueText(family, value, m_style.charset), toneOf(ViewColumn{}, value)};
            if (family.kind == Kind::Label)
                heading += ' ' + cell.text;
            else
                pairs.push_back({std::string(family.name), std::move(cell)});
        }
        startBlock();
        writePairs(heading, pairs, m_style, m_out);
    }
}

// A section that nobody made a list for.
void TableSink::writePlain() {
    std::vector<ViewColumn> columns;
    for (const Family *family : m_rows.families())
        columns.push_back({.title = family->name, .field = family->name});
    const View view{.section = m_rows.name(),
                    .heading = m_rows.name(),
                    .layout = m_rows.isList() ? View::Layout::Table : View::Layout::Pairs,
                    .columns = columns};
    if (m_rows.isList())
        writeTable(view);
    else
        writeNamedCells(view);
}

void TableSink::writeNamedCells(const View &view) {
    std::vector<NamedCell> pairs;
    for (const ViewColumn &column : view.columns) {
        const std::optional<std::size_t> field = fieldNamed(m_rows, column.field);
        if (m_rows.size() > 0 && field && !isAbsent(m_rows, *field))
            pairs.push_back({std::string(column.title), cellOf({&column, *field}, RowValues(m_rows, 0))});
    }
    if (pairs.empty() && (isOverview() || view.onlyWithRows))
        return;
    startBlock();
    if (pairs.empty())
        return writeNothing(view);
    writePairs(view.heading, pairs, m_style, m_out);
}

void TableSink::writeNothing(const View &view) {
    Table table(std::string(view.heading), {});
    table.remark(nothing);
    table.write(m_style, m_out);
}

std::vector<TableSink::Placed> TableSink::place(const View &view) const {
    std::vector<Placed> placed;
    for (const ViewColumn &column : view.columns) {
        const std::optional<std::size_t> field = fieldNamed(m_rows, column.field);
        if (field && !isAbsent(m_rows, *field))
            placed.push_back({&column, *field});
    }
    return placed;
}

bool TableSink::isText(const Placed &placed) const {
    if (placed.column->derive != nullptr)
        return placed.column->isText;
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        if (m_rows.at(row, placed.field).has())
            return m_rows.at(row, placed.field).type() == Value::Type::Text;
    }
    return false;
}

// The rows that are shown, and in which order; `table` says what is not.
std::vector<std::size_t> TableSink::chooseRows(const View &view, std::vector<std::string> &remarks) const {
    std::vector<std::size_t> chosen;
    std::size_t hidden = 0, hiddenHere = 0;
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        const RowValues values(m_rows, row);
        if (view.hides != nullptr && view.hides(values))
            ++hidden;
        else if (isOverview() && view.overviewHides != nullptr && view.overviewHides(values))
            ++hiddenHere;
        else
            chosen.push_back(row);
    }
    sort(view, chosen);
    if (isOverview() && view.overviewRows > 0 && chosen.size() > view.overviewRows) {
        remarks.push_back(std::to_string(view.overviewRows) + " of " + std::to_string(chosen.size()) + ", zel show " +
                          std::string(areaName(m_rows.families()[0]->area)) + " has all");
        chosen.resize(view.overviewRows);
    }
    if (hidden > 0)
        remarks.push_back(std::to_string(hidden) + ' ' + std::string(view.hidden) + " not shown");
    if (hiddenHere > 0)
        remarks.push_back(std::to_string(hiddenHere) + ' ' + std::string(view.overviewHidden) + " not shown");
    return chosen;
}

// By both keys of the view, the largest first; without rates there is one only.
void TableSink::sort(const View &view, std::vector<std::size_t> &rows) const {
    for (const std::string_view name : {view.orderWithoutRates, view.order}) {
        const std::optional<std::size_t> field = fieldNamed(m_rows, name);
        if (!field)
            continue;
        const auto key = [&](std::size_t row) {
            const Value &value = m_rows.at(row, *field);
            return value.has() ? value.asReal() : -1;
        };
        std::stable_sort(rows.begin(), rows.end(),
                         [&](std::size_t one, std::size_t other) { return key(one) > key(other); });
    }
}

// The same columns of the section that holds the totals; blank where it has none.
std::vector<Cell> TableSink::totalsRow(const std::vector<Placed> &columns) const {
    std::vector<Cell> cells;
    for (const Placed &placed : columns) {
        const std::optional<std::size_t> field = fieldNamed(m_totals, placed.column->field);
        if (cells.empty())
            cells.push_back({"all", Tone::Strong});
        else
            cells.push_back(field ? cellOf({placed.column, *field}, RowValues(m_totals, 0)) : Cell{});
    }
    return cells;
}

void TableSink::writeTable(const View &view) {
    if (m_rows.size() == 0)
        std::swap(m_rows, m_totals);
    std::vector<std::string> remarks;
    const std::vector<std::size_t> rows = chooseRows(view, remarks);
    const std::vector<Placed> columns = place(view);
    if (isOverview() && (rows.size() < view.overviewLeast || columns.empty()))
        return;
    if (view.onlyWithRows && m_rows.size() == 0)
        return;
    std::vector<Table::Column> titles;
    for (const Placed &placed : columns)
        titles.push_back({std::string(placed.column->title), isText(placed), placed.column->stays});
    Table table(std::string(view.heading), std::move(titles));
    if (rows.empty() || columns.empty())
        table.remark(nothing);
    for (const std::string &remark : remarks)
        table.remark(remark);
    if (m_totals.size() > 0 && !columns.empty())
        table.add(totalsRow(columns));
    for (const std::size_t row : rows) {
        std::vector<Cell> cells;
        for (const Placed &placed : columns)
            cells.push_back(cellOf(placed, RowValues(m_rows, row)));
        table.add(std::move(cells));
    }
    startBlock();
    table.write(m_style, m_out);
}

} // namespace zel

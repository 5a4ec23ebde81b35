// Makes tables of the sections of a sample: which columns, which rows, in which order.
#include "zel/SampleTables.h"

#include "export/Walk.h"
#include "zel/TableSink.h"
#include "zel/Units.h"

#include <algorithm>

namespace zel {

namespace {

constexpr std::int64_t nanosecondsPerSecond = 1000000000;

// One column of a table: a field, or what is made of several.
struct Placed {
    const ViewColumn *column;
    std::size_t field;
};

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

bool isAbsent(const SectionRows &rows, std::size_t field) {
    for (std::size_t row = 0; row < rows.size(); ++row) {
        const Value &value = rows.at(row, field);
        if (value.has() || value.absence() == Absence::TimedOut)
            return false;
    }
    return true;
}

Cell cellOf(const Placed &placed, const RowValues &row, const Style &style) {
    if (placed.column->derive != nullptr)
        return placed.column->derive(row, style);
    const Value &value = row.at(placed.field);
    return {valueText(*row.section().families()[placed.field], value, style.charset), toneOf(*placed.column, value)};
}

class TableSink {
public:
    TableSink(const Shown &shown, const Style &style, std::string &out) : m_shown(shown), m_style(style), m_out(out) {}

    void beginSection(std::string_view name, bool list) { m_rows = SectionRows(name, list); }
    void beginRow() {}
    void field(const Family &family, const Value &value) { m_rows.add(family, value); }
    void endRow() {}
    void endSection() {
        const View *view = viewOf(m_rows.name());
        if (m_shown.everything)
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

private:
    bool isOverview() const { return m_shown.areas.empty(); }

    void startBlock() {
        if (!m_out.empty())
            m_out += '\n';
    }

    // Every field under the name that JSON and CSV give it, row by row.
    void writeEverything() {
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
    void writePlain() {
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

    void writeNamedCells(const View &view) {
        std::vector<NamedCell> pairs;
        for (const ViewColumn &column : view.columns) {
            const std::optional<std::size_t> field = fieldNamed(m_rows, column.field);
            if (m_rows.size() > 0 && field && !isAbsent(m_rows, *field))
                pairs.push_back({std::string(column.title), cellOf({&column, *field}, RowValues(m_rows, 0), m_style)});
        }
        if (pairs.empty() && isOverview())
            return;
        startBlock();
        writePairs(view.heading, pairs, m_style, m_out);
    }

    std::vector<Placed> place(const View &view) const {
        std::vector<Placed> placed;
        for (const ViewColumn &column : view.columns) {
            const std::optional<std::size_t> field = fieldNamed(m_rows, column.field);
            if (field && !isAbsent(m_rows, *field))
                placed.push_back({&column, *field});
        }
        return placed;
    }

    bool isText(const Placed &placed) const {
        if (placed.column->derive != nullptr)
            return placed.column->isText;
        for (std::size_t row = 0; row < m_rows.size(); ++row) {
            if (m_rows.at(row, placed.field).has())
                return m_rows.at(row, placed.field).type() == Value::Type::Text;
        }
        return false;
    }

    // The rows that are shown, and in which order; `table` says what is not.
    std::vector<std::size_t> chooseRows(const View &view, std::vector<std::string> &remarks) const {
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
            remarks.push_back(std::to_string(view.overviewRows) + " of " + std::to_string(chosen.size()) +
                              ", zel show " + std::string(areaName(m_rows.families()[0]->area)) + " has all");
            chosen.resize(view.overviewRows);
        }
        if (hidden > 0)
            remarks.push_back(std::to_string(hidden) + ' ' + std::string(view.hidden) + " not shown");
        if (hiddenHere > 0)
            remarks.push_back(std::to_string(hiddenHere) + ' ' + std::string(view.overviewHidden) + " not shown");
        return chosen;
    }

    // By both keys of the view, the largest first; without rates there is one only.
    void sort(const View &view, std::vector<std::size_t> &rows) const {
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
    std::vector<Cell> totalsRow(const std::vector<Placed> &columns) const {
        std::vector<Cell> cells;
        for (const Placed &placed : columns) {
            const std::optional<std::size_t> field = fieldNamed(m_totals, placed.column->field);
            if (cells.empty())
                cells.push_back({"all", Tone::Strong});
            else
                cells.push_back(field ? cellOf({placed.column, *field}, RowValues(m_totals, 0), m_style) : Cell{});
        }
        return cells;
    }

    void writeTable(const View &view) {
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
            table.remark("none");
        for (const std::string &remark : remarks)
            table.remark(remark);
        if (m_totals.size() > 0 && !columns.empty())
            table.add(totalsRow(columns));
        for (const std::size_t row : rows) {
            std::vector<Cell> cells;
            for (const Placed &placed : columns)
                cells.push_back(cellOf(placed, RowValues(m_rows, row), m_style));
            table.add(std::move(cells));
        }
        startBlock();
        table.write(m_style, m_out);
    }

    const Shown &m_shown;
    const Style &m_style;
    std::string &m_out;
    SectionRows m_rows, m_totals;
};

std::string localTime(std::int64_t nanoseconds) {
    const std::time_t seconds = nanoseconds / nanosecondsPerSecond;
    std::tm parts{};
    char text[64];
    if (localtime_r(&seconds, &parts) == nullptr || std::strftime(text, sizeof(text), "%F %T %Z", &parts) == 0)
        return {};
    return text;
}

// When, which host, and over which time.
std::string headLine(const Sample &sample, const Rates *rates, const Style &style) {
    std::string line = localTimeText(sample.realtimeNanoseconds);
    const Identity &host = sample.identity;
    if (sample.area(Area::Identity).asked) {
        for (const Reading<std::string> *text : {&host.hostName, &host.osPrettyName, &host.kernelRelease})
            line += text->has() ? "  " + displayText(text->value(), style.charset) : "";
        line += host.uptimeSeconds ? "  up " + secondsText(*host.uptimeSeconds, style.charset) : "";
    }
    if (rates != nullptr)
        line += "  rates over " + secondsText(rates->seconds, style.charset);
    return style.width > 0 ? cutText(line, style.width, style.charset) : line;
}

} // namespace

bool needRates(const Shown &shown) {
    bool need = false;
    forEachSection([&]<class Row>(const Section<Row> &section) {
        if (need || !isShown(shown.areas, section.area))
            return;
        const View *view = viewOf(section.name);
        forEachFamily<Row>(true, [&](const Family &family) {
            bool isRate = true;
            forEachFamily<Row>(false, [&](const Family &plain) { isRate = isRate && plain.name != family.name; });
            const auto shows = [&](const ViewColumn &column) { return column.field == family.name; };
            if (isRate)
                need = need || shown.everything || view == nullptr ||
                       std::any_of(view->columns.begin(), view->columns.end(), shows);
        });
    });
    return need;
}

void writeTables(const Sample &sample, const Rates *rates, const Shown &shown, const Style &style, std::string &out) {
    std::string tables;
    TableSink sink({shown.everything, shown.areas.empty(), viewOf}, style, tables);
    walk(sample, rates, shown.areas, sink);
    appendToned(out, headLine(sample, rates, style), Tone::Quiet, style);
    out += tables.empty() ? "\n" : "\n\n";
    out += tables;
}

} // namespace zel

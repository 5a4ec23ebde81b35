// Lays tables out and writes them.
#include "zel/Table.h"

#include <algorithm>

namespace zel {

namespace {

constexpr std::size_t indent = 2, gap = 2;
constexpr std::size_t narrowestText = 20; // what a cut text keeps at least
constexpr std::size_t pairGap = 4;
constexpr std::size_t pairLine = 100; // of pairs, when the output has no width

std::string_view colourOf(Tone tone) {
    switch (tone) {
    case Tone::Plain:
        return "";
    case Tone::Quiet:
        return "\033[2m";
    case Tone::Strong:
        return "\033[1m";
    case Tone::Warning:
        return "\033[33m";
    case Tone::Alarm:
        return "\033[1;31m";
    }
    return "";
}

void appendPadded(std::string &out, const Cell &cell, std::size_t width, bool isText, bool isLast, const Style &style) {
    const std::string text = cutText(cell.text, width, style.charset);
    const std::size_t room = width - displayWidth(text);
    if (!isText)
        out.append(room, ' ');
    appendToned(out, text, cell.tone, style);
    if (isText && !isLast)
        out.append(room, ' ');
}

void writeHeading(std::string_view heading, std::string_view remarks, const Style &style, std::string &out) {
    appendToned(out, heading, Tone::Strong, style);
    if (!remarks.empty()) {
        out += "  ";
        const std::size_t used = heading.size() + 2;
        const bool fits = style.width == 0 || used + remarks.size() <= style.width || style.width <= used;
        appendToned(out, fits ? std::string(remarks) : cutText(remarks, style.width - used, style.charset), Tone::Quiet,
                    style);
    }
    out += '\n';
}

} // namespace

void appendToned(std::string &out, std::string_view text, Tone tone, const Style &style) {
    const bool coloured = style.colours && tone != Tone::Plain && !text.empty();
    if (coloured)
        out += colourOf(tone);
    out += text;
    if (coloured)
        out += "\033[0m";
}

struct Table::Layout {
    std::vector<std::size_t> widths; // 0: left out
    std::size_t leftOut = 0;

    std::size_t total() const {
        std::size_t sum = indent;
        for (const std::size_t width : widths)
            sum += width > 0 ? width + gap : 0;
        return sum - gap;
    }
};

void Table::remark(std::string_view text) {
    if (!m_remarks.empty())
        m_remarks += "; ";
    m_remarks += text;
}

Table::Layout Table::layOut(const Style &style) const {
    Layout layout;
    for (std::size_t column = 0; column < m_columns.size(); ++column) {
        std::size_t width = std::max<std::size_t>(displayWidth(m_columns[column].title), 1);
        for (const std::vector<Cell> &row : m_rows)
            width = std::max(width, displayWidth(row[column].text));
        layout.widths.push_back(width);
    }
    if (style.width == 0)
        return layout;
    const auto narrowest = [&](std::size_t column) {
        return std::min(layout.widths[column], std::max(narrowestText, displayWidth(m_columns[column].title)));
    };
    // How wide the table is when every text is cut as far as may be.
    const auto least = [&] {
        std::size_t sum = layout.total();
        for (std::size_t column = 0; column < m_columns.size(); ++column)
            sum -=
                m_columns[column].isText && layout.widths[column] > 0 ? layout.widths[column] - narrowest(column) : 0;
        return sum;
    };
    for (std::size_t column = m_columns.size(); column-- > 1 && least() > style.width;) {
        if (m_columns[column].stays)
            continue;
        layout.widths[column] = 0;
        ++layout.leftOut;
    }
    while (layout.total() > style.width) {
        std::size_t longest = m_columns.size();
        for (std::size_t column = 0; column < m_columns.size(); ++column) {
            const bool shrinks = m_columns[column].isText && layout.widths[column] > narrowest(column);
            if (shrinks && (longest == m_columns.size() || layout.widths[column] > layout.widths[longest]))
                longest = column;
        }
        if (longest == m_columns.size())
            break;
        --layout.widths[longest];
    }
    return layout;
}

void Table::writeLine(const std::vector<Cell> &cells, const Layout &layout, const Style &style,
                      std::string &out) const {
    std::size_t last = 0;
    for (std::size_t column = 0; column < cells.size(); ++column)
        last = layout.widths[column] > 0 ? column : last;
    out.append(indent, ' ');
    for (std::size_t column = 0; column <= last; ++column) {
        if (layout.widths[column] == 0)
            continue;
        appendPadded(out, cells[column], layout.widths[column], m_columns[column].isText, column == last, style);
        if (column < last)
            out.append(gap, ' ');
    }
    out += '\n';
}

void Table::write(const Style &style, std::string &out) const {
    const Layout layout = layOut(style);
    std::string remarks = m_remarks;
    if (layout.leftOut > 0) {
        remarks += remarks.empty() ? "" : "; ";
        remarks += std::to_string(layout.leftOut) +
                   (layout.leftOut == 1 ? " column does not fit (--wide)" : " columns do not fit (--wide)");
    }
    writeHeading(m_heading, remarks, style, out);
    if (m_columns.empty() || m_rows.empty())
        return;
    std::vector<Cell> titles;
    for (const Column &column : m_columns)
        titles.push_back({column.title, Tone::Quiet});
    writeLine(titles, layout, style, out);
    for (const std::vector<Cell> &row : m_rows)
        writeLine(row, layout, style, out);
}

namespace {

// How wide names and values of each column of pairs are, when they are written in `columns` of them.
struct PairWidths {
    std::vector<std::size_t> names, values;
    std::size_t rows;

    PairWidths(const std::vector<NamedCell> &pairs, std::size_t columns)
        : names(columns), values(columns), rows((pairs.size() + columns - 1) / columns) {
        for (std::size_t index = 0; index < pairs.size(); ++index) {
            const std::size_t column = index / rows;
            names[column] = std::max(names[column], displayWidth(pairs[index].name));
            values[column] = std::max(values[column], displayWidth(pairs[index].value.text));
        }
    }
    std::size_t total() const {
        std::size_t sum = indent;
        for (std::size_t column = 0; column < names.size(); ++column)
            sum += names[column] > 0 ? names[column] + gap + values[column] + pairGap : 0;
        return sum - pairGap;
    }
};

} // namespace

void writePairs(std::string_view heading, const std::vector<NamedCell> &pairs, const Style &style, std::string &out) {
    const std::size_t line = style.width > 0 ? style.width : pairLine;
    writeHeading(heading, pairs.empty() ? "none" : "", style, out);
    if (pairs.empty())
        return;
    std::size_t columns = pairs.size();
    while (columns > 1 && PairWidths(pairs, columns).total() > line)
        --columns;
    const PairWidths widths(pairs, columns);
    for (std::size_t row = 0; row < widths.rows; ++row) {
        out.append(indent, ' ');
        for (std::size_t column = 0, index = row; index < pairs.size(); ++column, index += widths.rows) {
            const bool isLast = index + widths.rows >= pairs.size();
            const std::size_t used = indent + widths.names[column] + gap;
            const std::size_t room = columns == 1 && style.width > used ? std::min(widths.values[0], style.width - used)
                                                                        : widths.values[column];
            appendPadded(out, {pairs[index].name, Tone::Quiet}, widths.names[column], true, false, style);
            out.append(gap, ' ');
            appendPadded(out, pairs[index].value, std::max<std::size_t>(room, 1), columns == 1, isLast, style);
            out.append(isLast ? 0 : pairGap, ' ');
        }
        out += '\n';
    }
}

} // namespace zel

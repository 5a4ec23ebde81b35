// Tables for people: a heading, titles, aligned cells. On a narrow terminal the longest texts are cut first, then
// columns are left out, the last ones first; the heading says how many.
#pragma once

#include "zel/DisplayText.h"

#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// How the reader sees a table.
struct Style {
    Charset charset = Charset::Ascii;
    bool colours = false;
    std::size_t width = 0; // of a line; 0: as long as it gets
};

enum class Tone : unsigned char { Plain, Quiet, Strong, Warning, Alarm };

/// A text of displayText(), and how it is coloured.
struct Cell {
    std::string text;
    Tone tone = Tone::Plain;
};

/// Appends a text in its colour.
void appendToned(std::string &out, std::string_view text, Tone tone, const Style &style);

class Table {
public:
    struct Column {
        std::string title;
        bool isText = false; // to the left, and may be cut; numbers are to the right
        bool stays = false;  // never left out
    };

    Table(std::string heading, std::vector<Column> columns)
        : m_heading(std::move(heading)), m_columns(std::move(columns)) {}

    /// As many cells as there are columns.
    void add(std::vector<Cell> row) { m_rows.push_back(std::move(row)); }
    /// What is said after the heading.
    void remark(std::string_view text);
    void write(const Style &style, std::string &out) const;

private:
    struct Layout;

    Layout layOut(const Style &style) const;
    void writeLine(const std::vector<Cell> &cells, const Layout &layout, const Style &style, std::string &out) const;

    std::string m_heading;
    std::string m_remarks;
    std::vector<Column> m_columns;
    std::vector<std::vector<Cell>> m_rows;
};

/// Names with their values, side by side in as many columns as fit.
struct NamedCell {
    std::string name;
    Cell value;
};
void writePairs(std::string_view heading, const std::vector<NamedCell> &pairs, const Style &style, std::string &out);

} // namespace zel

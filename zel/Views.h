// What of each section a person wants to see: the columns, their titles and their order. One list per section; what it
// does not name is shown by --all. A section without a list shows every field.
#pragma once

#include "zel/SectionRows.h"
#include "zel/Table.h"

#include <span>
#include <string_view>
#include <vector>

namespace zel {

struct ViewColumn {
    std::string_view title;
    std::string_view field; // of the schema, or of its rates; a column that the sample does not give is left out
    double warning = 0;     // from this value on; 0: never
    double alarm = 0;
    bool stays = false; // on a narrow terminal too
    /// A cell made of several fields, in the place of `field`, without any value of which there is no column.
    Cell (*derive)(const RowValues &row, const Style &style) = nullptr;
    bool isText = false; // what is derived
};

struct View {
    enum class Layout : unsigned char {
        Table,
        Pairs,     // names with their values
        TotalsNext // the first row of the section that follows
    };
    std::string_view section;
    std::string_view heading;
    Layout layout = Layout::Table;
    std::span<const ViewColumn> columns = {};
    /// The field whose largest values come first, and the one that decides between equals and without rates.
    std::string_view order = {};
    std::string_view orderWithoutRates = {};
    bool onlyWithRows = false;                             // says nothing where it has none, even when it was named
    std::size_t overviewLeast = 1;                         // fewer rows say nothing new when no area was named
    std::size_t overviewRows = 0;                          // how many are shown when no area was named; 0: all
    bool (*hides)(const RowValues &row) = nullptr;         // rows that only --all shows
    std::string_view hidden = {};                          // what they are
    bool (*overviewHides)(const RowValues &row) = nullptr; // and those that are left out when no area was named
    std::string_view overviewHidden = {};
    bool inHeadLine = false; // the first line of an overview says it already
};

/// Null when the section has none.
const View *viewOf(std::string_view section);
std::vector<const View *> allViews();

} // namespace zel

// The performance text in both directions: any bytes are read or refused without harm, and whatever values are written,
// the text reads back with as many rows and the values with their separator bytes as blanks.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "PerfText.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

std::string neutralised(std::string value) {
    std::replace(value.begin(), value.end(), '\x03', ' ');
    std::replace(value.begin(), value.end(), '\x1F', ' ');
    std::replace(value.begin(), value.end(), '\0', ' ');
    return value;
}

void ensureInside(std::string_view whole, std::string_view part) {
    fuzz::ensure(part.data() == nullptr ||
                     (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size()),
                 "a value that does not stand in the text");
}

void ensureTable(std::string_view text, const PerfTable &table) {
    for (const auto &row : table.rows) {
        fuzz::ensure(row.size() == table.columns.size(), "a row of another length than its header");
        for (const std::string_view value : row)
            ensureInside(text, value);
    }
}

void readAny(const std::string &text) {
    PerfTable table;
    PerfTextError error;
    const bool read = fgReadPerfTable(text, table, error);
    fuzz::ensure(read == (error.reason == nullptr) && error.offset <= text.size(), "a verdict without its place");
    ensureTable(text, table);
    PerfPush push;
    fuzz::ensure(fgReadPerfPush(text, push, error) == (error.reason == nullptr) && error.offset <= text.size(),
                 "a verdict without its place");
    for (const PerfMetric &metric : push.metrics)
        ensureTable(text, metric.table);
}

} // namespace

FUZZ_TARGET(perf_text_fuzz) {
    const unsigned options = input.byte();
    readAny(input.piece());

    int size = static_cast<int>(options & 15);
    char *buffer = fgNewTextBuffer(size);
    std::vector<std::string> values;
    {
        CPerfText text(buffer, size);
        text.clear();
        text.header({"NUMBER", "TEXT", "RATE"});
        while (!input.atEnd()) {
            values.push_back(input.piece());
            text.beginRow();
            text.field(static_cast<int>(values.size()));
            text.field(std::string_view(values.back()));
            text.field(std::strtod(values.back().c_str(), nullptr) / 3);
        }
        if ((options & 16) != 0)
            text.endMarker();
        fuzz::ensure(!text.incomplete(), "memory was short");
    }
    PerfTable table;
    PerfTextError error;
    fuzz::ensure(fgReadPerfTable(buffer, table, error), "what was written does not read back");
    fuzz::ensure(table.rows.size() == values.size(), "another number of rows");
    for (std::size_t row = 0; row < values.size(); ++row)
        fuzz::ensure(table.rows[row][1] == neutralised(values[row]), "another value");
    std::free(buffer);
}

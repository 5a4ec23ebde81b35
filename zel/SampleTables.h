// A sample, or its rates, as tables for people.
#pragma once

#include "host/Rates.h"
#include "zel/Table.h"

#include <span>
#include <string>

namespace zel {

struct Shown {
    std::span<const Area> areas = {}; // empty: an overview of all, whose long tables are cut
    bool everything = false;          // every field of every row
};

/// Whether the tables have columns that only rates fill: without any, nobody has to wait for a second sample.
bool needRates(const Shown &shown);

/// Appends the tables; `rates` may be null: then counters are shown as they are.
void writeTables(const Sample &sample, const Rates *rates, const Shown &shown, const Style &style, std::string &out);

} // namespace zel

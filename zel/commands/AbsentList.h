// What `zel list --absent` writes.
#pragma once

#include "host/Sample.h"
#include "zel/Table.h"
#include "zel/commands/Commands.h"

#include <string>

namespace zel {

/// How the lacks of a sample are written. JSON and CSV have a line for each family; the table has one for what shares
/// the reason and what would give it, with the names of the first ones.
struct AbsentOutput {
    Format format = Format::Table;
    std::string root = {}; // of the sample
    Style style = {};
};

/// Appends what the areas that the sample was asked for have no value of.
void writeAbsent(const Sample &sample, const AbsentOutput &output, std::string &out);

} // namespace zel

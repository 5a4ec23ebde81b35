// The commands, and what several of them take.
#pragma once

#include "host/Schema.h"
#include "zel/CommandLine.h"

#include <optional>
#include <string>
#include <vector>

namespace zel {

extern const Command showCommand;
extern const Command listCommand;

enum class Format : unsigned char { Table, Json, Csv };

/// Areas by their names; `problem` says which name is none, and what would be one.
std::vector<Area> readAreas(const std::vector<std::string> &names, std::string &problem);
/// A table when nothing was asked for.
Format readFormat(const std::optional<std::string> &name, std::string &problem);

} // namespace zel

// The commands, and what several of them take.
#pragma once

#include "host/Schema.h"
#include "zel/CommandLine.h"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zel {

extern const Command showCommand;
extern const Command listCommand;
extern const Command hardwareCommand;
extern const Command serveCommand;
extern const Command checkCommand;

enum class Format : unsigned char { Table, Json, Csv, OpenMetrics, Line };

/// Areas by their names; `problem` says which name is none, and what would be one.
std::vector<Area> readAreas(const std::vector<std::string> &names, std::string &problem);
/// The places of words among those that are known, each once; `problem` says which is none of the `kind`, and what
/// would be one.
std::vector<std::size_t> readNames(const std::vector<std::string> &words, std::span<const std::string_view> known,
                                   std::string_view kind, std::string &problem);

inline constexpr std::array<std::string_view, 5> FORMATS{"table", "json", "csv", "openmetrics", "line"}; // by Format
/// A table when nothing was asked for.
Format readFormat(const std::optional<std::string> &name, std::string &problem,
                  std::span<const std::string_view> known = FORMATS);

} // namespace zel

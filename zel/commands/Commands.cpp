// The list of commands, and reading what several of them take.
#include "zel/commands/Commands.h"

#include "zel/Words.h"

#include <algorithm>
#include <array>

namespace zel {

namespace {

constexpr const Command *commands[] = {&showCommand, &listCommand};

constexpr std::array<std::string_view, 3> formats{"table", "json", "csv"}; // by Format

std::vector<std::string_view> areaNames() {
    std::vector<std::string_view> names;
    for (std::size_t area = 0; area < AREA_COUNT; ++area)
        names.push_back(areaName(static_cast<Area>(area)));
    return names;
}

} // namespace

std::span<const Command *const> allCommands() {
    return commands;
}

std::vector<Area> readAreas(const std::vector<std::string> &names, std::string &problem) {
    const std::vector<std::string_view> known = areaNames();
    std::vector<Area> areas;
    for (const std::string &name : names) {
        const auto found = std::find(known.begin(), known.end(), name);
        if (found == known.end()) {
            problem =
                "there is no area " + inQuotes(name) + suggestion(name, known) + " (areas: " + listed(known) + ")";
            return {};
        }
        const auto area = static_cast<Area>(found - known.begin());
        if (std::find(areas.begin(), areas.end(), area) == areas.end())
            areas.push_back(area);
    }
    return areas;
}

Format readFormat(const std::optional<std::string> &name, std::string &problem) {
    if (!name)
        return Format::Table;
    const auto *found = std::find(formats.begin(), formats.end(), *name);
    if (found == formats.end())
        problem = "there is no format " + inQuotes(*name) + suggestion(*name, formats) +
                  " (formats: " + listed(formats) + ")";
    return static_cast<Format>(found - formats.begin());
}

} // namespace zel

// The list of commands, and reading what several of them take.
#include "zel/commands/Commands.h"

#include "zel/Words.h"

#include <algorithm>

namespace zel {

namespace {

constexpr const Command *commands[] = {&showCommand, &listCommand, &hardwareCommand, &serveCommand, &checkCommand};

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

std::vector<std::size_t> readNames(const std::vector<std::string> &words, std::span<const std::string_view> known,
                                   std::string_view kind, std::string &problem) {
    std::vector<std::size_t> places;
    for (const std::string &word : words) {
        const auto found = std::find(known.begin(), known.end(), word);
        if (found == known.end()) {
            const std::string name(kind);
            problem = "there is no " + name + ' ' + inQuotes(word) + suggestion(word, known) + " (" + name +
                      "s: " + listed(known) + ")";
            return {};
        }
        const auto place = static_cast<std::size_t>(found - known.begin());
        if (std::find(places.begin(), places.end(), place) == places.end())
            places.push_back(place);
    }
    return places;
}

std::vector<Area> readAreas(const std::vector<std::string> &names, std::string &problem) {
    std::vector<Area> areas;
    for (const std::size_t place : readNames(names, areaNames(), "area", problem))
        areas.push_back(static_cast<Area>(place));
    return areas;
}

Format readFormat(const std::optional<std::string> &name, std::string &problem,
                  std::span<const std::string_view> known) {
    if (!name)
        return Format::Table;
    const std::vector<std::size_t> places = readNames({*name}, known, "format", problem);
    return places.empty() ? Format::Table : static_cast<Format>(places[0]);
}

} // namespace zel

// What `zel show` was asked for.
#pragma once

#include "zel/commands/Commands.h"

#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace zel {

struct ShowRequest {
    std::vector<Area> areas; // empty: all
    Format format = Format::Table;
    std::string root;
    bool rates = false;
    bool wide = false;
    bool everything = false;
    std::uint64_t count = 1; // 0: until the program is ended
    std::chrono::milliseconds interval{};
    std::chrono::milliseconds deadline{};
};

std::span<const OptionEntry> showOptions();

/// What is wrong with the values of the options.
std::string problemOfShow(const Arguments &arguments);

/// Nothing is read but whether the root is a directory. `problem` says what is wrong and what would be right. The
/// arguments are those that were given, and those of the configuration.
ShowRequest readShowRequest(const Arguments &arguments, const Arguments &given, std::string &problem);

} // namespace zel

// A configuration text, taken apart: tables, keys and values, each with its place. What they mean is not known here.
//
// Nothing but memory that cannot be had is an exception. A text is small and flat: what is longer or nests deeper than
// the limits is a problem, because the parser recurses over what it reads.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

inline constexpr std::size_t CONFIG_LARGEST = 65536; // bytes
inline constexpr std::size_t CONFIG_DEEPEST_KEY = 8; // parts of a dotted key

/// From 1; 0 stands for the file as a whole.
struct ConfigPlace {
    std::size_t line = 0, column = 0;
};

enum class ConfigKind : unsigned char { Text, Whole, Real, Switch, List, Table, Moment };

struct ConfigValue {
    ConfigKind kind = ConfigKind::Text;
    std::string text;               // of Text, Whole, Switch ("true", "false")
    std::vector<ConfigValue> items; // of List
    ConfigPlace place;
};

struct ConfigEntry {
    std::string key;
    ConfigPlace place; // of the key
    ConfigValue value;
};

/// The keys before the first heading are in a table without a name.
struct ConfigTable {
    std::string name;
    ConfigPlace place;
    std::vector<ConfigEntry> entries;
};

struct ConfigProblem {
    ConfigPlace place;
    std::string text; // what is wrong, and what would be right
};

/// Tables and keys in the order of the text. With a problem, which is the first one, there are none.
struct TomlText {
    std::vector<ConfigTable> tables;
    std::optional<ConfigProblem> problem;
};

TomlText readToml(std::string_view text);

} // namespace zel

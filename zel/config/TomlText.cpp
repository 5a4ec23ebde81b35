// Reads TOML with toml++, which no other file includes: it takes long to compile.
#include "zel/config/TomlText.h"

#include "zel/config/KeyDepth.h"

#include <algorithm>
#include <limits>

#ifdef ZEL_HAS_TOML

// What the parser takes for granted stays checked, also where a text can break it ("[ " and a control character in
// version 3.3): then it is no TOML, instead of whatever comes of it.
namespace zel {
namespace {
struct BrokenAssumption {};
constexpr void assume(bool holds) {
    if (!holds)
        throw BrokenAssumption();
}
} // namespace
} // namespace zel
#undef NDEBUG
#define TOML_ASSERT(expression) zel::assume(static_cast<bool>(expression))
#define TOML_EXCEPTIONS 0
#define TOML_ENABLE_FORMATTERS 0
#define TOML_MAX_NESTED_VALUES 8
#include <toml++/toml.h>

#endif

namespace zel {

#ifdef ZEL_HAS_TOML

namespace {

ConfigPlace placeOf(const toml::source_region &region) {
    return {region.begin.line, region.begin.column};
}

ConfigKind kindOf(const toml::node &node) {
    switch (node.type()) {
    case toml::node_type::string:
        return ConfigKind::Text;
    case toml::node_type::integer:
        return ConfigKind::Whole;
    case toml::node_type::floating_point:
        return ConfigKind::Real;
    case toml::node_type::boolean:
        return ConfigKind::Switch;
    case toml::node_type::array:
        return ConfigKind::List;
    case toml::node_type::table:
        return ConfigKind::Table;
    default:
        return ConfigKind::Moment;
    }
}

// Lists within lists and tables in values are no settings of anything: what they hold is left out.
ConfigValue valueOf(const toml::node &node, bool withItems) {
    ConfigValue value{kindOf(node), {}, {}, placeOf(node.source())};
    if (const auto *text = node.as_string())
        value.text = text->get();
    else if (const auto *number = node.as_integer())
        value.text = std::to_string(number->get());
    else if (const auto *state = node.as_boolean())
        value.text = state->get() ? "true" : "false";
    else if (const auto *list = node.as_array(); list != nullptr && withItems)
        for (const toml::node &item : *list)
            value.items.push_back(valueOf(item, false));
    return value;
}

ConfigEntry entryOf(const toml::key &key, const toml::node &node) {
    return {std::string(key.str()), placeOf(key.source()), valueOf(node, true)};
}

template<class Placed> void inTheirOrder(std::vector<Placed> &all) {
    std::sort(all.begin(), all.end(), [](const Placed &one, const Placed &other) {
        return std::pair(one.place.line, one.place.column) < std::pair(other.place.line, other.place.column);
    });
}

std::vector<ConfigTable> tablesOf(const toml::table &root) {
    std::vector<ConfigTable> tables;
    ConfigTable outside;
    for (const auto &[key, node] : root) {
        const toml::table *content = node.as_table();
        if (content == nullptr) {
            outside.entries.push_back(entryOf(key, node));
            continue;
        }
        ConfigTable table{std::string(key.str()), placeOf(key.source()), {}};
        for (const auto &[name, value] : *content)
            table.entries.push_back(entryOf(name, value));
        inTheirOrder(table.entries);
        tables.push_back(std::move(table));
    }
    inTheirOrder(outside.entries);
    if (!outside.entries.empty())
        tables.push_back(std::move(outside));
    inTheirOrder(tables);
    return tables;
}

// "Error while parsing key-value pair: expected '=', saw 'x'" says what it was doing first, which readers can see.
std::string meaningOf(std::string_view description) {
    constexpr std::string_view beginning = "Error while parsing ";
    if (const std::size_t end = description.find(": "); description.starts_with(beginning) && end != description.npos)
        description.remove_prefix(end + 2);
    return "no TOML: " + std::string(description);
}

bool breaksTheParser(std::string_view text) {
    try {
        static_cast<void>(toml::parse(text));
        return false;
    } catch (const BrokenAssumption &) {
        return true;
    }
}

// The parser says nothing of the place. It reads from front to back: the first lines break it from that one on.
std::size_t lineThatBreaks(std::string_view text) {
    std::vector<std::size_t> ends;
    for (std::size_t end = 0; end < text.size(); ++end) {
        end = std::min(text.find('\n', end), text.size());
        ends.push_back(end);
    }
    const auto found = std::partition_point(ends.begin(), ends.end(),
                                            [text](std::size_t end) { return !breaksTheParser(text.substr(0, end)); });
    return std::min(static_cast<std::size_t>(found - ends.begin()) + 1, std::max<std::size_t>(ends.size(), 1));
}

TomlText parse(std::string_view text) {
    try {
        const toml::parse_result result = toml::parse(text);
        if (!result)
            return {{}, ConfigProblem{placeOf(result.error().source()), meaningOf(result.error().description())}};
        return {tablesOf(result.table()), {}};
    } catch (const BrokenAssumption &) {
        return {{}, ConfigProblem{{lineThatBreaks(text), 1}, "no TOML: a character stands where none like it can"}};
    }
}

} // namespace

#else

namespace {

TomlText parse(std::string_view) {
    return {{}, ConfigProblem{{}, "this zel reads no configuration: it is built without toml++"}};
}

} // namespace

#endif

TomlText readToml(std::string_view text) {
    if (text.size() > CONFIG_LARGEST)
        return {{}, ConfigProblem{{}, "larger than " + std::to_string(CONFIG_LARGEST) + " bytes"}};
    if (const std::size_t line = lineOfDeepKey(text, CONFIG_DEEPEST_KEY); line != 0)
        return {{}, ConfigProblem{{line, 1}, "a key of more than " + std::to_string(CONFIG_DEEPEST_KEY) + " parts"}};
    if (const std::size_t line = lineOfStrayCharacter(text); line != 0)
        return {{}, ConfigProblem{{line, 1}, "no TOML: a character beyond ASCII stands outside of quotes"}};
    return parse(text);
}

} // namespace zel

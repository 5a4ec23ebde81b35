// Compares a configuration with the options that there are.
#include "zel/config/Configuration.h"

#include "zel/Words.h"
#include "zel/config/ConfigValues.h"

#include <algorithm>

namespace zel {

namespace {

constexpr std::string_view dashes = "--";
// Tables that are no commands, and hold the options that begin with their names.
constexpr std::string_view groups[] = {"metrics"};

std::string inBrackets(std::string_view table) {
    return '[' + std::string(table) + ']';
}

struct TableAndKey {
    std::string_view table, key;
};

TableAndKey placeOf(const Command &command, const OptionEntry &option) {
    const std::string_view name = option.name.substr(dashes.size());
    for (const std::string_view group : groups) {
        if (name.starts_with(group) && name.substr(group.size()).starts_with('-'))
            return {group, name.substr(group.size() + 1)};
    }
    return {command.name, name};
}

void add(std::vector<ConfigTableKeys> &tables, const Command &command, const OptionEntry &option) {
    const auto [table, key] = placeOf(command, option);
    auto found =
        std::find_if(tables.begin(), tables.end(), [name = table](const auto &one) { return one.table == name; });
    if (found == tables.end())
        found = tables.insert(tables.end(), {table, {}});
    for (ConfigKey &known : found->keys) {
        if (known.key == key)
            return known.commands.push_back(&command);
    }
    found->keys.push_back({key, &option, {&command}});
}

class Reader {
public:
    explicit Reader(std::span<const Command *const> commands)
        : m_commands(commands), m_tables(configurationKeys(commands)) {}

    Configuration read(std::string_view text) {
        const TomlText toml = readToml(text);
        if (toml.problem)
            m_result.problems.push_back(*toml.problem);
        for (const ConfigTable &table : toml.tables)
            read(table);
        checkTogether();
        return std::move(m_result);
    }

private:
    void refuse(const ConfigPlace &place, const std::string &problem) { m_result.problems.push_back({place, problem}); }

    const ConfigTableKeys *tableNamed(std::string_view name) const {
        const auto found =
            std::find_if(m_tables.begin(), m_tables.end(), [name](const auto &one) { return one.table == name; });
        return found == m_tables.end() ? nullptr : &*found;
    }

    void read(const ConfigTable &table) {
        const ConfigTableKeys *known = tableNamed(table.name);
        if (known == nullptr && !table.name.empty())
            return refuseTable(table);
        for (const ConfigEntry &entry : table.entries) {
            const ConfigKey *key = known == nullptr ? nullptr : keyNamed(*known, entry.key);
            if (key == nullptr)
                refuseKey(known, entry);
            else
                read(*key, entry);
        }
    }
    static const ConfigKey *keyNamed(const ConfigTableKeys &table, std::string_view name) {
        const auto found =
            std::find_if(table.keys.begin(), table.keys.end(), [name](const auto &one) { return one.key == name; });
        return found == table.keys.end() ? nullptr : &*found;
    }

    void refuseTable(const ConfigTable &table) {
        std::vector<std::string_view> names;
        for (const ConfigTableKeys &known : m_tables)
            names.push_back(known.table);
        refuse(table.place, "there is no table " + inBrackets(table.name) + suggestion(table.name, names) +
                                " (tables: " + listed(names) + ")");
    }
    // A key may stand in the wrong table, or before all of them.
    void refuseKey(const ConfigTableKeys *table, const ConfigEntry &entry) {
        const std::string name = inQuotes(entry.key);
        if (tableNamed(entry.key) != nullptr)
            return refuse(entry.place, name + " is a table: " + inBrackets(entry.key) + " in a line of its own");
        std::string problem = table == nullptr ? name + " stands in no table"
                                               : "there is no key " + name + " in " + inBrackets(table->table);
        for (const ConfigTableKeys &other : m_tables) {
            if (keyNamed(other, entry.key) != nullptr)
                return refuse(entry.place, problem + "; " + inBrackets(other.table) + " has one");
        }
        if (table == nullptr)
            return refuse(entry.place, problem);
        std::vector<std::string_view> names;
        for (const ConfigKey &known : table->keys)
            names.push_back(known.key);
        const std::string near = suggestion(entry.key, names);
        refuse(entry.place, problem + (near.empty() ? " (keys: " + listed(names) + ")" : near));
    }

    void read(const ConfigKey &key, const ConfigEntry &entry) {
        ConfiguredValue value = configuredValue(key.key, *key.option, entry.value);
        if (value.problem)
            return m_result.problems.push_back(std::move(*value.problem));
        if (!value.text)
            return;
        for (const Command *command : key.commands) {
            const std::string problem = problemWith(*command, {{std::string(key.option->name), *value.text}});
            if (!problem.empty())
                return refuse(entry.value.place, withoutDashes(problem));
        }
        for (const Command *command : key.commands)
            m_result.options.push_back({command, key.option->name, *value.text, entry.value.place});
    }

    static std::string problemWith(const Command &command, const std::map<std::string, std::string> &options) {
        Arguments arguments;
        arguments.options = options;
        return command.check(arguments);
    }
    // The message of a command about one option, with the name that the file has.
    static std::string withoutDashes(const std::string &problem) {
        return problem.starts_with(dashes) ? problem.substr(dashes.size()) : problem;
    }
    // What is right alone may exclude each other.
    void checkTogether() {
        if (!m_result.problems.empty())
            return;
        for (const Command *command : m_commands) {
            std::map<std::string, std::string> options;
            ConfigPlace last;
            for (const ConfiguredOption &option : m_result.options) {
                if (option.command != command)
                    continue;
                options[std::string(option.option)] = option.value;
                last = option.place;
            }
            const std::string problem = options.empty() ? "" : problemWith(*command, options);
            if (!problem.empty())
                refuse(last, problem);
        }
    }

    std::span<const Command *const> m_commands;
    std::vector<ConfigTableKeys> m_tables;
    Configuration m_result;
};

} // namespace

std::vector<ConfigTableKeys> configurationKeys(std::span<const Command *const> commands) {
    std::vector<ConfigTableKeys> tables;
    for (const Command *command : commands) {
        for (const OptionEntry &option : command->options) {
            if (command->check != nullptr && option.name != CONFIG_OPTION_NAME)
                add(tables, *command, option);
        }
    }
    return tables;
}

Configuration readConfiguration(std::string_view text, std::span<const Command *const> commands) {
    return Reader(commands).read(text);
}

std::string problemText(std::string_view file, const ConfigProblem &problem) {
    std::string text(file);
    if (problem.place.line != 0)
        text += ':' + std::to_string(problem.place.line) + ':' + std::to_string(problem.place.column);
    return text + ": " + problem.text;
}

Arguments withConfiguration(const Configuration &configuration, const Command &command, const Arguments &given) {
    Arguments all = given;
    for (const ConfiguredOption &configured : configuration.options) {
        if (configured.command != &command || given.has(configured.option))
            continue;
        Arguments more = all;
        more.options[std::string(configured.option)] = configured.value;
        if (command.check(more).empty() || !command.check(given).empty())
            all = std::move(more);
    }
    return all;
}

} // namespace zel

// The command line: commands and their options stand in one list each, from which parsing, help and messages are made.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

inline constexpr int EXIT_DONE = 0, EXIT_FAILED = 1, EXIT_USAGE = 2;

struct OptionEntry {
    std::string_view name;  // "--every"
    std::string_view value; // "TIME"; empty: it takes none
    std::string_view help;
};

/// A command line, or an exit status, and what it means.
struct Example {
    std::string_view text, meaning;
};

/// What was given to a command.
class Arguments {
public:
    std::vector<std::string> words;             // not options
    std::map<std::string, std::string> options; // without a value: empty

    bool has(std::string_view option) const { return options.contains(std::string(option)); }
    std::optional<std::string> value(std::string_view option) const {
        const auto found = options.find(std::string(option));
        return found == options.end() ? std::nullopt : std::optional(found->second);
    }
};

struct Command {
    std::string_view name;
    std::string_view words;   // "[AREA...]"
    std::string_view summary; // one line
    std::string_view about;   // paragraphs
    std::span<const OptionEntry> options;
    std::span<const Example> examples;
    std::span<const Example> exitStatus; // what each one means
    int (*run)(const Command &command, const Arguments &arguments);
    /// What is wrong with the values of the options; nothing is done. Null: the configuration has no table of them.
    std::string (*check)(const Arguments &arguments) = nullptr;
};

/// All that exist.
std::span<const Command *const> allCommands();

/// Reads the command line and runs what it says. Returns the exit status.
int runCommandLine(int count, char **arguments);

/// Says what is wrong with the use of a command and what would be right. Returns EXIT_USAGE.
int refuse(const Command &command, std::string_view problem);
/// A word of the command line as messages show it.
std::string inQuotes(std::string_view word);
/// "; did you mean WORD?", when one is near.
std::string suggestion(std::string_view wrong, std::span<const std::string_view> words);

} // namespace zel

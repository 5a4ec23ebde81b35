// The configuration /etc/zel/zel.toml: what the options of the commands are where the command line does not say.
//
//   [serve]
//   listen = ["127.0.0.1:9100", "[::1]:9100"]      as --listen 127.0.0.1:9100,[::1]:9100
//   sample-age = "500ms"                           as --sample-age 500ms
//   [metrics]
//   sections = "all"                               as --metrics-sections all
//
// A table is a command and its keys are the options; a table that is no command holds the options that begin with its
// name. So there is no second list of settings: a new option is a key too. Everything that is not as it should be is a
// problem with its place: an unknown table or key, another type, a value that the command would refuse.
#pragma once

#include "zel/CommandLine.h"
#include "zel/config/TomlText.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

inline constexpr const char *CONFIG_FILE = "/etc/zel/zel.toml";
inline constexpr std::string_view CONFIG_OPTION_NAME = "--config"; // which a file cannot have

/// One option of one command, as the file gives it.
struct ConfiguredOption {
    const Command *command;
    std::string_view option; // "--listen"
    std::string value;       // as on a command line; empty for one without a value
    ConfigPlace place;
};

struct Configuration {
    std::vector<ConfiguredOption> options;
    std::vector<ConfigProblem> problems; // in the order of the file
};

/// Tables of commands that have no `check` are unknown.
Configuration readConfiguration(std::string_view text, std::span<const Command *const> commands);

/// "FILE:3:7: what is wrong", with the places that are known.
std::string problemText(std::string_view file, const ConfigProblem &problem);

/// What was given on the command line, and beside it what the configuration gives for options that were not. A
/// configured option that does not go together with the command line is left out, so that `show --raw` works where the
/// file says `rates = true`.
Arguments withConfiguration(const Configuration &configuration, const Command &command, const Arguments &given);

/// A table of the configuration, and what it may hold.
struct ConfigKey {
    std::string_view key; // "listen"
    const OptionEntry *option;
    std::vector<const Command *> commands; // that have the option
};
struct ConfigTableKeys {
    std::string_view table;
    std::vector<ConfigKey> keys;
};
/// Every key that there is, table by table.
std::vector<ConfigTableKeys> configurationKeys(std::span<const Command *const> commands);

} // namespace zel

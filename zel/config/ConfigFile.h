// The configuration file of a command, read and compared with its options.
#pragma once

#include "zel/config/Configuration.h"

#include <optional>
#include <string>
#include <vector>

namespace zel {

struct ConfigFile {
    std::string name;
    bool isThere = false;
    Configuration configuration;
    std::vector<std::string> problems; // whole messages: "FILE:3:7: what is wrong"
};

/// A file that cannot be read is a problem.
ConfigFile readConfigFile(const std::string &name);
/// The file that --config names; without it CONFIG_FILE, where that is.
ConfigFile readConfigFileOf(const Arguments &given);

/// What a command is told, for those that only show something. Problems with a file that was named are said and leave
/// nothing; a default file with problems is said and left aside, so that a host in trouble can still be looked at.
std::optional<Arguments> configuredArguments(const Command &command, const Arguments &given);

} // namespace zel

// The help texts, made from the lists of commands and options.
#pragma once

#include "zel/CommandLine.h"

#include <string>

namespace zel {

/// All commands, one line each.
std::string generalHelp();
std::string commandHelp(const Command &command);

} // namespace zel

// The options of `zel serve`: one list, from which the command line, the configuration and their documents are made.
#pragma once

#include "zel/CommandLine.h"
#include "zel/serve/ServeSettings.h"

#include <span>
#include <string>

namespace zel {

/// Those that are settings.
std::span<const OptionEntry> serveOptions();

/// Each value on its own: nothing is opened. `problem` takes what is wrong and what would be right.
ServeSettings readServeSettings(const Arguments &arguments, std::string &problem);

} // namespace zel

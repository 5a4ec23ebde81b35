// Options that several commands have, and reading their values. `problem` takes what is wrong and what would be right.
#pragma once

#include "zel/CommandLine.h"

#include <chrono>
#include <string>

namespace zel {

inline constexpr OptionEntry ROOT_OPTION{"--root", "DIR",
                                         "another host: the directory that holds its proc, sys and etc"};
inline constexpr OptionEntry DEADLINE_OPTION{"--deadline", "TIME",
                                             "what has not answered after TIME is reported as timed out (2s)"};

inline constexpr OptionEntry CONFIG_OPTION{"--config", "FILE",
                                           "options that are not given here (/etc/zel/zel.toml, where that is)"};

/// A time between the limits.
std::chrono::milliseconds readTime(const Arguments &arguments, const char *option, std::chrono::milliseconds otherwise,
                                   std::chrono::milliseconds least, std::chrono::milliseconds most,
                                   std::string &problem);
std::chrono::milliseconds readDeadline(const Arguments &arguments, std::string &problem);
/// Empty without the option. Nothing is read but whether it is a directory.
std::string readRoot(const Arguments &arguments, std::string &problem);

} // namespace zel

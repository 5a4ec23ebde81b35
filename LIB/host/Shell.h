// The one place where the library starts the shell, and with it scripts and outside commands.
//
// Collectors run the scripts of the home kit through scripts/HomeScripts.h, which composes the command lines. Names
// from outside become part of a command line only when they are shellSafe (ShellSafe.h).
#pragma once

#include "host/ScopedHandle.h"

namespace zel {

/// The command runner of the home kit; its limit in seconds and the command follow.
inline constexpr const char *COMMAND_RUNNER = "../../utils/ETC/ShCmd";

/// Runs `commandLine` and waits for it. The status that the system call `wait` gives; -1 when no shell was started.
int runShell(const char *commandLine);

/// Starts `commandLine` and reads its standard output, without passing it on to other commands. Null with errno set
/// when it was not started.
ScopedPipe readShell(const char *commandLine);

} // namespace zel

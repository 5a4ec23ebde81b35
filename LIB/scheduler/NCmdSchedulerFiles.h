// Mode 0 of the command scheduler: command files for an outside daemon, and the daemon's start and stop.
#pragma once

#include "scheduler/SchedulerLog.h"

namespace zel {

/// Writes the command as a file of the home directory. 0, or -1 when it is not taken: see CCmdScheduler::fCmdSave.
int saveCommandFile(SchedulerLink &link, const char *key, const char *command);

/// Runs a script of the home directory and waits for it; one at a time in the whole process. 1, or 0 without a usable
/// home directory.
int runDaemonScript(SchedulerLink &link, const char *script);

} // namespace zel

// What every request to the scheduler must bring along.
#pragma once

#include "scheduler/SchedulerLog.h"

namespace zel {

/// True when the scheduler has a home directory and there are a key and a command; else a message says what is missing.
bool requestComplete(SchedulerLink &link, const char *key, const char *command);

} // namespace zel

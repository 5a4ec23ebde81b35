// Mode 1 of the command scheduler: the list of pending commands and its thread, one wake-up at a time.
#pragma once

#include "scheduler/SchedulerLog.h"

namespace zel {

inline constexpr int LIST_WORKER_CYCLE = 10000000; // microseconds
inline constexpr int LIST_WORKER_SYNC_STEP = 500000;
inline constexpr int LIST_WORKER_SYNC_STEPS = 5;
inline constexpr int LIST_WORKER_START_PAUSE = 100000;

/// Adds a command under its key. 0, or -1 when it is not taken: see CCmdScheduler::fCmdPush.
int addToList(SchedulerLink &link, const char *key, const char *command);

/// The same under the key and the time, with m_nSyncFlag up meanwhile.
int addToListNow(SchedulerLink &link, const char *key, const char *command);

/// Forgets every pending command.
void clearList(SchedulerLink &link);

/// One wake-up: waits for callers that change the list, starts what is new, forgets what is finished. `syncSteps` is
/// the number of waits so far, carried from one wake-up to the next. False when the scheduler has gone.
bool runCommandList(SchedulerLink &link, int &syncSteps);

/// The thread of the list mode.
void workOnList(const SharedLink<CCmdScheduler> &link);

} // namespace zel

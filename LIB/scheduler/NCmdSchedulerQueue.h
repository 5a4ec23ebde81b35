// Mode 2 of the command scheduler: the queue of commands and its thread, one wake-up at a time.
#pragma once

#include "scheduler/SchedulerLog.h"

namespace zel {

inline constexpr int QUEUE_WORKER_IDLE = 100000; // microseconds to sleep after the queue was found empty
inline constexpr int QUEUE_WORKER_BUSY = 10000;  // after it held commands
inline constexpr int QUEUE_WORKER_ENDS = 0;      // the scheduler has gone

/// Adds a command. 0, or -1 when it is not taken: see CCmdScheduler::fCmdQueuePush.
int addToQueue(SchedulerLink &link, const char *command);

/// Frees the queue with what is in it.
void freeQueue(Queue<MessageQData *> *queue);

/// Runs everything that is queued. Returns the pause until the next wake-up.
int runQueuedCommands(SchedulerLink &link);

/// The thread of the queue mode.
void workOnQueue(const SharedLink<CCmdScheduler> &link);

} // namespace zel

// The inside of the logger's thread mode: the queue, and the writer thread one wake-up at a time.
#pragma once

#include "VornLog.h"
#include "log/VornLogState.h"

namespace zel {

inline constexpr int LOG_WRITER_IDLE = 100000; // microseconds to sleep after the queue was found empty
inline constexpr int LOG_WRITER_BUSY = 5000;   // after it held messages
inline constexpr int LOG_WRITER_ENDS = 0;      // the logger has gone

/// Writes everything that is queued. Returns the pause until the next wake-up.
int writeQueuedMessages(WorkerLink<CVornLog> &link);

/// Gives the logger its queue and starts its thread. False without a thread: it stays in direct mode.
bool startThreadMode(CVornLog &log, LogState &state);

/// Writes what is queued and leaves the thread without its logger.
void stopThreadMode(CVornLog &log, LogState &state);

/// Queues a message, or counts it as lost when the queue is full.
void queueMessage(CVornLog &log, LogState &state, int line, const char *file, const char *message);

} // namespace zel

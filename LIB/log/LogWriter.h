// The inside of the logger's writer thread, one wake-up at a time.
#pragma once

#include "VornLog.h"

namespace zel {

inline constexpr int LOG_WRITER_IDLE = 100000; // microseconds to sleep after the queue was found empty
inline constexpr int LOG_WRITER_BUSY = 5000;   // after it held messages
inline constexpr int LOG_WRITER_ENDS = 0;      // the logger has gone

/// Writes everything that is queued. Returns the pause until the next wake-up.
int writeQueuedMessages(WorkerLink<CVornLog> &link);

} // namespace zel

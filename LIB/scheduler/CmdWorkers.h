// The inside of the command scheduler: its messages, and its two threads one wake-up at a time.
#pragma once

#include "LogGate.h"
#include "NCmdScheduler.h"

namespace zel {

inline constexpr const char *SCHEDULER_SOURCE = "NCmdScheduler";

inline bool schedulerErrorOpen() {
    return errorLogOpen(LOG_MODULE_UNI, LOG_DETAIL_UNI);
}

inline bool schedulerNoticeOpen() {
    return normalLogOpen(LOG_MODULE_UNI, LOG_DETAIL_UNI);
}

// --- List thread -----------------------------------------------------------------------------------------------------

inline constexpr int LIST_WORKER_CYCLE = 10000000; // microseconds
inline constexpr int LIST_WORKER_SYNC_STEP = 500000;
inline constexpr int LIST_WORKER_SYNC_STEPS = 5;
inline constexpr int LIST_WORKER_START_PAUSE = 100000;

/// One wake-up: waits for callers that change the list, starts what is new, forgets what is finished. `syncSteps` is
/// the number of waits so far, carried from one wake-up to the next. False when the scheduler has gone.
bool runCommandList(const SharedLink<CCmdScheduler> &link, int &syncSteps);

/// The thread of the list mode.
void workOnList(const SharedLink<CCmdScheduler> &link);

// --- Queue thread ----------------------------------------------------------------------------------------------------

inline constexpr int QUEUE_WORKER_IDLE = 100000; // microseconds to sleep after the queue was found empty
inline constexpr int QUEUE_WORKER_BUSY = 10000;  // after it held commands
inline constexpr int QUEUE_WORKER_ENDS = 0;      // the scheduler has gone

/// Runs everything that is queued. Returns the pause until the next wake-up.
int runQueuedCommands(const SharedLink<CCmdScheduler> &link);

/// The thread of the queue mode.
void workOnQueue(const SharedLink<CCmdScheduler> &link);

// --- Both ------------------------------------------------------------------------------------------------------------

/// Runs a command line through the shell and waits for it. A cancel request to the thread ends the wait, and the shell.
void runAndWait(const char *commandLine);

// --- Records ---------------------------------------------------------------------------------------------------------

void freeCommand(_CMD_SCHEDULER *command);
void freeCommand(MessageQData *command);

} // namespace zel

/// Logs a message of a caller through its scheduler's m_strLogMsg.
#define ZEL_SCHEDULER_LOG(gateOpen, level, ...)                                                                        \
    do {                                                                                                               \
        if (gateOpen) {                                                                                                \
            const std::lock_guard messageHeld(m_link->lock);                                                           \
            ZEL_LOG(true, level, zel::SCHEDULER_SOURCE, m_strLogMsg, __VA_ARGS__);                                     \
        }                                                                                                              \
    } while (false)
#define ZEL_SCHEDULER_ERROR(...) ZEL_SCHEDULER_LOG(zel::schedulerErrorOpen(), zel::LOG_LEVEL_ERROR, __VA_ARGS__)
#define ZEL_SCHEDULER_NOTICE(...) ZEL_SCHEDULER_LOG(zel::schedulerNoticeOpen(), zel::LOG_LEVEL_NORMAL, __VA_ARGS__)

/// Logs a message of a worker thread, which no cancel request interrupts.
#define ZEL_WORKER_LOG(gateOpen, ...)                                                                                  \
    do {                                                                                                               \
        const zel::CancellationHeld cancellation;                                                                      \
        char text[1024];                                                                                               \
        ZEL_LOG(gateOpen, zel::LOG_LEVEL_ERROR, zel::SCHEDULER_SOURCE, text, __VA_ARGS__);                             \
    } while (false)

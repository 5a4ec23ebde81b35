// The messages of the command scheduler, and the link through which its units and threads reach it.
//
// The units of the three modes are below the class: they work on its public members and call none of its operations.
#pragma once

#include "LogGate.h"
#include "NCmdScheduler.h"
#include "threads/WorkerThread.h"

namespace zel {

/// Its lock keeps the list, the start and the message text whole.
using SchedulerLink = WorkerLink<CCmdScheduler>;

inline constexpr const char *SCHEDULER_SOURCE = "NCmdScheduler";

inline bool schedulerErrorOpen() {
    return errorLogOpen(LOG_MODULE_UNI, LOG_DETAIL_UNI);
}

inline bool schedulerNoticeOpen() {
    return normalLogOpen(LOG_MODULE_UNI, LOG_DETAIL_UNI);
}

} // namespace zel

/// Logs a message of a caller, whose scheduler is `link.owner`, through m_strLogMsg.
#define ZEL_SCHEDULER_LOG(link, gateOpen, level, ...)                                                                  \
    do {                                                                                                               \
        if (gateOpen) {                                                                                                \
            const std::lock_guard messageHeld((link).lock);                                                            \
            ZEL_LOG(true, level, zel::SCHEDULER_SOURCE, (link).owner->m_strLogMsg, __VA_ARGS__);                       \
        }                                                                                                              \
    } while (false)
#define ZEL_SCHEDULER_ERROR(link, ...)                                                                                 \
    ZEL_SCHEDULER_LOG(link, zel::schedulerErrorOpen(), zel::LOG_LEVEL_ERROR, __VA_ARGS__)
#define ZEL_SCHEDULER_NOTICE(link, ...)                                                                                \
    ZEL_SCHEDULER_LOG(link, zel::schedulerNoticeOpen(), zel::LOG_LEVEL_NORMAL, __VA_ARGS__)

/// Logs a message of a worker thread, which no cancel request interrupts.
#define ZEL_WORKER_LOG(gateOpen, ...)                                                                                  \
    do {                                                                                                               \
        const zel::CancellationHeld cancellation;                                                                      \
        char text[1024];                                                                                               \
        ZEL_LOG(gateOpen, zel::LOG_LEVEL_ERROR, zel::SCHEDULER_SOURCE, text, __VA_ARGS__);                             \
    } while (false)

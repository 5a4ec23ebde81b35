#include "LogGate.h"

#include "VornLog.h"

#include <shared_mutex>

CVornLog *g_pclVornLog;

int g_nLogModERROR, g_nLoggingERROR1, g_nLoggingERROR2;
int g_nLogModNORMAL, g_nLoggingNORMAL1, g_nLoggingNORMAL2;
int g_nLogModDEBUG, g_nLoggingDEBUG1, g_nLoggingDEBUG2;

namespace {

// Shared by the threads that are inside the installed logger; taken whole by a logger that goes.
std::shared_mutex &loggerInUse() {
    static auto *lock = new std::shared_mutex; // outlives every static logger
    return *lock;
}

} // namespace

void zel::writeLog(int level, int line, const char *sourceName, const char *message) {
    if (!loggerInstalled())
        return;
    const std::shared_lock held(loggerInUse());
    if (CVornLog *logger = readShared(g_pclVornLog); logger != nullptr)
        logger->fLogWrite(level, line, sourceName, message);
}

void zel::withdrawLogger(CVornLog *logger) {
    std::atomic_ref<CVornLog *>(g_pclVornLog).compare_exchange_strong(logger, nullptr);
    const std::unique_lock noThreadInside(loggerInUse());
}

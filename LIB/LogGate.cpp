#include "LogGate.h"

#include "VornLog.h"

CVornLog *g_pclVornLog;

int g_nLogModERROR, g_nLoggingERROR1, g_nLoggingERROR2;
int g_nLogModNORMAL, g_nLoggingNORMAL1, g_nLoggingNORMAL2;
int g_nLogModDEBUG, g_nLoggingDEBUG1, g_nLoggingDEBUG2;

void zel::writeLog(int level, int line, const char *sourceName, const char *message) {
    CVornLog *logger = std::atomic_ref<CVornLog *>(g_pclVornLog).load(std::memory_order_acquire);
    if (logger != nullptr)
        logger->fLogWrite(level, line, sourceName, message);
}

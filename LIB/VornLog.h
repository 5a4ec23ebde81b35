// CVornLog: the library's diagnostic log.
#pragma once

#include "LogGate.h"
#include "Queue.h"

/// 1: every formatted line also goes to standard error.
extern int g_nPrint;

/// One queued message of thread mode.
struct MessageQWriteLog {
    char m_strCollectData[2048];
    int m_nLine;
    char m_strFileName[64];
};

class CVornLog {
public:
    CVornLog(int logMode, const char *name, int validDay);

    CVornLog(const CVornLog &) = delete;
    CVornLog &operator=(const CVornLog &) = delete;

    /// Writes one message of `level` (1 debug, 2 and 3 information) with the caller's source name and line.
    void fLogWrite(int level, int line, const char *file, const char *message);
};

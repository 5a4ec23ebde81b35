#include "VornLog.h"

#include <cstdio>
#include <ctime>

int g_nPrint;

CVornLog::CVornLog(int, const char *, int) {}

void CVornLog::fLogWrite(int level, int line, const char *file, const char *message) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    if (g_nPrint == 1 && level >= zel::LOG_LEVEL_NORMAL)
        std::fprintf(stderr, "[%02d%02d%02d][INFO][%s][%d]%s\n", local.tm_hour, local.tm_min, local.tm_sec, file, line,
                     message);
}

#include "ConsoleReport.h"
#include "MM_PROC_Info.h"

#include <cstdio>

int print_proc_v2(CMM_PROC_Info *processes) {
    const char *text = processes->fMGetProc(0);
    if (text == nullptr)
        return -1;
    std::printf("%s\n", text);
    return 1;
}

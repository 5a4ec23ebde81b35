// The console report of option 7: the text of all processes.
#include "ConsoleReport.h"
#include "MM_PROC_Info.h"
#include "report/PrintableText.h"

#include <cstdio>

int print_proc_v2(CMM_PROC_Info *processes) {
    const char *text = processes->fMGetProc(0);
    if (text == nullptr)
        return -1;
    zel::printPerfText(stdout, text);
    std::putchar('\n');
    return 1;
}

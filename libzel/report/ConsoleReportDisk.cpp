// The console reports of the disk collector.
#include "ConsoleReport.h"
#include "MM_IO_Info.h"
#include "report/PrintableName.h"

#include <cstdio>

int print_io_v2(CMM_IO_Info *disks, double elapsed) {
    constexpr int withRates = 1;
    constexpr int pollForm = 0;
    if (disks == nullptr || disks->fMGetIoStat(elapsed, withRates, pollForm) == nullptr)
        return -1;
    int index = 0;
    while (const _ST_DISKIO *disk = disks->fMGetIoStatNext()) {
        std::fprintf(stderr,
                     " Io  %03d: %5.2f([R]cnt/s) %5.2f([W]cnt/s) %5.2f([R]kb/s) %5.2f([W]kb/s) %5.2f(Busy) %-15s\n",
                     index++, disk->l_dRead_N, disk->l_dWrite_N, disk->l_dRead_B, disk->l_dWrite_B, disk->l_dBusy,
                     zel::PrintableName(disk->l_strDEVname).text());
    }
    return 1;
}

int print_io(CSSList *disks) {
    if (disks == nullptr)
        return 0;
    SSListNode *head = disks->fSlGetHeadNode();
    int index = 0;
    for (SSListNode *node = head == nullptr ? nullptr : head->l_pstNext; node != nullptr; node = node->l_pstNext) {
        const _ST_DISKIO *disk = fgListRecord<_ST_DISKIO>(node);
        std::fprintf(stderr, " Io  %03d: %5.2f %5.2f %-15s\n", index++, disk->l_dWrite_B, disk->l_dRead_B,
                     zel::PrintableName(disk->l_strDEVname).text());
    }
    return 1;
}

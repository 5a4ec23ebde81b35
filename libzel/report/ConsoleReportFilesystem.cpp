// Prints the filesystems of a pass, one line each.
#include "ConsoleReport.h"

#include "MM_FS_Info.h"
#include "report/PrintableName.h"

#include <cstdio>

namespace {

void printFilesystem(int index, const _ST_FS &filesystem) {
    std::fprintf(
        stderr, " Fs  %03d: %7llu(T) %7llu(U) %7llu(F) %5.2f | %llu(T) %llu(U) %llu(F) %llu(A)%5.2f | %s %s %s\n",
        index, filesystem.l_ulTotDskSize, filesystem.l_ulUsdDskSize, filesystem.l_ulFreDskSize, filesystem.l_dDskUsage,
        filesystem.l_ulTotIndSize, filesystem.l_ulUsdIndSize, filesystem.l_ulFreIndSize, filesystem.l_ulAvaIndSize,
        filesystem.l_dIndUsage, zel::PrintableName(filesystem.l_strFSname).text(),
        zel::PrintableName(filesystem.l_strFSType).text(), zel::PrintableName(filesystem.l_strDEVname).text());
}

} // namespace

int print_fs_v2(CMM_FS_Info *filesystems) {
    if (filesystems->fMGetFileSys() == nullptr)
        return -1;
    int index = 0;
    while (const _ST_FS *filesystem = filesystems->fMGetFileSysNext())
        printFilesystem(index++, *filesystem);
    return 1;
}

int print_fs_v3(CMM_FS_Info *) {
    return 1;
}

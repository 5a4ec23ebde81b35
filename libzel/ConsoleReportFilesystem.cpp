#include "ConsoleReport.h"

#include "MM_FS_Info.h"

#include <cctype>
#include <cstdio>
#include <string>

namespace {

// A mount point may hold any byte: control bytes, line feeds among them, are printed as blanks, so that a name stays
// within its line.
std::string printable(const char *name) {
    std::string text = name;
    for (char &character : text) {
        if (std::iscntrl(static_cast<unsigned char>(character)) != 0)
            character = ' ';
    }
    return text;
}

void printFilesystem(int index, const _ST_FS &filesystem) {
    std::fprintf(
        stderr, " Fs  %03d: %7llu(T) %7llu(U) %7llu(F) %5.2f | %llu(T) %llu(U) %llu(F) %llu(A)%5.2f | %s %s %s\n",
        index, filesystem.l_ulTotDskSize, filesystem.l_ulUsdDskSize, filesystem.l_ulFreDskSize, filesystem.l_dDskUsage,
        filesystem.l_ulTotIndSize, filesystem.l_ulUsdIndSize, filesystem.l_ulFreIndSize, filesystem.l_ulAvaIndSize,
        filesystem.l_dIndUsage, printable(filesystem.l_strFSname).c_str(), printable(filesystem.l_strFSType).c_str(),
        printable(filesystem.l_strDEVname).c_str());
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

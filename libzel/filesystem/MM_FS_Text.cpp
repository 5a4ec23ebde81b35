#include "filesystem/MM_FS_Text.h"

#include "MM_FS_Info.h"
#include "PerfText.h"

#include <cstring>

namespace {

constexpr const char *columns[] = {"INDEX",     "FSNAME", "DISKNAME",   "TOTSIZE",  "USEDSIZE",
                                   "FREESIZE",  "USAGE",  "AVAILSIZE",  "ITOTSIZE", "IUSEDSIZE",
                                   "IFREESIZE", "IUSAGE", "IAVAILSIZE", "FSTYPE"};

} // namespace

namespace zel {

void writeFilesystemHeader(CPerfText &text) {
    for (const char *column : columns)
        text.column(column);
}

void writeFilesystemRow(CPerfText &text, int index, const _ST_FS &filesystem) {
    text.beginRow(2 * std::strlen(filesystem.l_strDEVname) + PERF_ROW_ROOM);
    text.field(index);
    text.field(filesystem.l_strFSname);
    text.field(filesystem.l_strDEVname);
    text.field(filesystem.l_ulTotDskSize);
    text.field(filesystem.l_ulUsdDskSize);
    text.field(filesystem.l_ulFreDskSize);
    text.field(filesystem.l_dDskUsage);
    text.field(filesystem.l_ulAvaDskSize);
    text.field(filesystem.l_ulTotIndSize);
    text.field(filesystem.l_ulUsdIndSize);
    text.field(filesystem.l_ulFreIndSize);
    text.field(filesystem.l_dIndUsage);
    text.field(filesystem.l_ulAvaIndSize);
    text.field(filesystem.l_strFSType);
}

} // namespace zel

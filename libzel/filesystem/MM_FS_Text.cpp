// The columns of the filesystem text.
#include "filesystem/MM_FS_Text.h"

#include "MM_FS_Info.h"
#include "perftext/ColumnTable.h"

#include <cstring>

namespace {

constexpr zel::ColumnTable indexColumn{zel::Column{"INDEX", [](int index) { return index; }}};

constexpr zel::ColumnTable columns{
    zel::Column{"FSNAME", &_ST_FS::l_strFSname},       zel::Column{"DISKNAME", &_ST_FS::l_strDEVname},
    zel::Column{"TOTSIZE", &_ST_FS::l_ulTotDskSize},   zel::Column{"USEDSIZE", &_ST_FS::l_ulUsdDskSize},
    zel::Column{"FREESIZE", &_ST_FS::l_ulFreDskSize},  zel::Column{"USAGE", &_ST_FS::l_dDskUsage},
    zel::Column{"AVAILSIZE", &_ST_FS::l_ulAvaDskSize}, zel::Column{"ITOTSIZE", &_ST_FS::l_ulTotIndSize},
    zel::Column{"IUSEDSIZE", &_ST_FS::l_ulUsdIndSize}, zel::Column{"IFREESIZE", &_ST_FS::l_ulFreIndSize},
    zel::Column{"IUSAGE", &_ST_FS::l_dIndUsage},       zel::Column{"IAVAILSIZE", &_ST_FS::l_ulAvaIndSize},
    zel::Column{"FSTYPE", &_ST_FS::l_strFSType},
};

} // namespace

namespace zel {

void writeFilesystemHeader(CPerfText &text) {
    indexColumn.writeHeader(text);
    columns.writeHeader(text);
}

void writeFilesystemRow(CPerfText &text, int index, const _ST_FS &filesystem) {
    text.beginRow(2 * std::strlen(filesystem.l_strDEVname) + PERF_ROW_ROOM);
    indexColumn.writeFields(text, index);
    columns.writeFields(text, filesystem);
}

} // namespace zel

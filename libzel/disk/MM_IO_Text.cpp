// Columns and rows of the disk texts.
#include "disk/MM_IO_Text.h"

#include "MM_IO_Info.h"
#include "Settings.h"
#include "disk/MM_IO_PushRows.h"
#include "perftext/ColumnTable.h"
#include "records/PushCapacity.h"
#include "records/TopList.h"

#include <algorithm>

namespace {

constexpr std::string_view pushMetric = "4.5.11.0";
constexpr int pushTableRows = 50;
constexpr const char *sumRowName = "NULL";

constexpr int smallestGrownPass = 9001;

/// A row of either table: `Disk` is the record of a result or that of a push row.
template<typename Disk> struct Row {
    int index;
    std::string_view name;
    const Disk &disk;
};

constexpr zel::ColumnTable columns{
    zel::Column{"INDEX", [](const auto &row) { return row.index; }},
    zel::Column{"DISKNAME", [](const auto &row) { return row.name; }},
    zel::Column{"READCNT", [](const auto &row) { return row.disk.l_dRead_N; }},
    zel::Column{"WRITECNT", [](const auto &row) { return row.disk.l_dWrite_N; }},
    zel::Column{"READKB", [](const auto &row) { return row.disk.l_dRead_B; }},
    zel::Column{"WRITEKB", [](const auto &row) { return row.disk.l_dWrite_B; }},
    zel::Column{"BUSY", [](const auto &row) { return row.disk.l_dBusy; }},
};

// The row buffer keeps room for the name and the values, growing by twice what is in it.
void keepRoomForRow(CPerfText &text, int size, std::string_view name) {
    const auto stated = static_cast<std::size_t>(std::max(size, 0));
    const std::size_t room = stated > text.length() ? stated - text.length() : 0;
    if (room < name.size() + PERF_ROW_ROOM)
        text.growTo(stated + 2 * text.length());
}

// Writes the row into its buffer and appends it to the text. False without memory.
template<typename Disk> bool appendRow(std::string &text, char *&buffer, int &size, const Row<Disk> &row) {
    CPerfText line(buffer, size);
    keepRoomForRow(line, size, row.name);
    line.clear();
    line.beginRow();
    columns.writeFields(line, row);
    if (line.incomplete())
        return false;
    text.append(line.view());
    return true;
}

bool appendPushRow(CMM_IO_Info &disks, const char *name, const ST_DISKALL_LIST &disk) {
    return appendRow(disks.g_stringPushDisk, disks.m_pStrRealTimeDiskZEL, disks.m_nDiskRealZELSize,
                     Row<ST_DISKALL_LIST>{disks.m_nDiskPushCnt, name, disk});
}

// The next pass has room for more when this one filled the array.
void adaptPushCapacity(CMM_IO_Info &disks, int rows) {
    disks.m_nActiveSize =
        zel::nextPushCapacity(disks.m_nActiveSize, rows, rows >= disks.m_nActiveSize, smallestGrownPass);
}

void clearTexts(CMM_IO_Info &disks) {
    disks.g_stringPollDisk.clear();
    disks.g_stringPushDisk.clear();
    disks.m_nDiskZELCnt = 0;
}

} // namespace

int compare_alldisk(const void *left, const void *right) {
    const ST_DISKALL_LIST *first = *static_cast<ST_DISKALL_LIST *const *>(left);
    const ST_DISKALL_LIST *second = *static_cast<ST_DISKALL_LIST *const *>(right);
    const auto difference = static_cast<float>(second->l_dBusy - first->l_dBusy);
    if (difference > 0.0F)
        return 1;
    return difference < 0.0F ? -1 : 0;
}

namespace zel {

bool startPollText(CMM_IO_Info &disks) {
    clearTexts(disks);
    CPerfText header(disks.m_pStrDiskZEL, disks.m_nDiskZELSize);
    header.clear();
    columns.writeHeader(header);
    disks.g_stringPollDisk.append(header.view());
    return !header.incomplete();
}

bool startPushText(CMM_IO_Info &disks) {
    clearTexts(disks);
    CPerfText header(disks.m_pStrRealTimeDiskZEL, disks.m_nDiskRealZELSize);
    header.clear();
    header.agentKey(g_ptrAgentKey);
    header.tableMetric(pushMetric);
    columns.writeHeader(header);
    disks.g_stringPushDisk.append(header.view());
    return !header.incomplete();
}

bool appendPollRow(CMM_IO_Info &disks) {
    const _ST_DISKIO &result = *disks.m_pstIO;
    return appendRow(disks.g_stringPollDisk, disks.m_pStrDiskZEL, disks.m_nDiskZELSize,
                     Row<_ST_DISKIO>{++disks.m_nDiskZELCnt, result.l_strDEVname, result});
}

bool appendPushTable(CMM_IO_Info &disks, DiskPushRows &rows) {
    disks.m_nDiskPushCnt = 0;
    adaptPushCapacity(disks, rows.count());
    if (rows.count() == 0)
        return true;
    TopList<ST_DISKALL_LIST, pushTableRows> busiest;
    for (ST_DISKALL_LIST *row : rows) {
        busiest.offer(row, [](const ST_DISKALL_LIST *left, const ST_DISKALL_LIST *right) {
            return compare_alldisk(&left, &right) < 0;
        });
    }
    rows.finish();
    if (!appendPushRow(disks, sumRowName, rows.sums()))
        return false;
    for (const ST_DISKALL_LIST *row : busiest) {
        ++disks.m_nDiskPushCnt;
        if (!appendPushRow(disks, row->l_strDEVname, *row))
            return false;
    }
    return true;
}

void publishTexts(CMM_IO_Info &disks) {
    disks.m_pstrPollDiskInfo = disks.g_stringPollDisk.data();
    disks.m_pstrPushDiskInfo = disks.g_stringPushDisk.data();
}

} // namespace zel

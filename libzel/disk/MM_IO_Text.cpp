// The poll and push texts of CMM_IO_Info.
#include "MM_IO_Info.h"
#include "NGFunctions.h"
#include "Settings.h"
#include "records/PushCapacity.h"
#include "records/TopList.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr std::string_view pushMetric = "4.5.11.0";
constexpr int pushTableRows = 50;
constexpr const char *sumRowName = "NULL";

constexpr int pushRowsPerBlock = 64;
constexpr int smallestGrownPass = 9001;

constexpr int shortestWaitPeriod = 100;
constexpr int waitMicroseconds = 500000;

void writeHeader(CPerfText &text) {
    text.header({"INDEX", "DISKNAME", "READCNT", "WRITECNT", "READKB", "WRITEKB", "BUSY"});
}

// Works on the records of both the result and the push rows.
template<typename Disk> void writeRow(CPerfText &row, int index, std::string_view name, const Disk &disk) {
    row.clear();
    row.beginRow();
    row.field(index);
    row.field(name);
    row.field(disk.l_dRead_N);
    row.field(disk.l_dWrite_N);
    row.field(disk.l_dRead_B);
    row.field(disk.l_dWrite_B);
    row.field(disk.l_dBusy);
}

// The row buffer keeps room for the name and the values, growing by twice what stands in it.
void keepRoomForRow(CPerfText &row, int size, std::string_view name) {
    const auto stated = static_cast<std::size_t>(std::max(size, 0));
    const std::size_t room = stated > row.length() ? stated - row.length() : 0;
    if (room < name.size() + PERF_ROW_ROOM)
        row.growTo(stated + 2 * row.length());
}

void addToSums(ST_DISKALL_LIST &sums, const ST_DISKALL_LIST &row) {
    sums.l_dRead_B += row.l_dRead_B;
    sums.l_dWrite_B += row.l_dWrite_B;
    sums.l_dRead_N += row.l_dRead_N;
    sums.l_dWrite_N += row.l_dWrite_N;
    sums.l_dBusy += row.l_dBusy;
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

// Both texts become empty; the one that is asked for gets its header. A push pass gets room for its rows. False without
// memory.
bool CMM_IO_Info::startTexts(int nPush) {
    releasePushRows();
    g_stringPollDisk.clear();
    g_stringPushDisk.clear();
    m_nDiskZELCnt = 0;
    m_pushSums = {};
    if (nPush < 1) {
        CPerfText header(m_pStrDiskZEL, m_nDiskZELSize);
        header.clear();
        writeHeader(header);
        g_stringPollDisk.append(header.view());
        return !header.incomplete();
    }
    CPerfText header(m_pStrRealTimeDiskZEL, m_nDiskRealZELSize);
    header.clear();
    header.agentKey(g_ptrAgentKey);
    header.tableMetric(pushMetric);
    writeHeader(header);
    g_stringPushDisk.append(header.view());
    return startPushList() && !header.incomplete();
}

// The array and the rows are kept between passes, so that a further one allocates nothing.
bool CMM_IO_Info::startPushList() {
    if (m_pushList == nullptr || m_pushCapacity != m_nActiveSize) {
        std::free(m_pushList);
        // NOLINTNEXTLINE(bugprone-sizeof-expression): the array holds pointers
        void *rows = std::calloc(static_cast<std::size_t>(m_nActiveSize), sizeof(ST_DISKALL_LIST *));
        m_pushList = static_cast<ST_DISKALL_LIST **>(rows);
        m_pushCapacity = m_nActiveSize;
    }
    m_stAllDiskList = m_pushList;
    return m_stAllDiskList != nullptr;
}

void CMM_IO_Info::publishTexts() {
    m_pstrPollDiskInfo = g_stringPollDisk.data();
    m_pstrPushDiskInfo = g_stringPushDisk.data();
}

// Spreads a pass over very many disks. The first row is waited for as well: 0 is a multiple of the period.
void CMM_IO_Info::waitBeforeRow() const {
    if (g_nDiskWaitFlag >= shortestWaitPeriod && m_nDiskZELCnt % g_nDiskWaitFlag == 0)
        fgUSleep(waitMicroseconds);
}

bool CMM_IO_Info::appendPollRow() {
    CPerfText row(m_pStrDiskZEL, m_nDiskZELSize);
    const std::string_view name = m_pstIO->l_strDEVname;
    keepRoomForRow(row, m_nDiskZELSize, name);
    writeRow(row, ++m_nDiskZELCnt, name, *m_pstIO);
    if (row.incomplete())
        return false;
    g_stringPollDisk.append(row.view());
    return true;
}

// Rows come in blocks, so that the first pass over many disks does not allocate for each of them.
void CMM_IO_Info::collectPushRow() {
    if (m_pushRows >= m_nActiveSize)
        return;
    const auto block = static_cast<std::size_t>(m_pushRows / pushRowsPerBlock);
    if (block == m_pushBlocks.size()) {
        std::unique_ptr<ST_DISKALL_LIST[]> rows(new (std::nothrow) ST_DISKALL_LIST[pushRowsPerBlock]);
        if (rows == nullptr)
            return;
        m_pushBlocks.push_back(std::move(rows));
    }
    ST_DISKALL_LIST &row = m_pushBlocks[block][static_cast<std::size_t>(m_pushRows % pushRowsPerBlock)];
    std::strcpy(row.l_strDEVname, m_pstIO->l_strDEVname);
    row.l_dRead_B = m_pstIO->l_dRead_B;
    row.l_dWrite_B = m_pstIO->l_dWrite_B;
    row.l_dRead_N = m_pstIO->l_dRead_N;
    row.l_dWrite_N = m_pstIO->l_dWrite_N;
    row.l_dBusy = m_pstIO->l_dBusy;
    addToSums(m_pushSums, row);
    m_stAllDiskList[m_pushRows++] = &row;
}

// The sums of all rows come first, as row 0, then the busiest disks. False without memory for a row.
bool CMM_IO_Info::writePushTable() {
    m_nDiskPushCnt = 0;
    adaptPushCapacity();
    if (m_pushRows == 0)
        return true;
    zel::TopList<ST_DISKALL_LIST, pushTableRows> busiest;
    std::for_each(m_stAllDiskList, m_stAllDiskList + m_pushRows, [&busiest](ST_DISKALL_LIST *row) {
        busiest.offer(row, [](const ST_DISKALL_LIST *left, const ST_DISKALL_LIST *right) {
            return compare_alldisk(&left, &right) < 0;
        });
    });
    m_pushBlocks.resize(static_cast<std::size_t>(m_pushRows - 1) / pushRowsPerBlock + 1); // no more are kept
    if (!appendPushRow(sumRowName, m_pushSums))
        return false;
    for (const ST_DISKALL_LIST *row : busiest) {
        ++m_nDiskPushCnt;
        if (!appendPushRow(row->l_strDEVname, *row))
            return false;
    }
    return true;
}

bool CMM_IO_Info::appendPushRow(const char *name, const ST_DISKALL_LIST &disk) {
    CPerfText row(m_pStrRealTimeDiskZEL, m_nDiskRealZELSize);
    keepRoomForRow(row, m_nDiskRealZELSize, name);
    writeRow(row, m_nDiskPushCnt, name, disk);
    if (row.incomplete())
        return false;
    g_stringPushDisk.append(row.view());
    return true;
}

// The next pass has room for more when this one filled the array.
void CMM_IO_Info::adaptPushCapacity() {
    m_nActiveSize = zel::nextPushCapacity(m_nActiveSize, m_pushRows, m_pushRows >= m_nActiveSize, smallestGrownPass);
}

void CMM_IO_Info::releasePushRows() {
    m_pushRows = 0;
    m_stAllDiskList = nullptr;
}

// The real-time list: who runs what since when, without figures and without touching the previous samples.
#include "HostRoot.h"
#include "host/DirectoryWalk.h"
#include "process/MM_PROC_Scan.h"

#include <cctype>
#include <new>

namespace {

constexpr std::string_view realTimeColumns[] = {"INDEX", "PID", "ARGS", "USER", "NAME", "STIME"};

void writeRealTimeHeader(zel::ProcessScan &scan) {
    scan.row.clear();
    scan.row.timeStamp(static_cast<int>(scan.collector.m_tTime));
    for (const std::string_view name : realTimeColumns)
        scan.row.column(name);
    zel::appendRow(scan);
}

// The buffer holds one row, so that a name that is too long for it gets a new one of twice its length.
void makeRowRoom(zel::ProcessScan &scan, std::size_t nameLength) {
    scan.row.clear();
    if (static_cast<std::size_t>(scan.collector.m_nProcessInfoBufSize) < nameLength + PERF_ROW_ROOM)
        scan.row.growTo(2 * nameLength);
}

void takeRealProcess(zel::ProcessScan &scan, int pid) {
    _ST_PROC &process = scan.scratch.record;
    zel::clearRecord(process);
    if (!zel::readRealProcess(scan.reader, pid, scan.scratch.raw, process))
        return;
    if (process.l_strUname[0] == '\0' || process.l_strPname[0] == '\0')
        return;
    const std::size_t nameLength = zel::trimName(process.l_strPname);

    makeRowRoom(scan, nameLength);
    scan.row.beginRow(0);
    scan.row.field(++scan.count);
    scan.row.field(process.l_nPid);
    scan.row.field(std::string_view(process.l_strPname, nameLength));
    scan.row.field(process.l_strUname);
    scan.row.field(process.l_strFName);
    scan.row.field(process.l_nStart);
    zel::appendRow(scan);
}

const char *listRealProcesses(CMM_PROC_Info &collector) {
    zel::startClocks(collector);
    zel::ProcessScratch *scratch = zel::clearedScratch(collector);
    if (scratch == nullptr)
        return nullptr;
    zel::DirectoryWalk directory(fgHostPath("/proc"));
    if (!directory.isOpen())
        return nullptr;

    zel::ProcessScan scan(collector, *scratch, directory.descriptor());
    collector.g_stringPollProcess.clear();
    writeRealTimeHeader(scan);
    while (const char *name = directory.next()) {
        if (zel::isProcessName(name))
            takeRealProcess(scan, zel::processNumber(name));
    }
    return zel::finishScan(scan, true);
}

} // namespace

const char *CMM_PROC_Info::fMGetRealProc() {
    try {
        return listRealProcesses(*this);
    } catch (const std::bad_alloc &) {
        return zel::abandonScan(*this);
    }
}

void CMM_PROC_Info::fMClearRealProc() {
    g_stringPollProcess.clear();
}

// The scan of all processes: one pass over /proc (or over a script's list), one row or list entry per process.
#include "process/MM_PROC_Scan.h"

#include "LogGate.h"
#include "NGFunctions.h"
#include "Settings.h"
#include "process/MM_PROC_Host.h"
#include "process/MM_PROC_Push.h"
#include "process/MM_PROC_Rows.h"
#include "process/MM_PROC_Sample.h"
#include "process/MM_PROC_Scripts.h"
#include "rates/Units.h"
#include "text/NumberScan.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace {

constexpr const char *pushCode = "4.14.2.0";
constexpr float wholeMachine = 100.0F;
constexpr int shortestSlice = 100; // directory entries
constexpr int slicePause = 500000; // microseconds

// One scan in progress.
struct Scan {
    zel::ProcessPass pass;
    zel::ProcessText text;
    zel::JavaFigures java;
    std::optional<zel::PushPass> push; // of a push scan
    zel::ProcessColumns columns = zel::ProcessColumns::None;
    bool scripted = false; // the process list comes from a script
    int cpuCount = 1;
};

// Percent of the machine, within 0 and 100.
float machineShare(float cpuPercent, int cpuCount) {
    const float share = cpuPercent / static_cast<float>(cpuCount);
    return share > 0 ? std::min(share, wholeMachine) : 0;
}

void writeScanHeader(Scan &scan) {
    CPerfText &row = scan.text.row;
    row.clear();
    if (scan.push) {
        row.agentKey(g_ptrAgentKey);
        row.tableMetric(pushCode);
    }
    zel::writeHeader(row, scan.columns);
    scan.text.appendRow();
}

void writeProcessRow(Scan &scan, std::size_t nameLength, float share) {
    const _ST_PROC &process = scan.pass.scratch.record;
    CPerfText &row = scan.text.row;
    // The row of the previous process is still in the buffer when the room is measured.
    row.reserveRoom(nameLength + PERF_ROW_ROOM);
    row.clear();
    const float unlimited = process.l_dPCPU / static_cast<float>(scan.cpuCount);
    zel::writeRow(row, scan.columns,
                  zel::ProcessRow<_ST_PROC>{process,
                                            {process.l_strPname, nameLength},
                                            scan.text.count + 1,
                                            process.l_nCTime / zel::TICKS_PER_SECOND,
                                            scan.scripted ? share : unlimited});
    scan.text.appendRow();
}

// Reads process `pid` and adds it to the report.
void takeProcess(Scan &scan, int pid, double curTime) {
    zel::ProcessScratch &scratch = scan.pass.scratch;
    _ST_PROC &process = scratch.record;
    zel::clearRecord(process);
    if (!zel::sampleProcess(scan.pass, pid, curTime, scratch.raw, process))
        return;
    scan.java.replaceFigure(process);
    if (zel::isNameless(process))
        return;
    const std::size_t nameLength = zel::trimName(process.l_strPname);

    const float share = machineShare(process.l_dPCPU, scan.cpuCount);
    if (scan.push)
        scan.push->add(process, share, scan.text.count);
    else
        writeProcessRow(scan, nameLength, share);
    ++scan.text.count;
}

// A large process table is read in slices, so that its cost is spread over time.
bool pauseIsDue(const Scan &scan, int entries) {
    return !scan.push && g_nProcSleepCnt >= shortestSlice && entries % g_nProcSleepCnt == 0;
}

void takeListedProcesses(Scan &scan, zel::DirectoryWalk &directory) {
    double curTime = scan.pass.collector.fMGetCurTime();
    int entries = 0;
    while (const char *name = directory.next()) {
        if (pauseIsDue(scan, ++entries)) {
            fgUSleep(slicePause);
            curTime = scan.pass.collector.fMGetCurTime();
        }
        if (int pid = 0; zel::isProcess(name, pid))
            takeProcess(scan, pid, curTime);
    }
}

// The elapsed time takes the place of the clock here; consumers of these lists know the rates that come of it.
void takeScriptedProcesses(Scan &scan, double elapsed) {
    zel::ScriptedPids pids;
    for (int pid = 0; pids.next(pid);)
        takeProcess(scan, pid, elapsed);
}

void appendGuestRows(Scan &scan) {
    zel::GuestRows guests(scan.pass.collector);
    while (const char *guest = guests.next()) {
        const std::string_view values = guest;
        CPerfText &row = scan.text.row;
        row.reserveRoom(values.size() + PERF_ROW_ROOM);
        row.clear();
        row.beginRow();
        row.columns(values);
        scan.text.appendRow();
        ++scan.text.count;
    }
}

// The report over all processes; `elapsed` is the time since the previous scan.
const char *report(Scan &scan, zel::DirectoryWalk &directory, double elapsed) {
    CMM_PROC_Info &collector = scan.pass.collector;
    if (scan.scripted)
        zel::runProcessListScript();
    collector.g_stringPollProcess.clear();
    writeScanHeader(scan);
    if (scan.push && !scan.push->start())
        return zel::abandonScan(collector);
    scan.cpuCount = collector.fGetCurrentCpuCnt();
    if (scan.scripted)
        takeScriptedProcesses(scan, elapsed);
    else
        takeListedProcesses(scan, directory);
    if (scan.scripted || directory.error() == 0)
        scan.pass.kept->finish();
    appendGuestRows(scan);

    if (scan.push)
        scan.push->finish(scan.text);
    collector.m_nInsertFirst = 1;
    return scan.text.finish(!scan.push);
}

} // namespace

const char *zel::scanProcesses(CMM_PROC_Info &collector, ProcessState &state, int mode) {
    const double elapsed = collector.fMGetTimeDiff();
    ProcessScratch *scratch = state.clearedScratch();
    // First of all, so that what stays open makes way for what follows where descriptors are used up.
    std::optional<DirectoryWalk> directory = openProcesses(state, scratch);
    const unsigned long totalMemory = collector.fMGetSysTotMem();
    startClocks(collector);
    if (!directory)
        return nullptr;
    ZEL_LOG(normalLogOpen(), LOG_LEVEL_NORMAL, "MM_PROC_Info", collector.m_strLogMsg,
            "MinorNum[%d]GtrProcType[%d]GtrJavaProc[%d]", collector.fMLinux_Minor(), g_nGetProcessType,
            g_nGetProcessJAVA);

    Scan scan{.pass = {collector, *scratch, directory->descriptor(), &state.kept, mode, totalMemory},
              .text = ProcessText(collector),
              .java = JavaFigures(collector),
              .push = {},
              .scripted = processListIsScripted(collector)};
    if (scan.pass.isPush())
        scan.push.emplace(collector, state);
    scan.columns = scan.push ? ProcessColumns::Extended : chosenColumns();
    return report(scan, *directory, elapsed);
}

std::optional<zel::DirectoryWalk> zel::openProcesses(ProcessState &state, ProcessScratch *scratch) {
    if (scratch == nullptr)
        return {};
    std::optional<DirectoryWalk> directory(std::in_place, "/proc", scratch->names);
    if (!directory->isOpen() && state.kept.makeWay())
        directory.emplace("/proc", scratch->names);
    if (!directory->isOpen())
        return {};
    state.kept.begin(directory->descriptor(), g_strHostRoot[0] == '\0' && isOfProc(directory->descriptor()));
    return directory;
}

bool zel::isProcess(const char *name, int &pid) {
    if (name[0] < '0' || name[0] > '9')
        return false;
    pid = static_cast<int>(takeSigned(name));
    return true;
}

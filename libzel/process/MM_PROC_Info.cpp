// The scan of all processes: one pass over /proc (or over a script's list), one row or list entry per process.
#include "MM_PROC_Info.h"

#include "HostRoot.h"
#include "LogGate.h"
#include "NGFunctions.h"
#include "NStringLib.h"
#include "Settings.h"
#include "host/DirectoryWalk.h"
#include "host/HostOpen.h"
#include "process/MM_PROC_Scan.h"
#include "text/NumberScan.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>
#include <unistd.h>

namespace {

constexpr const char *pushCode = "4.14.2.0";
constexpr int ticksPerSecond = 100;
constexpr float wholeMachine = 100.0F;
constexpr int shortestSlice = 100; // directory entries
constexpr int slicePause = 500000; // microseconds
constexpr int uptimeLineSize = 128;

// Percent of the machine, within 0 and 100.
float machineShare(float cpuPercent, int cpuCount) {
    const float share = cpuPercent / static_cast<float>(cpuCount);
    return share > 0 ? std::min(share, wholeMachine) : 0;
}

void writeScanHeader(zel::ProcessScan &scan) {
    scan.row.clear();
    if (scan.push()) {
        scan.row.agentKey(g_ptrAgentKey);
        scan.row.tableMetric(pushCode);
    }
    zel::writeHeader(scan.row, scan.columns);
    zel::appendRow(scan);
}

void writeTextRow(zel::ProcessScan &scan, std::size_t nameLength, float share) {
    const _ST_PROC &process = scan.scratch.record;
    // The row of the previous process still stands in the buffer when the room is measured.
    scan.row.reserveRoom(nameLength + PERF_ROW_ROOM);
    scan.row.clear();
    const float unlimited = process.l_dPCPU / static_cast<float>(scan.cpuCount);
    zel::writeRow(scan.row, scan.columns,
                  zel::ProcessRow<_ST_PROC>{process,
                                            {process.l_strPname, nameLength},
                                            scan.count + 1,
                                            process.l_nCTime / ticksPerSecond,
                                            scan.scripted ? share : unlimited});
    zel::appendRow(scan);
}

// A large process table is read in slices, so that its cost is spread over time.
bool pauseIsDue(const zel::ProcessScan &scan, int entries) {
    return !scan.push() && g_nProcSleepCnt >= shortestSlice && entries % g_nProcSleepCnt == 0;
}

void takeListedProcesses(zel::ProcessScan &scan, zel::DirectoryWalk &directory) {
    double curTime = scan.collector.fMGetCurTime();
    int entries = 0;
    while (const char *name = directory.next()) {
        if (pauseIsDue(scan, ++entries)) {
            fgUSleep(slicePause);
            curTime = scan.collector.fMGetCurTime();
        }
        if (zel::isProcessName(name))
            zel::takeProcess(scan, zel::processNumber(name), curTime);
    }
}

// The lines of a file that begin with `key`. Lines may be longer than any buffer (interrupt counters are), so the file
// is taken in pieces; one that is not full is the last.
int countLinesOf(std::string_view key, int file) {
    int lines = 0;
    std::size_t matched = 0; // characters of the key at the beginning of this line; all and one more: told already
    char piece[16384];
    std::size_t room = zel::HOST_FILE_LIMIT;
    for (ssize_t length = sizeof(piece); length == sizeof(piece) && room > 0; room -= sizeof(piece)) {
        length = read(file, piece, sizeof(piece));
        const char *end = piece + std::max<ssize_t>(length, 0);
        for (const char *at = piece; at != end; ++at) {
            if (matched > key.size())
                at = std::find(at, end, '\n');
            if (at == end)
                break;
            if (*at == '\n')
                matched = 0;
            else
                matched = *at == key[matched] ? matched + 1 : key.size() + 1;
            if (matched == key.size()) {
                ++lines;
                ++matched;
            }
        }
    }
    return lines;
}

// Ends the push list of a scan, however that ends.
struct PushListGuard {
    CMM_PROC_Info &collector;
    ~PushListGuard() { zel::endPushList(collector); }
};

const char *scanProcesses(CMM_PROC_Info &collector, int mode) {
    const double elapsed = collector.fMGetTimeDiff();
    const unsigned long totalMemory = collector.fMGetSysTotMem();
    zel::startClocks(collector);
    zel::ProcessScratch *scratch = zel::clearedScratch(collector);
    if (scratch == nullptr)
        return nullptr;
    zel::DirectoryWalk directory(fgHostPath("/proc"));
    if (!directory.isOpen())
        return nullptr;
    ZEL_LOG(zel::normalLogOpen(), zel::LOG_LEVEL_NORMAL, "MM_PROC_Info", collector.m_strLogMsg,
            "MinorNum[%d]GtrProcType[%d]GtrJavaProc[%d]", collector.fMLinux_Minor(), g_nGetProcessType,
            g_nGetProcessJAVA);

    zel::ProcessScan scan(collector, *scratch, directory.descriptor());
    scan.reader.mode = mode;
    scan.reader.totalMemory = totalMemory;
    scan.scripted = zel::processListIsScripted(collector);
    scan.columns = scan.push() ? zel::ProcessColumns::Extended : zel::chosenColumns();
    if (scan.scripted)
        zel::runProcessListScript();

    collector.g_stringPollProcess.clear();
    writeScanHeader(scan);
    const PushListGuard guard{collector};
    if (scan.push() && !zel::startPushList(collector))
        return zel::abandonScan(collector);
    scan.cpuCount = collector.fGetCurrentCpuCnt();
    if (scan.scripted)
        zel::takeScriptedProcesses(scan, elapsed);
    else
        takeListedProcesses(scan, directory);
    zel::appendVMwareRows(scan);

    if (scan.push()) {
        zel::writeTopRows(scan);
        zel::endPushList(collector);
        zel::adaptPushCapacity(collector, scan.count);
    }
    collector.m_nInsertFirst = 1;
    return zel::finishScan(scan, !scan.push());
}

} // namespace

void zel::ScratchFree::operator()(ProcessScratch *scratch) const {
    std::free(scratch);
}

zel::ProcessScratch *zel::clearedScratch(CMM_PROC_Info &collector) {
    if (collector.m_scratch == nullptr)
        collector.m_scratch.reset(static_cast<ProcessScratch *>(std::calloc(1, sizeof(ProcessScratch))));
    else
        std::memset(collector.m_scratch.get(), 0, sizeof(ProcessScratch));
    return collector.m_scratch.get();
}

// Sample: 350735.47 234388.90
void zel::startClocks(CMM_PROC_Info &collector) {
    collector.m_tTime = std::time(nullptr);
    char line[uptimeLineSize];
    if (CSSUtil::fFile2Buff("/proc/uptime", line, uptimeLineSize) < 1)
        return;
    line[std::strcspn(line, "\n")] = '\0';
    if (std::strchr(line, '.') == nullptr)
        return;
    char *rest = nullptr;
    const char *seconds = Nstrtok(line, ".", &rest);
    std::snprintf(collector.m_strUpTime, sizeof(collector.m_strUpTime), "%s", seconds);
}

void zel::clearRecord(_ST_PROC &record) {
    record.l_strPname[0] = '\0';
    record.l_strUname[0] = '\0';
    record.l_strCTime[0] = '\0';
    record.l_strStart[0] = '\0';
    record.l_strFName[0] = '\0';
    record.l_nIsUpNow = 0;
    record.l_dPUserCpu = 0;
    record.l_dPSysCpu = 0;
}

std::size_t zel::trimName(char *name) {
    constexpr std::string_view nameless = "<defunct>";
    std::size_t length = std::strlen(name);
    while (length > 0 && name[length - 1] == ' ')
        --length;
    if (length == 0) {
        std::memcpy(name, nameless.data(), nameless.size());
        length = nameless.size();
    }
    name[length] = '\0';
    return length;
}

bool zel::isProcessName(const char *name) {
    return name[0] >= '0' && name[0] <= '9';
}

int zel::processNumber(const char *name) {
    return static_cast<int>(takeSigned(name));
}

void zel::takeProcess(ProcessScan &scan, int pid, double curTime) {
    _ST_PROC &process = scan.scratch.record;
    clearRecord(process);
    if (!readProcess(scan.reader, pid, curTime, scan.scratch.raw, process))
        return;
    takeJavaFigure(scan);
    if (process.l_strUname[0] == '\0' || process.l_strPname[0] == '\0')
        return;
    const std::size_t nameLength = trimName(process.l_strPname);

    const float share = machineShare(process.l_dPCPU, scan.cpuCount);
    if (scan.push())
        addToPushList(scan, share);
    else
        writeTextRow(scan, nameLength, share);
    ++scan.count;
}

// A row that memory was too short for is left out whole.
void zel::appendRow(ProcessScan &scan) {
    if (!scan.row.incomplete())
        scan.collector.g_stringPollProcess.append(scan.row.view());
}

const char *zel::finishScan(ProcessScan &scan, bool endMarker) {
    CMM_PROC_Info &collector = scan.collector;
    if (endMarker) {
        scan.row.clear();
        scan.row.endMarker();
        appendRow(scan);
    }
    collector.m_nNProc = scan.count;
    collector.m_pstrPollProcInfo = collector.g_stringPollProcess.c_str();
    return scan.count == 0 ? nullptr : collector.m_pstrPollProcInfo;
}

const char *zel::abandonScan(CMM_PROC_Info &collector) {
    collector.m_pstrPollProcInfo = collector.g_stringPollProcess.c_str();
    return nullptr;
}

CMM_PROC_Info::CMM_PROC_Info()
    : m_pclUser(new CSSUser), m_pclUtil(new CSSUtil), m_pstrProcessInfo(fgNewTextBuffer(PERF_TABLE_SIZE)),
      m_nProcessInfoBufSize(PERF_TABLE_SIZE), m_nNProc(0), m_nCpuCnt(0), m_nVMFlag(0), m_nIsVMWare(0),
      m_tTime(0), m_strUpTime{}, m_nInsertFirst(0), m_nNewCount(0), m_pstrPollProcInfo(nullptr),
      m_pstrProcReturn(nullptr), m_stLastTime{}, m_strPushSplit{}, m_nActiveSize(PROC_PUSH_CAPACITY),
      m_stAllProcList(nullptr), m_strLogMsg{} {
    fgSetPushSplit(m_strPushSplit);
}

CMM_PROC_Info::~CMM_PROC_Info() {
    for (auto &sample : m_ProcMap)
        delete sample.second;
    std::free(m_pstrProcessInfo);
    delete m_pclUtil;
    delete m_pclUser;
}

const char *CMM_PROC_Info::fMGetProc(int mode) {
    try {
        return scanProcesses(*this, mode);
    } catch (const std::bad_alloc &) {
        return zel::abandonScan(*this);
    }
}

void CMM_PROC_Info::fSetVMFlag(int vmFlag, int isVMWare) {
    m_nVMFlag = vmFlag;
    m_nIsVMWare = isVMWare;
}

int CMM_PROC_Info::fGetCurrentCpuCnt() {
    const zel::ScopedDescriptor file = zel::openHostFile("/proc/stat");
    // The lines that begin with "cpu", without the total line.
    return file.valid() ? std::max(countLinesOf("cpu", file.get()) - 1, 1) : 1;
}

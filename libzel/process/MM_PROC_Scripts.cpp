// What outside scripts add to a scan: the process list and the CPU percent of java processes on 2.4 kernels, and rows
// about the guests of a VMware host. Scripts run through the command runner with a time-out of 5 seconds.
#include "LogGate.h"
#include "Settings.h"
#include "kernel/KernelRelease.h"
#include "process/MM_PROC_Scan.h"
#include "scripts/HomeScripts.h"
#include "text/LineReader.h"
#include "text/NumberScan.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

constexpr int scriptedKernelMinor = 4; // alone, whatever the major number is
constexpr std::size_t numberLineSize = 64;
constexpr std::size_t guestLineSize = 512;

// The next line; what is beyond the buffer is dropped. False at the end of the file.
template<std::size_t size> bool takeLine(std::FILE *file, char (&line)[size]) {
    return zel::readLine(file, line) != zel::Line::None;
}

// Sample: 12.5 -> 12.5; a text that is no finite decimal number is 0.
float decimalNumber(const char *text) {
    while (*text == ' ' || *text == '\t')
        ++text;
    double value = 0;
    const char *end = text + std::strlen(text);
    if (std::from_chars(text + (*text == '+'), end, value).ec != std::errc{} || !std::isfinite(value))
        return 0;
    const auto figure = static_cast<float>(value);
    return std::isfinite(figure) ? figure : 0;
}

void gatherTopOfAll(zel::ProcessScan &scan) {
    const std::time_t started = std::time(nullptr);
    zel::runScript(zel::Script::TopOfAll);
    ZEL_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "MM_PROC_Info", scan.collector.m_strLogMsg,
            "top_info gatherTime[%d]", static_cast<int>(std::time(nullptr) - started));
    scan.topTaken = true;
}

} // namespace

bool zel::processListIsScripted(const CMM_PROC_Info &collector) {
    return rulingRelease(collector).minor == scriptedKernelMinor && g_nGetProcessType == 1;
}

void zel::runProcessListScript() {
    runScript(Script::ProcessList);
}

// The elapsed time stands in for the clock here; consumers of these lists know the rates that come of it.
void zel::takeScriptedProcesses(ProcessScan &scan, double elapsed) {
    const ScopedFile file = openResult(Script::ProcessList);
    if (file == nullptr)
        return;
    char line[numberLineSize];
    while (takeLine(file.get(), line)) {
        const char *text = line;
        if (long long pid = 0; scanSigned(text, pid))
            takeProcess(scan, static_cast<int>(pid), elapsed);
    }
}

void zel::takeJavaFigure(ProcessScan &scan) {
    _ST_PROC &process = scan.scratch.record;
    if (rulingRelease(scan.collector).minor != scriptedKernelMinor || g_nGetProcessJAVA != 1 ||
        std::strstr(process.l_strPname, "java") == nullptr)
        return;
    if (!scan.topTaken)
        gatherTopOfAll(scan);

    runScript(Script::ProcessCpu, process.l_nPid);
    const ScopedFile file = openResult(Script::ProcessCpu);
    char line[numberLineSize];
    if (file != nullptr && takeLine(file.get(), line))
        process.l_dPCPU = decimalNumber(line);
}

void zel::appendVMwareRows(ProcessScan &scan) {
    CMM_PROC_Info &collector = scan.collector;
    if (collector.m_nVMFlag != 1 || collector.m_nIsVMWare != 1)
        return;
    ScopedFile file = openHomeFile(GUEST_PROCESSES);
    if (file == nullptr)
        file = openHomeFile(OLDER_GUEST_PROCESSES);
    if (file == nullptr) {
        ZEL_LOG(errorLogOpen(), LOG_LEVEL_ERROR, "MM_PROC_Info", collector.m_strLogMsg,
                "VMWare PROC Gtr %s file not found", GUEST_PROCESSES);
        return;
    }
    char line[guestLineSize];
    while (takeLine(file.get(), line)) {
        const std::string_view row = line;
        scan.row.reserveRoom(row.size() + PERF_ROW_ROOM);
        scan.row.clear();
        scan.row.beginRow();
        scan.row.columns(row);
        appendRow(scan);
        ++scan.count;
    }
}

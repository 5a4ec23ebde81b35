// What outside scripts add to a scan: the process list and the CPU percent of java processes on 2.4 kernels, and rows
// about the guests of a VMware host. Scripts run through the command runner with a time-out of 5 seconds.
#include "process/MM_PROC_Scripts.h"

#include "LogGate.h"
#include "Settings.h"
#include "kernel/KernelRelease.h"
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

// The next line; what is beyond the buffer is dropped. False at the end of the file.
template<std::size_t size> bool takeLine(std::FILE *file, char (&line)[size]) {
    return zel::readLine(file, line) != zel::Line::None;
}

// Sample: 12.5 -> 12.5; a text that is no finite decimal number is 0, and so is minus zero.
float decimalNumber(const char *text) {
    while (*text == ' ' || *text == '\t')
        ++text;
    double value = 0;
    const char *end = text + std::strlen(text);
    if (std::from_chars(text + (*text == '+'), end, value).ec != std::errc{} || !std::isfinite(value))
        return 0;
    const auto figure = static_cast<float>(value);
    return std::isfinite(figure) ? figure + 0.0F : 0;
}

bool isScriptedKernel(const CMM_PROC_Info &collector) {
    return zel::rulingRelease(collector).minor == scriptedKernelMinor;
}

} // namespace

bool zel::processListIsScripted(const CMM_PROC_Info &collector) {
    return isScriptedKernel(collector) && g_nGetProcessType == 1;
}

void zel::runProcessListScript() {
    runScript(Script::ProcessList);
}

zel::ScriptedPids::ScriptedPids() : m_file(openResult(Script::ProcessList)) {}

bool zel::ScriptedPids::next(int &pid) {
    char line[numberLineSize];
    while (m_file != nullptr && takeLine(m_file.get(), line)) {
        const char *text = line;
        long long number = 0;
        if (!scanSigned(text, number))
            continue;
        pid = static_cast<int>(number);
        return true;
    }
    return false;
}

zel::JavaFigures::JavaFigures(CMM_PROC_Info &collector)
    : m_collector(collector), m_wanted(isScriptedKernel(collector) && g_nGetProcessJAVA == 1) {}

void zel::JavaFigures::replaceFigure(_ST_PROC &process) {
    if (!m_wanted || std::strstr(process.l_strPname, "java") == nullptr)
        return;
    if (!m_topTaken)
        gatherTopOfAll();

    runScript(Script::ProcessCpu, process.l_nPid);
    const ScopedFile file = openResult(Script::ProcessCpu);
    char line[numberLineSize];
    if (file != nullptr && takeLine(file.get(), line))
        process.l_dPCPU = decimalNumber(line);
}

void zel::JavaFigures::gatherTopOfAll() {
    const std::time_t started = std::time(nullptr);
    runScript(Script::TopOfAll);
    ZEL_LOG(errorLogOpen(), LOG_LEVEL_ERROR, "MM_PROC_Info", m_collector.m_strLogMsg, "top_info gatherTime[%d]",
            static_cast<int>(std::time(nullptr) - started));
    m_topTaken = true;
}

zel::GuestRows::GuestRows(CMM_PROC_Info &collector) : m_file(nullptr) {
    if (collector.m_nVMFlag != 1 || collector.m_nIsVMWare != 1)
        return;
    m_file = openHomeFile(GUEST_PROCESSES);
    if (m_file == nullptr)
        m_file = openHomeFile(OLDER_GUEST_PROCESSES);
    if (m_file == nullptr)
        ZEL_LOG(errorLogOpen(), LOG_LEVEL_ERROR, "MM_PROC_Info", collector.m_strLogMsg,
                "VMWare PROC Gtr %s file not found", GUEST_PROCESSES);
}

const char *zel::GuestRows::next() {
    return m_file != nullptr && takeLine(m_file.get(), m_line) ? m_line : nullptr;
}

// What a scan takes of the host as a whole: clock, uptime, memory, processors.
#include "process/MM_PROC_Host.h"

#include "NGFunctions.h"
#include "NStringLib.h"
#include "functions/ElapsedTime.h"
#include "host/HostOpen.h"
#include "kernel/KernelFile.h"
#include "kernel/KernelText.h"
#include "kernel/LinePieces.h"
#include "process/ProcessState.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr double hundredthsPerSecond = 100.0;
constexpr double secondsBeforeFirstSample = 1e9;
constexpr std::size_t memoryFileSize = 8192;
constexpr std::size_t uptimeLineSize = 128;

int linesThatBeginWith(std::string_view key, std::string_view lines) {
    int count = 0;
    for (std::size_t at = 0; at < lines.size();) {
        count += lines.substr(at).starts_with(key) ? 1 : 0;
        const std::size_t lineFeed = lines.find('\n', at);
        at = lineFeed == std::string_view::npos ? lines.size() : lineFeed + 1;
    }
    return count;
}

} // namespace

// Sample: 350735.47 234388.90
void zel::startClocks(CMM_PROC_Info &collector) {
    collector.m_tTime = std::time(nullptr);
    char line[uptimeLineSize];
    if (!readKernelFile("/proc/uptime", line, sizeof(line)))
        return;
    line[std::strcspn(line, "\n")] = '\0';
    if (std::strchr(line, '.') == nullptr)
        return;
    char *rest = nullptr;
    const char *seconds = Nstrtok(line, ".", &rest);
    std::snprintf(collector.m_strUpTime, sizeof(collector.m_strUpTime), "%s", seconds);
}

double CMM_PROC_Info::fMGetCurTime() {
    return fGetCurVelmorTime() * hundredthsPerSecond;
}

double CMM_PROC_Info::fMGetTimeDiff() {
    const bool first = m_stLastTime.tv_sec == 0 && m_stLastTime.tv_usec == 0;
    const double elapsed = zel::elapsedSince(m_stLastTime);
    return (first ? secondsBeforeFirstSample : elapsed) * hundredthsPerSecond;
}

unsigned long CMM_PROC_Info::fMGetSysTotMem() {
    char text[memoryFileSize];
    unsigned long long kilobytes = 0;
    zel::parseTotalMemory(zel::readKernelFile("/proc/meminfo", text, sizeof(text)).text, kilobytes);
    return kilobytes;
}

int CMM_PROC_Info::fGetCurrentCpuCnt() {
    zel::ProcessScratch *scratch = m_state->scratch();
    if (scratch == nullptr)
        return 1;
    zel::LinePieces file(zel::openHostFile("/proc/stat"), scratch->text, sizeof(scratch->text));
    int lines = 0;
    while (const char *piece = file.next())
        lines += linesThatBeginWith("cpu", std::string_view(piece, file.end()));
    return std::max(lines - 1, 1); // without the total line
}

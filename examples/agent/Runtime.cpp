// Settings, logger, scheduler and watchdog of the agent.
#include "Runtime.h"

#include "HostRoot.h"
#include "LogGate.h"
#include "NGFunctions.h"
#include "Settings.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace agent {

namespace {

constexpr int logLevel = 2;
constexpr int logDays = 7;
constexpr int logInThread = 1;
constexpr int longestPass = 30; // seconds
constexpr int megabytesOfBufferFiles = 100;
constexpr rlim_t usefulDescriptors = 262144; // four for each of 16384 processes, of which a quarter may stay open

// The watchdog's words are plain integers that its thread reads and writes, too.
void setShared(int &word, int value) {
    std::atomic_ref<int>(word).store(value);
}

int readShared(int &word) {
    return std::atomic_ref<int>(word).load();
}

void applyHostRoot() {
    const char *root = std::getenv("ZEL_HOST_ROOT");
    std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s", root == nullptr ? "" : root);
}

} // namespace

void applySettings() {
    static char key[] = "agent_key";
    g_ptrAgentKey = key;
    g_nKernelRule = 1; // every kernel from 2.6 on is read as one
    g_nCpuStrType = 1; // texts, not lists
    g_nDiskStrType = 1;
    g_nInterfaceStrType = 1;
    g_nLinuxBandwidthFlag = 1;
    g_nProcExtendFlag = 1;
    g_nNfsStatusCheckFlag = 2;
    g_nDataBufferSaveMaxSize = megabytesOfBufferFiles;
    applyHostRoot();
}

void raiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= usefulDescriptors)
        return;
    limit.rlim_cur = std::min(limit.rlim_max, usefulDescriptors);
    setrlimit(RLIMIT_NOFILE, &limit);
}

Runtime::Runtime() : m_logger(logLevel, "example", logDays, logInThread) {
    startLogger();
    startScheduler();
    startWatchdog();
}

Runtime::~Runtime() {
    setShared(g_nAlarmThStatus, 0);
    m_watchdog.join();
}

void Runtime::passBegins() {
    setShared(g_nBlockChkSec, fGetPushCurVelmorTime());
    setShared(g_nAlarmSec, longestPass);
}

void Runtime::passEnds() {
    setShared(g_nAlarmSec, 0);
}

void Runtime::startLogger() {
    fgMakeDirectory("../log/");
    m_logger.fSetLogPath("../log/");
    CVornLog::fSetLogModeBit("ERROR");
    g_pclVornLog = &m_logger;
}

void Runtime::startScheduler() {
    m_scheduler.m_nCmdSchedulerType = SCHEDULER_QUEUE;
    m_scheduler.fCmdSchedulerStart();
    g_pclCCmdScheduler = &m_scheduler;
}

void Runtime::startWatchdog() {
    g_nBlockChkFlag = 1;
    m_watchdog = std::thread(fgAlarmTh, &m_longestSilence);
    while (readShared(g_nAlarmThStatus) != 1) // starting, it disarms itself
        fgUSleep(1000);
}

} // namespace agent

// The alarm watchdog of NGFunctions.h, second by second.
#include "functions/Watchdog.h"

#include "LogGate.h"
#include "NGFunctions.h"
#include "threads/SharedValue.h"
#include "threads/WorkerThread.h"

#include <csignal>
#include <ctime>
#include <unistd.h>

using zel::readShared;
using zel::writeShared;

int g_nSignalPid;
int g_nAlarmSec;
int g_nAlarmThStatus;
int g_nBlockChkFlag;
int g_nBlockTimeOut;
int g_nBlockChkSec;
char g_strDebugDetail[256];

namespace {

constexpr int passLength = 1000000; // microseconds
constexpr int passesPerBlockCheck = 11;
constexpr const char *sourceName = "UNI";

int nowInSeconds() {
    return static_cast<int>(std::time(nullptr));
}

// Seconds from `then` to `now`, also where the 32-bit count of seconds wraps between them.
int secondsBetween(int then, int now) {
    return static_cast<int>(static_cast<unsigned>(now) - static_cast<unsigned>(then));
}

bool gateOpen() {
    return zel::errorLogOpen(zel::LOG_MODULE_UNI, zel::LOG_DETAIL_UNI);
}

// `moment` is "sending-alarm", "send-alarm", "sending-block" or "send-block". The last number has no meaning.
void logSignal(const char *moment, int timeOut) {
    char message[128];
    ZEL_LOG(gateOpen(), zel::LOG_LEVEL_ERROR, sourceName, message,
            "signal alarm %s[pid:%d] time out[%d sec](DEBUG NO : %d)", moment, readShared(g_nSignalPid), timeOut, 0);
}

// The pid is the embedding program's to set, at any time: one below 1 would signal whole groups of processes.
void sendAlarm() {
    const int pid = readShared(g_nSignalPid);
    kill(pid < 1 ? getpid() : pid, SIGALRM);
}

void checkAlarm(zel::WatchdogCounters &counters) {
    const int alarmSeconds = readShared(g_nAlarmSec);
    if (alarmSeconds < 1) {
        counters.armedPasses = 0;
        return;
    }
    if (counters.armedPasses == alarmSeconds) {
        logSignal("sending-alarm", alarmSeconds);
        sendAlarm();
        writeShared(g_nAlarmSec, 0);
        logSignal("send-alarm", 0);
    }
    ++counters.armedPasses;
}

void checkBlock() {
    const int timeOut = readShared(g_nBlockTimeOut);
    if (readShared(g_nBlockChkFlag) != 1 || timeOut < 1 ||
        secondsBetween(readShared(g_nBlockChkSec), nowInSeconds()) <= timeOut)
        return;
    logSignal("sending-block", timeOut);
    sendAlarm();
    writeShared(g_nBlockChkSec, nowInSeconds());
    logSignal("send-block", timeOut);
}

} // namespace

void zel::watchdogStart(int blockTimeOut) {
    writeShared(g_nAlarmThStatus, 1);
    writeShared(g_nAlarmSec, 0);
    writeShared(g_nBlockChkSec, nowInSeconds());
    if (readShared(g_nSignalPid) < 1)
        writeShared(g_nSignalPid, getpid());
    writeShared(g_nBlockTimeOut, blockTimeOut < 1 ? 0 : blockTimeOut);
}

void zel::watchdogPass(WatchdogCounters &counters) {
    checkAlarm(counters);
    if (++counters.passes == passesPerBlockCheck) {
        counters.passes = 0;
        checkBlock();
    }
}

void *fgAlarmTh(void *arg) {
    const zel::SignalsBlocked blocked; // SIGALRM is for the watched thread, and any signal would cut a pass short
    zel::watchdogStart(arg != nullptr ? *static_cast<const int *>(arg) : 0);
    zel::WatchdogCounters counters;
    for (;;) {
        fgUSleep(passLength);
        if (readShared(g_nAlarmThStatus) != 1)
            break;
        zel::watchdogPass(counters);
    }
    char message[64];
    ZEL_LOG(gateOpen(), zel::LOG_LEVEL_ERROR, sourceName, message, "signal alarm thread exit");
    return nullptr;
}

void fgCNSocket_CathAlam(int) {}

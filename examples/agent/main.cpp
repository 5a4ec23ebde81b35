// A small agent: samples every collector on a cycle of its own and delivers the texts (Delivery.h has the protocol).
//   agent [--to HOST:PORT] [--cycle SECONDS]       default: to standard output, a base cycle of 5 seconds
// It runs in the directory agent/bin of a home. SIGTERM and SIGINT end it. Everything is sampled and delivered on the
// main thread; beside it run the library's log writer, scheduler worker and watchdog.
#include "Delivery.h"
#include "Sampling.h"

#include <csignal>
#include <cstdlib>
#include <thread>

namespace {

volatile std::sig_atomic_t stopRequested = 0;

// Settings are assigned before the first collector is built; what is not named here stays 0.
void applySettings() {
    static char key[] = "agent_key";
    g_ptrAgentKey = key;
    g_nCpuStrType = g_nDiskStrType = g_nInterfaceStrType = 1; // texts, not lists
    g_nLinuxBandwidthFlag = g_nProcExtendFlag = 1;
    g_nNfsStatusCheckFlag = 2;
    g_nDataBufferSaveMaxSize = 100; // megabytes
    const char *root = std::getenv("ZEL_HOST_ROOT");
    std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s", root == nullptr ? "" : root);
}

void sampleUntilStopped(const char *receiver, int cycle) {
    Delivery delivery(receiver);
    Sampling sampling(cycle);
    for (; stopRequested == 0; fgUSleep(200000)) {
        zel::writeShared(g_nBlockChkSec, fGetPushCurVelmorTime()); // the heartbeat
        zel::writeShared(g_nAlarmSec, 30);                         // the longest pass that is not interrupted
        for (Task &task : sampling.tasks) {
            if (const auto now = std::chrono::steady_clock::now(); stopRequested == 0 && now >= task.due) {
                task.due = now + task.cycle;
                delivery.take(task.name, task.sample());
            }
        }
        delivery.sendKept();
        zel::writeShared(g_nAlarmSec, 0);
    }
    std::fprintf(stderr, "agent: run %s ends after %llu records\n", delivery.run.c_str(), delivery.records);
}

} // namespace

int main(int argc, char **argv) {
    const char *receiver = nullptr;
    int cycle = 5;
    for (int i = 1; i < argc; i += 2) {
        if (i + 1 < argc && std::strcmp(argv[i], "--to") == 0 && std::strchr(argv[i + 1], ':') != nullptr)
            receiver = argv[i + 1];
        else if (i + 1 == argc || std::strcmp(argv[i], "--cycle") != 0 || (cycle = std::atoi(argv[i + 1])) < 1)
            return std::fputs("Usage: agent [--to HOST:PORT] [--cycle SECONDS]\n", stderr), 2;
    }
    applySettings();
    std::signal(SIGTERM, [](int) { stopRequested = 1; });
    std::signal(SIGINT, [](int) { stopRequested = 1; });
    std::signal(SIGPIPE, SIG_IGN);
    struct sigaction onAlarm {}; // without SA_RESTART: ends the system call that it meets
    onAlarm.sa_handler = fgCNSocket_CathAlam;
    sigaction(SIGALRM, &onAlarm, nullptr);
    sigset_t alarmSignal; // is meant for this thread: the others start with it blocked
    sigemptyset(&alarmSignal);
    sigaddset(&alarmSignal, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &alarmSignal, nullptr);
    fgMakeDirectory("../log/");
    CVornLog log(2, "example", 7, 1); // files are kept for 7 days; 1: thread mode
    log.fSetLogPath("../log/");
    CVornLog::fSetLogModeBit("ERROR");
    g_pclVornLog = &log;
    CCmdScheduler scheduler;
    scheduler.m_nCmdSchedulerType = SCHEDULER_QUEUE;
    scheduler.fCmdSchedulerStart();
    g_pclCCmdScheduler = &scheduler;
    int silence = 60; // seconds without a heartbeat
    g_nBlockChkFlag = 1;
    std::thread watchdog(fgAlarmTh, &silence);
    while (zel::readShared(g_nAlarmThStatus) != 1) // starting, it disarms itself
        fgUSleep(1000);
    pthread_sigmask(SIG_UNBLOCK, &alarmSignal, nullptr);
    sampleUntilStopped(receiver, cycle);
    zel::writeShared(g_nAlarmThStatus, 0);
    watchdog.join();
}

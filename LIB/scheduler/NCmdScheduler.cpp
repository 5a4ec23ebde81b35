#include "NCmdScheduler.h"

#include "host/Shell.h"
#include "scheduler/CmdWorkers.h"
#include "threads/SharedValue.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

using zel::writeShared;

CCmdScheduler *g_pclCCmdScheduler;

void zel::runAndWait(const char *commandLine) {
    static_cast<void>(runShell(commandLine));
}

CCmdScheduler::CCmdScheduler()
    : m_nCmdSaveFlag(0), m_nCmdRunFlag(0), m_nSyncFlag(0), m_pstrCmdSchedulerHome(nullptr), m_nCmdSchedulerType(0),
      m_strLogMsg(), m_nThreadStart(0), m_pcQueue(nullptr),
      m_link(std::make_shared<zel::WorkerLink<CCmdScheduler>>(this)) {}

CCmdScheduler::~CCmdScheduler() {
    CCmdScheduler *self = this;
    std::atomic_ref<CCmdScheduler *>(g_pclCCmdScheduler).compare_exchange_strong(self, nullptr);

    const std::lock_guard threadAway(m_link->lock);
    m_link->owner = nullptr;
    for (_CMD_SCHEDULER *command : m_CmdList)
        zel::freeCommand(command);
    while (m_pcQueue != nullptr && m_pcQueue->getCount() > 0)
        zel::freeCommand(m_pcQueue->pop());
    delete m_pcQueue;
    std::free(m_pstrCmdSchedulerHome);
}

int CCmdScheduler::fSetCmdSchedulerHomePath(const char *dir) {
    if (dir == nullptr)
        return 0;
    if (m_pstrCmdSchedulerHome == nullptr)
        m_pstrCmdSchedulerHome = static_cast<char *>(std::calloc(SCHEDULER_HOME_SIZE, 1));
    if (m_pstrCmdSchedulerHome == nullptr)
        return 0;

    // An empty path stays empty: it must not become the root directory.
    const std::size_t length = strnlen(dir, SCHEDULER_HOME_SIZE - 2);
    std::memcpy(m_pstrCmdSchedulerHome, dir, length);
    m_pstrCmdSchedulerHome[length] = '\0';
    if (length > 0 && dir[length - 1] != '/')
        std::strcpy(m_pstrCmdSchedulerHome + length, "/");
    ZEL_SCHEDULER_NOTICE("command schedule daemon home path set : %s", m_pstrCmdSchedulerHome);
    return 1;
}

int CCmdScheduler::fCmdSchedulerStart() {
    if (m_nCmdSchedulerType == SCHEDULER_LIST || m_nCmdSchedulerType == SCHEDULER_QUEUE)
        return startThread();
    const int result = runDaemonScript("cmd_scd_start.sh");
    if (result == 1)
        writeShared(m_nCmdSaveFlag, 0);
    return result;
}

int CCmdScheduler::fCmdSchedulerStop() {
    if (m_nCmdSchedulerType != SCHEDULER_LIST)
        return runDaemonScript("cmd_scd_stop.sh");
    const std::lock_guard held(m_link->lock);
    for (_CMD_SCHEDULER *command : m_CmdList)
        zel::freeCommand(command);
    m_CmdList.clear();
    return 1;
}

int CCmdScheduler::fCmdSave(const char *key, const char *command) {
    if (m_nCmdSchedulerType == SCHEDULER_QUEUE)
        return fCmdQueuePush(command);
    if (m_nCmdSchedulerType != SCHEDULER_LIST)
        return saveCommandFile(key, command);
    if (key == nullptr)
        return fCmdPush(key, command);

    constexpr int timeRoom = 24; // "_", digits and sign of a 64-bit time
    char timedKey[SCHEDULER_KEY_SIZE];
    std::snprintf(timedKey, sizeof(timedKey), "%.*s_%lld", SCHEDULER_KEY_SIZE - timeRoom, key,
                  static_cast<long long>(std::time(nullptr)));
    writeShared(m_nSyncFlag, 1);
    const int result = fCmdPush(timedKey, command);
    writeShared(m_nSyncFlag, 0);
    return result;
}

bool CCmdScheduler::homeAndKeyGiven(const char *key) {
    if (m_pstrCmdSchedulerHome == nullptr)
        ZEL_SCHEDULER_ERROR("command save failed : home path strlen is null");
    else if (m_pstrCmdSchedulerHome[0] == '\0')
        ZEL_SCHEDULER_ERROR("command save failed : home path strlen is zero");
    else if (key == nullptr)
        ZEL_SCHEDULER_ERROR("command save key is null");
    else if (key[0] == '\0')
        ZEL_SCHEDULER_ERROR("command save key is strlen zero");
    else
        return true;
    return false;
}

bool CCmdScheduler::commandGiven(const char *command) {
    if (command == nullptr)
        ZEL_SCHEDULER_ERROR("command save command is null");
    else if (command[0] == '\0')
        ZEL_SCHEDULER_ERROR("command save command is strlen zero");
    else
        return true;
    return false;
}

int CCmdScheduler::startThread() {
    const bool list = m_nCmdSchedulerType == SCHEDULER_LIST;
    int error = 0;
    {
        const std::lock_guard held(m_link->lock); // the thread waits here until everything is in place
        if (m_nThreadStart != 0)
            return 1;
        std::unique_ptr<Queue<MessageQData *>> queue;
        if (!list)
            queue.reset(new (std::nothrow) Queue<MessageQData *>);
        error = list               ? zel::startWorker<zel::workOnList>(m_link)
                : queue == nullptr ? ENOMEM
                                   : zel::startWorker<zel::workOnQueue>(m_link);
        if (error == 0) {
            writeShared(m_pcQueue, queue.release());
            writeShared(m_nThreadStart, 1);
        }
    }
    const char *thread = list ? "scheduler" : "queue_scheduler";
    if (error == 0)
        ZEL_SCHEDULER_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "pthread_create %s success", thread);
    else
        ZEL_SCHEDULER_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "pthread_create %s failed.[%s]", thread,
                          std::strerror(error));
    return error == 0 ? 1 : -1;
}

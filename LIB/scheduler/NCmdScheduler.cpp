// The command scheduler itself: its members, its start and stop, and the way of a request to the mode in force.
#include "NCmdScheduler.h"

#include "scheduler/NCmdSchedulerFiles.h"
#include "scheduler/NCmdSchedulerList.h"
#include "scheduler/NCmdSchedulerQueue.h"
#include "threads/ForkRepair.h"
#include "threads/SharedValue.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

using zel::writeShared;

CCmdScheduler *g_pclCCmdScheduler;

struct zel::SchedulerState {
    explicit SchedulerState(CCmdScheduler &scheduler) : link(std::make_shared<SchedulerLink>(&scheduler)) {}

    // The child of a fork has no worker, and what is pending is the parent's to run. List and queue are not touched:
    // another thread may have been in the middle of either.
    void repair() {
        CCmdScheduler &scheduler = *link->owner;
        renew(link->lock);
        renew(scheduler.m_CmdList);
        scheduler.m_pcQueue = nullptr;
        scheduler.m_nSyncFlag = 0;
        scheduler.m_nThreadStart = 0;
        g_nCmdSync = 0;
    }

    const SharedLink<CCmdScheduler> link; // what the worker shares with its scheduler
    ForkRepair forkRepair{[](void *state) { static_cast<SchedulerState *>(state)->repair(); }, this};
};

namespace {

// Starts the thread of the mode, once. 1, or -1 when it cannot be started.
int startWorkerOf(const zel::SharedLink<CCmdScheduler> &link) {
    CCmdScheduler &scheduler = *link->owner;
    const bool list = scheduler.m_nCmdSchedulerType == SCHEDULER_LIST;
    int error = 0;
    {
        const std::lock_guard held(link->lock); // the thread waits here until everything is in place
        if (scheduler.m_nThreadStart != 0)
            return 1;
        std::unique_ptr<Queue<MessageQData *>> queue;
        if (!list)
            queue.reset(new (std::nothrow) Queue<MessageQData *>);
        error = list               ? zel::startWorker<zel::workOnList>(link)
                : queue == nullptr ? ENOMEM
                                   : zel::startWorker<zel::workOnQueue>(link);
        if (error == 0) {
            writeShared(scheduler.m_pcQueue, queue.release());
            writeShared(scheduler.m_nThreadStart, 1);
        }
    }
    const char *thread = list ? "scheduler" : "queue_scheduler";
    if (error == 0)
        ZEL_SCHEDULER_LOG(*link, zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "pthread_create %s success", thread);
    else
        ZEL_SCHEDULER_LOG(*link, zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "pthread_create %s failed.[%s]", thread,
                          std::strerror(error));
    return error == 0 ? 1 : -1;
}

} // namespace

CCmdScheduler::CCmdScheduler()
    : m_nCmdSaveFlag(0), m_nCmdRunFlag(0), m_nSyncFlag(0), m_pstrCmdSchedulerHome(nullptr), m_nCmdSchedulerType(0),
      m_strLogMsg(), m_nThreadStart(0), m_pcQueue(nullptr), m_state(std::make_unique<zel::SchedulerState>(*this)) {}

CCmdScheduler::~CCmdScheduler() {
    CCmdScheduler *self = this;
    std::atomic_ref<CCmdScheduler *>(g_pclCCmdScheduler).compare_exchange_strong(self, nullptr);

    zel::clearList(*m_state->link);
    const std::lock_guard threadAway(m_state->link->lock);
    m_state->link->owner = nullptr;
    zel::freeQueue(m_pcQueue);
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
    ZEL_SCHEDULER_NOTICE(*m_state->link, "command schedule daemon home path set : %s", m_pstrCmdSchedulerHome);
    return 1;
}

int CCmdScheduler::fCmdSchedulerStart() {
    if (m_nCmdSchedulerType == SCHEDULER_LIST || m_nCmdSchedulerType == SCHEDULER_QUEUE)
        return startWorkerOf(m_state->link);
    const int result = zel::runDaemonScript(*m_state->link, "cmd_scd_start.sh");
    if (result == 1)
        writeShared(m_nCmdSaveFlag, 0);
    return result;
}

int CCmdScheduler::fCmdSchedulerStop() {
    if (m_nCmdSchedulerType != SCHEDULER_LIST)
        return zel::runDaemonScript(*m_state->link, "cmd_scd_stop.sh");
    zel::clearList(*m_state->link);
    return 1;
}

int CCmdScheduler::fCmdSave(const char *key, const char *command) {
    if (m_nCmdSchedulerType == SCHEDULER_QUEUE)
        return fCmdQueuePush(command);
    if (m_nCmdSchedulerType == SCHEDULER_LIST)
        return zel::addToListNow(*m_state->link, key, command);
    return zel::saveCommandFile(*m_state->link, key, command);
}

int CCmdScheduler::fCmdPush(const char *key, const char *command) {
    return zel::addToList(*m_state->link, key, command);
}

int CCmdScheduler::fCmdQueuePush(const char *command) {
    return zel::addToQueue(*m_state->link, command);
}

void *fCmdSchedulerTh(void *scheduler) {
    const zel::SharedLink<CCmdScheduler> link = static_cast<CCmdScheduler *>(scheduler)->m_state->link;
    zel::workOnList(link);
    return nullptr;
}

void *fCmdQueueSchedulerTh(void *scheduler) {
    const zel::SharedLink<CCmdScheduler> link = static_cast<CCmdScheduler *>(scheduler)->m_state->link;
    zel::workOnQueue(link);
    return nullptr;
}

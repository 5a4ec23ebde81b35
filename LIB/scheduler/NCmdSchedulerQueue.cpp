// The queue of commands of the scheduler and its thread.
#include "scheduler/NCmdSchedulerQueue.h"

#include "NGFunctions.h"
#include "host/Shell.h"
#include "text/OwnedText.h"
#include "threads/SharedValue.h"

#include <cstdlib>
#include <ctime>

using zel::readShared;

namespace {

struct CommandFree {
    void operator()(MessageQData *command) const {
        std::free(command->m_pstrCollectData);
        std::free(command);
    }
};

using QueuedCommand = std::unique_ptr<MessageQData, CommandFree>;

// A message without a command is a message, too: the thread says so when it takes it.
QueuedCommand newQueuedCommand(const char *command) {
    QueuedCommand queued(static_cast<MessageQData *>(std::calloc(1, sizeof(MessageQData))));
    if (queued == nullptr)
        return nullptr;
    queued->m_nCollectTime = std::time(nullptr);
    if (command == nullptr)
        return queued;
    queued->m_pstrCollectData = zel::joinText({command}).release();
    if (queued->m_pstrCollectData == nullptr)
        return nullptr;
    return queued;
}

// Outside the link: a command may take long, and its scheduler may go meanwhile.
void run(const MessageQData *queued) {
    if (queued == nullptr) {
        ZEL_WORKER_LOG(zel::loggerInstalled(), "l_pclMsgQData===NULL");
    } else if (queued->m_pstrCollectData == nullptr) {
        ZEL_WORKER_LOG(zel::loggerInstalled(), "l_pstrCollectData == NULL");
    } else {
        ZEL_WORKER_LOG(zel::loggerInstalled(), "CmdSchedulercmd[%s]", queued->m_pstrCollectData);
        static_cast<void>(zel::runShell(queued->m_pstrCollectData));
    }
}

} // namespace

void zel::freeQueue(Queue<MessageQData *> *queue) {
    while (queue != nullptr && queue->getCount() > 0)
        QueuedCommand{queue->pop()}.reset();
    delete queue;
}

// The count in the message is the one that was seen: others may have pushed since.
int zel::addToQueue(SchedulerLink &link, const char *command) {
    Queue<MessageQData *> *queue = readShared(link.owner->m_pcQueue);
    if (queue == nullptr)
        return -1;
    QueuedCommand queued = newQueuedCommand(command);
    if (queued == nullptr)
        return -1;
    const int count = queue->getCount();
    if (count >= SCHEDULER_QUEUE_LIMIT || !queue->pushBelow(queued.get(), SCHEDULER_QUEUE_LIMIT)) {
        ZEL_SCHEDULER_ERROR(link, "cmdQueue count overflow-skip [%d]", count);
        return -1;
    }
    static_cast<void>(queued.release());
    return 0;
}

// The scheduler is free while a command runs: it may go, and the command runs to its end.
int zel::runQueuedCommands(SchedulerLink &link) {
    for (int pause = QUEUE_WORKER_IDLE;; pause = QUEUE_WORKER_BUSY) {
        bool found = false;
        QueuedCommand queued;
        const auto take = [&](CCmdScheduler &scheduler) {
            found = scheduler.m_pcQueue != nullptr && scheduler.m_pcQueue->getCount() > 0;
            if (found)
                queued.reset(scheduler.m_pcQueue->pop());
        };
        if (!withOwner(link, take))
            return QUEUE_WORKER_ENDS;
        if (!found)
            return pause;
        run(queued.get());
    }
}

void zel::workOnQueue(const SharedLink<CCmdScheduler> &link) {
    for (int pause = QUEUE_WORKER_BUSY; pause != QUEUE_WORKER_ENDS; pause = runQueuedCommands(*link))
        fgUSleep(pause);
}

// Thread mode of the logger: callers queue, one detached thread writes.
#include "log/VornLogThread.h"

#include "NGFunctions.h"
#include "host/SafeWrite.h"
#include "text/FixedText.h"

#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace {

using MessageQueue = Queue<MessageQWriteLog *>;

// Queues are never freed, so that a late caller always finds a valid one. A logger that goes leaves its queue here,
// emptied, for the next one.
class IdleQueues {
public:
    MessageQueue *take() {
        const std::lock_guard held(m_lock);
        if (m_queues.empty())
            return new MessageQueue;
        MessageQueue *queue = m_queues.back();
        m_queues.pop_back();
        return queue;
    }

    void put(MessageQueue *queue) {
        try {
            const std::lock_guard held(m_lock);
            m_queues.push_back(queue);
        } catch (const std::bad_alloc &) {
            // Not kept for another logger, but valid all the same.
        }
    }

private:
    // Another thread may be changing the list at a fork: the child begins with an empty one.
    void repair() {
        zel::renew(m_lock);
        zel::renew(m_queues);
    }

    std::mutex m_lock;
    std::vector<MessageQueue *> m_queues;
    zel::ForkRepair m_forkRepair{[](void *queues) { static_cast<IdleQueues *>(queues)->repair(); }, this};
};

IdleQueues &idleQueues() {
    static auto *queues = new IdleQueues; // outlives every static logger
    return *queues;
}

// Made before there are threads: the child of a fork that another thread was making it in would wait for it for ever.
[[maybe_unused]] const IdleQueues &idleQueuesAtStart = idleQueues();

// The level is not queued: every message is written as information.
void writeMessage(CVornLog &log, MessageQWriteLog *message) {
    const std::unique_ptr<MessageQWriteLog> owned(message);
    log.fWrite(zel::LOG_LEVEL_NORMAL, message->m_nLine, message->m_strFileName, message->m_strCollectData);
}

// Writes the first queued message. False when it is null.
bool writeNext(CVornLog &log) {
    MessageQWriteLog *message = log.m_pcQueue->pop();
    if (message == nullptr) {
        zel::printError("l_pclMsgQData===NULL");
        return false;
    }
    writeMessage(log, message);
    return true;
}

void writeWhileLoggerLives(const zel::SharedLink<CVornLog> &link) {
    for (int pause = zel::LOG_WRITER_BUSY; pause != zel::LOG_WRITER_ENDS;) {
        fgUSleep(pause);
        pause = zel::writeQueuedMessages(*link);
    }
}

} // namespace

// The link is held for one message at a time, so that the logger's owner never waits for a long queue.
int zel::writeQueuedMessages(WorkerLink<CVornLog> &link) {
    int pause = LOG_WRITER_IDLE;
    for (bool more = true; more;) {
        pthread_testcancel();
        const auto next = [&](CVornLog &log) {
            more = log.m_pcQueue->getCount() > 0;
            if (more) {
                pause = LOG_WRITER_BUSY;
                more = writeNext(log);
            }
        };
        if (!withOwner(link, next))
            return LOG_WRITER_ENDS;
    }
    return pause;
}

bool zel::startThreadMode(CVornLog &log, LogState &state) {
    state.link = std::make_shared<WorkerLink<CVornLog>>(&log);
    log.m_pcQueue = idleQueues().take();
    log.m_nThreadMode = 1;
    if (startWorker<writeWhileLoggerLives>(state.link) == 0)
        return true;

    idleQueues().put(log.m_pcQueue);
    log.m_pcQueue = nullptr;
    log.m_nThreadMode = 0;
    state.link.reset();
    return false;
}

void zel::stopThreadMode(CVornLog &log, LogState &state) {
    if (state.link == nullptr)
        return;
    const std::lock_guard held(state.link->lock);
    while (log.m_pcQueue->getCount() > 0) {
        if (MessageQWriteLog *message = log.m_pcQueue->pop(); message != nullptr)
            writeMessage(log, message);
    }
    state.link->owner = nullptr;
    idleQueues().put(log.m_pcQueue);
}

// The account of what is lost comes with the next line that is written, not in the order of the queue.
void zel::queueMessage(CVornLog &log, LogState &state, int line, const char *file, const char *message) {
    std::unique_ptr<MessageQWriteLog> queued;
    if (log.m_pcQueue->getCount() < LOG_QUEUE_LIMIT)
        queued.reset(new (std::nothrow) MessageQWriteLog);
    if (queued == nullptr) {
        ++state.lost;
        return;
    }
    copyText(queued->m_strCollectData, orEmpty(message));
    queued->m_nLine = line;
    copyText(queued->m_strFileName, orEmpty(file));
    if (log.m_pcQueue->pushBelow(queued.get(), LOG_QUEUE_LIMIT))
        static_cast<void>(queued.release());
    else
        ++state.lost;
}

void *fLogThreadQ(void *logger) {
    const zel::SharedLink<CVornLog> link = static_cast<CVornLog *>(logger)->m_state->link;
    if (link != nullptr)
        writeWhileLoggerLives(link);
    return nullptr;
}

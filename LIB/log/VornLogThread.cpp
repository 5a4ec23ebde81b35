// Thread mode of the logger: callers queue, one detached thread writes.
#include "NGFunctions.h"
#include "VornLog.h"
#include "log/LogWriter.h"
#include "text/FixedText.h"

#include <cstdio>
#include <memory>
#include <new>
#include <vector>

using zel::copyText;

namespace {

using MessageQueue = Queue<MessageQWriteLog *>;

// Queues are never freed, so that a late caller always meets a valid one. A logger that goes leaves its queue here,
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
    std::mutex m_lock;
    std::vector<MessageQueue *> m_queues;
};

IdleQueues &idleQueues() {
    static auto *queues = new IdleQueues; // outlives every static logger
    return *queues;
}

// The level is not queued: every message is written as information.
void writeMessage(CVornLog &log, MessageQWriteLog *message) {
    const std::unique_ptr<MessageQWriteLog> owned(message);
    log.fWrite(zel::LOG_LEVEL_NORMAL, message->m_nLine, message->m_strFileName, message->m_strCollectData);
}

// Writes the first queued message. False when it is null.
bool writeNext(CVornLog &log) {
    MessageQWriteLog *message = log.m_pcQueue->pop();
    if (message == nullptr) {
        std::fputs("l_pclMsgQData===NULL", stderr);
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

void *fLogThreadQ(void *logger) {
    const zel::SharedLink<CVornLog> link = static_cast<CVornLog *>(logger)->m_link;
    if (link != nullptr)
        writeWhileLoggerLives(link);
    return nullptr;
}

void CVornLog::startThreadMode() {
    m_link = std::make_shared<zel::WorkerLink<CVornLog>>(this);
    m_pcQueue = idleQueues().take();
    m_nThreadMode = 1;
    if (zel::startWorker<writeWhileLoggerLives>(m_link) == 0)
        return;

    idleQueues().put(m_pcQueue);
    m_pcQueue = nullptr;
    m_nThreadMode = 0;
    m_link.reset();
    fSetThreadChk(1);
}

void CVornLog::stopThreadMode() {
    if (m_link == nullptr)
        return;
    const std::lock_guard held(m_link->lock);
    while (m_pcQueue->getCount() > 0) {
        if (MessageQWriteLog *message = m_pcQueue->pop(); message != nullptr)
            writeMessage(*this, message);
    }
    m_link->owner = nullptr;
    idleQueues().put(m_pcQueue);
}

void CVornLog::enqueue(int line, const char *file, const char *message) {
    if (m_pcQueue->getCount() >= LOG_QUEUE_LIMIT)
        return;
    std::unique_ptr<MessageQWriteLog> queued(new (std::nothrow) MessageQWriteLog);
    if (queued == nullptr)
        return;
    copyText(queued->m_strCollectData, sizeof(queued->m_strCollectData), message == nullptr ? "" : message);
    queued->m_nLine = line;
    copyText(queued->m_strFileName, sizeof(queued->m_strFileName), file == nullptr ? "" : file);
    if (m_pcQueue->pushBelow(queued.get(), LOG_QUEUE_LIMIT))
        static_cast<void>(queued.release());
}

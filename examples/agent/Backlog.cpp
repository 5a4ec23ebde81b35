// What waits for its delivery: a queue in memory before the buffer files.
#include "Backlog.h"

#include "NGFunctions.h"
#include "Notice.h"

#include <utility>

namespace agent {

namespace {

constexpr std::chrono::seconds longestWait{1};
constexpr std::size_t mostWaitingBytes = std::size_t{8} << 20;

} // namespace

Backlog::Backlog(Numbering &numbering) : m_numbering(numbering), m_kept(numbering.series()) {
    m_kept.look();
}

void Backlog::put(const char *name, const char *text) {
    if (text == nullptr || *text == '\0')
        return;
    Record record;
    record.text = text;
    record.head.host = m_numbering.host();
    record.head.series = m_numbering.series();
    record.head.name = name;
    record.head.seconds = fGetPushCurVelmorTime();
    record.head.bytes = record.text.size();
    if (record.head.bytes > longestText) {
        notice("a text of %s is lost: it has %zu bytes", name, record.head.bytes);
        return;
    }

    const std::lock_guard lock(m_mutex);
    record.head.number = m_numbering.next();
    m_waitingBytes += record.head.bytes;
    m_waiting.push_back({std::move(record), std::chrono::steady_clock::now()});
    if (m_waitingBytes > mostWaitingBytes)
        keepWaiting();
    loseWhatIsTooMuch();
    m_arrived.notify_one();
}

bool Backlog::next(Record &record, std::chrono::milliseconds patience) {
    std::unique_lock lock(m_mutex);
    m_arrived.wait_for(lock, patience, [this] { return !isEmpty(); });
    while (m_kept.oldest() != nullptr) {
        if (m_kept.read(record))
            return true;
    }
    if (m_waiting.empty())
        return false;
    record = m_waiting.front().record;
    return true;
}

void Backlog::acknowledge(const RecordHead &head) {
    const std::lock_guard lock(m_mutex);
    // It may have moved to a file while it was being delivered.
    if (m_kept.oldest() != nullptr && m_kept.oldest()->isSameRecordAs(head))
        m_kept.dropOldest();
    else if (!m_waiting.empty() && m_waiting.front().record.head.isSameRecordAs(head))
        dropOldestWaiting();
}

void Backlog::keep() {
    const std::lock_guard lock(m_mutex);
    keepWaiting();
}

void Backlog::keepLongWaiting() {
    const std::lock_guard lock(m_mutex);
    if (!m_waiting.empty() && std::chrono::steady_clock::now() - m_waiting.front().since > longestWait)
        keepWaiting();
}

void Backlog::keepWaiting() {
    if (m_waiting.empty())
        return;
    while (!m_waiting.empty() && writeOldestWaiting())
        dropOldestWaiting();
    m_kept.look();
}

bool Backlog::writeOldestWaiting() {
    const Record &record = m_waiting.front().record;
    if (fgBufFileWrite("", record.head.line().c_str(), record.text.c_str()) != 1)
        return false;
    if (m_lost > 0)
        notice("../buffer can be written again; %llu records were lost", std::exchange(m_lost, 0));
    return true;
}

void Backlog::dropOldestWaiting() {
    m_waitingBytes -= m_waiting.front().record.head.bytes;
    m_waiting.pop_front();
}

void Backlog::loseWhatIsTooMuch() {
    while (m_waitingBytes > mostWaitingBytes) {
        if (m_lost++ == 0)
            notice("../buffer cannot be written: records from %llu on are lost (does the agent run in agent/bin?)",
                   m_waiting.front().record.head.number);
        dropOldestWaiting();
    }
}

} // namespace agent

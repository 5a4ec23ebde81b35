// Reads records from a socket, piece by piece.
#include "AgentConnection.h"

#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::size_t longestLine = 511;
constexpr std::size_t longestText = std::size_t{64} << 20;
constexpr std::chrono::seconds longestPause{60}; // within a record

} // namespace

AgentConnection::AgentConnection(int socket) : m_socket(socket) {}

AgentConnection::~AgentConnection() {
    ::close(m_socket);
}

bool AgentConnection::isOver() const {
    const bool insideRecord = !m_bytes.empty() || !m_record.line.empty();
    const bool stuck = insideRecord && std::chrono::steady_clock::now() - m_lastProgress > longestPause;
    return m_closed || stuck;
}

void AgentConnection::receive() {
    char part[65536];
    const ssize_t got = recv(m_socket, part, sizeof(part), MSG_DONTWAIT);
    if (got > 0) {
        m_bytes.append(part, static_cast<std::size_t>(got));
        m_lastProgress = std::chrono::steady_clock::now();
    } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
        m_closed = true;
    }
}

bool AgentConnection::takeRecord(ReceivedRecord &record) {
    if (m_record.line.empty()) {
        const std::size_t end = m_bytes.find('\n');
        if (end > longestLine) { // or there is none
            m_closed = m_closed || m_bytes.size() > longestLine;
            return false;
        }
        if (!readLine(m_bytes.substr(0, end))) {
            m_closed = true;
            return false;
        }
        m_bytes.erase(0, end + 1);
    }
    if (m_bytes.size() < m_textSize)
        return false;
    m_record.text = m_bytes.substr(0, m_textSize);
    m_bytes.erase(0, m_textSize);
    record = std::exchange(m_record, {});
    return true;
}

// An agent that takes no answers is left: it comes again with its record.
void AgentConnection::answer(const ReceivedRecord &record) {
    const std::string text = record.series + ' ' + std::to_string(record.number) + '\n';
    if (send(m_socket, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL) != static_cast<ssize_t>(text.size()))
        m_closed = true;
}

bool AgentConnection::readLine(const std::string &line) {
    std::size_t bytes = 0;
    ReceivedRecord record;
    if (!readRecordLine(line, record, bytes) || bytes > longestText)
        return false;
    m_record = std::move(record);
    m_textSize = bytes;
    return true;
}

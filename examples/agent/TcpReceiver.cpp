// A connection to a receiver: non-blocking, with a limit for every wait.
#include "TcpReceiver.h"

#include "Notice.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace agent {

namespace {

constexpr std::chrono::seconds patience{5};
constexpr std::chrono::seconds betweenAttempts{2};

std::string hostOf(const std::string &address) {
    const std::string host = address.substr(0, address.rfind(':'));
    const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    return bracketed ? host.substr(1, host.size() - 2) : host;
}

std::string portOf(const std::string &address) {
    return address.substr(address.rfind(':') + 1);
}

} // namespace

bool TcpReceiver::isAddress(const std::string &address) {
    return address.find(':') != std::string::npos && !hostOf(address).empty() && !portOf(address).empty();
}

TcpReceiver::TcpReceiver(const std::string &address) : m_address(address) {}

bool TcpReceiver::isReady(const StopTime &stop) {
    if (m_socket.valid())
        return true;
    if (Clock::now() < m_nextAttempt)
        return false;
    connectToAny(stop);
    m_nextAttempt = Clock::now() + betweenAttempts;
    if (!m_socket.valid())
        leave(m_problem);
    return m_socket.valid();
}

bool TcpReceiver::deliver(const Record &record, const StopTime &stop) {
    const bool delivered =
        send(record.head.line() + '\n' + record.text, stop) && receiveAnswer(record.head.answer(), stop);
    if (!delivered) {
        leave(m_problem);
    } else if (m_away) {
        notice("%s takes records again", m_address.c_str());
        m_away = false;
    }
    return delivered;
}

void TcpReceiver::connectToAny(const StopTime &stop) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *found = nullptr;
    const int error = getaddrinfo(hostOf(m_address).c_str(), portOf(m_address).c_str(), &hints, &found);
    if (error != 0) {
        m_problem = gai_strerror(error);
        return;
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> addresses(found, freeaddrinfo);
    for (const addrinfo *address = found; address != nullptr; address = address->ai_next) {
        if (connectTo(*address, stop))
            return;
    }
}

bool TcpReceiver::connectTo(const addrinfo &address, const StopTime &stop) {
    Descriptor candidate(socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    int error = 0;
    if (!candidate.valid() ||
        (connect(candidate.get(), address.ai_addr, address.ai_addrlen) != 0 && errno != EINPROGRESS)) {
        error = errno;
    } else if (!waitFor(candidate.get(), POLLOUT, Clock::now() + patience, stop)) {
        error = ETIMEDOUT;
    } else {
        socklen_t size = sizeof(error);
        getsockopt(candidate.get(), SOL_SOCKET, SO_ERROR, &error, &size);
    }
    if (error != 0) {
        m_problem = std::strerror(error);
        return false;
    }
    const int on = 1; // a record is one piece, and its answer is waited for
    setsockopt(candidate.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    m_socket = std::move(candidate);
    return true;
}

bool TcpReceiver::send(const std::string &bytes, const StopTime &stop) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        if (!waitFor(m_socket.get(), POLLOUT, Clock::now() + patience, stop)) {
            m_problem = "takes no records";
            return false;
        }
        const ssize_t part = ::send(m_socket.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (part < 0 && errno != EAGAIN && errno != EINTR) {
            m_problem = std::strerror(errno);
            return false;
        }
        if (part > 0)
            sent += static_cast<std::size_t>(part);
    }
    return true;
}

bool TcpReceiver::receiveAnswer(const std::string &expected, const StopTime &stop) {
    const Clock::time_point limit = Clock::now() + patience;
    std::string answer;
    while (answer.size() < expected.size()) {
        if (!waitFor(m_socket.get(), POLLIN, limit, stop)) {
            m_problem = "gives no answer";
            return false;
        }
        char part[128];
        const ssize_t got = recv(m_socket.get(), part, std::min(sizeof(part), expected.size() - answer.size()), 0);
        if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) {
            m_problem = got == 0 ? "has closed the connection" : std::strerror(errno);
            return false;
        }
        if (got > 0)
            answer.append(part, static_cast<std::size_t>(got));
    }
    m_problem = "gives a wrong answer";
    return answer == expected;
}

void TcpReceiver::leave(const std::string &reason) {
    m_socket.reset();
    if (!m_away)
        notice("%s: %s", m_address.c_str(), reason.c_str());
    m_away = true;
}

} // namespace agent

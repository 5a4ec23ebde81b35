// Listening and accepting.
#include "Listener.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int waitingAgents = 128;

int listenOn(const addrinfo &address) {
    const int socket = ::socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int on = 1;
    if (socket >= 0 && setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) == 0 &&
        bind(socket, address.ai_addr, address.ai_addrlen) == 0 && listen(socket, waitingAgents) == 0)
        return socket;
    std::fprintf(stderr, "receiver: %s\n", std::strerror(errno));
    if (socket >= 0)
        close(socket);
    return -1;
}

// An agent whose host has vanished is noticed within minutes.
void watchPeer(int socket) {
    const int on = 1;
    const int idleSeconds = 60;
    setsockopt(socket, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof(on));
    setsockopt(socket, IPPROTO_TCP, TCP_KEEPIDLE, &idleSeconds, sizeof(idleSeconds));
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

} // namespace

Listener::Listener(const std::string &address, const std::string &port) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *found = nullptr;
    const int error = getaddrinfo(address.c_str(), port.c_str(), &hints, &found);
    if (error != 0) {
        std::fprintf(stderr, "receiver: %s port %s: %s\n", address.c_str(), port.c_str(), gai_strerror(error));
        return;
    }
    m_socket = listenOn(*found);
    freeaddrinfo(found);
}

Listener::~Listener() {
    if (m_socket >= 0)
        close(m_socket);
}

int Listener::port() const {
    sockaddr_storage address{};
    socklen_t size = sizeof(address);
    getsockname(m_socket, reinterpret_cast<sockaddr *>(&address), &size);
    // The port has the same place in both families.
    return ntohs(reinterpret_cast<const sockaddr_in *>(&address)->sin_port);
}

int Listener::accept() {
    const int socket = accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket >= 0)
        watchPeer(socket);
    return socket;
}

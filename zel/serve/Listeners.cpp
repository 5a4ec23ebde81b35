// Opens listening sockets and accepts from them.
#include "zel/serve/Listeners.h"

#include <cerrno>
#include <cstring>

namespace zel {

namespace {

constexpr int backlog = 512; // connections that the kernel keeps until they are accepted

bool setOption(int socket, int level, int name, int value) {
    return setsockopt(socket, level, name, &value, sizeof(value)) == 0;
}

bool isAnySix(const SocketAddress &address) {
    sockaddr_in6 six{};
    std::memcpy(&six, &address.storage, sizeof(six));
    return address.storage.ss_family == AF_INET6 && IN6_IS_ADDR_UNSPECIFIED(&six.sin6_addr);
}

// The socket; else errno says why.
Listener openListener(const SocketAddress &address) {
    Listener listener;
    ScopedDescriptor made(socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!made.valid() || !setOption(made.get(), SOL_SOCKET, SO_REUSEADDR, 1))
        return listener;
    if (address.storage.ss_family == AF_INET6 &&
        !setOption(made.get(), IPPROTO_IPV6, IPV6_V6ONLY, isAnySix(address) ? 0 : 1))
        return listener;
    if (bind(made.get(), reinterpret_cast<const sockaddr *>(&address.storage), address.length) != 0 ||
        listen(made.get(), backlog) != 0)
        return listener;
    listener.address.length = sizeof(listener.address.storage);
    getsockname(made.get(), reinterpret_cast<sockaddr *>(&listener.address.storage), &listener.address.length);
    listener.socket = std::move(made);
    return listener;
}

// ":9100" on a host without IPv6.
SocketAddress asAnyFour(const SocketAddress &six) {
    sockaddr_in6 from{};
    std::memcpy(&from, &six.storage, sizeof(from));
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = from.sin6_port;
    SocketAddress four;
    std::memcpy(&four.storage, &to, sizeof(to));
    four.length = sizeof(to);
    return four;
}

bool isMissing(int error) {
    return error == EAFNOSUPPORT || error == EADDRNOTAVAIL;
}

} // namespace

std::vector<Listener> listenOn(std::span<const std::string> texts, std::string &problem) {
    std::vector<Listener> listeners;
    for (const std::string &text : texts) {
        const std::vector<SocketAddress> addresses = readListen(text, problem);
        std::size_t opened = 0;
        for (const SocketAddress &address : addresses) {
            Listener listener = openListener(address);
            if (!listener.socket.valid() && errno == EAFNOSUPPORT && isAnySix(address) && text.starts_with(':'))
                listener = openListener(asAnyFour(address));
            const bool isSpare = addresses.size() > 1 && isMissing(errno);
            if (!listener.socket.valid() && !isSpare)
                problem = "cannot listen on " + addressText(address) + ": " + std::strerror(errno);
            if (!listener.socket.valid())
                continue;
            ++opened;
            listeners.push_back(std::move(listener));
        }
        if (problem.empty() && opened == 0)
            problem = "cannot listen on " + text + ": this host does not have the address";
        if (!problem.empty())
            return {};
    }
    return listeners;
}

ScopedDescriptor acceptOn(const Listener &listener, SocketAddress &peer, SocketAddress &own) {
    peer.length = own.length = sizeof(peer.storage);
    ScopedDescriptor accepted(accept4(listener.socket.get(), reinterpret_cast<sockaddr *>(&peer.storage), &peer.length,
                                      SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (accepted.valid())
        getsockname(accepted.get(), reinterpret_cast<sockaddr *>(&own.storage), &own.length);
    return accepted;
}

} // namespace zel

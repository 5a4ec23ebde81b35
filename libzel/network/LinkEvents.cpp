// Listens to the kernel's reports about interfaces. What changed is not read: who asks looks at everything anew.
#include "network/LinkEvents.h"

#include "Settings.h"
#include "kernel/KeptFile.h"

#include <cerrno>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace {

// A report that finds no room is lost, but the loss is reported: room for one or two is enough.
constexpr int smallestBuffer = 0;
constexpr int readLimit = 100;

ino_t inodeOf(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode) ? status.st_ino : 0;
}

} // namespace

namespace zel {

bool namespaceOf(int socket, std::uint64_t &networkNamespace) {
    socklen_t size = sizeof(networkNamespace);
    return getsockopt(socket, SOL_SOCKET, SO_NETNS_COOKIE, &networkNamespace, &size) == 0;
}

bool LinkEvents::quietSinceLastQuestion(int socket) {
    std::uint64_t networkNamespace = 0;
    if (g_nKeptFileLimit == 0 || !namespaceOf(socket, networkNamespace)) {
        drop();
        return false;
    }
    if (serves(networkNamespace))
        return drain();
    listenIn(networkNamespace);
    return false;
}

// Whether the descriptor still is this socket: programs that become daemons close what they did not open.
bool LinkEvents::isOurs() const {
    return m_inode == inodeOf(m_socket.get());
}

// A child of fork shares the socket with its parent, and each report is delivered once.
bool LinkEvents::serves(std::uint64_t networkNamespace) const {
    return m_socket.valid() && m_namespace == networkNamespace && m_process == getpid() && isOurs();
}

void LinkEvents::listenIn(std::uint64_t networkNamespace) {
    drop();
    if (!takeKeptPlace())
        return;
    m_socket = ScopedDescriptor(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
    if (!m_socket.valid()) {
        returnKeptPlace();
        return;
    }
    m_process = getpid();
    m_inode = inodeOf(m_socket.get());
    setsockopt(m_socket.get(), SOL_SOCKET, SO_RCVBUF, &smallestBuffer, sizeof(smallestBuffer));
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK;
    if (!namespaceOf(m_socket.get(), m_namespace) || m_namespace != networkNamespace ||
        bind(m_socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0)
        drop();
}

void LinkEvents::drop() {
    if (!m_socket.valid())
        return;
    if (!isOurs())
        static_cast<void>(m_socket.release());
    m_socket = ScopedDescriptor(-1);
    returnKeptPlace();
}

// Takes the reports that are waiting. True when there was none. A flood of them ends the drain: the rest are there for
// the next question.
bool LinkEvents::drain() {
    bool quiet = true;
    for (int reads = 0; reads < readLimit; ++reads) {
        char start;
        if (recv(m_socket.get(), &start, sizeof(start), MSG_DONTWAIT) < 0) {
            if (errno == EAGAIN)
                return quiet;
            if (errno != EINTR && errno != ENOBUFS) {
                drop();
                return false;
            }
        }
        quiet = false;
    }
    return false;
}

} // namespace zel

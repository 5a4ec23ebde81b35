// Asks the kernel for lists over netlink.
#include "host/source/NetlinkDump.h"

#include <cerrno>
#include <sys/socket.h>
#include <sys/uio.h>

namespace zel {

int NetlinkDump::ask(int protocol, unsigned short type, std::span<const char> request) {
    m_socket = ScopedDescriptor(socket(AF_NETLINK, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, protocol));
    if (!m_socket.valid())
        return errno;
    m_part.resize(PART_BYTES);
    nlmsghdr head{};
    head.nlmsg_len = static_cast<unsigned>(NLMSG_HDRLEN + request.size());
    head.nlmsg_type = type;
    head.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    iovec parts[] = {{&head, sizeof(head)}, {const_cast<char *>(request.data()), request.size()}};
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    msghdr message{};
    message.msg_name = &kernel;
    message.msg_namelen = sizeof(kernel);
    message.msg_iov = parts;
    message.msg_iovlen = std::size(parts);
    ssize_t sent = -1;
    do
        sent = sendmsg(m_socket.get(), &message, 0);
    while (sent < 0 && errno == EINTR);
    return sent < 0 ? errno : 0;
}

// The kernel has the next part ready before it hands this one out: there is nothing to wait for.
int NetlinkDump::receive(std::span<const char> &part) {
    sockaddr_nl sender{};
    for (;;) {
        socklen_t length = sizeof(sender);
        const ssize_t count = recvfrom(m_socket.get(), m_part.data(), m_part.size(), MSG_TRUNC,
                                       reinterpret_cast<sockaddr *>(&sender), &length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno;
        if (count == 0 || static_cast<std::size_t>(count) > m_part.size())
            return EBADMSG;
        if (sender.nl_pid != 0)
            continue; // not of the kernel
        part = {m_part.data(), static_cast<std::size_t>(count)};
        return 0;
    }
}

} // namespace zel

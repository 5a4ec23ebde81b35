// Listens to rtnetlink.
#include "host/source/LinkNews.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <utility>

namespace zel {

namespace {

// Room for what many interfaces announce between two samples; memory is used only while it waits.
constexpr int roomBytes = 4 << 20;

// Only the head of a message counts. What is beyond is cut.
constexpr std::size_t messageBytes = 8192;

// More in one sample than this: it takes less time to look at all interfaces.
constexpr std::size_t messagesAtMost = 16384;

bool isOfLink(const nlmsghdr &head) {
    return (head.nlmsg_type == RTM_NEWLINK || head.nlmsg_type == RTM_DELLINK) &&
           head.nlmsg_len >= NLMSG_LENGTH(sizeof(ifinfomsg));
}

} // namespace

void LinkNews::listen(KeptBudget &budget) {
    m_lost = true;
    m_socket.drop();
    if (budget.full())
        return;
    ScopedDescriptor listener(socket(AF_NETLINK, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, NETLINK_ROUTE));
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK;
    if (!listener.valid() || bind(listener.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0)
        return;
    // Only an administrator may; the others have the room that the system gives.
    static_cast<void>(setsockopt(listener.get(), SOL_SOCKET, SO_RCVBUFFORCE, &roomBytes, sizeof(roomBytes)));
    m_socket.keep(std::move(listener), budget);
}

void LinkNews::take() {
    m_indexes.clear();
    const int socket = m_socket.descriptor();
    m_all = std::exchange(m_lost, false) || socket < 0;
    if (socket < 0)
        return;
    std::size_t messages = 0;
    while (takeMessage(socket)) {
        if (++messages < messagesAtMost)
            continue;
        m_all = true;
        break; // the rest is for the next call
    }
    std::sort(m_indexes.begin(), m_indexes.end());
}

// False when there is none left.
bool LinkNews::takeMessage(int socket) {
    alignas(nlmsghdr) std::array<char, messageBytes> text;
    sockaddr_nl sender{};
    iovec part{text.data(), text.size()};
    msghdr message{};
    message.msg_name = &sender;
    message.msg_namelen = sizeof(sender);
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    const ssize_t length = recvmsg(socket, &message, 0);
    if (length < 0) {
        if (errno == EAGAIN)
            return false;
        m_all = true; // the room ran over: some are lost
        return errno == ENOBUFS || errno == EINTR;
    }
    if (sender.nl_pid != 0 || static_cast<std::size_t>(length) < NLMSG_LENGTH(sizeof(ifinfomsg)))
        return true; // not of the kernel
    const auto *head = reinterpret_cast<const nlmsghdr *>(text.data());
    if (isOfLink(*head) && !m_all)
        m_indexes.push_back(static_cast<unsigned>(static_cast<const ifinfomsg *>(NLMSG_DATA(head))->ifi_index));
    return true;
}

bool LinkNews::isOf(unsigned index) const {
    return m_all || std::binary_search(m_indexes.begin(), m_indexes.end(), index);
}

} // namespace zel

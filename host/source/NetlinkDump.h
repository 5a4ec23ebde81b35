// Lists that the kernel gives over netlink, such as its sockets or neighbours: one question, and the answer message by
// message. The room for it has one size, however long the list is.
#pragma once

#include "host/ScopedHandle.h"

#include <chrono>
#include <cstddef>
#include <cstring>
#include <linux/netlink.h>
#include <optional>
#include <span>
#include <vector>

namespace zel {

/// Calls use(type, payload) for each message of a part of a list. Gives nothing while the list goes on, 0 at its end,
/// the error that the kernel put in its place, or EBADMSG when a message is longer than the part.
template<class Use> std::optional<int> forEachMessage(std::span<const char> part, Use &&use);

class NetlinkDump {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// Asks for a list of the network namespace of the calling thread: `request` is what follows the head. Gives 0 or
    /// an errno.
    int ask(int protocol, unsigned short type, std::span<const char> request);

    /// Calls use(type, payload) for each message of the list. Gives 0 when it was whole, what the kernel answered
    /// instead of it, or ETIMEDOUT when the time was over: the rest is given up.
    template<class Use> int forEach(Time until, Use &&use) {
        std::optional<int> end;
        while (!end) {
            if (std::chrono::steady_clock::now() >= until)
                return ETIMEDOUT;
            std::span<const char> part;
            if (const int error = receive(part); error != 0)
                return error;
            end = forEachMessage(part, use);
        }
        return *end;
    }

    /// Of the socket that asked.
    int descriptor() const { return m_socket.get(); }

private:
    static constexpr std::size_t PART_BYTES = 32768; // more the kernel does not put into one

    int receive(std::span<const char> &part);

    ScopedDescriptor m_socket{-1};
    std::vector<char> m_part;
};

/// The struct at the start of a payload; nothing when that is shorter.
template<class Struct> std::optional<Struct> payloadAs(std::span<const char> payload) {
    Struct result;
    if (payload.size() < sizeof(result))
        return std::nullopt;
    std::memcpy(&result, payload.data(), sizeof(result));
    return result;
}

template<class Use> std::optional<int> forEachMessage(std::span<const char> part, Use &&use) {
    while (!part.empty()) {
        const std::optional<nlmsghdr> head = payloadAs<nlmsghdr>(part);
        if (!head || head->nlmsg_len < NLMSG_HDRLEN || head->nlmsg_len > part.size())
            return EBADMSG;
        const std::span<const char> payload = part.subspan(NLMSG_HDRLEN, head->nlmsg_len - NLMSG_HDRLEN);
        if (head->nlmsg_type == NLMSG_DONE || head->nlmsg_type == NLMSG_ERROR)
            return -payloadAs<int>(payload).value_or(0);
        use(head->nlmsg_type, payload);
        part = part.subspan(std::min<std::size_t>(NLMSG_ALIGN(head->nlmsg_len), part.size()));
    }
    return std::nullopt;
}

} // namespace zel

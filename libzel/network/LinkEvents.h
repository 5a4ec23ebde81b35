// LinkEvents: whether the kernel has reported that any network interface changed: came, went, was renamed, went up or
// down. It reports a change before the call that made it returns.
//
// The descriptor is kept from one question to the next, close-on-exec, in one of the places of g_nKeptFileLimit. It
// serves the process and the network namespace in which it was opened; in another one (after fork or setns) a new one
// takes its place. Not thread-safe.
#pragma once

#include "host/ScopedHandle.h"

#include <cstdint>
#include <sys/types.h>

namespace zel {

/// The number of the network namespace of a socket, which is given once. False where the kernel (before 5.14) does not
/// say.
bool namespaceOf(int socket, std::uint64_t &networkNamespace);

class LinkEvents {
public:
    LinkEvents() = default;
    ~LinkEvents() { drop(); }
    LinkEvents(const LinkEvents &) = delete;
    LinkEvents &operator=(const LinkEvents &) = delete;

    /// True when no interface has changed since the last question, in the network namespace of `socket`. False also
    /// when that is not known: for the first question, and where the kernel (before 5.14) or a sandbox does not say.
    bool quietSinceLastQuestion(int socket);

private:
    bool isOurs() const;
    bool serves(std::uint64_t networkNamespace) const;
    void listenIn(std::uint64_t networkNamespace);
    bool drain();
    void drop();

    ScopedDescriptor m_socket{-1};
    std::uint64_t m_namespace = 0;
    pid_t m_process = 0;
    ino_t m_inode = 0;
};

} // namespace zel

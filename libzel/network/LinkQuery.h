// LinkQuery: whether network interfaces are up. One socket serves every question of its owner; the first opens it.
#pragma once

#include "host/ScopedHandle.h"

#include <optional>

namespace zel {

class LinkQuery {
public:
    /// Asks through `*socket`, which stays the caller's, as long as that is not negative; without one through a socket
    /// of its own, opened when it is first needed.
    explicit LinkQuery(const int *socket = nullptr) : m_lent(socket) {}

    /// Whether the interface is up (IFF_UP of SIOCGIFFLAGS). Nothing when that cannot be asked: no socket, no such
    /// interface, a name longer than a kernel name.
    std::optional<bool> ask(const char *name);

    /// 1 when the interface is up or cannot be asked, 0 when it is down.
    int alive(const char *name) { return ask(name).value_or(true) ? 1 : 0; }

private:
    int descriptor();

    const int *m_lent;
    std::optional<ScopedDescriptor> m_socket;
};

} // namespace zel

// LinkQuery: whether network interfaces are up. One socket serves every question of its owner; the first opens it.
#pragma once

#include "ScopedHandle.h"

#include <optional>

namespace zel {

class LinkQuery {
public:
    /// 1 when the interface is up, 0 when it is down (IFF_UP of SIOCGIFFLAGS). Who cannot be asked counts as up: no
    /// socket, no such interface, a name longer than a kernel name.
    int alive(const char *name);

private:
    std::optional<ScopedDescriptor> m_socket;
};

} // namespace zel

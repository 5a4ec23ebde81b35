// Asks the kernel for the flags of interfaces.
#include "network/LinkQuery.h"

#include <cstring>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace zel {

int LinkQuery::descriptor() {
    if (m_lent != nullptr && *m_lent >= 0)
        return *m_lent;
    if (!m_socket)
        m_socket.emplace(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return m_socket->get();
}

std::optional<bool> LinkQuery::ask(const char *name) {
    ifreq request{};
    const std::size_t length = std::strlen(name);
    if (length >= sizeof(request.ifr_name))
        return std::nullopt;
    std::memcpy(request.ifr_name, name, length);

    const int asked = descriptor();
    if (asked < 0 || ioctl(asked, SIOCGIFFLAGS, &request) < 0)
        return std::nullopt;
    return (request.ifr_flags & IFF_UP) != 0;
}

} // namespace zel

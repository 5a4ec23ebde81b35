// Remembers the link states of one pass for the next.
#include "network/KnownLinks.h"

#include "HostRoot.h"
#include "network/LinkQuery.h"

#include <cstring>

namespace {

// Below, the questions cost less than to find out that none is needed.
constexpr std::size_t worthRemembering = 8;

} // namespace

namespace zel {

void KnownLinks::startPass(int socket) {
    // Below another root the table and the interfaces of this machine have nothing to do with each other.
    const bool worthwhile = m_links.size() >= worthRemembering && g_strHostRoot[0] == '\0';
    m_remembered = worthwhile && m_events.quietSinceLastQuestion(socket) && !m_mismatched;
    m_mismatched = false;
    m_next = 0;
    if (!m_remembered)
        m_links.clear();
}

int KnownLinks::alive(const char *name, LinkQuery &query) {
    if (m_remembered && m_next < m_links.size() && std::strcmp(m_links[m_next].name, name) == 0)
        return m_links[m_next++].up ? 1 : 0;
    m_mismatched = m_remembered;
    const std::optional<bool> up = query.ask(name);
    if (up && !m_remembered)
        remember(name, *up);
    return up.value_or(true) ? 1 : 0;
}

void KnownLinks::remember(const char *name, bool up) {
    const std::size_t length = std::strlen(name);
    if (length >= INTERFACE_NAME_SIZE)
        return;
    Link &link = m_links.emplace_back();
    std::memcpy(link.name, name, length + 1);
    link.up = up;
}

} // namespace zel

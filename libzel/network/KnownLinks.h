// KnownLinks: the link states that the passes of one collector remember. The kernel is asked about every interface
// once, and again after it has reported a change of any of them; in between, a pass costs no question per interface.
#pragma once

#include "network.h"
#include "network/LinkEvents.h"

#include <cstddef>
#include <vector>

namespace zel {

class LinkQuery;

class KnownLinks {
public:
    /// Starts a pass. `socket` is the one through which it asks.
    void startPass(int socket);

    /// What `query` answers for the interface `name`. A pass asks for them in the order of the table.
    int alive(const char *name, LinkQuery &query);

private:
    struct Link {
        char name[INTERFACE_NAME_SIZE];
        bool up;
    };

    void remember(const char *name, bool up);

    LinkEvents m_events;
    std::vector<Link> m_links;
    std::size_t m_next = 0;    // the one that the pass asks for next
    bool m_remembered = false; // m_links is what the kernel would answer
    bool m_mismatched = false; // the pass asked for another interface than the last one did
};

} // namespace zel

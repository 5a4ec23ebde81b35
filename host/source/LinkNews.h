// What the kernel announces of network interfaces: that one came, went, got another name, state, address or carrier.
// Where nothing is announced nothing has to be read again.
#pragma once

#include "host/source/KeptBudget.h"

#include <vector>

namespace zel {

class LinkNews {
public:
    /// Listens in the network namespace of the calling thread, which the socket keeps; it takes a place of the budget.
    /// What was announced before is lost: the next take() is of all interfaces. So is each one without a socket.
    void listen(KeptBudget &budget);
    /// False when it cannot listen, and in the child of a fork.
    bool listens() const { return m_socket.descriptor() >= 0; }
    /// Takes what was announced since the last call.
    void take();

    /// Whether what take() took says anything of the interface of this index, or of all.
    bool isOf(unsigned index) const;
    bool areOfAll() const { return m_all; }

private:
    bool takeMessage(int socket);

    KeptDescriptor m_socket;
    bool m_lost = true;              // something may have been announced before it listened
    bool m_all = true;               // something was announced that is not known
    std::vector<unsigned> m_indexes; // ascending
};

} // namespace zel

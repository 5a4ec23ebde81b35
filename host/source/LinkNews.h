// What the kernel announces of network interfaces: that one came, went, got another name, state, address or carrier.
// Where nothing is announced nothing has to be read again.
#pragma once

#include "host/ScopedHandle.h"

#include <vector>

namespace zel {

class LinkNews {
public:
    /// Listens in the network namespace of the calling thread; what was announced before is lost. Without the right to
    /// listen every interface is always new.
    void listen();
    /// Takes what was announced since the last call.
    void take();

    /// Whether what take() took says anything of the interface of this index, or of all.
    bool isOf(unsigned index) const;
    bool areOfAll() const { return m_all; }

private:
    bool takeMessage();

    ScopedDescriptor m_socket{-1};
    bool m_all = true;               // something was announced that is not known
    std::vector<unsigned> m_indexes; // ascending
};

} // namespace zel

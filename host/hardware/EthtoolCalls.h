// What a network driver of this host says by the calls of ethtool: SIOCETHTOOL, for any user. The kernel asks the
// driver under a lock, which may take long: they belong in a bounded call. A sleeping device would wake for them.
#pragma once

#include "host/Schema.h"
#include "host/ScopedHandle.h"

#include <string>

namespace zel {

class EthtoolCalls {
public:
    /// Of an interface in the network namespace of the calling thread.
    explicit EthtoolCalls(const std::string &name);

    /// Version, firmware, address on the bus.
    void readDriver(Reading<std::string> &version, Reading<std::string> &firmware, Reading<std::string> &bus);
    void readPermanentAddress(Reading<std::string> &address);
    /// Port, autonegotiation and the highest speed that is supported, in bytes a second.
    void readLink(Reading<std::string> &port, Reading<std::string> &autonegotiation, Number &highestSpeed);

private:
    /// 0, or an errno.
    int ask(void *request);
    /// Kernels from 5.7 on name their link modes: "1000baseT/Full".
    Number highestSpeed(const std::uint32_t *modes, std::size_t words);

    ScopedDescriptor m_socket;
    std::string m_name;
};

} // namespace zel

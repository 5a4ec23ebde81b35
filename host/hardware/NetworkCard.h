// Network cards: the interfaces of a device, real or virtual (virtio), not those that the kernel makes of others.
// /sys/class/net; driver version, firmware and link modes by ethtool's calls on this host. Any user.
#pragma once

#include "host/Schema.h"

namespace zel {

struct NetworkCard {
    std::string name; // of the interface: "eth0"
    Reading<std::string> driver, driverVersion, firmware;
    Reading<std::string> device;  // on its bus: "0000:00:04.0"
    Reading<std::string> slot;    // of a PCI device: what its slot is called on the board
    Reading<std::string> address; // in use
    Reading<std::string> permanentAddress;
    Number speedBytesPerSecond;        // now
    Number highestSpeedBytesPerSecond; // of those that it can negotiate
    Reading<std::string> duplex;
    Reading<std::string> portType; // "twisted pair", "fibre", ...
    Reading<std::string> autonegotiation;
    Reading<std::string> physicalPort; // name or number of the port on the card
    Count receiveQueues, transmitQueues;
    Count node; // NUMA
    Reading<std::string> linkState;
};

template<> std::span<const Field<NetworkCard>> fieldsOf<NetworkCard>();

} // namespace zel

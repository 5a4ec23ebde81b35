// Network interfaces: the 64-bit counters of /proc/net/dev, and what /sys/class/net says of each. Any user.
//
// An interface is its index and its name: another one under an old name starts anew.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Interface {
    std::string name;
    Count index;

    Count receiveBytes, receivePackets, receiveErrors, receiveDrops;
    Count receiveFifoErrors, receiveFrameErrors, receiveCompressed, receiveMulticast;
    Count transmitBytes, transmitPackets, transmitErrors, transmitDrops;
    Count transmitFifoErrors, transmitCollisions, transmitCarrierErrors, transmitCompressed;

    Count speedBytesPerSecond;
    Reading<std::string> duplex; // "full", "half"
    Reading<std::string> operationalState;
    Count up;      // IFF_UP: 1 or 0
    Count carrier; // 1 or 0
    Count carrierChanges;
    Count mtuBytes;
    Count queueLength;
    Count type;  // ARPHRD_*
    Count flags; // IFF_*
    Reading<std::string> address;
    Reading<std::string> alias;
    Reading<std::string> driver;
    Reading<std::string> master; // the bond or bridge that it belongs to
    Reading<std::string> role;   // "bond", "bridge", "bond_port", "bridge_port"
};

template<> std::span<const Field<Interface>> fieldsOf<Interface>();

} // namespace zel

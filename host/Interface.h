// Network interfaces: the 64-bit counters of /proc/net/dev, and what /sys/class/net says of each. Any user.
//
// An interface is its index and its name: another one under an old name starts anew.
//
// On this host the counters are those of the network namespace of the thread that takes the sample. /sys shows the
// namespace in which it was mounted. An interface whose index, address, state or MTU is another one there than in the
// thread's own namespace is a stranger of the same name: its attributes are unsupported, but for the index, which the
// kernel gives for the own one.
//
// On this host an attribute is read
//   speed, duplex, carrier    when the kernel announced a change of the interface, or after 30 seconds, by a bounded
//   call
//                             of each interface: the kernel may wait for the driver. Timed out when it does not answer
//   all others                when the kernel announced a change, or after 5 minutes
// What a port drops because its bond, team or failover pair does not use it (rx_nohandler) is read in each sample of
// such ports and what they belong to: of any other interface it does not change, and is read with all others.
// The kernel's announcements (rtnetlink) cost one system call in a sample where nothing changed, however many
// interfaces there are. Where they cannot be had, all others are read in each sample; so is everything below a root
// directory. There, where its proc is a live one, the counters are those of its first process.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Interface {
    std::string name;
    Count index;

    Count receiveBytes, receivePackets, receiveErrors, receiveDrops;
    Count receiveFifoErrors, receiveFrameErrors, receiveCompressed, receiveMulticast;
    Count receiveNoHandler;
    Count transmitBytes, transmitPackets, transmitErrors, transmitDrops;
    Count transmitFifoErrors, transmitCollisions, transmitCarrierErrors, transmitCompressed;

    Count speedBytesPerSecond;
    Reading<std::string> duplex; // "full", "half"
    Count duplexKnown;           // 0: the driver says that it does not know it; none of a link that has no duplex
    Reading<std::string> operationalState;
    Count up;      // IFF_UP: 1 or 0
    Count carrier; // 1 or 0; none of an interface that is down
    Count carrierChanges, carrierUpChanges, carrierDownChanges;
    Count dormant; // 1 or 0; none of an interface that is down
    Count mtuBytes;
    Count queueLength;
    Count type;              // ARPHRD_*
    Count flags;             // IFF_*
    Count linkIndex;         // of the interface below it, or of the other end; its own index when there is none
    Count linkMode;          // IF_LINK_MODE_*: 1 when it starts dormant
    Count group;             // that an administrator put it in; 0 at first
    Count deviceId;          // tells interfaces apart that share a device and an address
    Count nameAssignment;    // NET_NAME_*: who chose the name
    Count addressAssignment; // NET_ADDR_*: who chose the address
    Reading<std::string> address;
    Reading<std::string> broadcast;
    Reading<std::string> alias;
    Reading<std::string> driver;
    Reading<std::string> kind;   // DEVTYPE: "vlan", "bridge", "wlan"
    Reading<std::string> master; // the bond or bridge that it belongs to
    Reading<std::string> role;   // "bond", "bridge", "bond_port", "bridge_port": its own one first
};

template<> std::span<const Field<Interface>> fieldsOf<Interface>();

} // namespace zel

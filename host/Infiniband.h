// Ports of InfiniBand adapters, and of other adapters with remote memory access (RoCE, iWARP). Any user.
//
// Drivers read most counters from the firmware of the adapter: on this host each port is asked by a bounded call. What
// a port does not support, the names of its own counters and what describes it are looked at every 30 seconds.
//
// Counters of the standard do not wrap: where they have few bits (as those of errors, and all of old adapters) they
// stay at their highest value.
#pragma once

#include "host/Schema.h"

namespace zel {

struct InfinibandPort {
    std::string device;
    std::uint64_t port = 0;
    Reading<std::string> state; // "ACTIVE"
    Count stateNumber;
    Reading<std::string> physicalState; // "LinkUp"
    Count physicalStateNumber;
    Count rateBytesPerSecond;
    Reading<std::string> rate;      // "100 Gb/sec (4X EDR)"
    Reading<std::string> linkLayer; // "InfiniBand", "Ethernet"
    Count localId;
    Reading<std::string> firmware; // of the device, as the three that follow
    Reading<std::string> board;
    Reading<std::string> adapterType;
    Reading<std::string> nodeGuid;

    Count receiveBytes, receivePackets, receiveUnicastPackets, receiveMulticastPackets;
    Count transmitBytes, transmitPackets, transmitUnicastPackets, transmitMulticastPackets;
    Count receiveErrors, receiveRemotePhysicalErrors, receiveSwitchRelayErrors, receiveConstraintErrors;
    Count receiveDiscards, transmitDiscards, transmitConstraintErrors, transmitWaits;
    Count symbolErrors, linkErrorRecoveries, linkDowned, localLinkIntegrityErrors;
    Count bufferOverrunErrors, managementDrops;

    // counters_ext, kernels before 4.5: the traffic in 64 bits, where counters/ has it in 32
    Count extendedReceiveBytes, extendedReceivePackets, extendedReceiveUnicastPackets;
    Count extendedReceiveMulticastPackets;
    Count extendedTransmitBytes, extendedTransmitPackets, extendedTransmitUnicastPackets;
    Count extendedTransmitMulticastPackets;
};

/// One counter of a port that only its driver knows (hw_counters).
struct InfinibandCounter {
    std::string device;
    std::uint64_t port = 0;
    std::string name;
    Count value;
};

template<> std::span<const Field<InfinibandPort>> fieldsOf<InfinibandPort>();
template<> std::span<const Field<InfinibandCounter>> fieldsOf<InfinibandCounter>();

} // namespace zel

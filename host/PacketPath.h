// What packets meet in the kernel beside the protocols: the queues of the processors, connection tracking, neighbours.
// Any user. Whose network namespace they are of: host/Ip.h; the queues are the machine's.
#pragma once

#include "host/Schema.h"

namespace zel {

/// One line of /proc/net/softnet_stat, which has the processors that are online. Each counter has 32 bits.
struct Softnet {
    std::uint64_t processor = 0; // as the kernel says it; the place of the line before it did (about 5.10)
    Count processed;
    Count dropped;
    Count timesSqueezed;
    Count cpuCollisions;
    Count receivedRps;
    Count flowLimits;
    Count backlog;
    Count inputQueue;
    Count processQueue;
};

/// The table of tracked connections, and the sums over all processors of what /proc/net/stat/nf_conntrack counts. A
/// processor's counter has 32 bits and wraps by itself: a sum that falls has lost a multiple of 2^32.
///
/// The two numbers of /proc/sys are those of the reading thread's namespace, below a root directory too.
struct Conntrack {
    Count entries;
    Count entriesLimit;
    Count searched;
    Count clashResolutions;
    Count found;
    Count created;
    Count invalid;
    Count ignored;
    Count deleted;
    Count deletedList;
    Count chainTooLong;
    Count inserted;
    Count insertFailed;
    Count dropped;
    Count earlyDropped;
    Count icmpErrors;
    Count expectNew;
    Count expectCreated;
    Count expectDeleted;
    Count searchRestarts;
};

/// The neighbours that one interface knows: ARP (IPv4) and neighbour discovery (IPv6), by state. An interface without
/// any has no row.
///
/// On this host they come over rtnetlink, which older kernels may make wait for a driver: asked by a bounded call.
/// Below a root directory /proc/net/arp has IPv4 alone, and of the states only what is permanent.
struct Neighbours {
    std::string interface;
    std::string protocol; // "arp", "ndisc"
    Count entries;        // without those that need no resolution, as /proc/net/arp counts
    Count incomplete;
    Count reachable;
    Count stale;
    Count delay;
    Count probe;
    Count failed;
    Count permanent;
    Count noArp;
};

template<> std::span<const Field<Softnet>> fieldsOf<Softnet>();
template<> std::span<const Field<Conntrack>> fieldsOf<Conntrack>();
template<> std::span<const Field<Neighbours>> fieldsOf<Neighbours>();

} // namespace zel

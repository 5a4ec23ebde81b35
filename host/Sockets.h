// The sockets of the host, and its TCP connections by state. Any user.
//
// The counts are those of the network namespace that host/Ip.h names; memory is that of all namespaces together.
#pragma once

#include "host/Schema.h"

namespace zel {

/// /proc/net/sockstat and sockstat6. Memory that the kernel counts in pages is in bytes here, by the page size of the
/// machine that reads.
struct Sockets {
    Count used; // of every kind, of the namespace
    Count tcpInUse;
    Count tcpOrphans;
    Count tcpTimeWaits; // with those that wait in FIN_WAIT2; before kernel 4.10 of all namespaces
    Count tcpAllocated;
    Count tcpMemoryBytes;
    Count udpInUse;
    Count udpMemoryBytes;
    Count udpLiteInUse;
    Count rawInUse;
    Count fragmentQueues;
    Count fragmentMemoryBytes;
    Count tcp6InUse;
    Count udp6InUse;
    Count udpLite6InUse;
    Count raw6InUse;
    Count fragment6Queues;
    Count fragment6MemoryBytes;
    Count tcpOrphansLimit;
    Count tcpMemoryLimitBytes;
    Count udpMemoryLimitBytes;
};

/// TCP sockets by state, IPv4 and IPv6 together.
///
/// On this host the kernel lists the others (sock_diag); established sockets and those in TIME_WAIT, which may be
/// hundreds of thousands, are what /proc/net/sockstat counts less the listed ones: listing them takes five times as
/// long. The kernel counts both at its own moment, as no list of it is of one moment. Where it cannot list sockets, and
/// below a root directory, the lines of /proc/net/tcp and tcp6 are counted. A list that takes longer than a second is
/// given up: timed out.
struct TcpStates {
    Count established;
    Count synSent;
    Count synReceived;
    Count finWait1;
    Count finWait2;
    Count timeWait;
    Count close;
    Count closeWait;
    Count lastAck;
    Count listen;
    Count closing;
    Count acceptQueue; // connections that wait to be accepted, of all listening sockets
};

template<> std::span<const Field<Sockets>> fieldsOf<Sockets>();
template<> std::span<const Field<TcpStates>> fieldsOf<TcpStates>();

} // namespace zel

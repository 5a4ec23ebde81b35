// Counts TCP and UDP sockets: by the lists of the kernel (sock_diag), or by the lines of /proc/net/tcp and udp.
#pragma once

#include "host/Sockets.h"
#include "host/source/NetlinkDump.h"

#include <array>

namespace zel {

/// The kernel's numbers of the states, which end below this.
inline constexpr std::size_t TCP_STATE_NUMBERS = 16;

/// TCP sockets of a list.
struct TcpCounts {
    std::array<std::uint64_t, TCP_STATE_NUMBERS> byState{};
    std::uint64_t inUse = 0;         // those that sockstat counts as in use
    std::uint64_t timeWaitOfFin = 0; // those in FIN_WAIT2 that it counts as TIME_WAIT
    std::uint64_t acceptQueue = 0;
};

/// Bytes that wait in the queues of a list of sockets.
struct QueueBytes {
    std::uint64_t receive = 0, transmit = 0;
};

/// Counts the TCP sockets of both families that are neither established nor in TIME_WAIT. Gives 0 or an errno.
int listTcpSockets(NetlinkDump &dump, NetlinkDump::Time until, TcpCounts &counts);
/// Adds the queues of the UDP sockets of a family, AF_INET or AF_INET6.
int listUdpSockets(NetlinkDump &dump, NetlinkDump::Time until, unsigned char family, QueueBytes &bytes);
/// Takes one message of such a list. False when it is none.
bool takeTcpMessage(std::span<const char> payload, TcpCounts &counts);
bool takeUdpMessage(std::span<const char> payload, QueueBytes &bytes);

/// The states of a list, with what sockstat counted: established and TIME_WAIT are its rest.
void takeListedStates(const TcpCounts &listed, const Sockets &sockets, TcpStates &states);

/// Adds the lines of /proc/net/tcp or tcp6, or of /proc/net/udp or udp6. False when one is not what kernels write.
bool countTcpLines(const char *text, TcpCounts &counts);
bool countUdpLines(const char *text, QueueBytes &bytes);
/// The states of lines, which have all of them.
void takeCountedStates(const TcpCounts &counted, TcpStates &states);

} // namespace zel

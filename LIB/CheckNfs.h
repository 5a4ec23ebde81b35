// Whether an NFS server answers, asked before a collector touches a mount of it: statfs64 on a mount whose server is
// gone blocks without end. Two probes, both given the mount source as the mount table has it ("filer:/export"):
//
//   chknfsmnt    asks the server's portmapper (UDP port 111) for NFS version 2 over UDP and sends that service a null
//                call. Reachable means that all of it works. For servers that still offer version 2 over UDP.
//   fgNfsCheck   connects to TCP port 2049. For servers of today, which offer versions 3 and 4 over TCP only and often
//                no portmapper at all: chknfsmnt reports them as unreachable.
//
// The filesystem collector uses the first with g_nNfsStatusCheckFlag 1, the second without its alarm with 2.
//
// Worst case of a probe, whatever the server does: the name look-up NFS_NAME_SECONDS (a dotted address needs none),
// then for chknfsmnt NFS_PORTMAPPER_SECONDS + NFS_CALL_SECONDS, for fgNfsCheck NFS_CONNECT_SECONDS. A server that
// refuses costs a round trip. Nothing is logged.
#pragma once

#include <netinet/in.h>

inline constexpr int NFS_NAME_SECONDS = 5;
inline constexpr int NFS_PORTMAPPER_SECONDS = 2;
inline constexpr int NFS_CALL_SECONDS = 5;
inline constexpr int NFS_CONNECT_SECONDS = 5;

/// Fills `addr` (port 0) with the IPv4 address of `host`, a dotted address or a name. Returns 1, or 0 when the name has
/// no address or the look-up takes longer than NFS_NAME_SECONDS. A name service that did not answer in time is not
/// waited for again until it does (threads/BoundedCall.h).
int get_inaddr(sockaddr_in *addr, const char *host);

/// 1 when NFS version 2 over UDP of the host of `source` answers, else 0. A source without ":" is the host as a whole.
/// With g_nIPv6Flag 1 nothing is probed and the server counts as reachable: 1.
///
/// Writes "unable to set timeout\n" to standard error when the RPC client refuses a time-out, and goes on. Needs
/// /etc/netconfig (Debian: libtirpc-common); without it no client can be made and the result is 0. Several
/// threads may ask at a time.
int chknfsmnt(const char *source);

/// 1 when a TCP connection to the NFS port of the host of `source` is accepted, 0 when it is not (within
/// NFS_CONNECT_SECONDS); -1 for a null source, without memory, for a name without address and when the alarm cannot be
/// set up. With g_nIPv6Flag 1 nothing is probed: 1.
///
/// Uses the process-wide alarm: an alarm that is pending is lost, and nothing else may use it at the same time. The
/// action of SIGALRM is put back, and no alarm is left pending for it. The limit also holds where the alarm cannot
/// interrupt the call: in a thread that does not get the signal.
int fgNfsCheck(const char *source);

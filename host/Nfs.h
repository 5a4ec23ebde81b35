// NFS: the mounts of this host from /proc/self/mountstats, and the counters of client and server from
// /proc/net/rpc/nfs and /proc/net/rpc/nfsd. Any user.
//
// The kernel answers all of it from its own memory: a server that is dead holds nothing up. Nothing is asked of the
// mount itself (statfs is of the area filesystems).
//
// A mount is its device, mount point and type; of several that are the same in these, one over the other, the last has
// a row. The age says whether it was mounted anew: then its rates are not yet. mountstats names every mount of the
// host: while none of them is of NFS, it is looked at every 10 seconds on this host.
//
// The kernel's milliseconds are seconds here. What an older kernel does not count is unsupported; what a
// newer one appends to a line is left out. The counters of /proc/net/rpc are those of the network namespace (before
// kernel 6.9 of the first one alone), and have 32 bits.
#pragma once

#include "host/Schema.h"

namespace zel {

struct NfsMount {
    std::string device;                  // "server:/export", escapes resolved
    std::string mountPoint;              // escapes resolved
    std::string type;                    // "nfs", "nfs4"
    Reading<std::string> version;        // "3", "4.2"
    Reading<std::string> protocol;       // "tcp"
    Reading<std::string> security;       // "sys", "krb5p"
    Reading<std::string> options;        // all of them
    Count readOnly;                      // 1 or 0
    Count ageSeconds;                    // since it was mounted
    Count readSizeBytes, writeSizeBytes; // of one request at most
    Count capabilities;                  // of the server, as bits (NFS_CAP_*)
    Count writeMultipleBytes, directoryReadBytes, blockSizeBytes, nameLength;
    Count securityFlavour, securityPseudoFlavour;
    Reading<std::string> parallel; // pNFS: the layout driver, or "not configured"
    Count leaseSeconds;            // of NFSv4
    Count leaseExpiredSeconds;

    Count inodeRevalidations, entryRevalidations, dataInvalidations, attributeInvalidations;
    Count opens, lookups, accessChecks, pageUpdates, pageReads, groupedPageReads, pageWrites, groupedPageWrites;
    Count directoryReads, attributeChanges, flushes, syncs, locks, releases, congestionWaits;
    Count truncations, extendingWrites, sillyRenames, shortReads, shortWrites, delays;
    Count parallelReads, parallelWrites;

    Count readBytes, writtenBytes;             // by programs, through the page cache
    Count directReadBytes, directWrittenBytes; // by programs, past it
    Count serverReadBytes, serverWrittenBytes; // from and to the server
    Count readPages, writtenPages;

    // Of all operations together.
    Count operations, transmissions, retransmissions, timeouts, sentBytes, receivedBytes;
    Number queueSeconds, roundTripSeconds, executeSeconds;
    Count errors;
};

/// One operation of a mount that was used since it was mounted.
struct NfsOperation {
    std::string device, mountPoint, type;
    std::string operation; // "READ", "GETATTR", or a number for what the kernel has no name for
    Count operations, transmissions, retransmissions, timeouts, sentBytes, receivedBytes;
    Number queueSeconds, roundTripSeconds, executeSeconds; // of all of them together
    Count errors;                                          // kernel 5.3 and later
};

/// One connection that a mount uses. Mounts of the same server share theirs.
struct NfsTransport {
    std::string device, mountPoint, type;
    std::uint64_t transport = 0;   // from 0, in the kernel's order
    Reading<std::string> protocol; // "tcp", "udp", "rdma", "local"
    Count localPort;
    Count binds, connects;
    Number connectSeconds; // kernel 5.3 and later: earlier ones count ticks, whose length they do not say
    Number idleSeconds;
    Count sends, receives, badTransactions;
    Count inFlight, backlog; // sums of the length of the queue, taken at each send
    Count slotsAtMost;
    Count sendingQueue, pendingQueue;

    // RDMA alone.
    Count readChunks, writeChunks, replyChunks;
    Count remoteRequestBytes, remoteReplyBytes, pulledUpBytes, fixedUpBytes;
    Count hardwayRegistrations, failedMarshals, badReplies, callsWithoutMessage;
    Count regionsRecycled, regionsOrphaned, regionsAllocated, localInvalidations, emptySendContexts, repliesThatWaited;
};

/// The client of NFS, all mounts together.
struct NfsClient {
    Count packets, udpPackets, tcpPackets, tcpConnections;
    Count calls, retransmissions, authenticationRefreshes;
};

/// One operation of one version, all mounts together.
struct NfsClientCall {
    std::uint64_t version = 0;
    std::string operation;
    Count calls;
};

/// The NFS server of this host.
struct NfsServer {
    Count replyCacheHits, replyCacheMisses, uncachedReplies;
    Count staleHandles;
    Count readBytes, writtenBytes;
    Count threads;
    Count readAheadBlocks, readAheadHits, readAheadMisses; // kernels before 5.4
    Count packets, udpPackets, tcpPackets, tcpConnections;
    Count calls, badCalls, badFormats, badAuthentications, badClients;
    Count delegationRecalls; // because of a GETATTR on a file that a client may write
};

struct NfsServerCall {
    std::uint64_t version = 0;
    std::string operation; // of version 4: NULL, COMPOUND, and what compounds are made of
    Count calls;
};

template<> std::span<const Field<NfsMount>> fieldsOf<NfsMount>();
template<> std::span<const Field<NfsOperation>> fieldsOf<NfsOperation>();
template<> std::span<const Field<NfsTransport>> fieldsOf<NfsTransport>();
template<> std::span<const Field<NfsClient>> fieldsOf<NfsClient>();
template<> std::span<const Field<NfsClientCall>> fieldsOf<NfsClientCall>();
template<> std::span<const Field<NfsServer>> fieldsOf<NfsServer>();
template<> std::span<const Field<NfsServerCall>> fieldsOf<NfsServerCall>();

} // namespace zel

// What a host can run out of, with its use: files, inodes, asynchronous I/O, threads, pids, terminals, System V
// objects, entropy, neighbours, key rings; and whether SELinux limits what programs may do. Any user.
//
// Uses are read in each sample. Limits, which only an administrator changes, are read every 30 seconds on this host.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Limits {
    Count filesAllocated; // open files of the whole host
    Count filesUnused;    // allocated and not in use: 0 since kernel 2.6
    Count filesLimit;
    Count filesPerProcessLimit; // to which a soft and a hard limit can be raised
    Count inodesAllocated;
    Count inodesUnused;
    Count dentriesAllocated;
    Count dentriesUnused;
    Count dentriesNegative; // names that are known not to exist (kernel 5.0 and later; 0 before)
    Count aioRequests;
    Count aioRequestsLimit;
    Count threads;
    Count threadsLimit;
    Count pidsLimit; // pids that can be given: one for each thread
    Count memoryMapsPerProcessLimit;
    Count inotifyInstancesPerUserLimit;
    Count inotifyWatchesPerUserLimit;
    Count terminals; // pseudo terminals
    Count terminalsLimit;
    Count semaphoreArrays;
    Count semaphoreArraysLimit;
    Count sharedMemorySegments;
    Count sharedMemorySegmentsLimit;
    Count messageQueues;
    Count messageQueuesLimit;
    Count entropyAvailableBits;
    Count entropyPoolBits;
    Count arpEntries; // of all network namespaces
    Count arpEntriesLimit;
    Count ndiscEntries;
    Count ndiscEntriesLimit;
};

/// The key rings of one user: a line of /proc/key-users. Containers of one user share its quota.
struct KeyUser {
    std::uint64_t uid = 0;
    Count keys;
    Count keysLimit;
    Count bytes;
    Count bytesLimit;
};

/// What keeps programs from doing all that their user may: SELinux, whose file system is at /sys/fs/selinux. It changes
/// with the command line of the kernel, and by setenforce.
struct SecurityModules {
    Count selinuxEnabled;                   // 1 or 0
    Count selinuxEnforcing;                 // 1, or 0 when it only reports; none where it is not enabled
    Reading<std::string> selinuxConfigured; // "enforcing", "permissive" or "disabled" at the next boot
};

template<> std::span<const Field<Limits>> fieldsOf<Limits>();
template<> std::span<const Field<SecurityModules>> fieldsOf<SecurityModules>();
template<> std::span<const Field<KeyUser>> fieldsOf<KeyUser>();

} // namespace zel

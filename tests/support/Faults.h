// Makes one call of a system function fail: the n-th from now, once. The calls of every object in the program count,
// and with the memory ledger (MemoryLedger.h) also the allocations inside the C and C++ libraries.
#pragma once

#include <string>

enum class Call {
    Allocation, // malloc, calloc, realloc and operator new
    Open,       // open, openat, openat2
    Read,
    Pread,
    Fopen, // fopen, fdopen, fopencookie
    Fgets,
    Getdents, // getdents64
    Socket,
    Ioctl,
    Statfs,
    System,
    Popen,
    Thread, // pthread_create
    Getpwuid,
    Count // not a function
};

const char *callName(Call call);

/// While it lives, the n-th call (from 1) of a function fails as the system lets it fail: null or -1, with errno (the
/// function's usual one, or `error`). With 0 nothing fails and the calls are counted.
class Fault {
public:
    Fault(Call call, long number, int error = 0);
    ~Fault();
    Fault(const Fault &) = delete;
    Fault &operator=(const Fault &) = delete;

    /// Calls of the function so far, the failed one included.
    static long calls();
    static bool happened();
};

/// While it lives, calls neither fail nor count: the test itself is at work.
class FaultsSuspended {
public:
    FaultsSuspended();
    ~FaultsSuspended();
    FaultsSuspended(const FaultsSuspended &) = delete;
    FaultsSuspended &operator=(const FaultsSuspended &) = delete;
};

/// For the wrapped functions: counts a call; true when it is the one that fails. errno is set then.
bool faultIsDue(Call call);

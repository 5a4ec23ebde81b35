// Processes, from /proc/<pid>: stat, statm, io, cmdline, cgroup and the directory itself. I/O counters and descriptors
// of other users' processes need their rights or CAP_SYS_PTRACE.
//
// A process is its pid and its start time.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Process {
    std::uint64_t pid = 0;
    std::string name;    // comm: at most 15 characters, or what the process wrote there
    Number startSeconds; // after boot
    Count parentPid;
    Count processGroup, session;
    Reading<std::string> state; // as the kernel writes it: R S D T t Z X I P
    Count userId;
    Reading<std::string> user;
    Reading<std::string> commandLine;
    Reading<std::string> cgroup;
    Reading<std::string> container;

    Number userSeconds, systemSeconds;
    Number childrenUserSeconds, childrenSystemSeconds;
    Number delaySeconds; // waiting for block I/O
    Number guestSeconds;
    Count minorFaults, majorFaults;
    Count threads;
    Count processor; // that it ran on last
    Reading<double> priority, nice;
    Count realtimePriority;
    Count policy;
    Count kernelThread; // 1 or 0

    Count residentBytes, virtualBytes, sharedBytes, textBytes, dataBytes;
    Count proportionalBytes; // only when asked for
    Count descriptors;

    Count readCharacters, writtenCharacters;
    Count readCalls, writeCalls;
    Count readBytes, writtenBytes, cancelledWriteBytes;
};

/// Processes by state, as the kernel calls them.
struct ProcessTotals {
    Count total, threads;
    Count running, sleeping, diskSleeping, stopped, traced, zombies, dead, idle, parked, other;
    Count unread; // went or could not be read during the sample
};

template<> std::span<const Field<Process>> fieldsOf<Process>();
template<> std::span<const Field<ProcessTotals>> fieldsOf<ProcessTotals>();

} // namespace zel

// Processes, from /proc/<pid>: stat, statm, io, cmdline, cgroup and the directory itself.
//
// A process is its pid and its start time. Each sample reads stat and io of every process. The rest is read when a
// process is new, runs, or shows that it ran, and of each process in every eighth sample, in each of some:
//
//   command line, descriptors   when stat or io are not the same to the byte as in the sample before. A process that
//                               ran shows it there, unless it needed less than a clock tick (10 ms) in all, no new
//                               page and no read or write: then these are up to seven samples old.
//   owner, statm                when stat is not the same to the byte. It has the size and what is in RAM.
//   cgroup                      when a process is new or has another name (it runs another program): the kernel makes
//                               the path up under a lock of the whole machine. Others may move a process that does not
//                               run: it is up to seven samples old.
//
// A process that went while it was read is left out and counted. One whose stat cannot be read or parsed is in the list
// with the reasons. I/O counters of other users' processes need their rights or CAP_SYS_PTRACE; so does the number of
// descriptors on kernels before 6.2, where they are counted one by one.
//
// One that holds up whoever reads it (it waits under the lock of its own memory) has what owner, stat and statm say.
// Its command line, I/O, descriptors, cgroup and proportional memory are timed out until it answers again.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Process {
    std::uint64_t pid = 0;
    std::string name;    // comm: at most 15 characters, or what the process wrote there; of a worker of the kernel 63
    Number startSeconds; // after boot
    Count parentPid;
    Count processGroup, session;
    Count terminal;             // device number
    Reading<std::string> state; // as the kernel writes it: R S D T t Z X I P
    Count userId;
    Reading<std::string> user; // by etc/passwd alone: asking the name service may take for ever
    Reading<std::string> commandLine;
    Reading<std::string> cgroup;
    Reading<std::string> container;

    // What is the children's counts for those that ended and were waited for.
    Number userSeconds, systemSeconds;
    Number childrenUserSeconds, childrenSystemSeconds;
    Number delaySeconds; // waiting for block I/O
    Number guestSeconds, childrenGuestSeconds;
    Count minorFaults, majorFaults;
    Count childrenMinorFaults, childrenMajorFaults;
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
    Count unread; // went during the sample, or their stat could not be read
};

template<> std::span<const Field<Process>> fieldsOf<Process>();
template<> std::span<const Field<ProcessTotals>> fieldsOf<ProcessTotals>();

} // namespace zel

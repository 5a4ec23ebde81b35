// The process between the command runner and its command: it starts the command, watches the time and leaves nothing
// behind.
//
// Where the system allows it, it is the first process of a process namespace: when it ends, for whatever reason, the
// kernel ends all that the command has started, at once and without exception, and the command can neither stop nor
// kill it. Elsewhere what the command leaves behind becomes its child (subreaper) and is ended one by one.
#pragma once

#include <csignal>
#include <sys/types.h>

namespace runner {

struct Watch {
    char **command;
    double deadline;       // of the monotonic clock
    int lifeline;          // reads as closed when the runner has gone
    pid_t runner;          // as the runner sees itself
    bool ownNamespace;     // this process is the first of a namespace
    sigset_t originalMask; // for the command
};

/// Runs the command and ends with its exit status; see ShCmd.cpp.
[[noreturn]] void keep(const Watch &watch);

} // namespace runner

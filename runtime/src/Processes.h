// What the two processes of the command runner share: time, signals, and the ends of other processes.
#pragma once

#include <csignal>
#include <ctime>
#include <sys/types.h>

namespace runner {

// Exit statuses of the runner itself.
inline constexpr int STATUS_TIME_OUT = 124;
inline constexpr int STATUS_FAILURE = 125;
inline constexpr int STATUS_NOT_RUNNABLE = 126;
inline constexpr int STATUS_NOT_FOUND = 127;
inline constexpr int STATUS_SIGNALLED = 128;

/// Between TERM and KILL, and the longest wait for what was killed; seconds.
inline constexpr double GRACE = 2.0;
inline constexpr timespec POLL_INTERVAL{0, 10000000};

/// Seconds of the monotonic clock.
double now();
/// What is left until `deadline`; nothing when it is over.
timespec remaining(double deadline);

/// The signals that the runner waits for instead of being interrupted: a child's end, and requests to end.
sigset_t waitedSignals();

/// Processes that eat up the processor must not keep the runner from ending them. Does what the user may do.
void raiseOwnPriority(bool aboveEverything);
/// For a command: its keeper runs before it, also where an ordinary user's keeper cannot raise itself.
void stayBelowKeeper();

/// True when this process has a child, if only one that has ended and was not reaped. What a command leaves behind
/// becomes a child (subreaper).
bool hasChildren();

/// Sends `number` to children of this process and to theirs, some thousands at most, and lets them run after all
/// others.
void signalDescendants(int number);

/// Ends the descendants, for so many seconds at most: all are stopped, so that none starts another one, and killed.
void killDescendants(double seconds);

/// Takes the status of children that have ended, some thousands at most. True when `child` is among them.
bool reap(pid_t child, int &status);

} // namespace runner

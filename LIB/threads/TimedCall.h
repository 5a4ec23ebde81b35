// Calls that may block without end, such as statfs64 on a mount whose server is gone, held to a time limit.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace zel {

inline constexpr int TIMED_CALL_MAX_ABANDONED = 64; // calls that may hang at one time

/// Runs `work` on a thread of its own and waits at most `limit` for it. Returns 0 when the work is done; otherwise an
/// error number, and the results of the work must not be touched:
///
///   ETIMEDOUT  the limit has passed. The call is abandoned: its thread stays until the system lets it go. While it
///              stays, another call with the same `key` gives ETIMEDOUT at once, so that a dead server costs its limit
///              once and holds one thread.
///   EAGAIN     TIMED_CALL_MAX_ABANDONED calls hang already, or no thread can be had.
///   ENOMEM     there is no memory for the call, or the work found none (it threw std::bad_alloc).
///
/// The work must own everything that it refers to (shared pointers, copies): an abandoned one outlives its caller. It
/// runs with every signal blocked, so that the program's handlers run where they always did. May be called by several
/// threads at once.
int runWithin(std::chrono::milliseconds limit, const std::string &key, std::function<void()> work);

/// Abandoned calls whose threads have not ended yet.
int abandonedCalls();

} // namespace zel

// Counts the system calls that a piece of work makes, by running it in a traced child of this process: a real count,
// whatever library makes the call.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <string>
#include <sys/types.h>

namespace bench {

/// A system call that a traced child is about to make.
struct TracedCall {
    pid_t child;
    long number;
    std::array<unsigned long long, 6> arguments;
};

/// Calls each(call) for the calls of one run of `work` in a traced child, after some runs that are passed over. False
/// when tracing is refused.
bool traceSystemCalls(const std::function<void()> &work, const std::function<void(const TracedCall &)> &each);

std::string systemCallName(long number);

/// Calls by number of one run of `work` (after a first run that is not counted). Empty when tracing is refused.
std::map<long, long> countSystemCalls(const std::function<void()> &work);

long totalOf(const std::map<long, long> &calls);

/// The calls that `sample` makes beyond those of `floor` ("fstat 1, lseek 2"), with a minus where it makes fewer.
std::string differenceOf(const std::map<long, long> &sample, const std::map<long, long> &floor);

} // namespace bench

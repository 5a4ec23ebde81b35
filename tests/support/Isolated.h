// Runs the body of a test in a child process that has a network (loopback only, nothing else) and a mount table of its
// own: it may bind any port and mount what it likes, and can reach nothing outside.
#pragma once

#include <functional>
#include <string>
#include <type_traits>

struct IsolatedOutcome {
    bool permitted = false; // false: this user may not make namespaces
    bool finished = false;  // false: the child died before it had a result
    std::string detail;     // why, for a person
};

/// Runs `body` in such a child; `result` of `size` bytes takes what it writes into its own copy.
IsolatedOutcome runIsolatedBytes(const std::function<void()> &body, void *result, std::size_t size);

/// The same for a result that can be copied bytewise.
template<typename Result> IsolatedOutcome runIsolated(Result &result, const std::function<void(Result &)> &body) {
    static_assert(std::is_trivially_copyable_v<Result>);
    return runIsolatedBytes([&result, &body] { body(result); }, &result, sizeof(result));
}

/// Skips the test, with the reason, when namespaces are not permitted; fails it when the child died.
#define ASSERT_RAN_ISOLATED(outcome)                                                                                   \
    do {                                                                                                               \
        const IsolatedOutcome isolated = (outcome);                                                                    \
        if (!isolated.permitted)                                                                                       \
            GTEST_SKIP() << "needs namespaces of its own: " << isolated.detail;                                        \
        ASSERT_TRUE(isolated.finished) << isolated.detail;                                                             \
    } while (false)

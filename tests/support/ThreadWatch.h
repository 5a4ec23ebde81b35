// Follows the threads that the library starts: a test waits for their end instead of leaving them behind, so that the
// next test's system hooks are never changed under a running thread.
#pragma once

#include <memory>

class ThreadWatch {
public:
    ThreadWatch();
    /// Waits for every thread, at most 20 seconds; fails the test when one is still running then.
    ~ThreadWatch();
    ThreadWatch(const ThreadWatch &) = delete;
    ThreadWatch &operator=(const ThreadWatch &) = delete;

    int started() const;
    int running() const;
    /// True when all threads ended within the time.
    bool allEnded(int milliseconds) const;

    struct Counts;

private:
    std::shared_ptr<Counts> m_counts;
};

// A clock that stops until the test moves it: gettimeofday and time read it, and a sleep (select without
// descriptors) moves it by its length instead of waiting.
#pragma once

#include "SystemHooks.h"

#include <vector>

class FrozenClock {
public:
    explicit FrozenClock(std::time_t seconds = 1700000000, long microseconds = 0) {
        set(seconds, microseconds);
        systemHooks().gettimeofday = [this](timeval *now) {
            *now = m_now;
            return 0;
        };
        systemHooks().time = [this] { return m_now.tv_sec; };
        systemHooks().select = [this](int, fd_set *, fd_set *, fd_set *, timeval *timeout) {
            m_sleeps.push_back(static_cast<long>(timeout->tv_sec) * 1000000 + timeout->tv_usec);
            advance(timeout->tv_sec, timeout->tv_usec);
            return 0;
        };
    }
    ~FrozenClock() {
        systemHooks().gettimeofday = nullptr;
        systemHooks().time = nullptr;
        systemHooks().select = nullptr;
    }
    FrozenClock(const FrozenClock &) = delete;
    FrozenClock &operator=(const FrozenClock &) = delete;

    void set(std::time_t seconds, long microseconds = 0) { m_now = {seconds, microseconds}; }

    void advance(std::time_t seconds, long microseconds = 0) {
        const long total = m_now.tv_usec + microseconds;
        m_now = {m_now.tv_sec + seconds + total / 1000000, total % 1000000};
    }

    /// Microseconds of every sleep so far.
    const std::vector<long> &sleeps() const { return m_sleeps; }

private:
    timeval m_now{};
    std::vector<long> m_sleeps;
};

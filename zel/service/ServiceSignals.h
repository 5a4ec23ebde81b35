// What a service is asked to do by signals: SIGHUP reads its configuration again, SIGTERM and SIGINT end it.
#pragma once

#include <chrono>

namespace zel {

enum class ServiceEvent : unsigned char { Time, Reload, End };

/// From its making on the signals wait for wait() instead of ending the program, in this thread and in those that are
/// started after it: make it before the first one. One object in a program.
class ServiceSignals {
public:
    using Clock = std::chrono::steady_clock;

    ServiceSignals();
    ~ServiceSignals();
    ServiceSignals(const ServiceSignals &) = delete;
    ServiceSignals &operator=(const ServiceSignals &) = delete;

    /// Until the moment, or until a signal comes. Several signals of a kind count as one; an end comes before a reload.
    ServiceEvent wait(Clock::time_point until) const;

private:
    int m_signals;
};

} // namespace zel

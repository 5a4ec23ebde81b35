// Where records are delivered to. A delivery thread owns one and is the only one that calls it.
#pragma once

#include "Record.h"

#include <atomic>
#include <chrono>
#include <poll.h>

namespace agent {

using Clock = std::chrono::steady_clock; // limits and retries do not depend on the time of day

/// Until when deliveries may go on: for ever, until the agent ends. Any thread.
class StopTime {
public:
    void stopWithin(std::chrono::milliseconds time) { m_at = Clock::now() + time; }
    bool isRequested() const { return m_at.load() != Clock::time_point::max(); }
    bool isOver() const { return Clock::now() >= m_at.load(); }

private:
    std::atomic<Clock::time_point> m_at{Clock::time_point::max()};
};

class Destination {
public:
    virtual ~Destination() = default;

    /// Whether a record can be delivered now. Connects when that is due.
    virtual bool isReady(const StopTime &stop) = 0;
    /// True when the destination has the record for good. Otherwise it comes again, later.
    virtual bool deliver(const Record &record, const StopTime &stop) = 0;
};

/// Waits until `descriptor` has one of `events`; false at the limit and when the stop time is over.
bool waitFor(int descriptor, short events, Clock::time_point limit, const StopTime &stop);

} // namespace agent

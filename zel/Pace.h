// The beat of repeated samples: moments on a clock that nobody sets, an interval apart, however long a sample takes.
// And what ends them: Ctrl-C, or a request to terminate.
#pragma once

#include <chrono>

namespace zel {

/// From its making on SIGINT and SIGTERM end the wait, a second one ends the program. One object in a program.
class Pace {
public:
    explicit Pace(std::chrono::milliseconds interval);
    ~Pace();
    Pace(const Pace &) = delete;
    Pace &operator=(const Pace &) = delete;

    /// Waits for the next moment; moments that went by are left out. False when the program is asked to end.
    bool wait();
    static bool isEnding();
    /// Ends the program by the signal that asked for it, so that a shell stops its loop too.
    static int end();

private:
    using Clock = std::chrono::steady_clock;
    Clock::duration m_interval;
    Clock::time_point m_next;
};

} // namespace zel

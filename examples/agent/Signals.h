// The signals of the agent: SIGTERM and SIGINT end it, SIGALRM interrupts a system call that takes too long (the
// watchdog of Runtime.h sends it). All three are for the thread that samples.
#pragma once

#include <csignal>

namespace agent {

void installSignalHandlers();

/// Whether SIGTERM or SIGINT came.
bool isStopRequested();

/// While it lives, the three signals wait. Threads that are started meanwhile never get them.
class SignalsHeld {
public:
    SignalsHeld();
    ~SignalsHeld();

    SignalsHeld(const SignalsHeld &) = delete;
    SignalsHeld &operator=(const SignalsHeld &) = delete;

private:
    sigset_t m_before;
};

} // namespace agent

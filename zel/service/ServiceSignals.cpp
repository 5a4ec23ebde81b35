// Takes signals from a descriptor.
#include "zel/service/ServiceSignals.h"

#include "zel/TimeUntil.h"

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace zel {

namespace {

sigset_t awaited() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGHUP, SIGTERM, SIGINT})
        sigaddset(&signals, signal);
    return signals;
}

} // namespace

ServiceSignals::ServiceSignals() : m_signals(-1) {
    const sigset_t signals = awaited();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_signals = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_signals < 0)
        throw std::system_error(errno, std::generic_category(), "signals cannot be waited for");
}

ServiceSignals::~ServiceSignals() {
    const sigset_t signals = awaited();
    close(m_signals);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

ServiceEvent ServiceSignals::wait(Clock::time_point until) const {
    for (;;) {
        ServiceEvent event = ServiceEvent::Time;
        for (signalfd_siginfo signal; read(m_signals, &signal, sizeof(signal)) == sizeof(signal);) {
            if (signal.ssi_signo != SIGHUP)
                return ServiceEvent::End;
            event = ServiceEvent::Reload;
        }
        if (event != ServiceEvent::Time)
            return event;
        pollfd waited{m_signals, POLLIN, 0};
        const timespec left = timeUntil(until);
        if (ppoll(&waited, 1, &left, nullptr) == 0)
            return ServiceEvent::Time;
    }
}

} // namespace zel

// Waits on the monotonic clock, until a signal comes.
#include "zel/Pace.h"

#include "zel/CommandLine.h"
#include "zel/TimeUntil.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace zel {

namespace {

// Readable once a signal asked for the end; poll() sees it even when the signal came just before the wait.
int endingEvent = -1;
volatile std::sig_atomic_t endingSignal = 0;

void noteSignal(int signal) {
    const int before = errno;
    endingSignal = signal;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(endingEvent, &one, sizeof(one));
    errno = before;
}

void listenFor(int signal) {
    struct sigaction before {};
    const bool ignored = sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN;
    if (ignored) // as under nohup
        return;
    struct sigaction action {};
    action.sa_handler = noteSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(signal, &action, nullptr);
}

} // namespace

Pace::Pace(std::chrono::milliseconds interval) : m_interval(interval), m_next(Clock::now()) {
    endingEvent = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    listenFor(SIGINT);
    listenFor(SIGTERM);
}

Pace::~Pace() {
    close(endingEvent);
}

bool Pace::isEnding() {
    return endingSignal != 0;
}

bool Pace::wait() {
    m_next += m_interval;
    const Clock::time_point now = Clock::now();
    if (m_next < now)
        m_next += (now - m_next) / m_interval * m_interval;
    while (!isEnding()) {
        pollfd ending{endingEvent, POLLIN, 0};
        const timespec left = timeUntil(m_next);
        if (ppoll(&ending, 1, &left, nullptr) == 0)
            break;
    }
    return !isEnding();
}

int Pace::end() {
    const int signal = endingSignal;
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    return EXIT_FAILED; // not reached, unless the signal is blocked
}

} // namespace zel

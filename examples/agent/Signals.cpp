// Signal handlers of the agent, and the mask that keeps signals away from its other threads.
#include "Signals.h"

#include <pthread.h>

namespace agent {

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void requestStop(int) {
    stopRequested = 1;
}

// Unlike SIG_IGN it is not passed on to the commands that are started.
void doNothing(int) {}

void install(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = 0; // no SA_RESTART: the system call that is interrupted ends
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

} // namespace

void installSignalHandlers() {
    install(SIGTERM, requestStop);
    install(SIGINT, requestStop);
    install(SIGALRM, doNothing);
    install(SIGPIPE, doNothing);
    install(SIGXFSZ, doNothing);
}

bool isStopRequested() {
    return stopRequested != 0;
}

SignalsHeld::SignalsHeld() {
    sigset_t held;
    sigemptyset(&held);
    sigaddset(&held, SIGTERM);
    sigaddset(&held, SIGINT);
    sigaddset(&held, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &held, &m_before);
}

SignalsHeld::~SignalsHeld() {
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

} // namespace agent

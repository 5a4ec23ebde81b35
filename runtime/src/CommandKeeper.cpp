// Starts the command, waits for it, and ends it with all that it has started.
#include "CommandKeeper.h"

#include "Processes.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace runner {

namespace {

constexpr double starved = 0.5; // seconds that this process woke up too late: the processor is not ours any more

enum class Ending { Exited, TimeOut, Signalled, RunnerGone };

struct Outcome {
    Ending ending;
    int status; // wait status of the command, or the signal that asked to end
};

bool runnerGone(const Watch &watch) {
    pollfd lifeline{watch.lifeline, POLLIN, 0};
    return poll(&lifeline, 1, 0) == 1;
}

[[noreturn]] void runCommand(const Watch &watch, pid_t keeper) {
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != keeper)
        _exit(STATUS_FAILURE);
    sigprocmask(SIG_SETMASK, &watch.originalMask, nullptr);
    stayBelowKeeper();
    execvp(watch.command[0], watch.command);
    const int status = errno == ENOENT ? STATUS_NOT_FOUND : STATUS_NOT_RUNNABLE;
    std::fprintf(stderr, "ShCmd: %s: %s\n", watch.command[0], std::strerror(errno));
    _exit(status);
}

// Commands name files by their process number, which is to differ from that of every other command.
void numberFrom(pid_t runner) {
    const int file = open("/proc/sys/kernel/ns_last_pid", O_WRONLY | O_CLOEXEC);
    char text[16];
    const int length = std::snprintf(text, sizeof(text), "%d", runner);
    if (file >= 0 && write(file, text, static_cast<std::size_t>(length)) < 0)
        std::perror("ShCmd: process numbers");
    close(file);
}

Outcome waitForCommand(const Watch &watch, pid_t command) {
    const sigset_t signals = waitedSignals();
    int status = 0;
    while (!reap(command, status)) {
        if (runnerGone(watch))
            return {Ending::RunnerGone, 0};
        // Asked apart from the signals: those of a storm never cease.
        if (now() >= watch.deadline)
            return {Ending::TimeOut, 0};
        const timespec wait = remaining(watch.deadline);
        const int number = sigtimedwait(&signals, nullptr, &wait);
        if (number > 0 && number != SIGCHLD && !runnerGone(watch))
            return {Ending::Signalled, number};
    }
    return {Ending::Exited, status};
}

// In a namespace of its own, the first process reaches all others by one call.
void signalAll(const Watch &watch, pid_t command, int number) {
    if (watch.ownNamespace) {
        kill(-1, number);
        return;
    }
    kill(-command, number);
    signalDescendants(number);
}

bool somethingLeft(const Watch &watch, pid_t command) {
    int status = 0;
    reap(command, status);
    return watch.ownNamespace ? kill(-1, 0) == 0 : kill(-command, 0) == 0 || hasChildren();
}

// TERM, a grace period, KILL. The last step in a namespace is the kernel's, when this process ends. A process in an
// uninterruptible wait cannot be ended; it is not waited for longer than another grace period.
void endEverything(const Watch &watch, pid_t command, bool atOnce) {
    for (const double end = now() + (atOnce ? 0 : GRACE); now() < end;) {
        if (!somethingLeft(watch, command))
            return;
        // Asked again and again: what has been started meanwhile has not heard it yet.
        signalAll(watch, command, SIGTERM);
        signalAll(watch, command, SIGCONT);
        nanosleep(&POLL_INTERVAL, nullptr);
    }
    if (watch.ownNamespace)
        return;
    kill(-command, SIGKILL);
    killDescendants(GRACE);
}

int exitStatus(const Outcome &outcome) {
    if (outcome.ending == Ending::TimeOut)
        return STATUS_TIME_OUT;
    if (outcome.ending == Ending::Signalled)
        return STATUS_SIGNALLED + outcome.status;
    return WIFEXITED(outcome.status) ? WEXITSTATUS(outcome.status) : STATUS_SIGNALLED + WTERMSIG(outcome.status);
}

} // namespace

void keep(const Watch &watch) {
    setpgid(0, 0); // what is sent to the runner's group is not sent to this process
    prctl(PR_SET_NAME, "ShCmd-keeper");
    prctl(PR_SET_PDEATHSIG, watch.ownNamespace ? SIGKILL : SIGHUP);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    if (watch.ownNamespace)
        numberFrom(watch.runner);
    const pid_t keeper = getpid();
    const pid_t command = runnerGone(watch) ? -1 : fork();
    if (command < 0) {
        std::perror("ShCmd: fork");
        _exit(STATUS_FAILURE);
    }
    if (command == 0)
        runCommand(watch, keeper);
    setpgid(command, command);
    raiseOwnPriority(false);

    const Outcome outcome = waitForCommand(watch, command);
    const bool late = outcome.ending == Ending::TimeOut && now() > watch.deadline + starved;
    endEverything(watch, command, late || outcome.ending == Ending::RunnerGone);
    if (!watch.ownNamespace)
        kill(watch.runner, SIGCONT); // a command may have stopped it
    _exit(exitStatus(outcome));
}

} // namespace runner

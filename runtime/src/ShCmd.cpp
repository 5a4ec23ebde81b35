// ShCmd: the command runner of the agent's home.
//
//   ShCmd SECONDS COMMAND [ARGUMENT...]
//
// Runs the command in a process group of its own and passes its exit status on. When the time is over, or when ShCmd
// itself is asked to end, everything that the command has started gets SIGTERM and, a grace period later, SIGKILL. What
// a command leaves behind is ended as well. ShCmd returns five seconds after its limit at the latest.
//
// Two processes do this: the runner, which the caller knows, and a keeper, which has the command (CommandKeeper.h).
// Each looks after the other: what kills or stops one of them does not free the command.
//
// Where the system allows it (root, mostly) the command runs in a process namespace: it has process numbers of its own,
// sees all processes of the host in /proc, and can signal none of them. With ZEL_SHARED_PIDS=1 in the environment it
// runs among all others, for commands that have to signal.
//
// Exit status: the command's; 128 + n when signal n ended it; 124 when the time was over; 125 wrong usage or no
// process; 126 the command cannot be run; 127 there is no such command.
#include "CommandKeeper.h"
#include "Processes.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace runner;

// What the keeper may need beyond the limit, and what is left for the runner to end things by itself; five seconds.
constexpr double keeperTime = 2 * GRACE + 0.2;
constexpr double ownTime = 0.6;

// A whole number of seconds; 0 and below, or anything else, is refused.
bool parseSeconds(const char *text, long &seconds) {
    char *end = nullptr;
    errno = 0;
    seconds = std::strtol(text, &end, 10);
    return errno == 0 && end != text && *end == '\0' && seconds > 0 && seconds <= INT_MAX;
}

// True when the next child will be the first process of a namespace. Only where its numbers can be chosen: commands
// that were all numbered from 2 on would use the same names for their temporary files.
bool enterNamespace() {
    const char *shared = std::getenv("ZEL_SHARED_PIDS");
    if (shared != nullptr && std::strcmp(shared, "1") == 0)
        return false;
    return access("/proc/sys/kernel/ns_last_pid", W_OK) == 0 && unshare(CLONE_NEWPID) == 0;
}

// Waits for the keeper's end and passes requests to end on to it. The exit status of ShCmd.
int waitForKeeper(pid_t keeper, double deadline) {
    const sigset_t signals = waitedSignals();
    int result = STATUS_TIME_OUT;
    while (now() < deadline) {
        const timespec wait = remaining(deadline);
        const int number = sigtimedwait(&signals, nullptr, &wait);
        if (number > 0 && number != SIGCHLD) {
            kill(keeper, number);
            result = STATUS_SIGNALLED + number;
            deadline = std::min(deadline, now() + keeperTime);
            continue;
        }
        int status = 0;
        if (waitpid(keeper, &status, WNOHANG | WUNTRACED) != keeper)
            continue;
        if (WIFSTOPPED(status)) {
            kill(keeper, SIGCONT); // the command has stopped its parent
            continue;
        }
        result = WIFEXITED(status) ? WEXITSTATUS(status) : STATUS_SIGNALLED + WTERMSIG(status);
        break;
    }
    // What the keeper has left: itself, when it did not end in time, and what it could not end or was killed before.
    killDescendants(ownTime);
    return result;
}

} // namespace

int main(int argc, char **argv) {
    long seconds = 0;
    if (argc < 3 || !parseSeconds(argv[1], seconds)) {
        std::fprintf(stderr, "Usage: ShCmd SECONDS COMMAND [ARGUMENT...]\n");
        return STATUS_FAILURE;
    }

    // A caller that ignores SIGCHLD hands that on, and the kernel would then keep no exit status for waitpid.
    std::signal(SIGCHLD, SIG_DFL);
    Watch watch{};
    watch.command = argv + 2;
    watch.deadline = now() + static_cast<double>(seconds);
    watch.runner = getpid();
    const sigset_t signals = waitedSignals();
    sigprocmask(SIG_BLOCK, &signals, &watch.originalMask);
    prctl(PR_SET_CHILD_SUBREAPER, 1);

    int lifeline[2];
    if (pipe2(lifeline, O_CLOEXEC) != 0) {
        std::perror("ShCmd: pipe");
        return STATUS_FAILURE;
    }
    watch.lifeline = lifeline[0];
    watch.ownNamespace = enterNamespace();
    const pid_t keeper = fork();
    if (keeper < 0) {
        std::perror("ShCmd: fork");
        return STATUS_FAILURE;
    }
    if (keeper == 0) {
        close(lifeline[1]);
        keep(watch);
    }
    raiseOwnPriority(true);
    return waitForKeeper(keeper, watch.deadline + keeperTime);
}

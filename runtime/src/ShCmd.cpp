// ShCmd: the command runner of the agent's home.
//
//   ShCmd SECONDS COMMAND [ARGUMENT...]
//
// Runs the command in a process group of its own and passes its exit status on. When the time is over, or when ShCmd
// itself is asked to end, the whole group gets SIGTERM and, a grace period later, SIGKILL. Processes that the command
// leaves behind, in its group or outside of it, are ended as well: they become children of ShCmd (subreaper).
//
// Exit status: the command's; 128 + n when signal n ended it; 124 when the time was over; 125 wrong usage or no
// process; 126 the command cannot be run; 127 there is no such command.
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int statusTimeOut = 124;
constexpr int statusFailure = 125;
constexpr int statusNotRunnable = 126;
constexpr int statusNotFound = 127;
constexpr int statusSignalled = 128;

constexpr timespec gracePeriod{2, 0};
constexpr timespec pollInterval{0, 10000000};

enum class Ending { Exited, TimeOut, Signalled };

struct Outcome {
    Ending ending;
    int status; // wait status of the command, or the signal that ShCmd got
};

double now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

timespec remaining(double deadline) {
    const double seconds = deadline > now() ? deadline - now() : 0.0;
    const auto whole = static_cast<time_t>(seconds);
    return {whole, static_cast<long>((seconds - static_cast<double>(whole)) * 1e9)};
}

[[noreturn]] void runCommand(char **command, pid_t parent, const sigset_t &originalMask) {
    setpgid(0, 0);
    // Without ShCmd nobody would end the command: it goes when ShCmd is killed.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(statusFailure);
    sigprocmask(SIG_SETMASK, &originalMask, nullptr);
    execvp(command[0], command);
    const int status = errno == ENOENT ? statusNotFound : statusNotRunnable;
    std::fprintf(stderr, "ShCmd: %s: %s\n", command[0], std::strerror(errno));
    _exit(status);
}

// Reaps every child that has ended; true when the command is among them.
bool reap(pid_t command, int &status) {
    bool ended = false;
    int childStatus = 0;
    for (pid_t child = 0; (child = waitpid(-1, &childStatus, WNOHANG)) > 0;) {
        if (child == command) {
            status = childStatus;
            ended = true;
        }
    }
    return ended;
}

Outcome waitForCommand(pid_t command, const sigset_t &signals, double deadline) {
    int status = 0;
    while (!reap(command, status)) {
        const timespec wait = remaining(deadline);
        const int number = sigtimedwait(&signals, nullptr, &wait);
        if (number < 0 && errno == EAGAIN)
            return {Ending::TimeOut, 0};
        if (number > 0 && number != SIGCHLD)
            return {Ending::Signalled, number};
    }
    return {Ending::Exited, status};
}

// Sends `number` to every child of this process: what the command left behind outside its group has become one.
bool signalChildren(int number) {
    char path[64];
    std::snprintf(path, sizeof(path), "/proc/self/task/%d/children", getpid());
    std::FILE *children = std::fopen(path, "re");
    if (children == nullptr)
        return false;
    bool any = false;
    for (int child = 0; std::fscanf(children, "%d", &child) == 1;) {
        any = true;
        kill(child, number);
    }
    std::fclose(children);
    return any;
}

bool somethingLeft(pid_t group) {
    int status = 0;
    reap(group, status);
    return kill(-group, 0) == 0 || signalChildren(0);
}

// TERM, a grace period, KILL, until nothing is left of the group and of what it left behind.
void endGroup(pid_t group) {
    if (!somethingLeft(group))
        return;
    kill(-group, SIGTERM);
    kill(-group, SIGCONT);
    signalChildren(SIGTERM);
    for (const double graceEnd = now() + static_cast<double>(gracePeriod.tv_sec); now() < graceEnd;) {
        if (!somethingLeft(group))
            return;
        // Asked again: what loses its parent meanwhile has only now become a child.
        signalChildren(SIGTERM);
        nanosleep(&pollInterval, nullptr);
    }
    // A process in an uninterruptible wait cannot be ended; it is not waited for longer than another grace period.
    for (const double end = now() + static_cast<double>(gracePeriod.tv_sec); now() < end && somethingLeft(group);) {
        kill(-group, SIGKILL);
        signalChildren(SIGKILL);
        nanosleep(&pollInterval, nullptr);
    }
}

int exitStatus(const Outcome &outcome) {
    if (outcome.ending == Ending::TimeOut)
        return statusTimeOut;
    if (outcome.ending == Ending::Signalled)
        return statusSignalled + outcome.status;
    return WIFEXITED(outcome.status) ? WEXITSTATUS(outcome.status) : statusSignalled + WTERMSIG(outcome.status);
}

// A whole number of seconds; 0 and below, or anything else, is refused.
bool parseSeconds(const char *text, long &seconds) {
    char *end = nullptr;
    errno = 0;
    seconds = std::strtol(text, &end, 10);
    return errno == 0 && end != text && *end == '\0' && seconds > 0 && seconds <= INT_MAX;
}

} // namespace

int main(int argc, char **argv) {
    long seconds = 0;
    if (argc < 3 || !parseSeconds(argv[1], seconds)) {
        std::fprintf(stderr, "Usage: ShCmd SECONDS COMMAND [ARGUMENT...]\n");
        return statusFailure;
    }

    // A caller that ignores SIGCHLD hands that on, and the kernel would then keep no exit status for waitpid.
    std::signal(SIGCHLD, SIG_DFL);
    sigset_t signals;
    sigset_t originalMask;
    sigemptyset(&signals);
    for (const int number : {SIGCHLD, SIGTERM, SIGINT, SIGHUP, SIGQUIT})
        sigaddset(&signals, number);
    sigprocmask(SIG_BLOCK, &signals, &originalMask);
    prctl(PR_SET_CHILD_SUBREAPER, 1);

    const double deadline = now() + static_cast<double>(seconds);
    const pid_t parent = getpid();
    const pid_t command = fork();
    if (command < 0) {
        std::perror("ShCmd: fork");
        return statusFailure;
    }
    if (command == 0)
        runCommand(argv + 2, parent, originalMask);
    setpgid(command, command);

    const Outcome outcome = waitForCommand(command, signals, deadline);
    endGroup(command);
    return exitStatus(outcome);
}

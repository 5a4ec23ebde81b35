// Time, signals and children of the command runner.
#include "Processes.h"

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace runner {

namespace {

// A storm of processes makes children faster than they are counted: the caller looks at the clock in between.
constexpr int mostAtOnce = 5000;
constexpr int highestPriority = -20;
constexpr int lowestPriority = 19;
constexpr int belowKeeper = 5; // of a command whose keeper may not rise

struct ProcessList {
    pid_t processes[mostAtOnce];
    std::size_t count;
};

// The kernel lists the children of the first thread; those of others come up when that process has ended.
void appendChildren(pid_t process, ProcessList &list) {
    char path[64];
    std::snprintf(path, sizeof(path), "/proc/%d/task/%d/children", process, process);
    std::FILE *children = std::fopen(path, "re");
    if (children == nullptr)
        return;
    int child = 0;
    while (list.count < mostAtOnce && std::fscanf(children, "%d", &child) == 1)
        list.processes[list.count++] = child;
    std::fclose(children);
}

} // namespace

double now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

timespec remaining(double deadline) {
    const double left = deadline - now();
    const double seconds = left > 0.0 ? left : 0.0;
    const auto whole = static_cast<time_t>(seconds);
    return {whole, static_cast<long>((seconds - static_cast<double>(whole)) * 1e9)};
}

sigset_t waitedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGCHLD, SIGTERM, SIGINT, SIGHUP, SIGQUIT})
        sigaddset(&signals, number);
    return signals;
}

void raiseOwnPriority(bool aboveEverything) {
    const sched_param lowestOfReal{1};
    if (aboveEverything && sched_setscheduler(0, SCHED_RR, &lowestOfReal) == 0)
        return;
    setpriority(PRIO_PROCESS, 0, highestPriority);
}

void stayBelowKeeper() {
    const int own = getpriority(PRIO_PROCESS, 0);
    const bool keeperRises = setpriority(PRIO_PROCESS, 0, own - 1) == 0;
    setpriority(PRIO_PROCESS, 0, keeperRises ? own : std::min(own + belowKeeper, lowestPriority));
}

bool hasChildren() {
    siginfo_t child{};
    return waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) == 0;
}

void signalDescendants(int number) {
    ProcessList list{};
    appendChildren(getpid(), list);
    for (std::size_t i = 0; i < list.count; ++i) {
        const pid_t process = list.processes[i];
        setpriority(PRIO_PROCESS, static_cast<id_t>(process), lowestPriority);
        // What is stopped starts no other process: its children are all there are. Those of what is killed go
        // elsewhere.
        const bool stops = number == SIGSTOP;
        if (stops)
            kill(process, number);
        appendChildren(process, list);
        if (!stops)
            kill(process, number);
    }
}

void killDescendants(double seconds) {
    int status = 0;
    for (const double end = now() + seconds; now() < end && hasChildren();) {
        signalDescendants(SIGSTOP);
        signalDescendants(SIGSTOP);
        signalDescendants(SIGKILL);
        reap(-1, status);
        sched_yield();
    }
}

bool reap(pid_t child, int &status) {
    bool ended = false;
    int childStatus = 0;
    for (int count = 0; count < mostAtOnce; ++count) {
        const pid_t reaped = waitpid(-1, &childStatus, WNOHANG);
        if (reaped <= 0)
            break;
        if (reaped == child) {
            status = childStatus;
            ended = true;
        }
    }
    return ended;
}

} // namespace runner

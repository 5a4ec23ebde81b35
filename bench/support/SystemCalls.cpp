// Counts system calls by tracing a child.
#include "SystemCalls.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int runsUntilSteady = 3;         // the child of a fork opens anew what stays open
constexpr int stopAtCall = SIGTRAP | 0x80; // with PTRACE_O_TRACESYSGOOD
constexpr long mark = 100000;              // no system call: tells where the counted run begins and ends

const char *nameOf(long call) {
    switch (call) {
    case SYS_openat:
        return "openat";
    case SYS_open:
        return "open";
    case SYS_read:
        return "read";
    case SYS_write:
        return "write";
    case SYS_close:
        return "close";
    case SYS_newfstatat:
        return "fstat";
    case SYS_fstat:
        return "fstat";
    case SYS_lseek:
        return "lseek";
    case SYS_ioctl:
        return "ioctl";
    case SYS_fcntl:
        return "fcntl";
    case SYS_socket:
        return "socket";
    case SYS_statfs:
        return "statfs";
    case SYS_getdents64:
        return "getdents64";
    case SYS_readlink:
        return "readlink";
    case SYS_access:
        return "access";
    case SYS_mmap:
        return "mmap";
    case SYS_munmap:
        return "munmap";
    case SYS_mremap:
        return "mremap";
    case SYS_brk:
        return "brk";
    case SYS_futex:
        return "futex";
    case SYS_clone:
        return "clone";
    case SYS_wait4:
        return "wait4";
    case SYS_gettimeofday:
        return "gettimeofday";
    case SYS_clock_gettime:
        return "clock_gettime";
    default:
        return nullptr;
    }
}

[[noreturn]] void runTraced(const std::function<void()> &work) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
        _exit(1);
    raise(SIGSTOP);
    for (int run = 0; run < runsUntilSteady; ++run)
        work();
    syscall(mark);
    work();
    syscall(mark);
    _exit(0);
}

bool resume(pid_t child, int signal) {
    return ptrace(PTRACE_SYSCALL, child, nullptr, static_cast<std::intptr_t>(signal)) == 0;
}

} // namespace

namespace bench {

bool traceSystemCalls(const std::function<void()> &work, const std::function<void(const TracedCall &)> &each) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0)
        runTraced(work);
    if (child < 0)
        return false;

    int status = 0;
    bool counting = false;
    bool traced = waitpid(child, &status, 0) == child && WIFSTOPPED(status) &&
                  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL) == 0 &&
                  resume(child, 0);
    while (traced && waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        if (WSTOPSIG(status) != stopAtCall) {
            traced = resume(child, WSTOPSIG(status));
            continue;
        }
        __ptrace_syscall_info call{};
        if (ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof(call), &call) > 0 && call.op == PTRACE_SYSCALL_INFO_ENTRY) {
            TracedCall entered{child, static_cast<long>(call.entry.nr), {}};
            std::copy(std::begin(call.entry.args), std::end(call.entry.args), entered.arguments.begin());
            if (entered.number == mark)
                counting = !counting;
            else if (counting)
                each(entered);
        }
        traced = resume(child, 0);
    }
    if (!WIFEXITED(status) && !WIFSIGNALED(status)) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::map<long, long> countSystemCalls(const std::function<void()> &work) {
    std::map<long, long> calls;
    traceSystemCalls(work, [&calls](const TracedCall &call) { ++calls[call.number]; });
    return calls;
}

std::string systemCallName(long number) {
    const char *name = nameOf(number);
    return name == nullptr ? "call " + std::to_string(number) : name;
}

long totalOf(const std::map<long, long> &calls) {
    long total = 0;
    for (const auto &[number, count] : calls)
        total += count;
    return total;
}

std::string differenceOf(const std::map<long, long> &sample, const std::map<long, long> &floor) {
    std::map<long, long> difference = sample;
    for (const auto &[number, count] : floor)
        difference[number] -= count;
    std::string text;
    for (const auto &[number, count] : difference) {
        if (count == 0)
            continue;
        text += (text.empty() ? "" : ", ") + systemCallName(number) + " " + std::to_string(count);
    }
    return text;
}

} // namespace bench

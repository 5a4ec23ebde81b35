// How many system calls a piece of work makes.
#pragma once

#include <csignal>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

// Calls of an allocator say nothing about a scan (a sanitizer's makes more of them than most).
inline bool isMemoryCall(unsigned long long number) {
    return number == SYS_mmap || number == SYS_munmap || number == SYS_madvise || number == SYS_brk ||
           number == SYS_mremap || number == SYS_mprotect;
}

// The system calls of one call of `work` in a traced child; -1 when this machine lets nobody trace.
template<class Work> long systemCallsOf(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            _exit(1);
        raise(SIGSTOP);
        work();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFSTOPPED(status))
        return -1;
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD);
    long calls = 0;
    while (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) == 0 && waitpid(child, &status, 0) == child &&
           WIFSTOPPED(status)) {
        __ptrace_syscall_info call{};
        if (ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof(call), &call) > 0 && call.op == PTRACE_SYSCALL_INFO_ENTRY &&
            !isMemoryCall(call.entry.nr))
            ++calls;
    }
    return calls;
}

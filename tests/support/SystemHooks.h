// Answers to system functions, set by a test. Without an answer the real function runs. Every answer is withdrawn at
// the end of the test that set it (see main.cpp).
#pragma once

#include <csignal>
#include <ctime>
#include <dirent.h>
#include <functional>
#include <netdb.h>
#include <netinet/in.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/select.h>
#include <sys/statfs.h>
#include <sys/time.h>
#include <sys/utsname.h>

struct SystemHooks {
    std::function<int(timeval *)> gettimeofday;
    std::function<std::time_t()> time;
    std::function<int(int, fd_set *, fd_set *, fd_set *, timeval *)> select;
    std::function<int(utsname *)> uname;
    std::function<int(const char *)> system;
    std::function<FILE *(const char *, const char *)> popen;
    std::function<int(const char *, struct statfs64 *)> statfs64;
    std::function<passwd *(uid_t)> getpwuid;
    std::function<int(uid_t, passwd *, char *, size_t, passwd **)> getpwuid_r;
    std::function<int(int, int, int)> socket;
    std::function<int(int, unsigned long, void *)> ioctl;
    std::function<int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *)> pthreadCreate;
    std::function<int(pid_t, int)> kill;
    std::function<int(int, const struct sigaction *, struct sigaction *)> sigaction;
    std::function<int(sigset_t *)> sigfillset;
    std::function<int(const char *, hostent *, char *, size_t, hostent **, int *)> gethostbyname_r;
    std::function<void *(sockaddr_in *, unsigned long, unsigned long, timeval, int *)> clntudpCreate; // a CLIENT
    std::function<DIR *(const char *)> opendir;
    std::function<int(const char *)> unlink;
    std::function<void(const char *)> beforeOpenat; // what happens in the meantime; the real function runs next
    std::function<void(int)> beforeRead;            // alike
    std::function<void(int, int, const char *, const char *)> writeLog; // what reaches the installed logger
    std::function<int(const char *, const char *)> saveCommand;         // CCmdScheduler::fCmdSave of any scheduler
    int openat2Error = 0;                                               // with which every openat2 fails
    int failAllocationAfter = -1;   // malloc, calloc, realloc: 0 fails the next call, n the call after n; -1 none
    int failNewAfter = -1;          // operator new, alike
    void *nextAllocation = nullptr; // the next malloc or calloc hands out this block
};

/// The answers in force.
SystemHooks &systemHooks();
void withdrawSystemHooks();

/// Calls of malloc, calloc, realloc and operator new so far, by every object in the program.
long allocationsSoFar();

/// uname answers with this kernel release, so that a collector takes the path of that kernel.
void pretendKernelRelease(const char *release);

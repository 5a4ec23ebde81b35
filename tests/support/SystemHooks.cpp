// Replaces system functions by ones that answer as the hooks say.
#include "SystemHooks.h"

#include "Faults.h"
#include "MemoryLedger.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

class CCmdScheduler;

namespace {

std::atomic<long> allocations;

// With a ledger the allocator itself answers, for every caller.
bool ledgerlessFault() {
    return !HAS_MEMORY_LEDGER && faultIsDue(Call::Allocation);
}

bool allocationFails() {
    ++allocations;
    if (ledgerlessFault())
        return true;
    int &countdown = systemHooks().failAllocationAfter;
    if (countdown < 0)
        return false;
    if (countdown-- > 0)
        return false;
    errno = ENOMEM;
    return true;
}

// Writes only when a block is given: threads allocate at the same time.
void *takeNextAllocation() {
    return systemHooks().nextAllocation == nullptr ? nullptr : std::exchange(systemHooks().nextAllocation, nullptr);
}

} // namespace

SystemHooks &systemHooks() {
    static SystemHooks hooks;
    return hooks;
}

long allocationsSoFar() {
    return allocations;
}

void withdrawSystemHooks() {
    systemHooks() = SystemHooks{};
}

void pretendKernelRelease(const char *release) {
    const std::string text = release;
    systemHooks().uname = [text](utsname *system) {
        *system = {};
        std::snprintf(system->release, sizeof(system->release), "%s", text.c_str());
        return 0;
    };
}

// NOLINTBEGIN(bugprone-reserved-identifier): names that the linker's --wrap prescribes
extern "C" {

int __real_gettimeofday(timeval *, void *);
int __wrap_gettimeofday(timeval *now, void *zone) {
    return systemHooks().gettimeofday ? systemHooks().gettimeofday(now) : __real_gettimeofday(now, zone);
}

std::time_t __real_time(std::time_t *);
std::time_t __wrap_time(std::time_t *out) {
    if (!systemHooks().time)
        return __real_time(out);
    const std::time_t now = systemHooks().time();
    if (out != nullptr)
        *out = now;
    return now;
}

int __real_select(int, fd_set *, fd_set *, fd_set *, timeval *);
int __wrap_select(int count, fd_set *read, fd_set *write, fd_set *except, timeval *timeout) {
    return systemHooks().select ? systemHooks().select(count, read, write, except, timeout)
                                : __real_select(count, read, write, except, timeout);
}

int __real_uname(utsname *);
int __wrap_uname(utsname *system) {
    return systemHooks().uname ? systemHooks().uname(system) : __real_uname(system);
}

int __real_system(const char *);
int __wrap_system(const char *command) {
    if (faultIsDue(Call::System))
        return -1;
    return systemHooks().system ? systemHooks().system(command) : __real_system(command);
}

FILE *__real_popen(const char *, const char *);
FILE *__wrap_popen(const char *command, const char *mode) {
    if (faultIsDue(Call::Popen))
        return nullptr;
    return systemHooks().popen ? systemHooks().popen(command, mode) : __real_popen(command, mode);
}

int __real_statfs64(const char *, struct statfs64 *);
int __wrap_statfs64(const char *path, struct statfs64 *status) {
    if (faultIsDue(Call::Statfs))
        return -1;
    return systemHooks().statfs64 ? systemHooks().statfs64(path, status) : __real_statfs64(path, status);
}

passwd *__real_getpwuid(uid_t);
passwd *__wrap_getpwuid(uid_t uid) {
    if (faultIsDue(Call::Getpwuid))
        return nullptr;
    return systemHooks().getpwuid ? systemHooks().getpwuid(uid) : __real_getpwuid(uid);
}

int __real_getpwuid_r(uid_t, passwd *, char *, size_t, passwd **);
int __wrap_getpwuid_r(uid_t uid, passwd *entry, char *buffer, size_t size, passwd **result) {
    return systemHooks().getpwuid_r ? systemHooks().getpwuid_r(uid, entry, buffer, size, result)
                                    : __real_getpwuid_r(uid, entry, buffer, size, result);
}

int __real_socket(int, int, int);
int __wrap_socket(int domain, int type, int protocol) {
    if (faultIsDue(Call::Socket))
        return -1;
    return systemHooks().socket ? systemHooks().socket(domain, type, protocol) : __real_socket(domain, type, protocol);
}

int __real_ioctl(int, unsigned long, void *);
int __wrap_ioctl(int descriptor, unsigned long request, ...) {
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if (faultIsDue(Call::Ioctl))
        return -1;
    return systemHooks().ioctl ? systemHooks().ioctl(descriptor, request, argument)
                               : __real_ioctl(descriptor, request, argument);
}

void *__real_malloc(size_t);
void *__wrap_malloc(size_t size) {
    if (allocationFails())
        return nullptr;
    void *given = takeNextAllocation();
    return given != nullptr ? given : __real_malloc(size);
}

void *__real_calloc(size_t, size_t);
void *__wrap_calloc(size_t count, size_t size) {
    if (allocationFails())
        return nullptr;
    void *given = takeNextAllocation();
    return given != nullptr ? given : __real_calloc(count, size);
}

void *__real_realloc(void *, size_t);
void *__wrap_realloc(void *block, size_t size) {
    return allocationFails() ? nullptr : __real_realloc(block, size);
}

void *__real__Znwm(size_t);
void *__wrap__Znwm(size_t size) {
    ++allocations;
    int &countdown = systemHooks().failNewAfter;
    if ((countdown >= 0 && countdown-- == 0) || ledgerlessFault())
        throw std::bad_alloc();
    return __real__Znwm(size);
}

int __real_pthread_create(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
int __wrap_pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*start)(void *), void *argument) {
    if (faultIsDue(Call::Thread))
        return EAGAIN;
    return systemHooks().pthreadCreate ? systemHooks().pthreadCreate(thread, attributes, start, argument)
                                       : __real_pthread_create(thread, attributes, start, argument);
}

int __real_kill(pid_t, int);
int __wrap_kill(pid_t pid, int number) {
    return systemHooks().kill ? systemHooks().kill(pid, number) : __real_kill(pid, number);
}

DIR *__real_opendir(const char *);
DIR *__wrap_opendir(const char *path) {
    return systemHooks().opendir ? systemHooks().opendir(path) : __real_opendir(path);
}

// A mode is read only where the call carries one.
int __real_open(const char *, int, ...);
int __wrap_open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return faultIsDue(Call::Open) ? -1 : __real_open(path, flags, mode);
}

int __real_openat(int, const char *, int, ...);
int __wrap_openat(int directory, const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (systemHooks().beforeOpenat)
        systemHooks().beforeOpenat(path);
    return faultIsDue(Call::Open) ? -1 : __real_openat(directory, path, flags, mode);
}

ssize_t __real_read(int, void *, size_t);
ssize_t __wrap_read(int descriptor, void *buffer, size_t size) {
    if (systemHooks().beforeRead)
        systemHooks().beforeRead(descriptor);
    return faultIsDue(Call::Read) ? -1 : __real_read(descriptor, buffer, size);
}

ssize_t __real_pread(int, void *, size_t, off_t);
ssize_t __wrap_pread(int descriptor, void *buffer, size_t size, off_t offset) {
    return faultIsDue(Call::Pread) ? -1 : __real_pread(descriptor, buffer, size, offset);
}

// Calls without a function of their own, such as openat2. All of them take at most six words; those that a caller did
// not pass are handed on unused.
long __real_syscall(long, ...);
__attribute__((no_sanitize("address"))) long __wrap_syscall(long number, ...) {
    va_list arguments;
    va_start(arguments, number);
    long words[6];
    for (long &word : words)
        word = va_arg(arguments, long);
    va_end(arguments);
    if (number == SYS_openat2) {
        if (faultIsDue(Call::Open))
            return -1;
        if (systemHooks().openat2Error != 0) {
            errno = systemHooks().openat2Error;
            return -1;
        }
    }
    return __real_syscall(number, words[0], words[1], words[2], words[3], words[4], words[5]);
}

FILE *__real_fopen(const char *, const char *);
FILE *__wrap_fopen(const char *path, const char *mode) {
    return faultIsDue(Call::Fopen) ? nullptr : __real_fopen(path, mode);
}

FILE *__real_fdopen(int, const char *);
FILE *__wrap_fdopen(int descriptor, const char *mode) {
    return faultIsDue(Call::Fopen) ? nullptr : __real_fdopen(descriptor, mode);
}

char *__real_fgets(char *, int, FILE *);
char *__wrap_fgets(char *line, int size, FILE *file) {
    return faultIsDue(Call::Fgets) ? nullptr : __real_fgets(line, size, file);
}

FILE *__real_fopencookie(void *, const char *, cookie_io_functions_t);
FILE *__wrap_fopencookie(void *cookie, const char *mode, cookie_io_functions_t functions) {
    return faultIsDue(Call::Fopen) ? nullptr : __real_fopencookie(cookie, mode, functions);
}

ssize_t __real_getdents64(int, void *, size_t);
ssize_t __wrap_getdents64(int directory, void *entries, size_t size) {
    return faultIsDue(Call::Getdents) ? -1 : __real_getdents64(directory, entries, size);
}

int __real_unlink(const char *);
int __wrap_unlink(const char *path) {
    return systemHooks().unlink ? systemHooks().unlink(path) : __real_unlink(path);
}

// zel::writeLog
void __real__ZN3zel8writeLogEiiPKcS1_(int, int, const char *, const char *);
void __wrap__ZN3zel8writeLogEiiPKcS1_(int level, int line, const char *source, const char *message) {
    if (systemHooks().writeLog)
        systemHooks().writeLog(level, line, source, message);
    else
        __real__ZN3zel8writeLogEiiPKcS1_(level, line, source, message);
}

int __real_sigaction(int, const struct sigaction *, struct sigaction *);
int __wrap_sigaction(int number, const struct sigaction *action, struct sigaction *previous) {
    return systemHooks().sigaction ? systemHooks().sigaction(number, action, previous)
                                   : __real_sigaction(number, action, previous);
}

int __real_sigfillset(sigset_t *);
int __wrap_sigfillset(sigset_t *set) {
    return systemHooks().sigfillset ? systemHooks().sigfillset(set) : __real_sigfillset(set);
}

int __real_gethostbyname_r(const char *, hostent *, char *, size_t, hostent **, int *);
int __wrap_gethostbyname_r(const char *name, hostent *entry, char *buffer, size_t size, hostent **result, int *error) {
    return systemHooks().gethostbyname_r ? systemHooks().gethostbyname_r(name, entry, buffer, size, result, error)
                                         : __real_gethostbyname_r(name, entry, buffer, size, result, error);
}

void *__real_clntudp_create(sockaddr_in *, unsigned long, unsigned long, timeval, int *);
void *__wrap_clntudp_create(sockaddr_in *server, unsigned long program, unsigned long version, timeval retry,
                            int *socket) {
    return systemHooks().clntudpCreate ? systemHooks().clntudpCreate(server, program, version, retry, socket)
                                       : __real_clntudp_create(server, program, version, retry, socket);
}

// CCmdScheduler::fCmdSave
int __real__ZN13CCmdScheduler8fCmdSaveEPKcS1_(CCmdScheduler *, const char *, const char *);
int __wrap__ZN13CCmdScheduler8fCmdSaveEPKcS1_(CCmdScheduler *scheduler, const char *key, const char *command) {
    return systemHooks().saveCommand ? systemHooks().saveCommand(key, command)
                                     : __real__ZN13CCmdScheduler8fCmdSaveEPKcS1_(scheduler, key, command);
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

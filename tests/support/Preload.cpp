// Loaded into the driver by tests (LD_PRELOAD). The environment says what it changes:
//   ZEL_TEST_CLOCK=seconds     the clock stops there; a sleep moves it by its length and returns at once
//   ZEL_TEST_RELEASE=text      uname answers with this release
//   ZEL_TEST_STATFS=1          every filesystem has the same size, and every user is "operator"
//   ZEL_TEST_HOSTS=a:b:...     at every sleep the link ZEL_HOST_ROOT moves to the next directory; the last one stays
//   ZEL_TEST_PAUSES=file       every sleep is appended there in microseconds
//   ZEL_TEST_KILL_AT_PAUSE=n   the driver is killed (signal 9) when it is about to sleep for the n-th time
//   ZEL_TEST_ONE_STREAM=1      standard output goes where standard error goes, every piece at once
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <pwd.h>
#include <sys/select.h>
#include <sys/statfs.h>
#include <sys/time.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace {

const char *const clockStart = std::getenv("ZEL_TEST_CLOCK");
timeval clockNow{clockStart == nullptr ? 0 : std::atol(clockStart), 0};
int hostsShown = 1;

template<typename Function> Function realFunction(const char *name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

void showNextHost() {
    const char *hosts = std::getenv("ZEL_TEST_HOSTS");
    const char *link = std::getenv("ZEL_HOST_ROOT");
    if (hosts == nullptr || link == nullptr)
        return;
    for (int i = 0; i < hostsShown && hosts != nullptr; ++i) {
        hosts = std::strchr(hosts, ':');
        hosts = hosts == nullptr ? nullptr : hosts + 1;
    }
    if (hosts == nullptr || *hosts == '\0')
        return;
    ++hostsShown;
    char directory[4096];
    std::snprintf(directory, sizeof(directory), "%.*s", static_cast<int>(std::strcspn(hosts, ":")), hosts);
    unlink(link);
    if (symlink(directory, link) != 0)
        std::perror(link);
}

void recordPause(const timeval &pause) {
    const char *path = std::getenv("ZEL_TEST_PAUSES");
    if (path == nullptr)
        return;
    static int pauses = 0;
    std::FILE *file = std::fopen(path, "a");
    if (file != nullptr) {
        std::fprintf(file, "%ld\n", static_cast<long>(pause.tv_sec) * 1000000 + pause.tv_usec);
        std::fclose(file);
    }
    const char *last = std::getenv("ZEL_TEST_KILL_AT_PAUSE");
    if (last != nullptr && ++pauses == std::atoi(last))
        kill(getpid(), SIGKILL);
}

// Runs before the driver has written anything.
[[gnu::constructor]] void joinStreams() {
    if (std::getenv("ZEL_TEST_ONE_STREAM") == nullptr)
        return;
    dup2(STDERR_FILENO, STDOUT_FILENO);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
}

} // namespace

extern "C" {

int gettimeofday(timeval *now, void *zone) noexcept {
    if (clockStart == nullptr)
        return realFunction<int (*)(timeval *, void *)>("gettimeofday")(now, zone);
    *now = clockNow;
    return 0;
}

std::time_t time(std::time_t *out) noexcept {
    timeval now{};
    gettimeofday(&now, nullptr);
    if (out != nullptr)
        *out = now.tv_sec;
    return now.tv_sec;
}

int select(int count, fd_set *read, fd_set *write, fd_set *except, timeval *timeout) {
    if (count == 0) {
        recordPause(*timeout);
        showNextHost();
    }
    if (clockStart == nullptr || count != 0)
        return realFunction<int (*)(int, fd_set *, fd_set *, fd_set *, timeval *)>("select")(count, read, write, except,
                                                                                             timeout);
    timeradd(&clockNow, timeout, &clockNow);
    return 0;
}

int uname(utsname *system) noexcept {
    const int result = realFunction<int (*)(utsname *)>("uname")(system);
    const char *release = std::getenv("ZEL_TEST_RELEASE");
    if (release != nullptr)
        std::snprintf(system->release, sizeof(system->release), "%s", release);
    return result;
}

int statfs64(const char *path, struct statfs64 *status) noexcept {
    if (std::getenv("ZEL_TEST_STATFS") == nullptr)
        return realFunction<int (*)(const char *, struct statfs64 *)>("statfs64")(path, status);
    *status = {};
    status->f_bsize = 4096;
    status->f_blocks = 5000000;
    status->f_bfree = 3000000;
    status->f_bavail = 2750000;
    status->f_files = 1310720;
    status->f_ffree = 1200000;
    return 0;
}

passwd *getpwuid(uid_t uid) {
    if (std::getenv("ZEL_TEST_STATFS") == nullptr)
        return realFunction<passwd *(*)(uid_t)>("getpwuid")(uid);
    static char name[] = "operator";
    static passwd entry{};
    entry.pw_name = name;
    entry.pw_uid = uid;
    return &entry;
}

} // extern "C"

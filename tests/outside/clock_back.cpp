// Loaded into the example agent by its test (LD_PRELOAD): the time of day goes back a day as soon as the file that
// ZEL_TEST_CLOCK_BACK names exists. The monotonic clock stays as it is.
#include <cstdlib>
#include <ctime>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

bool isBack() {
    const char *path = std::getenv("ZEL_TEST_CLOCK_BACK");
    return path != nullptr && access(path, F_OK) == 0;
}

} // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec *now) noexcept {
    const int result = static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    if (clock == CLOCK_REALTIME && result == 0 && isBack())
        now->tv_sec -= 86400;
    return result;
}

int gettimeofday(timeval *now, void *) noexcept {
    timespec time{};
    const int result = clock_gettime(CLOCK_REALTIME, &time);
    *now = {time.tv_sec, time.tv_nsec / 1000};
    return result;
}

std::time_t time(std::time_t *out) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (out != nullptr)
        *out = now.tv_sec;
    return now.tv_sec;
}

} // extern "C"

// The calendar of the host's time zone, fenced off from fork().
#include "functions/LocalTime.h"

#include <mutex>
#include <pthread.h>

namespace {

// Taken by fork() itself, so that no thread is inside the C library's conversion while it copies the process. The
// conversion waits for nothing: neither does fork().
std::mutex &conversionLock() {
    static auto *const lock = [] {
        pthread_atfork([] { conversionLock().lock(); }, [] { conversionLock().unlock(); },
                       [] { conversionLock().unlock(); });
        return new std::mutex; // outlives every static object
    }();
    return *lock;
}

// Made before there are threads: the child of a fork that another thread was making it in would wait for it for ever.
[[maybe_unused]] const std::mutex &conversionLockAtStart = conversionLock();

} // namespace

bool zel::localTime(std::time_t time, std::tm &local) {
    const std::lock_guard held(conversionLock());
    return localtime_r(&time, &local) != nullptr;
}

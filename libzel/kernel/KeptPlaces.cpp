// Counts the files that stay open, and the forks that end their time.
#include "kernel/KeptPlaces.h"

#include "Settings.h"

#include <algorithm>
#include <linux/magic.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/vfs.h>

namespace zel {

namespace {

constexpr int automaticLimit = -1;
constexpr rlim_t shareOfDescriptors = 4; // a quarter
constexpr rlim_t mostDescriptors = 1 << 20;

constinit KeptPlaces ofSettings(g_nKeptFileLimit);
constinit std::atomic<unsigned> forks{0};

// At start-up, when no other thread forks yet. Without memory for it a child goes on with the files of its parent.
[[maybe_unused]] const int registered =
    pthread_atfork(nullptr, nullptr, [] { forks.fetch_add(1, std::memory_order_relaxed); });

} // namespace

int KeptPlaces::limit() const {
    if (m_setting != automaticLimit)
        return std::max(m_setting, 0);
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 0;
    return static_cast<int>(std::min(limit.rlim_cur, mostDescriptors) / shareOfDescriptors);
}

bool KeptPlaces::takeWithin(int most) {
    int taken = m_taken.load(std::memory_order_relaxed);
    while (taken < most) {
        if (m_taken.compare_exchange_weak(taken, taken + 1, std::memory_order_relaxed))
            return true;
    }
    return false;
}

KeptPlaces &placesOfSettings() {
    return ofSettings;
}

bool isOfProc(int descriptor) {
    struct statfs filesystem {};
    return fstatfs(descriptor, &filesystem) == 0 && filesystem.f_type == PROC_SUPER_MAGIC;
}

unsigned forksSoFar() {
    return forks.load(std::memory_order_relaxed);
}

} // namespace zel

// Decides which kernel files stay open, and for how long.
#include "kernel/KeptFile.h"

#include "HostRoot.h"
#include "Settings.h"

#include <atomic>
#include <linux/magic.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace zel {

namespace {

constexpr int automaticLimit = -1;
constexpr rlim_t shareOfDescriptors = 4; // a quarter
constexpr rlim_t mostDescriptors = 1 << 20;

std::atomic<int> placesTaken{0};
std::atomic<unsigned> forks{0};

int keptLimit() {
    if (g_nKeptFileLimit != automaticLimit)
        return g_nKeptFileLimit;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 0;
    const rlim_t descriptors = limit.rlim_cur < mostDescriptors ? limit.rlim_cur : mostDescriptors;
    return static_cast<int>(descriptors / shareOfDescriptors);
}

bool isOfProc(int descriptor) {
    struct statfs filesystem {};
    return fstatfs(descriptor, &filesystem) == 0 && filesystem.f_type == PROC_SUPER_MAGIC;
}

} // namespace

bool takeKeptPlace() {
    const int limit = keptLimit();
    int taken = placesTaken.load(std::memory_order_relaxed);
    while (taken < limit) {
        if (placesTaken.compare_exchange_weak(taken, taken + 1, std::memory_order_relaxed))
            return true;
    }
    return false;
}

void returnKeptPlace() {
    placesTaken.fetch_sub(1, std::memory_order_relaxed);
}

int keptPlacesTaken() {
    return placesTaken.load(std::memory_order_relaxed);
}

unsigned forksSinceFirstKept() {
    static const int registered =
        pthread_atfork(nullptr, nullptr, [] { forks.fetch_add(1, std::memory_order_relaxed); });
    static_cast<void>(registered); // without memory for it a child goes on with the files of its parent
    return forks.load(std::memory_order_relaxed);
}

bool KeptFile::isOurs() const {
    struct stat now {};
    return fstat(m_file.get(), &now) == 0 && identityOf(now) == m_identity;
}

bool KeptFile::isCurrent(Place place) const {
    if (g_strHostRoot[0] != '\0' || g_nKeptFileLimit == 0 || m_forks != forksSinceFirstKept())
        return false;
    if (m_scope == KeptScope::Machine || place == Place::Known)
        return true;
    struct stat now {};
    return stat(m_path, &now) == 0 && identityOf(now) == m_identity;
}

int KeptFile::descriptor(const char *path, Place place) {
    if (m_file.valid() && (path != m_path || !isOurs() || !isCurrent(place)))
        drop();
    return m_file.get();
}

void KeptFile::keep(ScopedDescriptor file, const char *path, KeptScope scope) {
    drop();
    const bool allowed = scope != KeptScope::Never && g_strHostRoot[0] == '\0' && g_nKeptFileLimit != 0;
    if (!allowed || !file.valid() || !isOfProc(file.get()) || !takeKeptPlace())
        return;
    struct stat opened {};
    if (fstat(file.get(), &opened) != 0) {
        returnKeptPlace();
        return;
    }
    m_file = std::move(file);
    m_path = path;
    m_scope = scope;
    m_forks = forksSinceFirstKept();
    m_identity = identityOf(opened);
}

void KeptFile::drop() {
    if (!m_file.valid())
        return;
    if (!isOurs())
        static_cast<void>(m_file.release());
    m_file = ScopedDescriptor(-1);
    returnKeptPlace();
}

} // namespace zel

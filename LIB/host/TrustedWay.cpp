// Walks to a file of the home, part by part, and checks who may change each of them.
#include "host/TrustedWay.h"

#include "host/FileIdentity.h"
#include "text/AsciiText.h"
#include "threads/ForkRepair.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <mutex>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace zel {

namespace {

constexpr int directoriesOfHome = 3; // the working directory agent/bin, and the two above it
constexpr int deepestDirectory = 256;
constexpr int mostLinks = 16;
constexpr std::size_t waySize = 1024;
constexpr const char *ownUserMap = "/proc/self/uid_map"; // of this process, not of the sampled host
constexpr std::size_t mostReasons = 64;
constexpr int partFlags = O_PATH | O_CLOEXEC | O_NOFOLLOW;
constexpr int readFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | O_NOFOLLOW;

// True for the owner whom the kernel shows when this user namespace does not map the real one.
bool isUnmapped(uid_t owner) {
    constexpr uid_t shownForUnmapped = 65534;
    if (owner != shownForUnmapped)
        return false;
    const ScopedFile map(std::fopen(ownUserMap, "re"));
    unsigned long first = 0;
    unsigned long count = 0;
    while (map != nullptr && std::fscanf(map.get(), "%lu %*u %lu", &first, &count) == 2) {
        if (owner >= first && owner - first < count)
            return false;
    }
    return map != nullptr;
}

class Walk {
public:
    explicit Walk(WayFinding &finding) : m_finding(finding) {}

    /// Goes along the way. True when all of it is trusted and there.
    bool follow(const char *path);
    /// Opens what the walk arrived at, when it is a regular file.
    ScopedDescriptor openFile() const;

private:
    bool start();
    bool lookAbove(bool withinHome);
    bool enter(const char *name);
    bool splice(int link);
    bool accept(int part, const struct stat &status, bool aboveHome);
    bool refuse(int part, const char *why);
    bool cannotLook(const char *name);

    WayFinding &m_finding;
    ScopedDescriptor m_place{-1};     // where the walk is, a file at its end
    ScopedDescriptor m_directory{-1}; // the directory that holds it
    char m_name[NAME_MAX + 1] = "";   // its name in there
    char m_rest[waySize] = "";        // what is still to go
    bool m_withinHome = true;
    int m_links = 0;
};

bool Walk::refuse(int part, const char *why) {
    char link[40];
    char path[160] = "?";
    std::snprintf(link, sizeof(link), "/proc/self/fd/%d", part);
    const ssize_t length = readlink(link, path, sizeof(path) - 1);
    if (length > 0)
        path[length] = '\0';
    std::replace_if(path, path + std::strlen(path), isControl, ' ');
    std::snprintf(m_finding.reason, sizeof(m_finding.reason), "%s %s", path, why);
    return false;
}

bool Walk::cannotLook(const char *name) {
    const int error = errno;
    if (error == ENOENT || error == ENOTDIR) {
        m_finding.trusted = true; // nobody else can put it there
        return false;
    }
    char why[64 + NAME_MAX];
    std::snprintf(why, sizeof(why), "cannot be checked: %s: %s", name, std::strerror(error));
    return refuse(m_place.get(), why);
}

bool Walk::accept(int part, const struct stat &status, bool aboveHome) {
    const bool directory = S_ISDIR(status.st_mode);
    // Pipes and devices are never read, and nothing is run from them.
    if (!directory && !S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode))
        return true;
    char why[64];
    // Above the home an unmapped owner is taken for root: a user namespace does not tell them apart.
    const bool rootOrUser = status.st_uid == 0 || status.st_uid == geteuid();
    if (!rootOrUser && !(aboveHome && isUnmapped(status.st_uid))) {
        std::snprintf(why, sizeof(why), "belongs to user %lu", static_cast<unsigned long>(status.st_uid));
        return refuse(part, why);
    }
    const bool sticky = directory && (status.st_mode & S_ISVTX) != 0;
    if (S_ISLNK(status.st_mode) || (status.st_mode & (S_IWGRP | S_IWOTH)) == 0 || (aboveHome && sticky))
        return true;
    std::snprintf(why, sizeof(why), "can be written by others (mode %04o)",
                  static_cast<unsigned>(status.st_mode & 07777));
    return refuse(part, why);
}

// The directory where the walk is, and all that hold it up to the root.
bool Walk::lookAbove(bool withinHome) {
    struct stat here {};
    if (fstat(m_place.get(), &here) != 0)
        return cannotLook(".");
    int place = fcntl(m_place.get(), F_DUPFD_CLOEXEC, 0);
    for (int level = 0; level < deepestDirectory; ++level) {
        const ScopedDescriptor current(std::exchange(place, -1));
        if (!accept(current.get(), here, !withinHome || level >= directoriesOfHome))
            return false;
        ScopedDescriptor above(openat(current.get(), "..", partFlags | O_DIRECTORY));
        struct stat status {};
        if (!above.valid() || fstat(above.get(), &status) != 0)
            return cannotLook("..");
        if (identityOf(here) == identityOf(status))
            return true;
        here = status;
        place = above.release();
    }
    close(place);
    return refuse(m_place.get(), "lies too deep");
}

bool Walk::start() {
    m_withinHome = m_rest[0] != '/';
    m_place = ScopedDescriptor(open(m_withinHome ? "." : "/", partFlags | O_DIRECTORY));
    if (!m_place.valid())
        return cannotLook(m_withinHome ? "." : "/");
    return lookAbove(m_withinHome);
}

// A link on the way: its target takes its place in what is still to go.
bool Walk::splice(int link) {
    char target[waySize];
    const ssize_t length = readlinkat(link, "", target, sizeof(target));
    const std::size_t rest = std::strlen(m_rest);
    if (length <= 0 || static_cast<std::size_t>(length) + 1 + rest >= sizeof(m_rest) || ++m_links > mostLinks)
        return refuse(link, "leads too far");
    std::memmove(m_rest + length + 1, m_rest, rest + 1);
    std::memcpy(m_rest, target, static_cast<std::size_t>(length));
    m_rest[length] = '/';
    return m_rest[0] != '/' || start();
}

bool Walk::enter(const char *name) {
    if (std::strcmp(name, ".") == 0)
        return true;
    ScopedDescriptor next(openat(m_place.get(), name, partFlags));
    struct stat status {};
    if (!next.valid() || fstat(next.get(), &status) != 0)
        return cannotLook(name);
    // What is above has been looked at when the walk began.
    if (std::strcmp(name, "..") != 0 && !accept(next.get(), status, !m_withinHome))
        return false;
    if (S_ISLNK(status.st_mode))
        return splice(next.get());
    std::snprintf(m_name, sizeof(m_name), "%s", name);
    m_directory = std::exchange(m_place, std::move(next));
    return true;
}

bool Walk::follow(const char *path) {
    if (std::snprintf(m_rest, sizeof(m_rest), "%s", path) >= static_cast<int>(sizeof(m_rest)))
        return refuse(-1, "is too long");
    if (path[0] == '\0') {
        errno = ENOENT;
        return cannotLook(path);
    }
    if (!start())
        return false;
    for (;;) {
        const std::size_t blank = std::strspn(m_rest, "/");
        const std::size_t length = std::strcspn(m_rest + blank, "/");
        char name[NAME_MAX + 1];
        if (length == 0)
            break;
        if (length >= sizeof(name))
            return refuse(m_place.get(), "holds no such name");
        std::memcpy(name, m_rest + blank, length);
        name[length] = '\0';
        std::memmove(m_rest, m_rest + blank + length, std::strlen(m_rest + blank + length) + 1);
        if (!enter(name))
            return false;
    }
    m_finding.trusted = true;
    return true;
}

ScopedDescriptor Walk::openFile() const {
    struct stat seen {};
    struct stat opened {};
    if (fstat(m_place.get(), &seen) != 0)
        return ScopedDescriptor(-1);
    if (!S_ISREG(seen.st_mode)) {
        errno = S_ISDIR(seen.st_mode) ? EISDIR : EINVAL;
        return ScopedDescriptor(-1);
    }
    ScopedDescriptor file(openat(m_directory.get(), m_name, readFlags));
    if (!file.valid() || fstat(file.get(), &opened) != 0)
        return ScopedDescriptor(-1);
    if (identityOf(seen) == identityOf(opened))
        return file;
    errno = ENOENT; // it was replaced meanwhile
    return ScopedDescriptor(-1);
}

bool canBeFound(const char *path) {
    struct stat status {};
    return stat(path, &status) == 0;
}

} // namespace

WayFinding inspectWay(const char *path) {
    WayFinding finding;
    finding.exists = canBeFound(path);
    Walk(finding).follow(path);
    return finding;
}

ScopedDescriptor openOnTrustedWay(const char *path, WayFinding &finding) {
    finding = {};
    finding.exists = canBeFound(path);
    Walk walk(finding);
    if (walk.follow(path))
        return walk.openFile();
    errno = ENOENT;
    return ScopedDescriptor(-1);
}

namespace {

// The reasons that were said, by their hashes.
class SaidReasons {
public:
    // False for one that was said before, or when too many were.
    bool add(std::size_t hash) {
        const std::lock_guard held(m_lock);
        if (m_count == mostReasons || std::find(m_said, m_said + m_count, hash) != m_said + m_count)
            return false;
        m_said[m_count++] = hash;
        return true;
    }

private:
    std::mutex m_lock;
    std::size_t m_said[mostReasons] = {};
    std::size_t m_count = 0;
    // In the child of a fork that another thread held the lock in nobody would give it back.
    ForkRepair m_forkRepair{[](void *reasons) { renew(static_cast<SaidReasons *>(reasons)->m_lock); }, this};
};

SaidReasons &saidReasons() {
    static auto *reasons = new SaidReasons; // outlives every static logger
    return *reasons;
}

// Made before there are threads, so that no fork finds it half made.
[[maybe_unused]] const SaidReasons &saidReasonsAtStart = saidReasons();

} // namespace

bool isWorthSaying(const WayFinding &finding) {
    if (finding.trusted || !finding.exists)
        return false;
    return saidReasons().add(std::hash<std::string_view>{}(finding.reason));
}

} // namespace zel

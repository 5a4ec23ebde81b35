// Opens what is read below the root of a sampler.
#include "host/source/HostDirectory.h"

#include "kernel/KeptFile.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <linux/openat2.h>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace zel {

namespace {

constexpr int directoryFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

// Kernels before 5.6 have no confined opens, and sandboxes may refuse them: a path is then followed name by name, and
// a link in it is not followed at all.
ScopedDescriptor openWithoutLinks(int directory, const char *path, int flags) {
    ScopedDescriptor parent(-1);
    for (;; path += std::strcspn(path, "/") + 1) {
        const std::string_view name(path, std::strcspn(path, "/"));
        const int at = parent.valid() ? parent.get() : directory;
        if (name.size() > NAME_MAX || name == "..") {
            errno = ELOOP;
            return ScopedDescriptor(-1);
        }
        if (path[name.size()] == '\0')
            return ScopedDescriptor(openat(at, path, flags | O_NOFOLLOW));
        char text[NAME_MAX + 1];
        *std::copy(name.begin(), name.end(), text) = '\0';
        parent = ScopedDescriptor(openat(at, text, directoryFlags | O_NOFOLLOW));
        if (!parent.valid())
            return parent;
    }
}

} // namespace

OwnPath::OwnPath(const char *path) {
    const std::size_t length = std::strlen(path);
    const bool fits = length + 2 <= SIZE;
    m_text[0] = fits ? '/' : '\0';
    *std::copy_n(path, fits ? length : 0, m_text + 1) = '\0';
}

HostDirectory::HostDirectory(const std::string &root, int keptFiles)
    : m_own(root.empty()), m_kept(root.empty() ? keptFiles : 0) {
    if (m_own)
        return;
    ScopedDescriptor directory(::open(root.c_str(), directoryFlags));
    m_error = directory.valid() ? 0 : errno;
    m_directory = std::make_shared<const HeldFile>(std::move(directory));
}

ScopedDescriptor HostDirectory::open(const char *path, int flags) const {
    if (m_own)
        return ScopedDescriptor(::open(OwnPath(path).text(), flags));
    const int directory = descriptor();
    open_how how{};
    how.flags = static_cast<unsigned long long>(flags);
    how.resolve = RESOLVE_IN_ROOT | RESOLVE_NO_MAGICLINKS;
    const long opened = syscall(SYS_openat2, directory, path, &how, sizeof(how));
    if (opened < 0 && (errno == ENOSYS || errno == EPERM))
        return openWithoutLinks(directory, path, flags);
    return ScopedDescriptor(static_cast<int>(opened));
}

void HostDirectory::keep(ScopedDescriptor file, KeptDescriptor &kept) const {
    if (m_own && !m_kept.full() && isKernelFile(file.get()))
        kept.keep(std::move(file), m_kept);
}

} // namespace zel

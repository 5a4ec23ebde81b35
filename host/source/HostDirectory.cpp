// Opens what is read below the root of a sampler.
#include "host/source/HostDirectory.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace zel {

namespace {

bool isKernelFile(int descriptor) {
    struct statfs filesystem {};
    return fstatfs(descriptor, &filesystem) == 0 &&
           (filesystem.f_type == PROC_SUPER_MAGIC || filesystem.f_type == SYSFS_MAGIC);
}

} // namespace

HostDirectory::HostDirectory(const std::string &root, int keptFiles)
    : m_root(std::make_shared<const ScopedDescriptor>(
          ::open(root.empty() ? "/" : root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC))),
      m_own(root.empty()), m_kept(root.empty() ? keptFiles : 0) {
    m_error = m_root->valid() ? 0 : errno;
}

ScopedDescriptor HostDirectory::open(const char *path, int flags) const {
    if (m_own)
        return ScopedDescriptor(openat(m_root->get(), path, flags));
    open_how how{};
    how.flags = static_cast<unsigned long long>(flags);
    how.resolve = RESOLVE_IN_ROOT | RESOLVE_NO_MAGICLINKS;
    const long descriptor = syscall(SYS_openat2, m_root->get(), path, &how, sizeof(how));
    if (descriptor < 0 && errno == ENOSYS) // before 5.6 there are no confined opens
        return ScopedDescriptor(openat(m_root->get(), path, flags | O_NOFOLLOW));
    return ScopedDescriptor(static_cast<int>(descriptor));
}

void HostDirectory::keep(ScopedDescriptor file, KeptDescriptor &kept) const {
    if (!m_kept.full() && isKernelFile(file.get()))
        kept.keep(std::move(file), m_kept);
}

} // namespace zel

// Holds files open, and lets go of those that cannot be trusted any more.
#include "kernel/HeldFile.h"

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <utility>

namespace zel {

bool isKernelFile(int descriptor) {
    struct statfs filesystem {};
    return fstatfs(descriptor, &filesystem) == 0 &&
           (filesystem.f_type == PROC_SUPER_MAGIC || filesystem.f_type == SYSFS_MAGIC ||
            filesystem.f_type == CGROUP2_SUPER_MAGIC);
}

HeldFile::HeldFile(ScopedDescriptor file) {
    if (file.valid() && rememberedIdentity(file.get(), m_identity))
        m_file = std::move(file);
}

HeldFile &HeldFile::operator=(HeldFile &&other) noexcept {
    std::swap(m_file, other.m_file);
    std::swap(m_identity, other.m_identity);
    return *this;
}

bool HeldFile::isOurs() const {
    FileIdentity now;
    return m_file.valid() && rememberedIdentity(m_file.get(), now) && now == m_identity;
}

int HeldFile::descriptor() const {
    return isOurs() ? m_file.get() : -1;
}

bool HeldFile::isAt(const char *path) const {
    struct stat now {};
    return stat(path, &now) == 0 && identityOf(now) == m_identity;
}

void HeldFile::drop() {
    if (m_file.valid() && !isOurs())
        static_cast<void>(m_file.release());
    m_file = ScopedDescriptor(-1);
}

} // namespace zel

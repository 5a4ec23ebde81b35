// Holds files open, and lets go of those that cannot be trusted any more.
#include "kernel/HeldFile.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>
#include <utility>

namespace zel {

namespace {

bool identify(int descriptor, HeldFile::Look look, FileIdentity &identity) {
    struct statx remembered {};
    if (look == HeldFile::Look::Remote &&
        statx(descriptor, "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, STATX_INO, &remembered) == 0) {
        identity = {makedev(remembered.stx_dev_major, remembered.stx_dev_minor), remembered.stx_ino};
        return true;
    }
    struct stat status {}; // also for kernels before 4.11
    if (fstat(descriptor, &status) != 0)
        return false;
    identity = identityOf(status);
    return true;
}

} // namespace

bool isKernelFile(int descriptor) {
    struct statfs filesystem {};
    return fstatfs(descriptor, &filesystem) == 0 &&
           (filesystem.f_type == PROC_SUPER_MAGIC || filesystem.f_type == SYSFS_MAGIC);
}

HeldFile::HeldFile(ScopedDescriptor file, Look look) : m_look(look) {
    if (file.valid() && identify(file.get(), look, m_identity))
        m_file = std::move(file);
}

HeldFile &HeldFile::operator=(HeldFile &&other) noexcept {
    std::swap(m_file, other.m_file);
    std::swap(m_identity, other.m_identity);
    std::swap(m_look, other.m_look);
    return *this;
}

bool HeldFile::isOurs() const {
    FileIdentity now;
    return m_file.valid() && identify(m_file.get(), m_look, now) && now == m_identity;
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

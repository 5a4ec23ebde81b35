// Decides which kernel files stay open, and for how long.
#include "kernel/KeptFile.h"

#include "HostRoot.h"
#include "Settings.h"

#include <cstring>
#include <sys/stat.h>

namespace zel {

bool KeptFile::isOurs() const {
    struct stat now {};
    return fstat(m_file.get(), &now) == 0 && identityOf(now) == m_identity;
}

bool KeptFile::isCurrent(Place place) const {
    if (g_strHostRoot[0] != '\0' || g_nKeptFileLimit == 0 || m_forks != forksSoFar())
        return false;
    if (m_scope == KeptScope::Machine || place == Place::Known)
        return true;
    struct stat now {};
    return stat(m_path, &now) == 0 && identityOf(now) == m_identity;
}

int KeptFile::descriptor(const char *path, Place place) {
    if (m_file.valid() && (std::strcmp(path, m_path) != 0 || !isOurs() || !isCurrent(place)))
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
    m_forks = forksSoFar();
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

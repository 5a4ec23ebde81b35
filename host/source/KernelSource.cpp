// Opens the files of a host, and decides which stay open.
#include "host/source/KernelSource.h"

#include "host/HostOpen.h"

namespace zel {

bool KernelSource::isResting(const HostDirectory &root) {
    return m_missingSince != LONG_AGO && root.own() && coarseSeconds() - m_missingSince < SECONDS_BEFORE_NEXT_TRY;
}

int KernelSource::keptDescriptor() const {
    const int kept = m_kept.descriptor();
    const bool current = kept < 0 || m_scope == KeptScope::Machine || m_kept.isAt(OwnPath(m_path.c_str()).text());
    return current ? kept : -1;
}

int KernelSource::open(const HostDirectory &root, ScopedDescriptor &file) {
    m_kept.drop();
    file = root.open(m_path.c_str(), HOST_FILE_FLAGS);
    const int error = file.valid() ? 0 : errno;
    m_missingSince = error == ENOENT ? coarseSeconds() : LONG_AGO;
    return error;
}

void KernelSource::keep(const HostDirectory &root, ScopedDescriptor file) {
    if (m_scope != KeptScope::Never)
        root.keep(std::move(file), m_kept);
}

} // namespace zel

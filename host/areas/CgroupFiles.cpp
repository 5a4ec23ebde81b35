// Opens and reads the files of one cgroup.
#include "host/areas/CgroupFiles.h"

#include "host/HostOpen.h"

#include <cerrno>
#include <fcntl.h>

namespace zel {

namespace {

// No link is followed: below a root directory it might lead out, and the kernel has none here.
constexpr int directoryFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int fileFlags = HOST_FILE_FLAGS | O_NOFOLLOW;

constexpr std::uint32_t bitOf(CgroupFile file) {
    return std::uint32_t{1} << static_cast<unsigned>(file);
}

// EOPNOTSUPP is what a pressure file says where the kernel keeps no such account.
bool isMissing(int error) {
    return error == ENOENT || error == EOPNOTSUPP;
}

} // namespace

int CgroupFiles::open(const HostDirectory &root, const char *path) {
    m_lostSome = false;
    if (coarseSeconds() - m_missingSince >= SECONDS_BEFORE_NEXT_TRY || !root.own())
        m_missing = 0;
    m_directory = m_keptDirectory.descriptor();
    if (m_directory < 0) {
        m_keptDirectory.drop();
        m_opened = root.open(path, directoryFlags);
        m_directory = m_opened.get();
    }
    return m_directory >= 0 && fstat(m_directory, &m_status) == 0 ? 0 : errno;
}

void CgroupFiles::close(const HostDirectory &root) {
    m_directory = -1;
    if (m_opened.valid())
        root.keep(std::move(m_opened), m_keptDirectory);
    m_opened = ScopedDescriptor(-1);
    m_mayKeepFiles = m_keptDirectory.valid();
}

void CgroupFiles::abandon() {
    m_directory = -1;
    m_opened = ScopedDescriptor(-1);
    m_keptDirectory.drop();
}

int CgroupFiles::readOpen(int file, FileBuffer &text) const {
    switch (text.read(file, FileBuffer::Start::Beginning, FileBuffer::Records::One)) {
    case FileBuffer::Outcome::Read:
        return text.length() < HOST_FILE_LIMIT ? 0 : EFBIG;
    case FileBuffer::Outcome::NoMemory:
        return ENOMEM;
    case FileBuffer::Outcome::Failed:
        break;
    }
    return errno;
}

int CgroupFiles::readKept(std::size_t place, FileBuffer &text) {
    if (place >= m_kept.size() || !m_kept[place].valid())
        return EBADF;
    const int kept = m_kept[place].descriptor();
    const int error = kept < 0 ? EBADF : readOpen(kept, text);
    if (error != 0)
        m_kept[place].drop();
    return error;
}

int CgroupFiles::note(CgroupFile file, int error) {
    m_lostSome = m_lostSome || isMissing(error) || error == ENODEV;
    if (!isMissing(error))
        return error;
    if (m_missing == 0) // not of all cgroups in the same sample
        m_missingSince = coarseSeconds() - static_cast<std::int64_t>(m_status.st_ino % SPREAD_SECONDS);
    m_missing |= bitOf(file);
    return error;
}

int CgroupFiles::read(const HostDirectory &root, CgroupFile file, FileBuffer &text) {
    if ((m_missing & bitOf(file)) != 0)
        return ENOENT;
    const auto place = static_cast<std::size_t>(file);
    if (readKept(place, text) == 0)
        return 0;
    ScopedDescriptor opened(openat(m_directory, cgroupFileName(file), fileFlags));
    if (!opened.valid())
        return note(file, errno);
    if (const int error = readOpen(opened.get(), text); error != 0)
        return note(file, error);
    if (m_mayKeepFiles && place < m_kept.size())
        root.keep(std::move(opened), m_kept[place]);
    return 0;
}

} // namespace zel

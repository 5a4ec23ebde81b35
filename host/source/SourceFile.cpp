// Reads kernel files whole, and keeps those open that the kernel itself answers for.
#include "host/source/SourceFile.h"

#include "host/HostOpen.h"

#include <cerrno>
#include <unistd.h>

namespace zel {

namespace {

constexpr std::size_t firstSize = 4096;

} // namespace

int SourceFile::readOpen(int file) {
    if (m_buffer.empty())
        m_buffer.resize(firstSize);
    m_length = 0;
    for (;;) {
        const std::size_t room = m_buffer.size() - m_length - 1;
        const ssize_t count = pread(file, m_buffer.data() + m_length, room, static_cast<off_t>(m_length));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            m_buffer[m_length = 0] = '\0';
            return errno;
        }
        m_length += static_cast<std::size_t>(count);
        const bool ended = count == 0 || (m_records == Records::One && static_cast<std::size_t>(count) < room);
        if (ended || m_length >= HOST_FILE_LIMIT)
            break;
        if (m_buffer.size() - m_length <= m_buffer.size() / 2)
            m_buffer.resize(2 * m_buffer.size());
    }
    m_buffer[m_length] = '\0';
    return 0;
}

int SourceFile::read(const HostDirectory &root) {
    if (m_file.valid() && readOpen(m_file.get()) == 0)
        return 0;
    m_file.drop();
    ScopedDescriptor opened = root.open(m_path.c_str(), HOST_FILE_FLAGS);
    if (!opened.valid())
        return errno;
    const int error = readOpen(opened.get());
    if (error == 0)
        root.keep(std::move(opened), m_file);
    return error;
}

} // namespace zel

// The names in a directory, without the allocation and the extra system call of opendir. The kernel is asked for as
// many names at a time as opendir asks for.
#pragma once

#include "host/ScopedHandle.h"

#include <cstddef>
#include <dirent.h>
#include <fcntl.h>

namespace zel {

class DirectoryWalk {
public:
    explicit DirectoryWalk(const char *path) : m_directory(open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}

    /// False when there is no such directory or it cannot be opened.
    bool isOpen() const { return m_directory.valid(); }
    /// The directory, to open files relative to it.
    int descriptor() const { return m_directory.get(); }

    /// The next name, "." and ".." included, valid until the next call; null after the last one.
    const char *next() {
        if (m_at == m_length) {
            const ssize_t length = getdents64(m_directory.get(), m_entries, sizeof(m_entries));
            m_at = 0;
            m_length = length > 0 ? static_cast<std::size_t>(length) : 0;
            if (m_length == 0)
                return nullptr;
        }
        const auto *entry = reinterpret_cast<const dirent64 *>(m_entries + m_at);
        m_at += entry->d_reclen;
        return entry->d_name;
    }

private:
    static constexpr std::size_t BUFFER_SIZE = 32768;

    ScopedDescriptor m_directory;
    std::size_t m_at = 0;
    std::size_t m_length = 0;
    alignas(dirent64) char m_entries[BUFFER_SIZE]; // [m_at, m_length) holds the names to come
};

} // namespace zel

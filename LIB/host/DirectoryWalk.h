// The names in a directory of the sampled host, without the allocation and the extra system call of opendir.
#pragma once

#include "host/HostOpen.h"

#include <cerrno>
#include <cstddef>
#include <dirent.h>
#include <utility>

namespace zel {

/// Room for names, as many as the kernel is asked for at a time: 32768 bytes are what opendir asks for.
template<std::size_t Size> struct DirectoryRoom { alignas(dirent64) char bytes[Size]; };

class DirectoryWalk {
public:
    /// Walks the directory `path` (below the host root). `room` outlives the walk.
    template<std::size_t Size>
    DirectoryWalk(const char *path, DirectoryRoom<Size> &room) : DirectoryWalk(openHostDirectory(path), room) {}
    /// Walks a directory that is open already.
    template<std::size_t Size>
    DirectoryWalk(ScopedDescriptor directory, DirectoryRoom<Size> &room)
        : m_directory(std::move(directory)), m_entries(room.bytes), m_size(Size) {}

    /// False when there is no such directory or it cannot be opened.
    bool isOpen() const { return m_directory.valid(); }
    /// The directory, to open files relative to it.
    int descriptor() const { return m_directory.get(); }

    /// The next name, "." and ".." included, valid until the next call; null after the last one.
    const char *next() {
        if (m_at == m_length) {
            const ssize_t length = getdents64(m_directory.get(), m_entries, m_size);
            m_at = 0;
            m_length = length > 0 ? static_cast<std::size_t>(length) : 0;
            m_error = length < 0 ? errno : 0;
            if (m_length == 0)
                return nullptr;
        }
        const auto *entry = reinterpret_cast<const dirent64 *>(m_entries + m_at);
        m_at += entry->d_reclen;
        m_type = entry->d_type;
        m_inode = entry->d_ino;
        return entry->d_name;
    }

    /// Of the name given last: DT_DIR and others, DT_UNKNOWN where the filesystem does not say.
    unsigned char type() const { return m_type; }
    ino64_t inode() const { return m_inode; }

    /// After the last name: 0, or the errno that ended the walk early.
    int error() const { return m_error; }

private:
    ScopedDescriptor m_directory;
    char *m_entries; // [m_at, m_length) holds the names to come
    std::size_t m_size;
    std::size_t m_at = 0;
    std::size_t m_length = 0;
    int m_error = 0;
    unsigned char m_type = DT_UNKNOWN;
    ino64_t m_inode = 0;
};

} // namespace zel

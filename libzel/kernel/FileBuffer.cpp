// Reads open files whole.
#include "kernel/FileBuffer.h"

#include "host/HostOpen.h"

#include <cerrno>
#include <cstdlib>
#include <unistd.h>
#include <utility>

namespace zel {

namespace {

constexpr std::size_t firstSize = 16384;

ssize_t readRestartable(int file, char *buffer, std::size_t size, off_t offset, FileBuffer::Start start) {
    ssize_t count = 0;
    do
        count = start == FileBuffer::Start::Beginning ? pread(file, buffer, size, offset) : ::read(file, buffer, size);
    while (count < 0 && errno == EINTR);
    return count;
}

} // namespace

FileBuffer::~FileBuffer() {
    std::free(m_buffer);
}

void FileBuffer::swap(FileBuffer &other) noexcept {
    std::swap(m_buffer, other.m_buffer);
    std::swap(m_size, other.m_size);
    std::swap(m_length, other.m_length);
}

void FileBuffer::growLike(const FileBuffer &other) {
    if (m_size < other.m_size)
        grow(other.m_size);
}

// Room for more text and for the terminator of a walk.
bool FileBuffer::makeRoom() {
    if (m_length + 1 < m_size)
        return true;
    return grow(m_size == 0 ? firstSize : 2 * m_size);
}

bool FileBuffer::grow(std::size_t size) {
    auto *larger = static_cast<char *>(std::realloc(m_buffer, size));
    if (larger == nullptr)
        return false;
    m_buffer = larger;
    m_size = size;
    return true;
}

FileBuffer::Outcome FileBuffer::end(Outcome outcome) {
    if (m_buffer != nullptr)
        m_buffer[m_length] = '\0';
    return outcome;
}

FileBuffer::Outcome FileBuffer::read(int file, Start start, Records records) {
    m_length = 0;
    while (m_length < HOST_FILE_LIMIT) {
        if (!makeRoom()) {
            m_length = 0;
            return end(Outcome::NoMemory);
        }
        const std::size_t room = m_size - m_length - 1;
        const ssize_t count = readRestartable(file, m_buffer + m_length, room, static_cast<off_t>(m_length), start);
        if (count < 0)
            return end(Outcome::Failed);
        m_length += static_cast<std::size_t>(count);
        if (count == 0 || (records == Records::One && static_cast<std::size_t>(count) < room))
            break;
    }
    return end(Outcome::Read);
}

} // namespace zel

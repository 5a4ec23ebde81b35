// Reads kernel files whole, and walks their lines.
#include "kernel/WholeFile.h"

#include "host/HostOpen.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace zel {

namespace {

constexpr std::size_t firstSize = 16384;

// A file that was opened just now is at its start, and only that one may be no kernel file: a pipe has no offsets.
ssize_t readRestartable(int descriptor, char *buffer, std::size_t size, off_t offset, bool kept) {
    ssize_t count = 0;
    do
        count = kept ? pread(descriptor, buffer, size, offset) : ::read(descriptor, buffer, size);
    while (count < 0 && errno == EINTR);
    return count;
}

} // namespace

LineWalk::LineWalk(char *text, std::size_t length, std::size_t limit)
    : m_next(text), m_end(text + length), m_limit(limit) {}

LineWalk::~LineWalk() {
    restore();
}

void LineWalk::restore() {
    if (m_hasLine)
        *m_next = m_overwritten;
    m_hasLine = false;
}

std::string_view LineWalk::rest() {
    restore();
    return {m_next, static_cast<std::size_t>(m_end - m_next)};
}

void LineWalk::skip(std::size_t length) {
    restore();
    m_next += length;
}

char *LineWalk::next() {
    restore();
    if (m_next == m_end)
        return nullptr;
    char *line = m_next;
    const std::size_t room = std::min(m_limit, static_cast<std::size_t>(m_end - m_next));
    char *lineFeed = static_cast<char *>(std::memchr(m_next, '\n', room));
    m_next = lineFeed == nullptr ? m_next + room : lineFeed + 1;
    m_overwritten = *m_next;
    *m_next = '\0';
    m_hasLine = true;
    return line;
}

WholeFile::~WholeFile() {
    std::free(m_buffer);
}

// Room for more text and for the terminator of a walk.
bool WholeFile::makeRoom() {
    if (m_length + 1 < m_size)
        return true;
    return grow(m_size == 0 ? firstSize : 2 * m_size);
}

void WholeFile::swapText(WholeFile &other) {
    std::swap(m_buffer, other.m_buffer);
    std::swap(m_size, other.m_size);
    std::swap(m_length, other.m_length);
}

void WholeFile::growLike(const WholeFile &other) {
    if (m_size < other.m_size)
        grow(other.m_size);
}

bool WholeFile::grow(std::size_t size) {
    auto *larger = static_cast<char *>(std::realloc(m_buffer, size));
    if (larger == nullptr)
        return false;
    m_buffer = larger;
    m_size = size;
    return true;
}

// The kernel hands out a file of many records a page at a time: a short read is not its end.
WholeFile::Outcome WholeFile::readAll(int file, bool kept) {
    m_length = 0;
    while (m_length < HOST_FILE_LIMIT) {
        if (!makeRoom()) {
            m_length = 0;
            return Outcome::NoMemory;
        }
        const std::size_t room = m_size - m_length - 1;
        const ssize_t count = readRestartable(file, m_buffer + m_length, room, static_cast<off_t>(m_length), kept);
        if (count < 0 && kept)
            return Outcome::Failed;
        if (count <= 0)
            break;
        m_length += static_cast<std::size_t>(count);
    }
    m_buffer[m_length] = '\0';
    return Outcome::Read;
}

bool WholeFile::read(const char *path, KeptScope scope) {
    if (const int kept = m_kept.descriptor(path); kept >= 0) {
        const Outcome outcome = readAll(kept, true);
        if (outcome == Outcome::NoMemory || (outcome == Outcome::Read && m_length > 0))
            return outcome == Outcome::Read;
        m_kept.drop();
    }
    m_length = 0;
    ScopedDescriptor file = openHostFile(path);
    if (!file.valid() || readAll(file.get(), false) == Outcome::NoMemory)
        return false;
    m_kept.keep(std::move(file), path, scope);
    return true;
}

} // namespace zel

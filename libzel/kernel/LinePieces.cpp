// Reads a file into a buffer, piece by piece, and cuts each piece after its last whole line.
#include "kernel/LinePieces.h"

#include "host/HostOpen.h"

#include <algorithm>
#include <cstring>
#include <sys/types.h>
#include <unistd.h>

namespace zel {

namespace {

char *lastLineFeed(char *begin, const char *end) {
    return static_cast<char *>(memrchr(begin, '\n', static_cast<std::size_t>(end - begin)));
}

} // namespace

// Moves the line that is begun to the front and fills the buffer. False when the file has ended and is given.
bool LinePieces::readOn() {
    if (m_ended)
        return std::exchange(m_unread, false);
    m_length -= m_given;
    std::memmove(m_buffer, m_buffer + m_given, m_length);
    m_given = 0;
    const std::size_t room = std::min(m_size - 1 - m_length, HOST_FILE_LIMIT - m_read);
    const ssize_t count = read(m_file.get(), m_buffer + m_length, room);
    const std::size_t length = count > 0 ? static_cast<std::size_t>(count) : 0;
    m_length += length;
    m_read += length;
    m_ended = length < room || m_read == HOST_FILE_LIMIT;
    return true;
}

char *LinePieces::next() {
    while (readOn()) {
        char *begin = m_buffer;
        char *end = m_buffer + m_length;
        if (m_insideLine) {
            char *lineFeed = static_cast<char *>(std::memchr(begin, '\n', m_length));
            m_insideLine = lineFeed == nullptr;
            begin = m_insideLine ? end : lineFeed + 1;
        }
        m_given = static_cast<std::size_t>(begin - m_buffer);
        if (!m_ended && begin == end)
            continue; // all of it belongs to the line that did not fit
        if (!m_ended) {
            char *lineFeed = lastLineFeed(begin, end);
            if (lineFeed == nullptr && begin != m_buffer)
                continue; // a line that has begun, and that may fit
            m_insideLine = lineFeed == nullptr;
            end = m_insideLine ? end : lineFeed;
        }
        m_given = std::min(static_cast<std::size_t>(end + 1 - m_buffer), m_length);
        *end = '\0';
        m_lineEnd = end;
        return begin;
    }
    return nullptr;
}

} // namespace zel

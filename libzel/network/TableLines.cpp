// Reads blocks of a table and splits them into lines.
#include "network/TableLines.h"

#include <cstring>

namespace zel {

void TableLines::start(std::FILE *stream) {
    m_stream = stream;
    m_next = m_end = m_block;
    m_ended = false;
}

const char *TableLines::next(std::size_t &length) {
    char *feed = findLineFeed();
    while (feed == nullptr && readMore())
        feed = findLineFeed();
    char *line = m_next;
    char *end = feed == nullptr ? m_end : feed;
    if (feed == nullptr && line == m_end)
        return nullptr;
    *end = '\0';
    m_next = feed == nullptr ? m_end : feed + 1;
    length = static_cast<std::size_t>(end - line);
    if (length > LINE_LIMIT) {
        length = LINE_LIMIT;
        line[LINE_LIMIT] = '\0';
    }
    return line;
}

char *TableLines::findLineFeed() const {
    return static_cast<char *>(std::memchr(m_next, '\n', static_cast<std::size_t>(m_end - m_next)));
}

// Reads on after what is left of the block. Of a line that fills all of it the start is enough. False at the end.
bool TableLines::readMore() {
    if (m_ended)
        return false;
    auto kept = static_cast<std::size_t>(m_end - m_next);
    if (kept == BLOCK_SIZE)
        kept = LINE_LIMIT + 1;
    std::memmove(m_block, m_next, kept);
    m_next = m_block;
    const std::size_t room = BLOCK_SIZE - kept;
    const std::size_t count = fread_unlocked(m_block + kept, 1, room, m_stream);
    m_end = m_block + kept + count;
    m_ended = count < room;
    return count > 0;
}

} // namespace zel

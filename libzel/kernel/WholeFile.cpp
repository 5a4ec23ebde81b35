// Reads kernel files whole, and walks their lines.
#include "kernel/WholeFile.h"

#include "host/HostOpen.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zel {

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

void WholeFile::swapText(WholeFile &other) {
    m_text.swap(other.m_text);
}

void WholeFile::growLike(const WholeFile &other) {
    m_text.growLike(other.m_text);
}

// A file that was opened just now is at its start, and only that one may be no kernel file: a pipe has no offsets. The
// kernel hands out a file of many records a page at a time.
bool WholeFile::read(const char *path, KeptScope scope) {
    using Outcome = FileBuffer::Outcome;
    constexpr auto many = FileBuffer::Records::Many;
    if (const int kept = m_kept.descriptor(path); kept >= 0) {
        const Outcome outcome = m_text.read(kept, FileBuffer::Start::Beginning, many);
        if (outcome == Outcome::NoMemory || (outcome == Outcome::Read && m_text.length() > 0))
            return outcome == Outcome::Read;
        m_kept.drop();
    }
    m_text.clear();
    ScopedDescriptor file = openHostFile(path);
    if (!file.valid() || m_text.read(file.get(), FileBuffer::Start::Here, many) == Outcome::NoMemory)
        return false;
    m_kept.keep(std::move(file), path, scope);
    return true;
}

} // namespace zel

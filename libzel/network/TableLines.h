// TableLines: the lines of a kernel table, read from its stream a block at a time and terminated in place, so that a
// line costs no copy.
#pragma once

#include <cstddef>
#include <cstdio>

namespace zel {

class TableLines {
public:
    /// Characters of a line that are used; what follows them is passed over.
    static constexpr std::size_t LINE_LIMIT = 1023;

    /// Takes the lines from where `stream` is now. The stream stays the caller's, who takes nothing more from it.
    void start(std::FILE *stream);

    /// The next line without its line feed and its length, valid until the next call; null at the end. The last one
    /// needs no line feed. A zero byte ends the text, not the line.
    const char *next(std::size_t &length);

private:
    char *findLineFeed() const;
    bool readMore();

    static constexpr std::size_t BLOCK_SIZE = 65536;

    std::FILE *m_stream = nullptr;
    char *m_next = m_block;
    char *m_end = m_block;
    bool m_ended = true;
    char m_block[BLOCK_SIZE + 1]; // with the terminator of a last line
};

} // namespace zel

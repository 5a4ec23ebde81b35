// A kernel file read whole, so that all of its records come from one moment, into a buffer that is kept between
// samples. The file itself stays open too.
#pragma once

#include "kernel/FileBuffer.h"
#include "kernel/KeptFile.h"

#include <cstddef>
#include <string_view>

namespace zel {

/// Walks the lines of a text. Each is terminated in place while it is the current one, so that a scanner never runs
/// into the line that follows; the text is whole again after the walk.
class LineWalk {
public:
    /// `text` has a byte of room after its `length` characters. Of a line longer than `limit` the first `limit`
    /// characters are one line and its rest is the next, as with fgets and a buffer of limit + 1 bytes.
    LineWalk(char *text, std::size_t length, std::size_t limit);
    ~LineWalk();

    LineWalk(const LineWalk &) = delete;
    LineWalk &operator=(const LineWalk &) = delete;

    /// The next line with its line feed, terminated; null after the last one. It may be written to.
    char *next();

    /// What follows the current line, which is then no longer terminated.
    std::string_view rest();
    /// Passes over the `length` characters with which rest() begins: a line that the caller knows already.
    void skip(std::size_t length);

private:
    void restore();

    char *m_next;
    char *m_end;
    std::size_t m_limit;
    char m_overwritten = '\0'; // the character in whose place the terminator of the current line is
    bool m_hasLine = false;
};

class WholeFile {
public:
    WholeFile() = default;

    WholeFile(const WholeFile &) = delete;
    WholeFile &operator=(const WholeFile &) = delete;

    /// Reads the file `path` (below the host root). False, with an empty text, when it cannot be opened or there is no
    /// memory for it. An empty file is no failure. Without growth of the file no memory is allocated.
    /// What is beyond HOST_FILE_LIMIT is left out. `path` is a literal.
    bool read(const char *path, KeptScope scope = KeptScope::Machine);

    /// The descriptor of `path` where it stayed open and still is what the path means; else -1.
    int keptDescriptor(const char *path) { return m_kept.descriptor(path); }
    /// Lets the file go that stayed open. The text is kept.
    void close() { m_kept.drop(); }

    /// Exchanges the texts, with their buffers: a text outlives the next read in the other.
    void swapText(WholeFile &other);
    /// Makes the buffer as large as that of `other`, where there is memory for it. The text is kept.
    void growLike(const WholeFile &other);

    /// The text of the last successful read, valid until the next one. After a read it is terminated.
    std::string_view text() const { return m_text.text(); }
    /// A walk over its lines; one at a time.
    LineWalk lines(std::size_t limit) { return {m_text.data(), m_text.length(), limit}; }

private:
    KeptFile m_kept;
    FileBuffer m_text;
};

} // namespace zel

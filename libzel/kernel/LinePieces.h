// The lines of a kernel file of any size, as many at a time as a buffer of the caller holds.
#pragma once

#include "host/ScopedHandle.h"

#include <cstddef>
#include <utility>

namespace zel {

class LinePieces {
public:
    /// Reads `file`, of which an invalid one has no lines, into `buffer` of `size` bytes (at least 2).
    LinePieces(ScopedDescriptor file, char *buffer, std::size_t size)
        : m_file(std::move(file)), m_buffer(buffer), m_size(size), m_ended(!m_file.valid()) {}

    /// A text of `length` bytes that has been read already, with room for one more.
    LinePieces(char *text, std::size_t length)
        : m_file(-1), m_buffer(text), m_size(length + 1), m_length(length), m_read(length), m_unread(true),
          m_ended(true) {}

    /// The next lines, terminated; null after the last. They may be written to. All are whole, but of a line that is
    /// longer than the buffer the beginning is given and its rest passed over. A read that does not fill the buffer is
    /// the last, so that a short file costs one. What is beyond HOST_FILE_LIMIT is left out.
    char *next();
    /// The end of the lines that `next` gave.
    const char *end() const { return m_lineEnd; }

private:
    bool readOn();

    ScopedDescriptor m_file;
    char *m_buffer;
    std::size_t m_size;
    std::size_t m_length = 0; // bytes in the buffer
    std::size_t m_given = 0;  // of these, what earlier calls gave
    std::size_t m_read = 0;   // bytes of the file so far
    const char *m_lineEnd = nullptr;
    bool m_insideLine = false; // the file goes on with the rest of a line that did not fit
    bool m_unread = false;     // a text that was read before has not been given yet
    bool m_ended;
};

} // namespace zel

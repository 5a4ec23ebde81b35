// One kernel file of a host, read whole.
#pragma once

#include "host/source/KernelSource.h"
#include "kernel/FileBuffer.h"

#include <cstring>
#include <string_view>

namespace zel {

/// How the kernel hands a file out: at once, or some records at a time.
using Records = FileBuffer::Records;

class SourceFile {
public:
    explicit SourceFile(std::string path, Records records = Records::One, KeptScope scope = KeptScope::Machine)
        : m_source(std::move(path), scope), m_records(records) {}

    /// Reads the file: 0, or the errno that kept it from being read; EFBIG for a file that does not end. The text holds
    /// until the next call, and is empty after a failure.
    int read(const HostDirectory &root);
    /// The same of a file that the caller has opened.
    int readOpen(int file);

    /// Terminated: the byte after its end is 0.
    std::string_view text() const { return m_buffer.length() == 0 ? std::string_view("") : m_buffer.text(); }
    const std::string &path() const { return m_source.path(); }

private:
    KernelSource m_source;
    Records m_records;
    FileBuffer m_buffer;
};

/// The start of the line after the one at `line`; the terminator when there is none.
inline const char *nextLine(const char *line) {
    const char *end = std::strchr(line, '\n');
    return end == nullptr ? line + std::strlen(line) : end + 1;
}

} // namespace zel

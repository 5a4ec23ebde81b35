// One kernel file of a host, read whole. On the host itself it stays open between samples, which halves what reading it
// costs; below a directory it is opened anew each time, because a plain file can be replaced.
#pragma once

#include "host/source/HostDirectory.h"

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// How the kernel hands a file out: at once, or some records at a time, so that a short read is not its end.
enum class Records { One, Many };

class SourceFile {
public:
    explicit SourceFile(std::string path, Records records = Records::One)
        : m_path(std::move(path)), m_records(records) {}

    /// Reads the file: 0, or the errno that kept it from being read. The text holds until the next call.
    int read(const HostDirectory &root);

    /// The same of a file that the caller has opened.
    int readOpen(int file);

    /// Terminated: the byte after its end is 0.
    std::string_view text() const { return {m_buffer.data(), m_length}; }
    const std::string &path() const { return m_path; }

private:
    std::string m_path;
    Records m_records;
    KeptDescriptor m_file;
    std::vector<char> m_buffer;
    std::size_t m_length = 0;
};

/// The start of the line after the one at `line`; the terminator when there is none.
inline const char *nextLine(const char *line) {
    const char *end = std::strchr(line, '\n');
    return end == nullptr ? line + std::strlen(line) : end + 1;
}

} // namespace zel

// Kernel files read whole into a buffer of a fixed size. KernelFile is one file that is sampled again and again, and
// stays open in between; the functions are for files whose path changes from read to read.
//
// A file of one record costs one read; the kernel hands out files of many records about a page at a time, so a first
// result of CSSUtil::KERNEL_PAGE_RESULT bytes or more is read on to the end of the file or of the buffer. A longer file
// is cut.
#pragma once

#include "host/ScopedHandle.h"
#include "kernel/KeptFile.h"

#include <cstddef>
#include <memory>
#include <string_view>

namespace zel {

/// What a read gave: a text, which is terminated after its last character, or the reason why there is none.
struct FileText {
    enum class Failure { None, NotOpened, NotRead };

    std::string_view text;
    Failure failure = Failure::None;

    /// True when there is something to parse: an empty file is no failure, but holds nothing either.
    explicit operator bool() const { return !text.empty(); }
};

/// Reads the file `path` (below the host root) into `buffer` of `size` bytes (at least 1). The buffer is untouched when
/// the file cannot be opened and begins with a terminator when its first read failed.
FileText readKernelFile(const char *path, char *buffer, std::size_t size);
/// The same for a file that the caller has opened; an invalid descriptor is a file that could not be opened.
FileText readKernelFile(const ScopedDescriptor &file, char *buffer, std::size_t size);

/// Room for /proc/stat. What a machine with very many processors writes beyond it is cut.
inline constexpr std::size_t STAT_FILE_SIZE = 65536;

class KernelFile {
public:
    /// `path` is a literal; `size` is that of the buffer, of which the terminator needs one byte.
    KernelFile(const char *path, std::size_t size);

    /// Reads the file anew. The text is valid until the next read.
    FileText read();
    /// Whether `text` of this file fills the buffer, so that the file may be longer.
    bool fills(std::string_view text) const { return text.size() == m_size - 1; }

private:
    const char *m_path;
    std::size_t m_size;
    std::unique_ptr<char[]> m_buffer;
    KeptFile m_kept;
};

} // namespace zel

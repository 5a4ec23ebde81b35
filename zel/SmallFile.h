// Reads a file of a few lines that an administrator wrote: configuration, token, certificate.
#pragma once

#include <cstddef>
#include <string>
#include <sys/stat.h>

namespace zel {

struct SmallFile {
    std::string text;
    int error = 0;           // of errno; EFBIG for a longer one, EINVAL for a pipe or a device
    struct stat status = {}; // where it could be opened
};

/// Reads a descriptor to its end. 0, or an errno: EFBIG when there are more than `most` bytes.
int readToEnd(int descriptor, std::size_t most, std::string &text);

/// The whole of a regular file, or of /dev/null. Nothing else is waited for.
SmallFile readSmallFile(const std::string &path, std::size_t most);

} // namespace zel

// Reads small files whole.
#include "zel/SmallFile.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace zel {

namespace {

int openError(int descriptor, struct stat &status) {
    struct stat null {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0)
        return errno;
    if (S_ISREG(status.st_mode))
        return 0;
    const bool isNull = S_ISCHR(status.st_mode) && stat("/dev/null", &null) == 0 && null.st_rdev == status.st_rdev;
    if (isNull)
        return 0;
    return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
}

} // namespace

// One byte more than may be there shows that there is more.
int readToEnd(int descriptor, std::size_t most, std::string &text) {
    text.resize(most + 1);
    std::size_t length = 0;
    while (length < text.size()) {
        const ssize_t count = read(descriptor, text.data() + length, text.size() - length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno;
        if (count == 0)
            break;
        length += static_cast<std::size_t>(count);
    }
    text.resize(length);
    return length > most ? EFBIG : 0;
}

SmallFile readSmallFile(const std::string &path, std::size_t most) {
    SmallFile file;
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    file.error = openError(descriptor, file.status);
    if (file.error == 0)
        file.error = readToEnd(descriptor, most, file.text);
    if (file.error != 0)
        file.text.clear();
    if (descriptor >= 0)
        close(descriptor);
    return file;
}

} // namespace zel

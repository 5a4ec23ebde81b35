#include "KernelFile.h"

#include "HostRoot.h"
#include "ScopedHandle.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

int readRestartable(int descriptor, char *buffer, std::size_t size) {
    ssize_t count = 0;
    do
        count = read(descriptor, buffer, size);
    while (count < 0 && errno == EINTR);
    return static_cast<int>(count);
}

} // namespace

int zel::readKernelFile(const char *path, char *buffer, int size) {
    const ScopedDescriptor file(open(fgHostPath(path), O_RDONLY | O_CLOEXEC));
    if (!file.valid())
        return FILE_NOT_OPENED;
    const int room = size - 1;
    int length = 0;
    int count = 0;
    do {
        count = readRestartable(file.get(), buffer + length, static_cast<std::size_t>(room - length));
        if (count > 0)
            length += count;
    } while (count >= KERNEL_PAGE_RESULT && length < room);
    std::memset(buffer + length, 0, static_cast<std::size_t>(size - length));
    return length > 0 ? length : count;
}

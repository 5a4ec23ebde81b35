// Opens, reads and closes files as the collectors do, and does nothing with them.
#include "Floor.h"

#include "HostRoot.h"
#include "SSUtil.h"
#include "host/ScopedHandle.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::vector<char> buffer(std::size_t{1} << 20);

} // namespace

namespace bench {

void readKernelFile(const char *path, std::size_t room) {
    const zel::ScopedDescriptor file(open(fgHostPath(path), O_RDONLY | O_CLOEXEC));
    if (!file.valid())
        return;
    ssize_t count = read(file.get(), buffer.data(), room);
    std::size_t length = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    const bool ofManyRecords = count >= CSSUtil::KERNEL_PAGE_RESULT;
    while (ofManyRecords && count > 0 && length < room) {
        count = read(file.get(), buffer.data() + length, room - length);
        length += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
}

void readWhole(const char *path, std::size_t &room) {
    const zel::ScopedDescriptor file(open(fgHostPath(path), O_RDONLY | O_CLOEXEC));
    if (!file.valid())
        return;
    std::size_t length = 0;
    for (ssize_t count = 1; count > 0; length += static_cast<std::size_t>(std::max<ssize_t>(count, 0))) {
        while (length + 1 >= room)
            room *= 2;
        count = read(file.get(), buffer.data() + length, room - length - 1);
    }
}

void readToEnd(const char *path, std::size_t room) {
    const zel::ScopedDescriptor file(open(fgHostPath(path), O_RDONLY | O_CLOEXEC));
    if (!file.valid())
        return;
    while (read(file.get(), buffer.data(), room) > 0) {
    }
}

void readOnceAt(int directory, const char *path, std::size_t room) {
    const zel::ScopedDescriptor file(openat(directory, path, O_RDONLY | O_CLOEXEC));
    if (file.valid() && read(file.get(), buffer.data(), room) < 0)
        return;
}

void listDirectory(const char *path) {
    const zel::ScopedDescriptor directory(open(fgHostPath(path), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    while (syscall(SYS_getdents64, directory.get(), buffer.data(), std::size_t{32768}) > 0) {
    }
}

std::size_t sizeOf(const char *path) {
    const zel::ScopedDescriptor file(open(fgHostPath(path), O_RDONLY | O_CLOEXEC));
    std::size_t size = 0;
    for (ssize_t count; (count = read(file.get(), buffer.data(), buffer.size())) > 0;)
        size += static_cast<std::size_t>(count);
    return size;
}

} // namespace bench

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

// A file that was opened for this reading, or one that is read from its beginning wherever it was read last.
struct Fresh {
    int descriptor;
    ssize_t operator()(std::size_t room, std::size_t at) const { return read(descriptor, buffer.data() + at, room); }
};
struct Kept {
    int descriptor;
    ssize_t operator()(std::size_t room, std::size_t at) const {
        return pread(descriptor, buffer.data() + at, room, static_cast<off_t>(at));
    }
};

std::size_t lengthOf(ssize_t count) {
    return static_cast<std::size_t>(std::max<ssize_t>(count, 0));
}

template<class Read> void readRecords(const Read &readAt, std::size_t room) {
    ssize_t count = readAt(room, 0);
    std::size_t length = lengthOf(count);
    const bool ofManyRecords = count >= CSSUtil::KERNEL_PAGE_RESULT;
    while (ofManyRecords && count > 0 && length < room) {
        count = readAt(room - length, length);
        length += lengthOf(count);
    }
}

template<class Read> void readGrowing(const Read &readAt, std::size_t &room) {
    std::size_t length = 0;
    for (ssize_t count = 1; count > 0; length += lengthOf(count)) {
        while (length + 1 >= room)
            room *= 2;
        count = readAt(room - length - 1, length);
    }
}

template<class Read> void readBlocks(const Read &readAt, std::size_t room) {
    std::size_t length = 0;
    for (ssize_t count = 1; count > 0; length += lengthOf(count))
        count = readAt(room, length);
}

zel::ScopedDescriptor opened(const char *path) {
    return zel::ScopedDescriptor(open(fgHostPath(path), O_RDONLY | O_CLOEXEC));
}

} // namespace

namespace bench {

OpenFile::OpenFile(const char *path) : m_file(opened(path)) {}

void OpenFile::readKernelFile(std::size_t room) const {
    readRecords(Kept{m_file.get()}, room);
}

void OpenFile::readWhole(std::size_t &room) const {
    readGrowing(Kept{m_file.get()}, room);
}

void OpenFile::readToEnd(std::size_t room) const {
    readBlocks(Kept{m_file.get()}, room);
}

void readKernelFile(const char *path, std::size_t room) {
    const zel::ScopedDescriptor file = opened(path);
    readRecords(Fresh{file.get()}, room);
}

void readWhole(const char *path, std::size_t &room) {
    const zel::ScopedDescriptor file = opened(path);
    readGrowing(Fresh{file.get()}, room);
}

void readToEnd(const char *path, std::size_t room) {
    const zel::ScopedDescriptor file = opened(path);
    readBlocks(Fresh{file.get()}, room);
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

// Opening kernel and system files of the sampled host, as descriptors and as bounded streams.
#include "host/HostOpen.h"

#include "HostRoot.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

namespace zel {

namespace {

constexpr off_t readOn = -1;

struct HostStream {
    ScopedDescriptor owned;
    int descriptor;
    off_t offset;      // of the next read, or readOn
    const char *again; // the path at which the file is opened anew when a read fails, or null
    std::size_t rest;  // bytes that may still be read; none after a read that failed

    ssize_t read(char *buffer, std::size_t size) const {
        return offset == readOn ? ::read(descriptor, buffer, size) : pread(descriptor, buffer, size, offset);
    }
    bool openAgain() {
        owned = openHostFile(std::exchange(again, nullptr));
        descriptor = owned.get();
        return owned.valid();
    }
};

ssize_t readSome(void *cookie, char *buffer, std::size_t size) {
    auto &stream = *static_cast<HostStream *>(cookie);
    if (stream.rest == 0)
        return 0;
    const std::size_t wanted = std::min(size, stream.rest);
    ssize_t count = stream.read(buffer, wanted);
    if (count < 0 && stream.again != nullptr && stream.openAgain())
        count = stream.read(buffer, wanted);
    stream.rest = count < 0 ? 0 : stream.rest - static_cast<std::size_t>(count);
    if (stream.offset != readOn)
        stream.offset += std::max<ssize_t>(count, 0);
    return count;
}

int closeStream(void *cookie) {
    delete static_cast<HostStream *>(cookie);
    return 0;
}

ScopedFile openStream(ScopedDescriptor owned, int descriptor, off_t offset, const char *again) {
    std::unique_ptr<HostStream> stream(new (std::nothrow)
                                           HostStream{std::move(owned), descriptor, offset, again, HOST_FILE_LIMIT});
    if (stream == nullptr)
        return nullptr;
    ScopedFile opened(fopencookie(stream.get(), "r", {readSome, nullptr, nullptr, closeStream}));
    if (opened != nullptr)
        static_cast<void>(stream.release());
    return opened;
}

} // namespace

ScopedDescriptor openHostFile(const char *path) {
    return ScopedDescriptor(open(fgHostPath(path), HOST_FILE_FLAGS));
}

ScopedDescriptor openHostFileAt(int directory, const char *path) {
    return ScopedDescriptor(openat(directory, path, HOST_FILE_FLAGS));
}

ScopedDescriptor openHostDirectory(const char *path) {
    return ScopedDescriptor(open(fgHostPath(path), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

ScopedFile openHostStream(const char *path) {
    ScopedDescriptor file = openHostFile(path);
    if (!file.valid())
        return nullptr;
    const int descriptor = file.get();
    return openStream(std::move(file), descriptor, readOn, nullptr);
}

ScopedFile openStreamOver(int descriptor) {
    return openStream(ScopedDescriptor(-1), descriptor, readOn, nullptr);
}

ScopedFile openStreamFromStart(int descriptor, const char *path) {
    return openStream(ScopedDescriptor(-1), descriptor, 0, path);
}

int measureFilesystem(const char *path, struct statfs64 &size) {
    return statfs64(path, &size) == 0 ? 0 : errno;
}

} // namespace zel

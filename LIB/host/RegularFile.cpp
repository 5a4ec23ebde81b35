// Opening the files that collectors, scripts and the inventory program exchange.
#include "host/RegularFile.h"

#include "host/FileIdentity.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace zel {

namespace {

constexpr mode_t newFileMode = 0666; // less the umask, as fopen gives it

ScopedDescriptor openOfKind(const char *path, int flags, mode_t mode, bool (*accepted)(mode_t)) {
    // Opening does not wait for the other end of a pipe; a regular file does not notice.
    ScopedDescriptor file(open(path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, mode));
    struct stat status {};
    if (!file.valid() || fstat(file.get(), &status) != 0)
        return ScopedDescriptor(-1);
    if (accepted(status.st_mode))
        return file;
    file.closeChecked();
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return ScopedDescriptor(-1);
}

bool directoryOfExists(std::string_view path) {
    const std::string_view parent = path.substr(0, path.rfind('/') + 1);
    char directory[PATH_MAX] = ".";
    if (parent.size() >= sizeof(directory))
        return false;
    parent.copy(directory, parent.size());
    struct stat status {};
    return stat(directory, &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

ScopedFile asStream(ScopedDescriptor &&descriptor, const char *mode) {
    if (!descriptor.valid())
        return nullptr;
    ScopedFile file(fdopen(descriptor.get(), mode));
    if (file != nullptr)
        static_cast<void>(descriptor.release());
    return file;
}

ScopedDescriptor openRegular(const char *path, int flags, mode_t mode) {
    return openOfKind(path, flags, mode, [](mode_t kind) { return S_ISREG(kind); });
}

ScopedDescriptor openToWrite(const char *path) {
    return openOfKind(path, O_WRONLY | O_CREAT | O_TRUNC, newFileMode,
                      [](mode_t kind) { return S_ISREG(kind) || S_ISCHR(kind); });
}

ScopedFile openFileToWrite(const char *path) {
    return asStream(openToWrite(path), "w");
}

ScopedDescriptor openToAppend(const char *path, mode_t mode) {
    return ScopedDescriptor(open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode));
}

ScopedDescriptor openNew(const char *path, mode_t mode) {
    return ScopedDescriptor(open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
}

ScopedDirectory openDirectory(const char *path) {
    return ScopedDirectory(opendir(path));
}

std::FILE *openAnyFile(const char *path, const char *mode) {
    return std::fopen(path, mode);
}

bool leadsTo(const char *path, const struct stat &status) {
    struct stat other {};
    return stat(path, &other) == 0 && identityOf(other) == identityOf(status);
}

bool clearForResult(const char *path) {
    struct stat status {};
    if (stat(path, &status) != 0)
        return directoryOfExists(path);
    if (S_ISDIR(status.st_mode))
        return true;
    const bool ours = status.st_uid == 0 || status.st_uid == geteuid();
    if (S_ISREG(status.st_mode) && ours && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0)
        return true;
    return unlink(path) == 0 || errno == ENOENT;
}

} // namespace zel

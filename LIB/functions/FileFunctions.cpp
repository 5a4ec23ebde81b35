// The file functions of NGFunctions.h: directories, copies, empty files, pass-throughs.
#include "NGFunctions.h"
#include "host/RegularFile.h"
#include "host/SafeWrite.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <fnmatch.h>

namespace {

constexpr std::size_t pieceSize = 1023;
constexpr mode_t directoryMode = 0770;
constexpr mode_t emptyFileMode = 0444;
constexpr mode_t permissionBits = 0777;

// True when exactly `size` bytes were there and have been copied. A source that goes on after them ends the copy.
bool copyExactly(int source, int target, off_t size) {
    char piece[pieceSize];
    off_t copied = 0;
    while (copied <= size) {
        const ssize_t count = read(source, piece, pieceSize);
        if (count == 0)
            return copied == size;
        if (count < 0 || !zel::writeAll(target, {piece, static_cast<std::size_t>(count)}, zel::OnSignal::FAILS))
            return false;
        copied += count;
    }
    return false;
}

// The end of the parent in `path`, after the slash before its last name; null without a parent.
char *endOfParent(char *path) {
    std::size_t length = std::strlen(path);
    while (length > 0 && path[length - 1] == '/')
        --length;
    void *slash = memrchr(path, '/', length);
    return slash != nullptr ? static_cast<char *>(slash) + 1 : nullptr;
}

// Works in place: `path` is cut at its parent for the time that the parent is made.
int makeDirectory(char *path) {
    if (const zel::ScopedDirectory existing = zel::openDirectory(path); existing != nullptr)
        return 1;
    if (errno != ENOENT)
        return errno == EPERM ? 1 : -1;
    if (char *end = endOfParent(path); end != nullptr) {
        // Its own failure has been printed; what counts is whether this directory can be made.
        const char kept = std::exchange(*end, '\0');
        makeDirectory(path);
        *end = kept;
    }
    if (mkdir(path, directoryMode) == 0)
        return 1;
    zel::printErrorf("mkdir fail[%s][%s]", path, std::strerror(errno));
    return -1;
}

} // namespace

int fgInitFP() {
    return 1;
}

std::FILE *fgND_FOPEN(const char *path, const char *mode) {
    return zel::openAnyFile(path, mode);
}

int fgND_FCLOSE(std::FILE *file) {
    return file != nullptr ? std::fclose(file) : EOF;
}

void fgNPrintFP() {}

int fgFindFileName(const char *pattern, char *out) {
    const zel::ScopedDirectory directory = zel::openDirectory("./");
    if (directory == nullptr)
        return 0;
    while (const dirent *entry = readdir(directory.get())) {
        if (entry->d_name[0] == '.' || fnmatch(pattern, entry->d_name, 0) != 0)
            continue;
        std::strcpy(out, entry->d_name);
        return 1;
    }
    return 0;
}

int fgMakeDirectory(const char *path) {
    char scratch[PATH_MAX];
    const std::size_t length = std::strlen(path);
    if (length >= sizeof(scratch))
        return -1; // longer than any path that the system opens
    std::memcpy(scratch, path, length + 1);
    return makeDirectory(scratch);
}

int fgFileMove(const char *from, const char *to) {
    const zel::ScopedDescriptor source = zel::openRegular(from, O_RDONLY);
    struct stat status {};
    if (!source.valid() || fstat(source.get(), &status) != 0 || zel::leadsTo(to, status))
        return 0;
    const zel::WriteSignalsHeld held;
    zel::ScopedDescriptor target = zel::openRegular(to, O_WRONLY | O_CREAT | O_TRUNC, status.st_mode & permissionBits);
    if (!target.valid())
        return 0;
    if (!copyExactly(source.get(), target.get(), status.st_size) || !target.closeChecked())
        return 0;
    return unlink(from) == 0 || errno == ENOENT ? 1 : 0;
}

int fgTouchFile(const char *path) {
    unlink(path);
    const zel::ScopedDescriptor file = zel::openRegular(path, O_WRONLY | O_CREAT | O_TRUNC, emptyFileMode);
    return 1;
}

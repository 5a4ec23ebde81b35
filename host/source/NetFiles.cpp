// Reads the files below /proc/net.
#include "host/source/NetFiles.h"

#include "host/HostOpen.h"

#include <cerrno>

namespace zel {

namespace {

constexpr const char *ofThread = "proc/thread-self/"; // kernel 3.17 and later
constexpr const char *ofFirstProcess = "proc/1/";
constexpr const char *ofProcess = "proc/";

} // namespace

ScopedDescriptor NetFiles::open(const HostDirectory &root, const char *directory, const SourceFile &file) {
    constexpr std::string_view prefix = "proc/";
    m_path.assign(directory).append(file.path(), prefix.size());
    return root.open(m_path.c_str(), HOST_FILE_FLAGS);
}

int NetFiles::read(const HostDirectory &root, SourceFile &file) {
    for (const char *directory : {root.own() ? ofThread : ofFirstProcess, ofProcess}) {
        if (m_directory != nullptr && m_directory != directory)
            continue;
        const ScopedDescriptor descriptor = open(root, directory, file);
        if (!descriptor.valid())
            continue;
        m_directory = directory;
        return file.readOpen(descriptor.get());
    }
    return errno;
}

} // namespace zel

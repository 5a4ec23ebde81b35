// Reads the files of processes.
#include "host/areas/ProcessTexts.h"

#include "text/DecimalText.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace zel {

namespace {

constexpr std::string_view processes = "proc/";

} // namespace

void ProcessTexts::begin(const HostDirectory &root, int directory) {
    m_root = &root;
    m_directory = directory;
    std::memcpy(m_path.data(), processes.data(), processes.size());
}

void ProcessTexts::select(std::uint64_t pid) {
    m_pidEnd = static_cast<std::size_t>(writeDecimal(m_path.data() + processes.size(), pid) - m_path.data());
}

const char *ProcessTexts::path(std::string_view name) {
    std::memcpy(m_path.data() + m_pidEnd, name.data(), name.size());
    m_path[m_pidEnd + name.size()] = '\0';
    return m_path.data();
}

// Below a root directory the way to a process may lead through a link, which must not lead out.
int ProcessTexts::owner(uid_t &user) {
    struct stat status {};
    int failed = 0;
    if (m_root->own()) {
        failed = fstatat(m_directory, path("") + processes.size(), &status, 0);
    } else {
        const ScopedDescriptor process = m_root->open(path(""), O_PATH | O_DIRECTORY | O_CLOEXEC);
        failed = process.valid() ? fstat(process.get(), &status) : -1;
    }
    if (failed != 0)
        return errno;
    user = status.st_uid;
    return 0;
}

bool ProcessTexts::isGone() {
    uid_t user = 0;
    const int error = owner(user);
    return error == ENOENT || error == ESRCH;
}

int ProcessTexts::read(std::string_view name, std::size_t limit, std::string_view &text) {
    text = {};
    const ScopedDescriptor file = m_root->open(path(name), HOST_FILE_FLAGS);
    if (!file.valid())
        return errno;
    ssize_t count = 0;
    do {
        count = ::read(file.get(), m_text.data(), limit);
    } while (count < 0 && errno == EINTR);
    m_text[static_cast<std::size_t>(count < 0 ? 0 : count)] = '\0';
    if (count < 0)
        return errno;
    text = {m_text.data(), static_cast<std::size_t>(count)};
    return 0;
}

// The kernel says how many descriptors a process has as the size of its directory fd, from 6.2 on; before that it says
// 0. This process has some.
bool ProcessTexts::sizeCounts() {
    struct stat status {};
    if (m_sizeCounts == SizeCounts::Unknown && fstatat(m_directory, "self/fd", &status, 0) == 0)
        m_sizeCounts = status.st_size > 0 ? SizeCounts::Yes : SizeCounts::No;
    return m_sizeCounts == SizeCounts::Yes;
}

int ProcessTexts::descriptors(std::uint64_t &count) {
    if (!m_root->own() || !sizeCounts())
        return countEntries(count);
    struct stat status {};
    if (fstatat(m_directory, path("/fd") + processes.size(), &status, 0) != 0)
        return errno;
    count = static_cast<std::uint64_t>(status.st_size);
    return 0;
}

int ProcessTexts::countEntries(std::uint64_t &count) {
    ScopedDescriptor opened = m_root->open(path("/fd"), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!opened.valid())
        return errno;
    DirectoryWalk walk(std::move(opened), m_room);
    count = 0;
    while (const char *name = walk.next())
        count += name[0] != '.' ? 1 : 0;
    return 0;
}

} // namespace zel

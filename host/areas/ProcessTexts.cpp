// Reads the files of processes.
#include "host/areas/ProcessTexts.h"

#include "text/DecimalText.h"

#include <algorithm>
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
    m_placesLeft = std::max(0, root.kept().limit() - root.kept().taken());
    m_kept.begin(directory, root.own() && isOfProc(directory));
}

void ProcessTexts::finish() {
    m_files.reset();
    m_kept.finish();
}

void ProcessTexts::select(std::uint64_t pid) {
    m_pidEnd = static_cast<std::size_t>(writeDecimal(m_path.data() + processes.size(), pid) - m_path.data());
    if (m_root->own())
        m_files.emplace(m_directory, static_cast<int>(pid), m_text.data(), m_text.size(), &m_kept);
}

const char *ProcessTexts::path(std::string_view name) {
    std::memcpy(m_path.data() + m_pidEnd, name.data(), name.size());
    m_path[m_pidEnd + name.size()] = '\0';
    return m_path.data();
}

// Below a root directory the way to a process may lead through a link, which must not lead out.
int ProcessTexts::owner(uid_t &user) {
    if (m_root->own()) {
        int id = 0;
        if (!m_files->owner(id))
            return errno;
        user = static_cast<uid_t>(id);
        return 0;
    }
    const ScopedDescriptor process = m_root->open(path(""), O_PATH | O_DIRECTORY | O_CLOEXEC);
    struct stat status {};
    if (!process.valid() || fstat(process.get(), &status) != 0)
        return errno;
    user = status.st_uid;
    return 0;
}

int ProcessTexts::taken(const char *text, std::string_view &result) const {
    result = text == nullptr ? std::string_view() : text;
    return text == nullptr ? m_files->error() : 0;
}

int ProcessTexts::stat(std::string_view &text) {
    return m_root->own() ? taken(m_files->stat(), text) : read("/stat", RECORD_LIMIT, text);
}

int ProcessTexts::statm(std::string_view &text) {
    return m_root->own() ? taken(m_files->statm(), text) : read("/statm", RECORD_LIMIT, text);
}

int ProcessTexts::io(std::string_view &text) {
    if (!m_root->own())
        return read("/io", RECORD_LIMIT, text);
    LinePieces lines = m_files->io();
    if (m_files->error() != 0)
        return m_files->error();
    return taken(lines.next(), text);
}

int ProcessTexts::commandLine(std::string_view &text) {
    if (!m_root->own())
        return read("/cmdline", COMMAND_LINE_LIMIT, text);
    text = {m_text.data(), m_files->commandLine(m_text.data(), COMMAND_LINE_LIMIT + 1)};
    return m_files->error();
}

bool ProcessTexts::isGone() {
    uid_t user = 0;
    const int error = owner(user);
    return error == ENOENT || error == ESRCH;
}

int ProcessTexts::read(std::string_view name, std::size_t limit, std::string_view &text) {
    text = {};
    const char *const whole = path(name);
    const ScopedDescriptor file =
        m_root->own() ? openHostFileAt(m_directory, whole + processes.size()) : m_root->open(whole, HOST_FILE_FLAGS);
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

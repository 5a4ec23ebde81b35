// Lists the devices of a class.
#include "host/source/NamedDirectory.h"

#include "host/DirectoryWalk.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

namespace zel {

int NamedDirectory::read(const HostDirectory &root) {
    const std::int64_t now = coarseSeconds();
    if (root.own() && now - m_listedAt < SECONDS_BEFORE_NEXT_LOOK)
        return m_error;
    m_listedAt = now;
    return m_error = list(root);
}

int NamedDirectory::list(const HostDirectory &root) {
    m_names.clear();
    ScopedDescriptor opened = root.open(m_path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!opened.valid())
        return errno;
    DirectoryRoom<4096> room;
    DirectoryWalk walk(std::move(opened), room);
    bool all = true;
    while (const char *entry = walk.next()) {
        const std::string_view name(entry);
        if (name.front() == '.' || !name.starts_with(m_prefix) || name.find(m_part) == name.npos)
            continue;
        if (m_names.size() < ENTRIES_LIMIT)
            m_names.emplace_back(name);
        else
            all = false;
    }
    std::sort(m_names.begin(), m_names.end(), [](const std::string &one, const std::string &other) {
        return one.size() != other.size() ? one.size() < other.size() : one < other;
    });
    return walk.error() != 0 || all ? walk.error() : E2BIG;
}

} // namespace zel

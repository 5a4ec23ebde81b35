// Lists sysfs directories whose entries are numbered.
#include "host/source/NumberedDirectory.h"

#include "host/DirectoryWalk.h"
#include "host/source/Clocks.h"
#include "text/NumberScan.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace zel {

int NumberedDirectory::read(const HostDirectory &root) {
    const std::int64_t now = coarseSeconds();
    if (root.own() && now - m_listedAt < SECONDS_BEFORE_NEXT_LOOK)
        return m_error;
    m_listedAt = now;
    return m_error = list(root);
}

int NumberedDirectory::list(const HostDirectory &root) {
    m_numbers.clear();
    ScopedDescriptor opened = root.open(m_path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!opened.valid())
        return errno;
    DirectoryRoom<4096> room;
    DirectoryWalk walk(std::move(opened), room);
    const std::size_t length = std::strlen(m_prefix);
    while (const char *name = walk.next()) {
        const char *cursor = name + length;
        unsigned long long number = 0;
        if (m_numbers.size() < ENTRIES_LIMIT && std::strncmp(name, m_prefix, length) == 0 && *cursor != ' ' &&
            scanPlain(cursor, number) && number < m_end)
            m_numbers.push_back(number);
    }
    std::sort(m_numbers.begin(), m_numbers.end());
    return walk.error();
}

} // namespace zel

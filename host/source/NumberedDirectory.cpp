// Lists sysfs directories whose entries are numbered.
#include "host/source/NumberedDirectory.h"

#include "host/source/Clocks.h"
#include "host/source/Listing.h"
#include "text/NumberScan.h"

#include <algorithm>
#include <cstring>

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
    const std::size_t length = std::strlen(m_prefix);
    const int error = listEntries(root, path(), m_numbers, [&](const char *name, unsigned char, std::uint64_t &entry) {
        const char *cursor = name + length;
        unsigned long long number = 0;
        const bool wanted = std::strncmp(name, m_prefix, length) == 0 && *cursor != ' ' && scanPlain(cursor, number);
        entry = number;
        return wanted && number < m_end;
    });
    std::sort(m_numbers.begin(), m_numbers.end());
    return error;
}

} // namespace zel

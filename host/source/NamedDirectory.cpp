// Lists the devices of a class.
#include "host/source/NamedDirectory.h"

#include "host/source/Listing.h"

#include <algorithm>

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
    const int error = listEntries(root, path(), m_names, [this](std::string_view name, unsigned char, auto &entry) {
        const bool wanted = name.starts_with(m_prefix) && name.find(m_part) != name.npos;
        if (wanted)
            entry = name;
        return wanted;
    });
    std::sort(m_names.begin(), m_names.end(), [](const std::string &one, const std::string &other) {
        return one.size() != other.size() ? one.size() < other.size() : one < other;
    });
    return error;
}

} // namespace zel

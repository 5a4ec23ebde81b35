// The names in a directory of a host: one walk and one limit for whatever is listed.
#pragma once

#include "host/DirectoryWalk.h"
#include "host/source/HostDirectory.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <vector>

namespace zel {

/// Entries beyond these are left out. The kernel allows 8192 processors; no list of devices that it has is longer.
inline constexpr std::size_t LISTING_LIMIT = 16384;

/// Calls take(name, type, entry), with a type such as DT_DIR or DT_UNKNOWN, for each name in the directory, and appends
/// the entries for which it returns true. Gives 0, the errno that kept the directory from being read, or E2BIG when
/// there are more than LISTING_LIMIT: what is listed until then counts. Hidden names are left out.
template<class Entry, class Take>
int listEntries(const HostDirectory &root, const char *path, std::vector<Entry> &entries, Take &&take) {
    ScopedDescriptor opened = root.open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!opened.valid())
        return errno;
    DirectoryRoom<32768> room;
    DirectoryWalk walk(std::move(opened), room);
    while (const char *name = walk.next()) {
        Entry entry{};
        if (name[0] == '.' || !take(name, walk.type(), entry))
            continue;
        if (entries.size() == LISTING_LIMIT)
            return E2BIG;
        entries.push_back(std::move(entry));
    }
    return walk.error();
}

} // namespace zel

// Lists sysfs directories whose entries are numbered.
#include "host/source/NumberedDirectory.h"

#include "host/DirectoryWalk.h"
#include "text/NumberScan.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zel {

int numberedEntries(const HostDirectory &root, const char *directory, const char *prefix,
                    std::vector<std::uint64_t> &numbers) {
    numbers.clear();
    ScopedDescriptor opened = root.open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!opened.valid())
        return errno;
    DirectoryRoom<4096> room;
    DirectoryWalk walk(std::move(opened), room);
    const std::size_t length = std::strlen(prefix);
    while (const char *name = walk.next()) {
        const char *cursor = name + length;
        unsigned long long number = 0;
        if (std::strncmp(name, prefix, length) == 0 && scanPlain(cursor, number))
            numbers.push_back(number);
    }
    std::sort(numbers.begin(), numbers.end());
    return 0;
}

} // namespace zel

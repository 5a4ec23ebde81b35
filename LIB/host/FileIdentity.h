// Which file a name or a descriptor leads to: two of them may lead to the same one.
#pragma once

#include <sys/stat.h>

namespace zel {

struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;

    bool operator==(const FileIdentity &) const = default;
};

inline FileIdentity identityOf(const struct stat &status) {
    return {status.st_dev, status.st_ino};
}

} // namespace zel

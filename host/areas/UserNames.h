// The names of users by their numbers, from etc/passwd below the root of a sampler.
//
// The file is parsed here because the C library asks every source that nsswitch.conf names, and a directory server that
// does not answer would hold the sample up. So users that only such a server knows have no name.
#pragma once

#include "host/Schema.h"
#include "host/source/HostDirectory.h"

#include <cstdint>
#include <ctime>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace zel {

class UserNames {
public:
    /// A larger file is not read; it would hold some 60,000 users.
    static constexpr std::size_t FILE_LIMIT = std::size_t{4} * 1024 * 1024;
    /// A line with a longer name is passed over.
    static constexpr std::size_t NAME_LIMIT = 256;

    /// Reads the file when it is another one than before: another inode, size or time of change.
    void refresh(const HostDirectory &root);

    /// The first name in the file of user `id`.
    void take(std::uint64_t id, Reading<std::string> &name) const;

private:
    struct User {
        std::uint64_t id;
        std::uint32_t start, length; // of the name in the text
    };
    // What tells a version of the file from another.
    struct Version {
        ino_t inode = 0;
        off_t size = -1;
        timespec changed{};

        bool operator==(const Version &other) const {
            return inode == other.inode && size == other.size && changed.tv_sec == other.changed.tv_sec &&
                   changed.tv_nsec == other.changed.tv_nsec;
        }
    };

    void lose(int error);
    bool read(int file, std::size_t size);
    void parse();

    std::vector<char> m_text;
    std::vector<User> m_users; // by id
    Version m_version;
    Absence m_absence = Absence::Unsupported; // of a user that is not in the file
};

} // namespace zel

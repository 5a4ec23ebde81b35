// Reads and parses etc/passwd.
#include "host/areas/UserNames.h"

#include "host/HostOpen.h"
#include "text/NumberScan.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace zel {

void UserNames::lose(int error) {
    m_users.clear();
    m_version = {};
    m_absence = absenceOf(error);
}

void UserNames::refresh(const HostDirectory &root) {
    const ScopedDescriptor file = root.open("etc/passwd", HOST_FILE_FLAGS);
    struct stat status {};
    if (!file.valid() || fstat(file.get(), &status) != 0)
        return lose(errno);
    if (!S_ISREG(status.st_mode))
        return lose(ENOENT);
    const Version version{status.st_ino, status.st_size, status.st_ctim};
    if (version == m_version)
        return;
    if (static_cast<std::size_t>(status.st_size) > FILE_LIMIT)
        return lose(EFBIG);
    if (!read(file.get(), static_cast<std::size_t>(status.st_size)))
        return lose(errno);
    parse();
    m_version = version;
    m_absence = Absence::Unsupported;
}

bool UserNames::read(int file, std::size_t size) {
    m_text.resize(size + 1);
    std::size_t length = 0;
    while (length < size) {
        const ssize_t count = ::read(file, m_text.data() + length, size - length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        if (count == 0)
            break;
        length += static_cast<std::size_t>(count);
    }
    m_text.resize(length + 1);
    m_text[length] = '\0';
    return true;
}

// Sample: root:x:0:0:root:/root:/bin/bash
void UserNames::parse() {
    m_users.clear();
    std::string_view rest(m_text.data(), m_text.size() - 1);
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, std::min(rest.find('\n'), rest.size()));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const std::size_t nameEnd = line.find(':');
        const std::size_t passwordEnd = nameEnd == std::string_view::npos ? nameEnd : line.find(':', nameEnd + 1);
        if (passwordEnd == std::string_view::npos || nameEnd == 0 || nameEnd > NAME_LIMIT)
            continue;
        const char *cursor = line.data() + passwordEnd + 1;
        unsigned long long id = 0;
        if (*cursor == ' ' || !scanPlain(cursor, id) || *cursor != ':')
            continue;
        m_users.push_back(
            {id, static_cast<std::uint32_t>(line.data() - m_text.data()), static_cast<std::uint32_t>(nameEnd)});
    }
    std::stable_sort(m_users.begin(), m_users.end(),
                     [](const User &left, const User &right) { return left.id < right.id; });
}

void UserNames::take(std::uint64_t id, Reading<std::string> &name) const {
    const auto found = std::lower_bound(m_users.begin(), m_users.end(), id,
                                        [](const User &user, std::uint64_t wanted) { return user.id < wanted; });
    if (found == m_users.end() || found->id != id)
        return name.clear(m_absence);
    name.set(std::string_view(m_text.data() + found->start, found->length));
}

} // namespace zel

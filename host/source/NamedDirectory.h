// The devices of a class: the names in its sysfs directory that begin with a word, such as hwmon0 in /sys/class/hwmon.
#pragma once

#include "host/source/Clocks.h"
#include "host/source/HostDirectory.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// Devices come and go with the hardware. On the host itself they are listed anew when SECONDS_BEFORE_NEXT_LOOK have
/// gone by.
class NamedDirectory {
public:
    static constexpr std::int64_t SECONDS_BEFORE_NEXT_LOOK = 30;
    static constexpr std::size_t ENTRIES_LIMIT = 4096;

    /// All three are literals. Names that do not hold `part` are left out.
    NamedDirectory(const char *path, std::string_view prefix, std::string_view part = {})
        : m_path(path), m_prefix(prefix), m_part(part) {}

    /// 0, or the errno that kept the directory from being read; E2BIG when names beyond the first ENTRIES_LIMIT were
    /// left out.
    int read(const HostDirectory &root);
    /// The shorter ones first, equally long ones in the order of their letters, so that hwmon2 comes before hwmon10.
    const std::vector<std::string> &names() const { return m_names; }
    const char *path() const { return m_path; }
    /// The next read lists the entries anew.
    void expire() { m_listedAt = LONG_AGO; }

private:
    int list(const HostDirectory &root);

    const char *m_path;
    std::string_view m_prefix, m_part;
    std::vector<std::string> m_names;
    std::int64_t m_listedAt = LONG_AGO; // of a coarse monotonic clock
    int m_error = 0;
};

} // namespace zel

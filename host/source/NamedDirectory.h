// The devices of a class: the names in its sysfs directory that begin with a word, such as hwmon0 in /sys/class/hwmon.
#pragma once

#include "host/source/Clocks.h"
#include "host/source/HostDirectory.h"

#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// Devices come and go with the hardware. On the host itself they are listed anew when SECONDS_BEFORE_NEXT_LOOK have
/// gone by.
class NamedDirectory {
public:
    static constexpr std::int64_t SECONDS_BEFORE_NEXT_LOOK = 30;

    /// `prefix` and `part` are literals. Names that do not hold `part` are left out.
    NamedDirectory(std::string path, std::string_view prefix, std::string_view part = {})
        : m_path(std::move(path)), m_prefix(prefix), m_part(part) {}

    /// 0, the errno that kept the directory from being read, or E2BIG when names beyond the first LISTING_LIMIT
    /// (source/Listing.h) were left out.
    int read(const HostDirectory &root);
    /// The shorter ones first, equally long ones in the order of their letters, so that hwmon2 comes before hwmon10.
    const std::vector<std::string> &names() const { return m_names; }
    const char *path() const { return m_path.c_str(); }
    /// The next read lists the entries anew.
    void expire() { m_listedAt = LONG_AGO; }

private:
    int list(const HostDirectory &root);

    std::string m_path;
    std::string_view m_prefix, m_part;
    std::vector<std::string> m_names;
    std::int64_t m_listedAt = LONG_AGO; // of a coarse monotonic clock
    int m_error = 0;
};

} // namespace zel

// The entries of a sysfs directory that begin with a word and go on with a number, such as node0 or hugepages-2048kB.
#pragma once

#include "host/source/Clocks.h"
#include "host/source/HostDirectory.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zel {

/// Such entries come and go with the hardware. On the host itself they are listed anew when SECONDS_BEFORE_NEXT_LOOK
/// have gone by.
class NumberedDirectory {
public:
    static constexpr std::int64_t SECONDS_BEFORE_NEXT_LOOK = 30;

    /// Entries with a number from `end` on are left out. `prefix` is a literal.
    NumberedDirectory(std::string path, const char *prefix, std::uint64_t end)
        : m_path(std::move(path)), m_prefix(prefix), m_end(end) {}

    /// 0, the errno that kept the directory from being read, or E2BIG when entries beyond the first LISTING_LIMIT
    /// (source/Listing.h) were left out.
    int read(const HostDirectory &root);
    /// In ascending order; after a failure those before it.
    const std::vector<std::uint64_t> &numbers() const { return m_numbers; }
    const char *path() const { return m_path.c_str(); }
    /// The next read lists the entries anew.
    void expire() { m_listedAt = LONG_AGO; }

private:
    int list(const HostDirectory &root);

    std::string m_path;
    const char *m_prefix;
    std::uint64_t m_end;
    std::vector<std::uint64_t> m_numbers;
    std::int64_t m_listedAt = LONG_AGO; // of a coarse monotonic clock
    int m_error = 0;
};

} // namespace zel

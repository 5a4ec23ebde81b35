// The host that collectors read during a test: a tree below g_strHostRoot, laid out like the real root
// ("proc/stat", "sys/class/fc_host/host0/port_name", "etc/mtab").
#pragma once

#include "HostRoot.h"
#include "TempDirectory.h"

#include <string>

class HostFixture {
public:
    /// An empty host; the test writes its files.
    HostFixture();
    /// A checked-in host of tests/fixtures, such as "linux-2.6.32/t0".
    explicit HostFixture(const std::string &name);
    ~HostFixture();
    HostFixture(const HostFixture &) = delete;
    HostFixture &operator=(const HostFixture &) = delete;

    void write(const std::string &relativePath, const std::string &text) const { m_scratch.write(relativePath, text); }
    void remove(const std::string &relativePath) const { m_scratch.remove(relativePath); }
    /// Points the collectors at another checked-in host, as if time had passed.
    void show(const std::string &name);
    /// The directory of the scratch host.
    const std::filesystem::path &path() const { return m_scratch.path(); }

private:
    TempDirectory m_scratch;
};

// Whether SELinux limits what programs may do.
#pragma once

#include "host/areas/AreaReader.h"
#include "host/source/Attribute.h"

namespace zel {

class SecurityReader {
public:
    void read(Take &take);

private:
    void readConfiguration(Take &take, Reading<std::string> &configured);

    Attribute m_enforce{"sys/fs/selinux/enforce"};
    Reading<std::string> m_configured;
    std::int64_t m_configuredAt = LONG_AGO;
};

/// The word behind SELINUX= in a terminated configuration: "enforcing", "permissive" or "disabled"; another one is
/// malformed.
void takeSelinuxMode(const char *text, Reading<std::string> &mode);

} // namespace zel

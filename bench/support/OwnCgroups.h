// Control groups of version 2 in the machine's own tree.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace bench {

/// Adds cgroups to the machine and removes them at the end. A guardian process removes them when this one is killed.
class OwnCgroups {
public:
    OwnCgroups();
    ~OwnCgroups();
    OwnCgroups(const OwnCgroups &) = delete;
    OwnCgroups &operator=(const OwnCgroups &) = delete;

    /// Makes slices with nine services each, with every controller that there is, until there are `count`; false when
    /// the machine does not allow it.
    bool bringTo(long count);
    /// All of the machine's tree, these among them.
    static std::vector<std::string> directories();

private:
    bool make(const std::string &path);

    std::string m_top;
    long m_count = 0;
    int m_toGuardian = -1;
    pid_t m_guardian = -1;
};

} // namespace bench

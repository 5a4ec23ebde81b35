// The root below which a sampler reads: the host's own, or a directory that holds the files of another host. Below a
// directory no link leads out of it.
#pragma once

#include "host/source/KeptBudget.h"

#include <string>

namespace zel {

class HostDirectory {
public:
    /// An empty root is this host. `keptFiles` of its kernel files may stay open; below a directory none does, because
    /// a plain file can be replaced.
    HostDirectory(const std::string &root, int keptFiles);

    /// 0, or the errno that kept the root from being opened.
    int error() const { return m_error; }
    /// True for the host's own root, whose kernel files may stay open.
    bool own() const { return m_own; }
    int descriptor() const { return m_root.get(); }
    /// The places of the files that stay open; of one thread, as its sampler.
    KeptBudget &kept() const { return m_kept; }

    /// Opens `path`, which is relative to the root, such as "proc/stat". An invalid one leaves errno.
    ScopedDescriptor open(const char *path, int flags) const;

private:
    ScopedDescriptor m_root{-1};
    int m_error = 0;
    bool m_own = false;
    mutable KeptBudget m_kept; // counts what is open: nothing of the directory changes with it
};

} // namespace zel

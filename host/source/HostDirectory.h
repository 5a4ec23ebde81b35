// The root below which a sampler reads: the host's own, or a directory that holds the files of another host. Below a
// directory no link leads out of it.
//
// Copies share one descriptor: work that may outlive its sampler keeps a copy.
#pragma once

#include "host/ScopedHandle.h"

#include <memory>
#include <string>

namespace zel {

class HostDirectory {
public:
    /// Empty: this host.
    explicit HostDirectory(const std::string &root);

    /// 0, or the errno that kept the root from being opened.
    int error() const { return m_error; }
    /// True for the host's own root, whose kernel files may stay open.
    bool own() const { return m_own; }
    int descriptor() const { return m_root->get(); }

    /// Opens `path`, which is relative to the root, such as "proc/stat". An invalid one leaves errno.
    ScopedDescriptor open(const char *path, int flags) const;

private:
    std::shared_ptr<const ScopedDescriptor> m_root;
    int m_error = 0;
    bool m_own = false;
};

} // namespace zel

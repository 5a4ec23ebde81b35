// The root below which a sampler reads: the host's own, or a directory that holds the files of another host. Below a
// directory no link leads out of it.
//
// Copies share one descriptor: work that may outlive its sampler keeps a copy, which keeps no file open.
#pragma once

#include "host/source/KeptBudget.h"

#include <memory>
#include <string>

namespace zel {

class HostDirectory {
public:
    /// An empty root is this host. `keptFiles` of its kernel files may stay open; below a directory none does, because
    /// a plain file can be replaced.
    explicit HostDirectory(const std::string &root, int keptFiles = 0);
    HostDirectory(const HostDirectory &other)
        : m_root(other.m_root), m_error(other.m_error), m_own(other.m_own), m_kept(0) {}
    HostDirectory &operator=(const HostDirectory &) = delete;

    /// 0, or the errno that kept the root from being opened.
    int error() const { return m_error; }
    /// True for the host's own root, whose kernel files may stay open.
    bool own() const { return m_own; }
    int descriptor() const { return m_root->get(); }
    /// The places of the files that stay open; of one thread, as its sampler.
    KeptBudget &kept() const { return m_kept; }

    /// Opens `path`, which is relative to the root, such as "proc/stat". An invalid one leaves errno.
    ScopedDescriptor open(const char *path, int flags) const;
    /// Takes a file that was opened here into `kept` when it may stay open: a file of the host's own proc or sysfs,
    /// while there is a place. It is closed otherwise.
    void keep(ScopedDescriptor file, KeptDescriptor &kept) const;

private:
    std::shared_ptr<const ScopedDescriptor> m_root;
    int m_error = 0;
    bool m_own = false;
    mutable KeptBudget m_kept; // counts what is open: nothing of the directory changes with it
};

} // namespace zel

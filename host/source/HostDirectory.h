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
        : m_directory(other.m_directory), m_error(other.m_error), m_own(other.m_own), m_kept(0) {}
    HostDirectory &operator=(const HostDirectory &) = delete;

    /// 0, or the errno that kept the root from being opened.
    int error() const { return m_error; }
    /// True for the host's own root, whose kernel files may stay open.
    bool own() const { return m_own; }
    /// Of the directory; -1 on the host's own root, whose paths need none.
    int descriptor() const { return m_own ? -1 : m_directory->descriptor(); }
    /// The places of the files that stay open; of one thread, as its sampler.
    KeptBudget &kept() const { return m_kept; }

    /// Opens `path`, which is relative to the root, such as "proc/stat". An invalid one leaves errno: EBADF when the
    /// program has closed the descriptor of the directory.
    ScopedDescriptor open(const char *path, int flags) const;
    /// Takes a file that was opened here into `kept` when it may stay open: one of the host's own kernel, while there
    /// is a place. It is closed otherwise.
    void keep(ScopedDescriptor file, KeptDescriptor &kept) const;

private:
    std::shared_ptr<const HeldFile> m_directory; // none on the host's own root
    int m_error = 0;
    bool m_own = false;
    mutable KeptBudget m_kept; // counts what is open: nothing of the directory changes with it
};

/// A path as the system takes it on the host's own root: with the slash that the paths here leave out.
class OwnPath {
public:
    explicit OwnPath(const char *path);
    const char *text() const { return m_text; }

private:
    static constexpr std::size_t SIZE = 4096; // PATH_MAX: no longer one can be opened
    char m_text[SIZE];
};

} // namespace zel

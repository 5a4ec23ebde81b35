// The host and the home that a target reads: one directory in memory for the whole run, whose files every input sets.
#pragma once

#include "FuzzedInput.h"

#include <string>
#include <unordered_map>

namespace fuzz {

class RootOnTmpfs {
public:
    /// Makes the directory below $ZEL_FUZZ_ROOT (default: in memory), points g_strHostRoot at its host and changes into
    /// the working directory of its home.
    RootOnTmpfs();
    ~RootOnTmpfs();

    RootOnTmpfs(const RootOnTmpfs &) = delete;
    RootOnTmpfs &operator=(const RootOnTmpfs &) = delete;

    /// Shows the host as it is at one of a few moments: each has files of its own. An input begins at moment 0.
    void moment(int number) const;

    /// A file of the host, such as "proc/stat". A file that has this content already is not written again.
    void host(const std::string &path, const std::string &content) const;
    /// A file of the home, such as "aproc/shell/partitions.dat".
    void home(const std::string &path, const std::string &content) const;

    /// Removes everything below a directory of the home, and the directory.
    void removeHome(const std::string &path) const;

private:
    void write(const std::string &path, const std::string &content) const;

    std::string m_path;
    mutable std::unordered_map<std::string, std::string> m_contents; // of the files, by path
};

/// The one of this run.
const RootOnTmpfs &root();

} // namespace fuzz

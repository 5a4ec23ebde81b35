// Parts of a host that a benchmark makes for itself, with real kernel objects in namespaces of its own: nothing of them
// is left when the program ends, however it ends.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace bench {

/// A home for collectors that run scripts and write files: the working directory becomes <home>/bin of a directory in
/// memory, where no script is found. Removed at the end.
class ScratchHome {
public:
    ScratchHome();
    ~ScratchHome();
    ScratchHome(const ScratchHome &) = delete;
    ScratchHome &operator=(const ScratchHome &) = delete;

    const std::string &path() const { return m_path; }

private:
    std::string m_path;
    pid_t m_owner;
};

/// veth pairs in a network namespace of this process.
class OwnInterfaces {
public:
    OwnInterfaces();

    /// Brings the namespace to `count` interfaces beside the loopback; false when that cannot be done.
    bool bringTo(long count);
    static std::string name(long number);

private:
    bool m_own;
    long m_count = 0;
};

/// Bind mounts of a directory, in a mount namespace of this process.
class OwnMounts {
public:
    OwnMounts();
    ~OwnMounts();
    OwnMounts(const OwnMounts &) = delete;
    OwnMounts &operator=(const OwnMounts &) = delete;

    /// Adds `count` mounts; false when that cannot be done.
    bool add(long count);

private:
    std::string m_root;
    bool m_own = false;
    long m_count = 0;
    pid_t m_owner;
};

/// Runs the rest of the program as the first process of a pid namespace with a /proc of its own, in which only the
/// program's own processes are listed. Returns in that process; the outer one waits for it and exits with its status.
/// Where that is not allowed it returns at once, on the host's /proc.
void enterOwnProcesses();

/// Processes that sleep until this object, or this process, is gone.
class Sleepers {
public:
    ~Sleepers();

    /// Forks until there are `count`; false when the machine refuses.
    bool bringTo(long count);

private:
    std::vector<pid_t> m_pids;
};

/// A tree of files in memory, to be set as the host root. Removed at the end.
class GeneratedTree {
public:
    GeneratedTree();
    ~GeneratedTree();
    GeneratedTree(const GeneratedTree &) = delete;
    GeneratedTree &operator=(const GeneratedTree &) = delete;

    void write(const std::string &path, const std::string &text) const;
    void link(const std::string &path, const std::string &target) const;
    /// Makes it the host that collectors sample.
    void show() const;

private:
    std::string m_root;
    pid_t m_owner;
};

/// Makes "/" the host root again.
void showOwnHost();

} // namespace bench

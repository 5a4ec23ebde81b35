// The tree of cgroups from one sample to the next: what came, what went, and what is left out.
//
// Of the kernel's own tree a directory is listed again only when that is needed. The number of its links is that of its
// children and 2: when it has not changed and every known child is still there, the children are the same. (Its times
// do not change with them.) A child that is found to have gone has its parent listed again in the same sample.
#pragma once

#include "host/DirectoryWalk.h"
#include "host/FileIdentity.h"
#include "host/Rows.h"
#include "host/areas/CgroupFiles.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace zel {

/// The members of a cgroup that are not read in each sample.
inline constexpr Count Cgroup::*CGROUP_LIMIT_COUNTS[] = {
    &Cgroup::cpuWeight, &Cgroup::memoryMin, &Cgroup::memoryLow,   &Cgroup::memoryHigh,      &Cgroup::memoryMax,
    &Cgroup::swapMax,   &Cgroup::pidsMax,   &Cgroup::descendants, &Cgroup::dyingDescendants};
inline constexpr Number Cgroup::*CGROUP_LIMIT_NUMBERS[] = {&Cgroup::cpuLimit, &Cgroup::cpuPeriodSeconds};

struct CgroupNode {
    std::string path; // below the mount point: "/system.slice"
    std::uint64_t inode = 0;
    unsigned depth = 0;
    CgroupNode *parent = nullptr;
    std::vector<std::unique_ptr<CgroupNode>> children; // by their paths
    std::uint64_t leftOut = 0;                         // children that have no node
    bool isListed = false;                             // the children are those of the directory
    bool isSeen = false;                               // in the listing in progress
    unsigned long sample = 0;                          // the last one that it was part of
    CgroupFiles files;

    Reading<std::string> unitType, container; // by the path
    std::chrono::steady_clock::time_point limitsDue;
    std::array<Count, std::size(CGROUP_LIMIT_COUNTS)> limitCounts;
    std::array<Number, std::size(CGROUP_LIMIT_NUMBERS)> limitNumbers;
};

class CgroupTree {
public:
    /// Starts a sample: 0, or the errno for which there is no tree.
    int begin(const HostDirectory &root);
    /// From the root on, without a '/' before it: "sys/fs/cgroup".
    const std::string &mount() const { return m_mount; }
    /// Whether the kernel answers, and not a copy of its files.
    bool isLive() const { return m_isLive; }

    /// The next cgroup, parents before their children and upper levels first; null after the last one.
    CgroupNode *next(const HostDirectory &root);
    /// Opens its directory: 0, or an errno; ENOENT when it has gone.
    int open(const HostDirectory &root, CgroupNode &node);
    /// Goes on with its children, and ends with the directory.
    void descend(const HostDirectory &root, CgroupNode &node);
    /// Ends with a cgroup that has gone. Its parent is listed again.
    void lose(CgroupNode &node);

    /// False when the kernel says of an open cgroup that it has none.
    bool mayHaveChildren(const CgroupNode &node) const;

    /// The children of the cgroups so far that have no node.
    std::uint64_t leftOut() const { return m_leftOut; }
    /// The path from the root on.
    const char *pathOf(const CgroupNode &node);

private:
    struct Listed {
        std::string name;
        std::uint64_t inode = 0;
    };

    int find(const HostDirectory &root);
    void start(const struct stat &status);
    int list(CgroupNode &node);
    bool isCurrent(const CgroupNode &node) const;
    void takeName(CgroupNode &node, std::string_view name, std::uint64_t inode);
    void addNew(CgroupNode &node);
    void queueChildren(CgroupNode &node);
    bool listChangedAgain(const HostDirectory &root);

    std::string m_mount, m_path;
    FileIdentity m_identity; // of the mounted directory
    bool m_isLive = false;
    int m_error = 0;
    std::int64_t m_missingSince = LONG_AGO;
    std::unique_ptr<CgroupNode> m_root;
    std::size_t m_count = 0; // nodes
    unsigned long m_sample = 0;
    std::vector<CgroupNode *> m_order;   // of this sample
    std::size_t m_next = 0;              // place in m_order
    std::vector<CgroupNode *> m_changed; // whose children are not those that were listed
    bool m_isSecondPass = false;
    std::uint64_t m_leftOut = 0;
    Rows<Listed> m_new;
    DirectoryRoom<32768> m_room;
};

} // namespace zel

// Follows the tree of cgroups.
#include "host/areas/CgroupTree.h"

#include "host/areas/ContainerId.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>

namespace zel {

namespace {

// Of version 2 alone, and beside controllers of version 1.
constexpr const char *mounts[] = {"sys/fs/cgroup", "sys/fs/cgroup/unified"};
constexpr const char *sign = "cgroup.controllers"; // every directory of version 2 has it
constexpr nlink_t linksOfEmptyDirectory = 2;
constexpr std::size_t pathLimit = PATH_MAX - NAME_MAX; // so that the files below it can be opened

bool isOfKernel(int directory) {
    struct statfs filesystem {};
    return fstatfs(directory, &filesystem) == 0 && filesystem.f_type == CGROUP2_SUPER_MAGIC;
}

bool isDirectory(int parent, const char *name, unsigned char type) {
    if (type != DT_UNKNOWN)
        return type == DT_DIR;
    struct stat status {};
    return fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

std::string_view nameOf(const CgroupNode &node) {
    return std::string_view(node.path).substr(node.path.rfind('/') + 1);
}

std::size_t countOf(const CgroupNode &node) {
    std::size_t count = 1;
    for (const auto &child : node.children)
        count += countOf(*child);
    return count;
}

bool isBefore(const std::unique_ptr<CgroupNode> &node, std::string_view name) {
    return nameOf(*node) < name;
}

} // namespace

int CgroupTree::begin(const HostDirectory &root) {
    ++m_sample;
    m_order.clear();
    m_changed.clear();
    m_next = 0;
    m_leftOut = 0;
    m_isSecondPass = false;
    if (m_error != 0 && root.own() && coarseSeconds() - m_missingSince < CgroupFiles::SECONDS_BEFORE_NEXT_TRY)
        return m_error;
    m_error = find(root);
    m_missingSince = coarseSeconds();
    if (m_error == 0) {
        m_order.push_back(m_root.get());
        m_root->sample = m_sample;
    }
    return m_error;
}

// The mount may be another one than before.
int CgroupTree::find(const HostDirectory &root) {
    int error = ENOENT;
    for (const char *mount : mounts) {
        const ScopedDescriptor directory = root.open(mount, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        struct stat status {};
        if (!directory.valid()) {
            error = error == ENOENT ? errno : error;
            continue;
        }
        if (faccessat(directory.get(), sign, F_OK, AT_SYMLINK_NOFOLLOW) != 0 || fstat(directory.get(), &status) != 0)
            continue;
        if (m_root != nullptr && m_mount == mount && m_identity == identityOf(status))
            return 0;
        m_mount = mount;
        m_isLive = isOfKernel(directory.get());
        start(status);
        return 0;
    }
    return error;
}

void CgroupTree::start(const struct stat &status) {
    m_identity = identityOf(status);
    m_root = std::make_unique<CgroupNode>();
    m_root->path.push_back('/');
    m_root->inode = status.st_ino;
    m_count = 1;
}

const char *CgroupTree::pathOf(const CgroupNode &node) {
    m_path = m_mount;
    m_path += node.path;
    return m_path.c_str();
}

int CgroupTree::open(const HostDirectory &root, CgroupNode &node) {
    const int error = node.files.open(root, pathOf(node));
    if (error != 0)
        return error == ENOTDIR || error == ELOOP || error == ENODEV ? ENOENT : error;
    return m_isLive && node.files.status().st_ino != node.inode ? ENOENT : 0;
}

CgroupNode *CgroupTree::next(const HostDirectory &root) {
    if (m_next == m_order.size() && !listChangedAgain(root))
        return nullptr;
    return m_order[m_next++];
}

void CgroupTree::descend(const HostDirectory &root, CgroupNode &node) {
    if (!isCurrent(node))
        list(node);
    m_leftOut += node.leftOut;
    queueChildren(node);
    node.files.close(root);
}

void CgroupTree::lose(CgroupNode &node) {
    node.files.abandon();
    if (node.parent == nullptr)
        return;
    if (node.parent->isListed)
        m_changed.push_back(node.parent);
    node.parent->isListed = false;
}

// What was left out may find room.
bool CgroupTree::isCurrent(const CgroupNode &node) const {
    return m_isLive && node.isListed && node.leftOut == 0 &&
           node.files.status().st_nlink == linksOfEmptyDirectory + node.children.size();
}

bool CgroupTree::mayHaveChildren(const CgroupNode &node) const {
    return !m_isLive || node.files.status().st_nlink != linksOfEmptyDirectory;
}

void CgroupTree::queueChildren(CgroupNode &node) {
    for (const auto &child : node.children) {
        if (child->sample == m_sample)
            continue;
        child->sample = m_sample;
        m_order.push_back(child.get());
    }
}

// Once in a sample. The deepest come first: listing one may remove others below it.
bool CgroupTree::listChangedAgain(const HostDirectory &root) {
    if (m_isSecondPass)
        return false;
    m_isSecondPass = true;
    for (auto changed = m_changed.rbegin(); changed != m_changed.rend(); ++changed) {
        CgroupNode &node = **changed;
        if (open(root, node) != 0)
            continue;
        m_leftOut -= node.leftOut;
        list(node);
        m_leftOut += node.leftOut;
        queueChildren(node);
        node.files.close(root);
    }
    return m_next < m_order.size();
}

int CgroupTree::list(CgroupNode &node) {
    ScopedDescriptor directory(openat(node.files.directory(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.valid())
        return errno;
    node.isListed = false;
    node.leftOut = 0;
    for (const auto &child : node.children)
        child->isSeen = false;
    m_new.clear();
    DirectoryWalk walk(std::move(directory), m_room);
    while (const char *name = walk.next()) {
        if (isDirectory(walk.descriptor(), name, walk.type()))
            takeName(node, name, walk.inode());
    }
    if (walk.error() != 0)
        return walk.error();
    std::erase_if(node.children, [this](const auto &child) {
        m_count -= child->isSeen ? 0 : countOf(*child);
        return !child->isSeen;
    });
    addNew(node);
    node.isListed = true;
    return 0;
}

void CgroupTree::takeName(CgroupNode &node, std::string_view name, std::uint64_t inode) {
    if (name == "." || name == "..")
        return;
    const auto known = std::lower_bound(node.children.begin(), node.children.end(), name, isBefore);
    if (known != node.children.end() && nameOf(**known) == name && (*known)->inode == inode) {
        (*known)->isSeen = true;
        return;
    }
    if (m_new.size() == CGROUP_LIMIT || node.depth == CGROUP_DEPTH_LIMIT ||
        m_mount.size() + node.path.size() + name.size() >= pathLimit) {
        ++node.leftOut;
        return;
    }
    Listed &listed = m_new.append();
    listed.name = name;
    listed.inode = inode;
}

void CgroupTree::addNew(CgroupNode &node) {
    for (Listed &listed : m_new) {
        if (m_count >= CGROUP_LIMIT) {
            ++node.leftOut;
            continue;
        }
        auto child = std::make_unique<CgroupNode>();
        child->path = node.path;
        if (node.parent != nullptr)
            child->path += '/';
        child->path += listed.name;
        child->inode = listed.inode;
        child->depth = node.depth + 1;
        child->parent = &node;
        takeUnitType(child->path, child->unitType);
        takeContainer(child->path, child->container);
        node.children.push_back(std::move(child));
        ++m_count;
    }
    if (!m_new.empty())
        std::sort(node.children.begin(), node.children.end(),
                  [](const auto &one, const auto &other) { return isBefore(one, nameOf(*other)); });
}

} // namespace zel

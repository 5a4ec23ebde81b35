// The types that are known to be local, and the mounts that are not.
#include "filesystem/MM_FS_Doubt.h"

#include <algorithm>
#include <iterator>

namespace {

// The common ones first. Not among them: what another program or machine answers for (FUSE, also as fuseblk), what
// another filesystem answers for (overlay, ecryptfs), what cluster nodes must agree on (gfs2, ocfs2), and autofs, which
// mounts what it is asked for.
constexpr std::string_view localTypes[] = {
    "ext4",     "xfs",     "tmpfs",    "ext3",        "ext2",       "btrfs",      "vfat",     "devtmpfs", "proc",
    "sysfs",    "devpts",  "cgroup",   "cgroup2",     "mqueue",     "hugetlbfs",  "debugfs",  "tracefs",  "configfs",
    "bpf",      "pstore",  "efivarfs", "binfmt_misc", "securityfs", "selinuxfs",  "smackfs",  "ramfs",    "rootfs",
    "nsfs",     "fusectl", "cpuset",   "usbdevfs",    "usbfs",      "rpc_pipefs", "devfs",    "iso9660",  "udf",
    "squashfs", "erofs",   "cramfs",   "romfs",       "zfs",        "f2fs",       "bcachefs", "jfs",      "reiserfs",
    "reiser4",  "nilfs2",  "ubifs",    "jffs2",       "exfat",      "msdos",      "ntfs",     "ntfs3",    "hfs",
    "hfsplus",  "hpfs",    "minix",    "sysv",        "ufs",        "ext4dev",
};

} // namespace

namespace zel {

bool knownLocal(std::string_view type) {
    return std::find(std::begin(localTypes), std::end(localTypes), type) != std::end(localTypes);
}

bool DoubtfulMounts::isOtherLocal(const char *type) {
    const bool local = knownLocal(type);
    if (local)
        m_lastLocalType = type;
    return local;
}

void DoubtfulMounts::noteType(const MountEntry &entry) {
    const bool doubtful = !isLocal(entry.type);
    const auto known = m_mounts.find(std::string_view(entry.mountPoint));
    if (known == m_mounts.end()) {
        if (doubtful)
            m_mounts.emplace(entry.mountPoint, Doubt{.byType = true});
        return;
    }
    // One mount point may carry several mounts: the last one counts, but a doubtful one is not forgotten in its pass.
    known->second.byType = doubtful || (known->second.present && known->second.byType);
    known->second.present = true;
}

bool DoubtfulMounts::isOnTheWay(std::string_view mountPoint) const {
    if (m_mounts.contains("/") || m_mounts.contains(mountPoint))
        return true;
    for (std::size_t end = mountPoint.find('/', 1); end != std::string_view::npos;
         end = mountPoint.find('/', end + 1)) {
        if (m_mounts.contains(mountPoint.substr(0, end)))
            return true;
    }
    return false;
}

void DoubtfulMounts::noteSpeed(const char *mountPoint, bool slow) {
    if (slow)
        m_mounts[mountPoint].slow = true;
    else if (const auto known = m_mounts.find(std::string_view(mountPoint)); known != m_mounts.end())
        known->second.slow = false;
}

void DoubtfulMounts::endPass() {
    std::erase_if(m_mounts, [](const auto &entry) {
        const Doubt &doubt = entry.second;
        return !doubt.present || (!doubt.byType && !doubt.slow);
    });
    for (auto &entry : m_mounts)
        entry.second.present = false;
}

} // namespace zel

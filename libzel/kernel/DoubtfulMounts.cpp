// The types that are known to be local, and the mounts that are not.
#include "kernel/DoubtfulMounts.h"

#include <algorithm>
#include <ctime>
#include <iterator>
#include <utility>

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

constexpr long long nanosecondsPerSecond = 1000000000;
constexpr long long slowNanoseconds = zel::SLOW_MOUNT_MILLISECONDS * 1000000LL;

} // namespace

namespace zel {

// A clock that costs next to nothing; it moves in steps of a few milliseconds.
bool SlowWatch::wasSlow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    const long long reading = static_cast<long long>(now.tv_sec) * nanosecondsPerSecond + now.tv_nsec;
    return reading - std::exchange(m_reading, reading) > slowNanoseconds;
}

bool knownLocal(std::string_view type) {
    return std::find(std::begin(localTypes), std::end(localTypes), type) != std::end(localTypes);
}

bool DoubtfulMounts::isOtherLocal(std::string_view type) {
    const bool local = knownLocal(type);
    if (local)
        m_lastLocalType = type;
    return local;
}

void DoubtfulMounts::noteType(std::string_view mountPoint, std::string_view type) {
    const bool doubtful = !isLocal(type);
    const auto known = m_mounts.find(mountPoint);
    if (known == m_mounts.end()) {
        if (doubtful)
            m_mounts.emplace(mountPoint, Doubt{.byType = true});
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

void DoubtfulMounts::noteSpeed(std::string_view mountPoint, bool slow) {
    if (slow)
        m_mounts[std::string(mountPoint)].slow = true;
    else if (const auto known = m_mounts.find(mountPoint); known != m_mounts.end())
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

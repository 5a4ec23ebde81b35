// Which mounts may not answer, and so are measured on a thread of their own. Internal to the filesystem collector.
#pragma once

#include "filesystem/MM_FS_Mounts.h"

#include <cstring>
#include <map>
#include <string>
#include <string_view>

namespace zel {

/// True for the types whose statfs64 asks this kernel alone: filesystems of local disks and of memory, and those of the
/// kernel itself.
bool knownLocal(std::string_view type);

/// The doubtful mounts of the table, kept from pass to pass.
class DoubtfulMounts {
public:
    /// Takes note of an entry, reported or not: the way to what is mounted below it leads through it.
    void note(const MountEntry &entry) {
        if (!m_mounts.empty() || !isLocal(entry.type))
            noteType(entry);
    }
    /// True for the doubtful mounts of this pass and the one before, and for everything mounted below one.
    bool mayHang(const char *mountPoint) const { return !m_mounts.empty() && isOnTheWay(mountPoint); }
    /// How the mount answered: a slow one is doubtful until it answers quickly.
    void answered(const char *mountPoint, bool slow) {
        if (slow || !m_mounts.empty())
            noteSpeed(mountPoint, slow);
    }

    /// Forgets the mounts that are no longer in the table.
    void endPass();

private:
    struct Doubt {
        bool byType = false;
        bool slow = false;
        bool present = true; // in the table of this pass
    };

    // Most entries have the type of the one before.
    bool isLocal(const char *type) { return std::strcmp(m_lastLocalType.c_str(), type) == 0 || isOtherLocal(type); }
    bool isOtherLocal(const char *type);
    void noteType(const MountEntry &entry);
    bool isOnTheWay(std::string_view mountPoint) const;
    void noteSpeed(const char *mountPoint, bool slow);

    std::map<std::string, Doubt, std::less<>> m_mounts; // by mount point
    std::string m_lastLocalType = "ext4";
};

} // namespace zel

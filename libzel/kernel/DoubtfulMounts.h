// Which mounts may not answer, and so are asked for their sizes on a thread of their own.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace zel {

/// True for the types whose statfs64 asks this kernel alone: filesystems of local disks and of memory, and those of the
/// kernel itself.
bool knownLocal(std::string_view type);

/// A local mount that takes longer is asked on a thread of its own, until it answers quickly.
inline constexpr int SLOW_MOUNT_MILLISECONDS = 200;

/// Says whether something took longer than SLOW_MOUNT_MILLISECONDS.
class SlowWatch {
public:
    SlowWatch() { wasSlow(); }
    /// True when the call before was longer ago.
    bool wasSlow();

private:
    long long m_reading = 0;
};

/// The doubtful mounts of the table, kept from pass to pass.
class DoubtfulMounts {
public:
    /// Takes note of an entry (with members mountPoint and type), reported or not: the way to what is mounted below it
    /// leads through it.
    template<class Entry> void note(const Entry &entry) {
        if (!m_mounts.empty() || !isLocal(entry.type))
            noteType(entry.mountPoint, entry.type);
    }
    /// True for the doubtful mounts of this pass and the one before, and for everything mounted below one.
    bool mayHang(std::string_view mountPoint) const { return !m_mounts.empty() && isOnTheWay(mountPoint); }
    /// How the mount answered: a slow one is doubtful until it answers quickly.
    void answered(std::string_view mountPoint, bool slow) {
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
    bool isLocal(std::string_view type) { return m_lastLocalType == type || isOtherLocal(type); }
    bool isOtherLocal(std::string_view type);
    void noteType(std::string_view mountPoint, std::string_view type);
    bool isOnTheWay(std::string_view mountPoint) const;
    void noteSpeed(std::string_view mountPoint, bool slow);

    std::map<std::string, Doubt, std::less<>> m_mounts; // by mount point
    std::string m_lastLocalType = "ext4";
};

} // namespace zel

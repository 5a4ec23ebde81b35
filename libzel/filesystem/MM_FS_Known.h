// The mount table of one collector over its passes: it is read when the kernel has reported a change of it, and parsed
// when its text is another. Internal to the filesystem collector.
//
// The kernel reports what is mounted, moved, remounted and unmounted to those who have the table open. It does not
// report that a directory above a mount point was renamed, or that a filesystem calls its device by another name. So a
// mount that answers otherwise than before has the table read at once, and every FS_TRUSTED_PASSES-th pass reads it
// whatever was reported.
#pragma once

#include "filesystem/MM_FS_Mounts.h"
#include "kernel/WholeFile.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <sys/statfs.h>
#include <sys/types.h>
#include <vector>

namespace zel {

/// Passes in a row that believe the kernel's report of no change.
inline constexpr int FS_TRUSTED_PASSES = 12;

/// An entry, with what follows from it alone, and how it answered last.
struct KnownMount {
    MountEntry entry{};
    bool nfs = false;
    bool namesReported = false;

    bool asked = false;
    int error = 0;
    decltype(statfs64::f_type) type = 0;
    std::array<int, 2> filesystem{}; // its f_fsid
};

/// Which mounts the kernel shows to a process: those of its mount namespace, below its root directory. Both are held
/// by an open mount table, so that their numbers are given to nothing else as long as it is open.
struct MountView {
    static constexpr std::size_t NAMESPACE_TEXT = 32;

    std::array<char, NAMESPACE_TEXT> mountNamespace{};
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint64_t inode = 0;
    std::uint64_t mount = 0;

    bool operator==(const MountView &) const = default;
};

/// The view of this process now; nothing where the kernel (before 5.8) or the rights do not tell.
std::optional<MountView> currentMountView();

class KnownMounts {
public:
    enum class Look { Failed, Same, Changed };

    /// Brings the entries up to date. Throws std::bad_alloc, and looks again next time.
    Look look();
    /// Reads the table, whatever the kernel has reported.
    Look read();
    /// The error number of a look that failed.
    int error() const { return m_error; }

    /// The entries, in the order of the table, until the next look.
    std::span<KnownMount> entries() { return m_entries; }

    /// Takes note of how a mount answered. True when it answers otherwise than before although the table was not read
    /// in this pass: then it may be another mount.
    bool contradicts(KnownMount &mount, int error, const struct statfs64 &status) const;

private:
    bool isQuiet();
    bool readFile();
    void parse();

    WholeFile m_file;
    std::optional<MountView> m_view; // in which the file that stays open was opened
    int m_trusted = 0;               // passes since the last read
    int m_error = 0;
    std::string m_known;  // the text of the entries
    std::string m_parsed; // the same, cut into the names of the entries
    std::vector<KnownMount> m_entries;
};

} // namespace zel

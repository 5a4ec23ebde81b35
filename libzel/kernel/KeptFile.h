// A kernel file that stays open between samples, which saves half of what reading it costs.
//
// Only files of the host's own proc file system stay open: not those below a host root, nor what is mounted in the
// place of one. All of them close on exec, and the child of a fork opens its own. How many may be open in the whole
// process is g_nKeptFileLimit.
//
// A kept file gives what a fresh one gives. A read that fails is no failure yet: the caller opens the file anew, once.
// Programs that become daemons close every descriptor that they know nothing of: a number that means another file
// by now is neither read nor closed.
#pragma once

#include "host/FileIdentity.h"
#include "host/ScopedHandle.h"
#include "kernel/KeptPlaces.h"

namespace zel {

/// Whose numbers are in a file: those of the machine, or those of the namespace in which its path was looked up, such
/// as /proc/net/dev. A file whose contents follow what no look at its path shows, such as the mounts of a process,
/// never stays open.
enum class KeptScope { Machine, Namespace, Never };

class KeptFile {
public:
    KeptFile() = default;
    ~KeptFile() { drop(); }

    KeptFile(const KeptFile &) = delete;
    KeptFile &operator=(const KeptFile &) = delete;

    /// The file of `path`, to be read with pread; -1 when it is not open or the path means another file by now. A path
    /// is a literal.
    int descriptor(const char *path);
    /// Takes a file that was opened at `path`, where it may stay open; it is closed otherwise.
    void keep(ScopedDescriptor file, const char *path, KeptScope scope);
    void drop();

private:
    bool isOurs() const;
    bool isCurrent() const;

    const char *m_path = nullptr;
    KeptScope m_scope = KeptScope::Machine;
    ScopedDescriptor m_file{-1};
    unsigned m_forks = 0; // of the process, when the file was opened
    FileIdentity m_identity;
};

/// Takes one of the places that g_nKeptFileLimit gives to files that stay open; false when there is none left.
inline bool takeKeptPlace() {
    return placesOfSettings().takeWithin(placesOfSettings().limit());
}
inline void returnKeptPlace() {
    placesOfSettings().giveBack();
}
/// Places that are taken, in the whole process.
inline int keptPlacesTaken() {
    return placesOfSettings().taken();
}

} // namespace zel

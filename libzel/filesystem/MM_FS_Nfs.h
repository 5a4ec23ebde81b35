// What one pass over the mount table does about NFS: the list file, one probe per server, and which mounts may hang.
// Internal to the filesystem collector.
#pragma once

#include "host/ScopedHandle.h"

#include <map>
#include <string>
#include <vector>

namespace zel {

struct MountEntry;

/// True when the type contains "nfs".
bool isNfs(const char *type);

class NfsWalk {
public:
    /// Empties the list file.
    NfsWalk();

    bool listOpen() const { return m_list.valid(); }
    /// Remembers an NFS mount, reported or not: what is mounted below it may hang.
    void meet(const MountEntry &entry);
    /// Appends an NFS mount to the list file, when that is open: false when it cannot be written.
    bool list(const MountEntry &entry);

    /// By g_nNfsStatusCheckFlag: asks the server of the remote source, once per pass. Without the flag: true.
    bool serverAnswers(const char *source);

    /// True for the NFS mounts met so far and for everything mounted below one: the way to it leads through the server.
    bool mayHang(const char *mountPoint) const;

private:
    ScopedDescriptor m_list;
    std::map<std::string, bool, std::less<>> m_answers; // by host
    std::vector<std::string> m_mountPoints;             // of NFS
};

} // namespace zel

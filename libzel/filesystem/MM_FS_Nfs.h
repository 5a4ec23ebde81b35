// What one pass over the mount table does about NFS: the list file, and one probe per server. Internal to the
// filesystem collector.
#pragma once

#include "host/ScopedHandle.h"
#include "threads/BoundedCall.h"

#include <map>
#include <optional>
#include <string>

namespace zel {

struct MountEntry;

/// True when the type contains "nfs".
bool isNfs(const char *type);

/// The file that names the NFS mounts of the last pass.
class NfsList {
public:
    /// Empties the file.
    NfsList();

    bool isOpen() const { return m_file.valid(); }
    /// Appends a mount, when the file is open: false when it cannot be written.
    bool add(const MountEntry &entry);

private:
    ScopedDescriptor m_file;
};

/// A server that is being asked whether it answers.
class NfsServer {
public:
    /// Starts to ask the server of the remote source, as g_nNfsStatusCheckFlag says.
    explicit NfsServer(const std::string &source);

    /// Waits at most `time`. True when answers() would return at once.
    bool settledWithin(std::chrono::milliseconds time) const;
    /// Waits for the answer.
    bool answers();

private:
    struct Reached {};

    BoundedCall<Reached> m_probe;
    std::optional<bool> m_answers;
};

/// The servers of a pass. One that has several mounts is asked once.
class NfsServers {
public:
    /// The server of the remote source, or null when servers are not asked.
    NfsServer *ask(const char *source);

private:
    std::map<std::string, NfsServer, std::less<>> m_servers; // by host
};

} // namespace zel

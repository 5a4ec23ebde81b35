// A process that waits for a FUSE server under the lock of its own memory: whoever reads its command line, I/O or
// memory map waits with it.
#pragma once

#include <string>
#include <sys/types.h>

class MemoryLockHolder {
public:
    /// Starts it; it writes to a shared map of `file`, which a server of support/fuse answers for.
    explicit MemoryLockHolder(const std::string &file);
    /// Ends it, which takes an answer of the server.
    ~MemoryLockHolder();
    MemoryLockHolder(const MemoryLockHolder &) = delete;
    MemoryLockHolder &operator=(const MemoryLockHolder &) = delete;

    pid_t pid() const { return m_pid; }
    /// With the server stopped: the process gives the map back and waits for what it wrote to be taken. False when it
    /// does not come to wait. It sleeps once the server has answered.
    bool hold() const;

private:
    pid_t m_pid = -1;
    int m_word = -1; // for the process to go on
};

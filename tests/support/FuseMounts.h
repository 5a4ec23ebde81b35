// Mounts that stop answering when the test says so: the server of support/fuse in the mount namespace of the test (see
// PrivateMounts.h).
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

class FuseMounts {
public:
    /// Mounts at the directories, which are made when they are missing. A place that is a file becomes a file that
    /// holds "1000".
    explicit FuseMounts(const std::vector<std::string> &directories);
    /// Lets the server go on and unmounts.
    ~FuseMounts();
    FuseMounts(const FuseMounts &) = delete;
    FuseMounts &operator=(const FuseMounts &) = delete;

    /// False where this machine or user may not mount; the server has said why.
    bool work() const { return m_works; }

    /// From now on statfs64 on the mounts hangs, and so does reading.
    void stop() const;
    /// What hangs is answered.
    void resume() const;
    /// The server dies: what hangs fails, and so does every call after it.
    void kill();

private:
    void end(int signal);

    pid_t m_server = -1;
    bool m_works = false;
};

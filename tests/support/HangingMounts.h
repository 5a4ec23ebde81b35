// Mount points of a FilesystemHost whose statfs64 does not return until the test lets it.
#pragma once

#include "FilesystemHost.h"
#include "SystemHooks.h"
#include "threads/BoundedCall.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

class HangingMounts {
public:
    HangingMounts(const FilesystemHost &host, const std::vector<std::string> &mountPoints)
        : m_others(systemHooks().statfs64) {
        const std::string root = host.fixture().path().string();
        systemHooks().statfs64 = [others = m_others, root, mountPoints, gate = m_gate,
                                  asked = m_asked](const char *path, struct statfs64 *status) {
            for (const std::string &mountPoint : mountPoints) {
                if (path == root + mountPoint) {
                    ++*asked;
                    errno = gate.get();
                    return -1;
                }
            }
            return others(path, status);
        };
    }
    ~HangingMounts() { end(EIO); }
    HangingMounts(const HangingMounts &) = delete;
    HangingMounts &operator=(const HangingMounts &) = delete;

    /// What hangs fails with `error`; the mounts are like all others afterwards.
    void end(int error) {
        if (m_ended)
            return;
        m_ended = true;
        m_release.set_value(error);
        while (zel::boundedCallsRunning() != 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        systemHooks().statfs64 = m_others;
    }
    /// How often the mounts were asked.
    int asked() const { return *m_asked; }

private:
    std::function<int(const char *, struct statfs64 *)> m_others;
    std::promise<int> m_release;
    std::shared_future<int> m_gate = m_release.get_future().share();
    std::shared_ptr<std::atomic<int>> m_asked = std::make_shared<std::atomic<int>>(0);
    bool m_ended = false;
};

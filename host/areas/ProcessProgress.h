// How far a reading of processes has come, and which processes it passes over: what the sampler and the thread of the
// reading tell each other.
#pragma once

#include "host/Process.h"
#include "host/areas/AreaReader.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <vector>

namespace zel {

/// A process that has held a reading up.
struct SilentProcess {
    std::uint64_t pid = 0;
    double startSeconds = 0; // after boot
    std::chrono::steady_clock::time_point since;

    double seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count(); }
};

class ProcessProgress {
public:
    /// Where a reading stands. The start time is not known before stat was read.
    struct Place {
        std::uint64_t pid = 0; // 0: no process is being read
        double startSeconds = START_NOT_KNOWN;
    };
    static constexpr double START_NOT_KNOWN = -1;

    // For the sampler, while no reading runs:
    void begin(const std::vector<SilentProcess> &silent) {
        startProcess(0);
        m_silent = silent;
    }
    // For the sampler, at any time:
    Place place() const { return {m_pid, m_startSeconds}; }
    /// The reading that runs is of no use any more: it ends before its next process.
    void giveUp() { m_isGivenUp = true; }

    // For the reading:
    bool isGivenUp() const { return m_isGivenUp; }
    void startProcess(std::uint64_t pid) {
        m_startSeconds = START_NOT_KNOWN;
        m_pid = pid;
    }
    void identify(const Number &startSeconds) { m_startSeconds = startSeconds.valueOr(START_NOT_KNOWN); }
    /// Null for a process that is to be read.
    const SilentProcess *find(const Process &process) const {
        for (const SilentProcess &each : m_silent) {
            if (each.pid == process.pid && each.startSeconds == process.startSeconds.valueOr(START_NOT_KNOWN))
                return &each;
        }
        return nullptr;
    }
    /// Null for a process whose stat is to be read: the others hang there already, as while a program is started.
    const SilentProcess *findWithoutStat(std::uint64_t pid) const {
        for (const SilentProcess &each : m_silent) {
            if (each.pid == pid && each.startSeconds == START_NOT_KNOWN)
                return &each;
        }
        return nullptr;
    }

private:
    std::atomic<std::uint64_t> m_pid{0};
    std::atomic<double> m_startSeconds{START_NOT_KNOWN};
    std::atomic<bool> m_isGivenUp{false};
    std::vector<SilentProcess> m_silent;
};

/// A reader of processes that tells its progress.
std::unique_ptr<AreaReader> processReader(std::shared_ptr<ProcessProgress> progress);

} // namespace zel

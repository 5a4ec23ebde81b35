// What is remembered of processes from one sample to the next, so that not everything has to be read in each.
#pragma once

#include "host/Process.h"
#include "host/Rows.h"

#include <array>
#include <string>
#include <utility>

namespace zel {

/// Of the samples one in so many reads everything of a process anew; which one depends on its pid.
inline constexpr std::uint64_t SAMPLES_PER_READING = 8;

/// What statm gives.
inline constexpr Count Process::*MEMORY_FIELDS[] = {&Process::virtualBytes, &Process::residentBytes,
                                                    &Process::sharedBytes, &Process::textBytes, &Process::dataBytes};

struct KnownProcess {
    std::uint64_t pid = 0;
    Number startSeconds;
    std::string name;
    bool isNew = true;           // not of the sample before, or it runs another program
    std::uint64_t statTrace = 0; // of the stat that it had: another one when it ran or its memory changed
    std::uint64_t trace = 0;     // of stat and io
    Count userId;
    std::array<Count, std::size(MEMORY_FIELDS)> memory;
    Reading<std::string> commandLine;
    Count descriptors;
    Reading<std::string> cgroup, container;
};

class KnownProcesses {
public:
    void begin() {
        std::swap(m_before, m_now);
        m_now.clear();
        m_place = 0;
    }

    /// The next process of a sample, in the order of the pids.
    KnownProcess &next(const Process &process) {
        KnownProcess &known = m_now.append();
        while (m_place < m_before.size() && m_before[m_place].pid < process.pid)
            ++m_place;
        const bool isListed = m_place < m_before.size() && m_before[m_place].pid == process.pid;
        known.isNew = !isListed || !isSame(m_before[m_place], process);
        if (!known.isNew) {
            std::swap(known, m_before[m_place]);
            known.isNew = false;
            return known;
        }
        known.pid = process.pid;
        known.startSeconds = process.startSeconds;
        known.name = process.name;
        return known;
    }

private:
    static bool isSame(const KnownProcess &known, const Process &process) {
        return known.startSeconds && process.startSeconds && *known.startSeconds == *process.startSeconds &&
               known.name == process.name;
    }

    Rows<KnownProcess> m_before, m_now;
    std::size_t m_place = 0; // in m_before, of the process that comes next
};

} // namespace zel

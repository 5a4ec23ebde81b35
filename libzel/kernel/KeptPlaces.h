// How many files may stay open between samples: places that all who keep files share. Thread-safe.
#pragma once

#include <atomic>

namespace zel {

class KeptPlaces {
public:
    /// `setting` is read whenever places are asked for: -1 a quarter of the soft limit of descriptors (RLIMIT_NOFILE),
    /// 0 none, otherwise the number. It outlives this object.
    explicit constexpr KeptPlaces(const int &setting) : m_setting(setting) {}

    KeptPlaces(const KeptPlaces &) = delete;
    KeptPlaces &operator=(const KeptPlaces &) = delete;

    /// All places, as the setting is now.
    int limit() const;
    int taken() const { return m_taken.load(std::memory_order_relaxed); }
    /// Takes a place unless `most` are taken already.
    bool takeWithin(int most);
    void giveBack() { m_taken.fetch_sub(1, std::memory_order_relaxed); }

private:
    const int &m_setting;
    std::atomic<int> m_taken{0};
};

/// The places of g_nKeptFileLimit, those of the whole process.
KeptPlaces &placesOfSettings();

/// Whether an open file or directory is of a proc file system, where the kernel writes what is read.
bool isOfProc(int descriptor);

/// How often the process that runs now has been forked off: the child of a fork opens files of its own.
unsigned forksSoFar();

} // namespace zel

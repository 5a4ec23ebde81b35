// How many kernel files a sampler keeps open between samples: one budget for all of its areas, so that a host with many
// devices or processes does not use the descriptors up that the program needs for itself.
#pragma once

#include "kernel/HeldFile.h"

#include <utility>

namespace zel {

class KeptBudget {
public:
    /// The meaning of Options::keptFiles: a number of files, or KEPT_FILES_DEFAULT for a quarter of the soft limit of
    /// this process.
    explicit KeptBudget(int keptFiles);

    /// Takes a place; false when there is none left.
    bool take();
    void giveBack() { --m_taken; }

    /// Another number of files; what is open beyond it stays open.
    void limitTo(int files) { m_limit = files; }

    bool full() const { return m_taken >= m_limit; }
    int limit() const { return m_limit; }
    int taken() const { return m_taken; }

private:
    int m_limit;
    int m_taken = 0;
};

/// A descriptor that has a place in the budget for as long as it is open. The budget outlives it. The child of a fork
/// opens its own.
class KeptDescriptor {
public:
    KeptDescriptor() = default;
    ~KeptDescriptor() { drop(); }
    KeptDescriptor(KeptDescriptor &&other) noexcept
        : m_file(std::move(other.m_file)), m_forks(other.m_forks), m_budget(std::exchange(other.m_budget, nullptr)) {}
    KeptDescriptor &operator=(KeptDescriptor &&other) noexcept {
        std::swap(m_file, other.m_file);
        std::swap(m_forks, other.m_forks);
        std::swap(m_budget, other.m_budget);
        return *this;
    }
    KeptDescriptor(const KeptDescriptor &) = delete;
    KeptDescriptor &operator=(const KeptDescriptor &) = delete;

    /// Takes the file in the place of the one it has; false, and the file is closed, when the budget has no place left.
    bool keep(ScopedDescriptor file, KeptBudget &budget);
    void drop();

    bool valid() const { return m_file.holds(); }
    /// To be read with pread; -1 when there is none, or none that can be trusted any more.
    int descriptor() const;
    /// Whether `path` leads to this file.
    bool isAt(const char *path) const { return m_file.isAt(path); }

private:
    HeldFile m_file;
    unsigned m_forks = 0;           // of the process, when it was taken
    KeptBudget *m_budget = nullptr; // null when it has no file
};

} // namespace zel

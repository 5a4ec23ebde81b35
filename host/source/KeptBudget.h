// How many kernel files a sampler keeps open between samples: one budget for all of its areas, so that a host with many
// devices or processes does not use the descriptors up that the program needs for itself.
#pragma once

#include "host/ScopedHandle.h"

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

    bool full() const { return m_taken >= m_limit; }
    int limit() const { return m_limit; }
    int taken() const { return m_taken; }

private:
    int m_limit;
    int m_taken = 0;
};

/// A descriptor that has a place in the budget for as long as it is open. The budget outlives it.
class KeptDescriptor {
public:
    KeptDescriptor() = default;
    ~KeptDescriptor() { drop(); }
    KeptDescriptor(KeptDescriptor &&other) noexcept
        : m_file(std::move(other.m_file)), m_budget(std::exchange(other.m_budget, nullptr)) {}
    KeptDescriptor &operator=(KeptDescriptor &&other) noexcept {
        std::swap(m_file, other.m_file);
        std::swap(m_budget, other.m_budget);
        return *this;
    }
    KeptDescriptor(const KeptDescriptor &) = delete;
    KeptDescriptor &operator=(const KeptDescriptor &) = delete;

    /// Takes the file in the place of the one it has; false, and the file is closed, when the budget has no place left.
    bool keep(ScopedDescriptor file, KeptBudget &budget);
    void drop();

    bool valid() const { return m_file.valid(); }
    int get() const { return m_file.get(); }

private:
    ScopedDescriptor m_file{-1};
    KeptBudget *m_budget = nullptr; // null when it has no file
};

} // namespace zel

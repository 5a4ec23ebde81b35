// Counts the kernel files that stay open.
#include "host/source/KeptBudget.h"

#include "host/Sampler.h"
#include "kernel/KeptPlaces.h"

#include <algorithm>
#include <sys/resource.h>

namespace zel {

namespace {

constexpr rlim_t shareOfDescriptors = 4; // a quarter
constexpr rlim_t mostDescriptors = 1 << 20;

int quarterOfSoftLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 0;
    return static_cast<int>(std::min(limit.rlim_cur, mostDescriptors) / shareOfDescriptors);
}

} // namespace

KeptBudget::KeptBudget(int keptFiles)
    : m_limit(keptFiles == KEPT_FILES_DEFAULT ? quarterOfSoftLimit() : std::max(0, keptFiles)) {}

bool KeptBudget::take() {
    if (full())
        return false;
    ++m_taken;
    return true;
}

bool KeptDescriptor::keep(ScopedDescriptor file, KeptBudget &budget) {
    drop();
    HeldFile held(std::move(file));
    if (!held.holds() || !budget.take())
        return false;
    m_file = std::move(held);
    m_forks = forksSoFar();
    m_budget = &budget;
    return true;
}

int KeptDescriptor::descriptor() const {
    return m_budget != nullptr && m_forks == forksSoFar() ? m_file.descriptor() : -1;
}

void KeptDescriptor::drop() {
    if (m_budget == nullptr)
        return;
    m_file.drop();
    m_budget->giveBack();
    m_budget = nullptr;
}

} // namespace zel

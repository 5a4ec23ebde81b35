// Ranks processes by what they use.
#include "export/ProcessChoice.h"

#include <algorithm>

namespace zel {

namespace {

template<class... Readings> double sumOf(const Readings &...readings) {
    return ((readings ? static_cast<double>(*readings) : 0) + ...);
}

} // namespace

template<class AmountOf> void ProcessChoice::addMost(std::size_t processes, std::size_t most, AmountOf &&amountOf) {
    m_uses.clear();
    for (std::size_t index = 0; index < processes; ++index) {
        const double amount = amountOf(index);
        if (amount > 0)
            m_uses.push_back({amount, static_cast<std::uint32_t>(index)});
    }
    const std::size_t count = std::min(most, m_uses.size());
    // Of those that use the same the older ones: the choice stays as it is while nothing changes.
    std::partial_sort(m_uses.begin(), m_uses.begin() + static_cast<std::ptrdiff_t>(count), m_uses.end(),
                      [](const Use &left, const Use &right) {
                          return left.amount != right.amount ? left.amount > right.amount : left.index < right.index;
                      });
    for (std::size_t place = 0; place < count; ++place)
        m_chosen.push_back(m_uses[place].index);
}

std::span<const std::uint32_t> ProcessChoice::choose(const Sample &sample, const Rates *rates, std::size_t most) {
    const Rows<Process> &processes = sample.processes;
    m_chosen.clear();
    addMost(processes.size(), most, [&](std::size_t index) { return sumOf(processes[index].residentBytes); });
    if (rates == nullptr) {
        addMost(processes.size(), most,
                [&](std::size_t index) { return sumOf(processes[index].userSeconds, processes[index].systemSeconds); });
        addMost(processes.size(), most,
                [&](std::size_t index) { return sumOf(processes[index].readBytes, processes[index].writtenBytes); });
    } else {
        const Rows<ProcessRates> &growth = rates->processes;
        const std::size_t rated = std::min(processes.size(), growth.size());
        addMost(rated, most, [&](std::size_t index) { return sumOf(growth[index].cpu); });
        addMost(rated, most,
                [&](std::size_t index) { return sumOf(growth[index].readBytes, growth[index].writtenBytes); });
    }
    std::sort(m_chosen.begin(), m_chosen.end());
    m_chosen.erase(std::unique(m_chosen.begin(), m_chosen.end()), m_chosen.end());
    return m_chosen;
}

} // namespace zel

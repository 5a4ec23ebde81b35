// Ranks processes by what they use.
#include "export/ProcessChoice.h"

namespace zel {

namespace {

template<class... Readings> double sumOf(const Readings &...readings) {
    return ((readings ? static_cast<double>(*readings) : 0) + ...);
}

} // namespace

std::span<const std::uint32_t> ProcessChoice::choose(const Sample &sample, const Rates *rates, std::size_t most) {
    const Rows<Process> &processes = sample.processes;
    m_ranking.clear();
    m_ranking.addMost(processes.size(), most, [&](std::size_t index) { return sumOf(processes[index].residentBytes); });
    if (rates == nullptr) {
        m_ranking.addMost(processes.size(), most, [&](std::size_t index) {
            return sumOf(processes[index].userSeconds, processes[index].systemSeconds);
        });
        m_ranking.addMost(processes.size(), most, [&](std::size_t index) {
            return sumOf(processes[index].readBytes, processes[index].writtenBytes);
        });
    } else {
        const Rows<ProcessRates> &growth = rates->processes;
        const std::size_t rated = std::min(processes.size(), growth.size());
        m_ranking.addMost(rated, most, [&](std::size_t index) { return sumOf(growth[index].cpu); });
        m_ranking.addMost(
            rated, most, [&](std::size_t index) { return sumOf(growth[index].readBytes, growth[index].writtenBytes); });
    }
    return m_ranking.chosen();
}

} // namespace zel

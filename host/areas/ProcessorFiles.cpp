// Reads the files of a processor.
#include "host/areas/ProcessorFiles.h"

#include <cerrno>

namespace zel {

namespace {

constexpr double hertzPerKilohertz = 1000;

std::string pathOf(std::uint64_t cpu, const char *attribute) {
    return "sys/devices/system/cpu/cpu" + std::to_string(cpu) + '/' + attribute;
}

void note(Take &take, const Attribute &attribute) {
    noteUnlessMissing(take.sample.area(Area::Cpu), attribute.error(), attribute.path());
}

Number hertz(Take &take, Attribute &attribute) {
    const Number frequency = attribute.scaled(take.root, hertzPerKilohertz);
    if (attribute.error() != EACCES) // what only root may read is no failure
        note(take, attribute);
    return frequency;
}

Count number(Take &take, Attribute &attribute) {
    const Count count = attribute.number(take.root);
    note(take, attribute);
    return count;
}

} // namespace

ProcessorFiles::ProcessorFiles(std::uint64_t cpu)
    : m_frequency(pathOf(cpu, "cpufreq/scaling_cur_freq")),
      m_hardwareFrequency(pathOf(cpu, "cpufreq/cpuinfo_cur_freq")),
      m_frequencyMin(pathOf(cpu, "cpufreq/cpuinfo_min_freq"), KeptScope::Never),
      m_frequencyMax(pathOf(cpu, "cpufreq/cpuinfo_max_freq"), KeptScope::Never),
      m_scalingMin(pathOf(cpu, "cpufreq/scaling_min_freq"), KeptScope::Never),
      m_scalingMax(pathOf(cpu, "cpufreq/scaling_max_freq"), KeptScope::Never),
      m_coreThrottles(pathOf(cpu, "thermal_throttle/core_throttle_count")),
      m_packageThrottles(pathOf(cpu, "thermal_throttle/package_throttle_count")),
      m_package(pathOf(cpu, "topology/physical_package_id"), KeptScope::Never),
      m_core(pathOf(cpu, "topology/core_id"), KeptScope::Never) {}

void ProcessorFiles::read(Take &take, Processor &processor) {
    processor.frequencyHertz = hertz(take, m_frequency);
    processor.hardwareFrequencyHertz =
        m_frequency.error() == ENOENT ? processor.frequencyHertz : hertz(take, m_hardwareFrequency);
    const std::int64_t now = coarseSeconds();
    if (!take.root.own() || now - m_detailsAt >= SECONDS_BETWEEN_DETAILS) {
        readDetails(take);
        m_detailsAt = now;
    }
    processor.frequencyMinHertz = m_details.frequencyMinHertz;
    processor.frequencyMaxHertz = m_details.frequencyMaxHertz;
    processor.scalingMinHertz = m_details.scalingMinHertz;
    processor.scalingMaxHertz = m_details.scalingMaxHertz;
    processor.package = m_details.package;
    processor.core = m_details.core;
    processor.coreThrottles = number(take, m_coreThrottles);
    processor.packageThrottles =
        m_coreThrottles.error() == ENOENT ? processor.coreThrottles : number(take, m_packageThrottles);
}

void ProcessorFiles::readDetails(Take &take) {
    m_details.package = number(take, m_package);
    m_details.core = m_package.error() == ENOENT ? m_details.package : number(take, m_core);
    if (m_frequency.error() == ENOENT) {
        m_details.frequencyMinHertz = m_details.frequencyMaxHertz = Absence::Unsupported;
        m_details.scalingMinHertz = m_details.scalingMaxHertz = Absence::Unsupported;
        return;
    }
    m_details.frequencyMinHertz = hertz(take, m_frequencyMin);
    m_details.frequencyMaxHertz = hertz(take, m_frequencyMax);
    m_details.scalingMinHertz = hertz(take, m_scalingMin);
    m_details.scalingMaxHertz = hertz(take, m_scalingMax);
}

void ProcessorFiles::lose(Processor &processor, Absence reason) {
    for (Number *frequency :
         {&processor.frequencyHertz, &processor.hardwareFrequencyHertz, &processor.frequencyMinHertz,
          &processor.frequencyMaxHertz, &processor.scalingMinHertz, &processor.scalingMaxHertz})
        *frequency = reason;
    processor.package = processor.core = reason;
    processor.coreThrottles = processor.packageThrottles = reason;
}

void ProcessorFiles::forgetMissing() {
    for (Attribute *attribute : {&m_frequency, &m_hardwareFrequency, &m_frequencyMin, &m_frequencyMax, &m_scalingMin,
                                 &m_scalingMax, &m_coreThrottles, &m_packageThrottles, &m_package, &m_core})
        attribute->forgetMissing();
    m_detailsAt = LONG_AGO;
}

} // namespace zel

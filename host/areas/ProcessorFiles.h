// The files of one processor below /sys/devices/system/cpu: frequencies, throttle counts, and where it is.
#pragma once

#include "host/areas/AreaReader.h"
#include "host/source/Attribute.h"

namespace zel {

/// What changes only when somebody sets it, and where the processor is, is read every 30 seconds on this host. Where
/// the first of a directory is missing, the directory is.
class ProcessorFiles {
public:
    explicit ProcessorFiles(std::uint64_t cpu);

    void read(Take &take, Processor &processor);
    /// Takes the values away when there was no time to read them.
    static void lose(Processor &processor, Absence reason);
    /// A processor that is offline has no files: when it comes back they are looked for at once.
    void forgetMissing();

private:
    static constexpr std::int64_t SECONDS_BETWEEN_DETAILS = 30;

    void readDetails(Take &take);

    Attribute m_frequency, m_hardwareFrequency, m_frequencyMin, m_frequencyMax, m_scalingMin, m_scalingMax;
    Attribute m_coreThrottles, m_packageThrottles;
    Attribute m_package, m_core;
    Processor m_details; // of those that are read now and then
    std::int64_t m_detailsAt = LONG_AGO;
};

} // namespace zel

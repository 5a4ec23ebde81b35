// The tape drives of a sample: /sys/class/scsi_tape. Their counters are in the memory of the driver.
#pragma once

#include "host/areas/AreaReader.h"
#include "host/source/DeviceTable.h"
#include "host/source/KeptBudget.h"
#include "host/source/NamedDirectory.h"

#include <array>

namespace zel {

class Tapes {
public:
    static constexpr std::size_t COUNTERS = 10;

    void read(Take &take);

private:
    using KnownTape = std::array<KeptDescriptor, COUNTERS>;

    // False when there is none of this name.
    bool readTape(Take &take, const std::string &name, Tape &tape);

    NamedDirectory m_list{"sys/class/scsi_tape", "st"};
    DeviceTable<KnownTape> m_known;
};

} // namespace zel

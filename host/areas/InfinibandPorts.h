// The ports of the InfiniBand adapters of a host, for the reader of the interfaces: each by a call that may hang.
#pragma once

#include "host/areas/AreaReader.h"
#include "host/areas/InfinibandDetails.h"
#include "host/source/BoundedReads.h"
#include "host/source/Clocks.h"
#include "host/source/DeviceTable.h"
#include "host/source/NamedDirectory.h"

namespace zel {

/// The three steps of AreaReader. A host without such adapters costs one look every 30 seconds.
class InfinibandPorts {
public:
    void read(Take &take);
    void ask(Take &take);
    void finish(Take &take);

private:
    using Time = std::chrono::steady_clock::time_point;

    struct Answer {
        InfinibandScope scope;
        InfinibandReading reading;
    };
    // What is known of a port from one sample to the next.
    struct Known {
        InfinibandReading values;
        Time namesDue; // at once
    };

    void list(Take &take);
    bool takeAnswer(AreaState &state, const BoundedRead<Answer> &read, const std::string &name, Known &known);
    static void addRows(Sample &sample, const InfinibandPlace &place, const InfinibandReading &reading);

    NamedDirectory m_devices{INFINIBAND_DIRECTORY, ""};
    std::int64_t m_listedAt = LONG_AGO; // of a coarse monotonic clock
    std::vector<InfinibandPlace> m_places;
    std::vector<std::string> m_names; // of the places
    DeviceTable<Known> m_known;
    BoundedReads<Answer> m_calls{"infiniband"};
};

} // namespace zel

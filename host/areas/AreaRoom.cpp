// Reads an area into a sample of its own, and hands it over.
#include "host/areas/AreaRoom.h"

#include <atomic>
#include <utility>

namespace zel {

void AreaRoom::read(Area area, BoundedPass::Time deadline) {
    Take take = takeInto(sample, deadline);
    stat.startSample();
    loadavg.startSample();
    beginArea(sample.area(area));
    doStep(*reader, &AreaReader::read, take, area);
}

std::string nextCallNumber() {
    static std::atomic<unsigned long> last{0};
    return std::to_string(++last);
}

void exchangeArea(Sample &one, Sample &other, Area area) {
    std::swap(one.area(area), other.area(area));
    for (const AnySection<Sample> &section : sections()) {
        if (section.area == area)
            section.exchange(one, other);
    }
}

} // namespace zel

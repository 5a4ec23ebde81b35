// The known names of what parts of the machine consume: a family for each kind of part, such as package.
#include "export/known/BuiltName.h"
#include "export/known/Known.h"

#include <array>

namespace zel {

namespace {

// package-0 is the package with the number 0; what has no number is counted.
struct ZoneName {
    std::string_view kind;
    std::string_view number;
};
ZoneName split(std::string_view name) {
    const std::size_t dash = name.find('-');
    if (dash == name.npos || dash + 1 == name.size())
        return {name, {}};
    const std::string_view number = name.substr(dash + 1);
    if (number.find_first_not_of("0123456789") != number.npos)
        return {name, {}};
    return {name.substr(0, dash), number};
}

// How many zones of the same name come before it, in the order of their directories.
std::uint64_t placeOf(const PowerZone &zone, const Rows<PowerZone> &zones) {
    return static_cast<std::uint64_t>(std::count_if(zones.begin(), zones.end(), [&zone](const PowerZone &other) {
        return other.name == zone.name && other.zone < zone.zone;
    }));
}

void writeZone(const PowerZone &zone, const Sample &sample, MetricSink &sink) {
    constexpr std::string_view directory = "/sys/class/powercap/";
    constexpr std::size_t pathAtMost = 256;
    std::array<char, pathAtMost> path;
    if (directory.size() + zone.zone.size() > path.size())
        return;
    const auto end =
        std::copy(zone.zone.begin(), zone.zone.end(), std::copy(directory.begin(), directory.end(), path.begin()));
    const std::string_view number = split(zone.name).number;
    if (number.empty())
        sink.label("index", placeOf(zone, sample.powerZones));
    else
        sink.label("index", number);
    sink.label("path", std::string_view(path.data(), static_cast<std::size_t>(end - path.begin())));
    sink.value(zone.consumed);
}

void write(const Sample &sample, MetricSink &sink) {
    BuiltName name, other;
    for (const PowerZone &first : sample.powerZones) {
        name.clear();
        name.add("node_rapl_").add(split(first.name).kind).add("_joules_total");
        const auto isOfFamily = [&](const PowerZone &zone) {
            other.clear();
            other.add("node_rapl_").add(split(zone.name).kind).add("_joules_total");
            return other.text() == name.text();
        };
        if (!name.fits() || &*std::find_if(sample.powerZones.begin(), sample.powerZones.end(), isOfFamily) != &first)
            continue; // the family is written already
        sink.family(name.text(), MetricType::Counter, "Energy that parts of this kind have consumed, in joules.");
        for (const PowerZone &zone : sample.powerZones) {
            if (isOfFamily(zone))
                writeZone(zone, sample, sink);
        }
    }
}

void listFields(KnownFields &known) {
    known.add<PowerZone>({&PowerZone::consumed});
}

} // namespace

const KnownMetrics knownPowerZones{Area::Sensors, write, listFields};

} // namespace zel

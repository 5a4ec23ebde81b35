// Reads the physical slots of PCI devices.
#include "host/hardware/PciSlots.h"

#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

namespace zel {

namespace {

constexpr const char *slots = "sys/bus/pci/slots";

} // namespace

void readPciSlots(const HostDirectory &root, PartText &text) {
    std::vector<std::string> names;
    text.error = listDevices(root, slots, names);
    for (const std::string &name : names) {
        DeviceAttributes files(root, slots, name);
        if (files.read("address") == 0)
            text.text.append(trimmed(files.text())).append(" ").append(name).append("\n");
    }
}

void takePciSlot(std::string_view lines, std::string_view address, Reading<std::string> &slot) {
    slot.clear(Absence::Unsupported);
    const std::string_view place = address.substr(0, address.rfind('.'));
    while (!lines.empty()) {
        const std::string_view line = lines.substr(0, lines.find('\n'));
        lines.remove_prefix(line.size() + 1);
        if (line.size() > place.size() && line.starts_with(place) && line[place.size()] == ' ')
            return slot.set(line.substr(place.size() + 1));
    }
}

} // namespace zel

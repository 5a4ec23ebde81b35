// Takes the place of a device in /sys apart.
#include "host/hardware/DevicePath.h"

#include "host/source/DeviceAttributes.h"
#include "text/AsciiText.h"
#include "text/NumberScan.h"

#include <algorithm>

namespace zel {

namespace {

bool isDigits(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), isAsciiDigit);
}

bool isHexadecimal(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return digitValue<16>(c) < 16; });
}

// "host0" is "host" and a number.
bool isNumbered(std::string_view text, std::string_view word) {
    return text.starts_with(word) && isDigits(text.substr(word.size()));
}

// The part before the next `separator`, which `rest` loses with it.
std::string_view takePart(std::string_view &rest, char separator) {
    const std::size_t end = rest.find(separator);
    const std::string_view part = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return part;
}

// "0:0:0:0"
bool isScsiAddress(std::string_view text) {
    constexpr int parts = 4;
    if (std::count(text.begin(), text.end(), ':') != parts - 1)
        return false;
    for (int part = 0; part < parts; ++part) {
        if (!isDigits(takePart(text, ':')))
            return false;
    }
    return true;
}

void takeName(std::string_view name, DevicePath &path) {
    if (isPciAddress(name))
        path.pciAddress = name;
    else if (isNumbered(name, "host"))
        path.scsiHost = name;
    else if (isScsiAddress(name))
        path.scsiAddress = name;
    else if (isNumbered(name, "nvme"))
        path.nvme = name;
    else if (isNumbered(name, "virtio"))
        path.virtio = name;
    else if (isNumbered(name, "mmc"))
        path.mmc = name;
    else if (isNumbered(name, "usb"))
        path.usb = true;
    else if (name == "virtual")
        path.isVirtual = true;
}

} // namespace

bool isPciAddress(std::string_view text) {
    constexpr std::size_t leastDomain = 4;
    const std::string_view domain = takePart(text, ':');
    const std::string_view bus = takePart(text, ':');
    const std::string_view device = takePart(text, '.');
    return domain.size() >= leastDomain && isHexadecimal(domain) && bus.size() == 2 && isHexadecimal(bus) &&
           device.size() == 2 && isHexadecimal(device) && text.size() == 1 && isHexadecimal(text);
}

DevicePath parseDevicePath(std::string_view path) {
    DevicePath result;
    for (std::string_view rest = withoutLastPart(path); !rest.empty();)
        takeName(takePart(rest, '/'), result);
    return result;
}

} // namespace zel

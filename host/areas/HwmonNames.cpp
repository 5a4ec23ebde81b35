// Makes the names of chips.
#include "host/areas/HwmonNames.h"

#include "host/source/DeviceAttributes.h"

namespace zel {

namespace {

constexpr std::string_view classOfChips = "sys/class/hwmon";

bool isKept(char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= '0' && letter <= '9') || letter == ':' || letter == '_';
}

// Follows a path, name by name, from a directory: ".." leads to the one above.
void follow(std::string_view path, std::string &directory) {
    while (!path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(path.size(), name.size() + 1));
        if (name == "..")
            directory.resize(withoutLastPart(directory).size());
        else if (!name.empty() && name != ".")
            directory.append(directory.empty() ? "" : "/").append(name);
    }
}

} // namespace

std::string deviceOfChip(std::string_view chipLink, std::string_view deviceLink) {
    if (deviceLink.empty())
        return {};
    std::string place(classOfChips);
    if (chipLink.empty())
        place += "/hwmon"; // a plain directory, in a recorded tree
    else
        follow(chipLink, place);
    follow(deviceLink, place);
    return place;
}

std::string chipNameOf(std::string_view name) {
    std::string clean;
    for (const char letter : name) {
        const char small = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
        clean += isKept(small) ? small : '_';
    }
    const std::size_t first = clean.find_first_not_of('_');
    const std::size_t last = clean.find_last_not_of('_');
    return first == clean.npos ? std::string() : clean.substr(first, last - first + 1);
}

std::string chipNameOfDevice(std::string_view device) {
    const std::string name = chipNameOf(lastPart(device));
    const std::string place = chipNameOf(lastPart(withoutLastPart(device)));
    return place.empty() || name.empty() ? name : place + '_' + name;
}

} // namespace zel

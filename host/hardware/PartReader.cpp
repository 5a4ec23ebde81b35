// What the readers of the parts of the inventory share.
#include "host/hardware/PartReader.h"

#include "host/source/Listing.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace zel {

Absence HardwareRead::serials() const {
    if (!options.serials)
        return Absence::NotAsked;
    return geteuid() == 0 ? Absence::None : Absence::Denied;
}

int listDevices(const HostDirectory &root, const char *directory, std::vector<std::string> &names) {
    const int error = listEntries(root, directory, names, [](const char *name, unsigned char, std::string &entry) {
        entry = name;
        return true;
    });
    std::sort(names.begin(), names.end());
    return error == ENOENT ? 0 : error;
}

} // namespace zel

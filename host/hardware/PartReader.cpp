// What the readers of the parts of the inventory share.
#include "host/hardware/PartReader.h"

#include "host/DirectoryWalk.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace zel {

Absence HardwareRead::serials() const {
    if (!options.serials)
        return Absence::NotAsked;
    return geteuid() == 0 ? Absence::None : Absence::Denied;
}

int listDevices(const HostDirectory &root, const char *directory, std::vector<std::string> &names) {
    ScopedDescriptor opened = root.open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!opened.valid())
        return errno == ENOENT ? 0 : errno;
    DirectoryRoom<32768> room;
    DirectoryWalk walk(std::move(opened), room);
    bool all = true;
    while (const char *name = walk.next()) {
        if (name[0] == '.')
            continue;
        all = names.size() < HARDWARE_DEVICES_LIMIT;
        if (!all)
            break;
        names.emplace_back(name);
    }
    std::sort(names.begin(), names.end());
    return all ? walk.error() : EOVERFLOW;
}

} // namespace zel

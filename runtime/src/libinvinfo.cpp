// libinvinfo: the inventory program of the agent's home. Started in its working directory, it writes the inventory
// files that the collectors read.
//
//   libinvinfo KIND [NUMBER]        KIND 1 CPU, 2 disks, 3 interfaces, 4 Fibre Channel; NUMBER is not used
//
// ZEL_HOST_ROOT names the directory that serves as "/" of the host. Exit status 0, or 1 when a file cannot be written
// or the directory's name is too long, 2 for wrong usage.
#include "HostRoot.h"
#include "InventoryTable.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

struct Inventory {
    const char *kind;
    bool (*write)();
};

constexpr Inventory inventories[] = {{"1", inventory::writeCpuInventory},
                                     {"2", inventory::writeDiskInventory},
                                     {"3", inventory::writeInterfaceInventory},
                                     {"4", inventory::writeHbaInventory}};

// False when the root does not fit: a cut one would be another directory.
bool takeHostRoot() {
    const char *root = std::getenv("ZEL_HOST_ROOT");
    if (root == nullptr)
        return true;
    return std::snprintf(g_strHostRoot, sizeof(g_strHostRoot), "%s", root) < static_cast<int>(sizeof(g_strHostRoot));
}

} // namespace

int main(int argc, char **argv) {
    if (!takeHostRoot()) {
        std::fprintf(stderr, "ZEL_HOST_ROOT is longer than %zu characters\n", sizeof(g_strHostRoot) - 1);
        return 1;
    }
    for (const Inventory &entry : inventories) {
        if (argc > 1 && std::strcmp(argv[1], entry.kind) == 0)
            return entry.write() ? 0 : 1;
    }
    std::fprintf(stderr, "Usage: libinvinfo KIND [NUMBER]   (1 CPU, 2 disks, 3 interfaces, 4 Fibre Channel)\n");
    return 2;
}

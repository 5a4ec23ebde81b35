// Disk inventory: one row per block device with a size, from /sys/block.
#include "HostFile.h"
#include "InventoryTable.h"

#include <cstdlib>

namespace inventory {

namespace {

constexpr unsigned long long sectorsPerKilobyte = 2;

// Sample: none [mq-deadline] kyber: the bracketed one is in force.
std::string activeScheduler(const std::string &line) {
    const std::size_t open = line.find('[');
    const std::size_t close = line.find(']', open);
    if (open == std::string::npos || close == std::string::npos)
        return line;
    return line.substr(open + 1, close - open - 1);
}

bool isMemoryBacked(const std::string &name) {
    return name.compare(0, 4, "loop") == 0 || name.compare(0, 3, "ram") == 0 || name.compare(0, 4, "zram") == 0;
}

} // namespace

bool writeDiskInventory() {
    Table table({"DEVICE", "SIZEKB", "MODEL", "VENDOR", "SERIAL", "ROTATIONAL", "SCHEDULER", "REMOVABLE"});
    for (const std::string &name : listDirectory("/sys/block")) {
        const std::string device = "/sys/block/" + name;
        const unsigned long long sectors = std::strtoull(readLine(device + "/size").c_str(), nullptr, 10);
        if (sectors == 0 || isMemoryBacked(name))
            continue;
        std::string serial = readLine(device + "/device/serial");
        if (serial.empty())
            serial = readLine(device + "/serial");
        table.row({"/dev/" + name, std::to_string(sectors / sectorsPerKilobyte), readLine(device + "/device/model"),
                   readLine(device + "/device/vendor"), serial, readLine(device + "/queue/rotational"),
                   activeScheduler(readLine(device + "/queue/scheduler")), readLine(device + "/removable")});
    }
    return table.writeTo("../aproc/shell/DiskINVStrInfo.dat", "TORVDISK");
}

} // namespace inventory

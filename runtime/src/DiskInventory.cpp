// Disk inventory: one row per block device with a size, from /sys/block.
#include "HostFile.h"
#include "InventoryTable.h"

#include <algorithm>
#include <cstdlib>

namespace inventory {

namespace {

constexpr unsigned long long sectorsPerKilobyte = 2;
constexpr std::size_t pageHeaderSize = 4;

// Sample: none [mq-deadline] kyber: the bracketed one is in force.
std::string activeScheduler(const std::string &line) {
    const std::size_t open = line.find('[');
    const std::size_t close = line.find(']', open);
    if (open == std::string::npos || close == std::string::npos)
        return line;
    return line.substr(open + 1, close - open - 1);
}

// The serial number page that a SCSI or SATA disk answers: a header of four bytes whose last two are the length of the
// text after it.
std::string pageSerial(const std::string &page) {
    if (page.size() < pageHeaderSize)
        return {};
    const std::size_t length =
        static_cast<unsigned char>(page[2]) * std::size_t{256} + static_cast<unsigned char>(page[3]);
    const std::string text = page.substr(pageHeaderSize, length);
    return trimmed(text.substr(0, text.find('\0')));
}

// Drivers tell the serial number in different places.
std::string serialNumber(const std::string &device) {
    for (const char *name : {"/device/serial", "/serial"}) {
        const std::string serial = readLine(device + name);
        if (!serial.empty())
            return serial;
    }
    return pageSerial(readBytes(device + "/device/vpd_pg80"));
}

// The kernel's directory writes the "/" of a device name as "!".
std::string devicePath(std::string name) {
    std::replace(name.begin(), name.end(), '!', '/');
    return "/dev/" + name;
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
        table.row({devicePath(name), std::to_string(sectors / sectorsPerKilobyte), readLine(device + "/device/model"),
                   readLine(device + "/device/vendor"), serialNumber(device), readLine(device + "/queue/rotational"),
                   activeScheduler(readLine(device + "/queue/scheduler")), readLine(device + "/removable")});
    }
    return table.writeTo("../aproc/shell/DiskINVStrInfo.dat", "TORVDISK");
}

} // namespace inventory

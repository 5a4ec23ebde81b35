// CPU inventory: one row per socket, from /sys/devices/system/cpu and /proc/cpuinfo.
#include "HostFile.h"
#include "InventoryTable.h"
#include "scripts/HomeScripts.h"

#include <cctype>
#include <map>
#include <set>

namespace inventory {

namespace {

constexpr const char *cpuDirectory = "/sys/devices/system/cpu";

struct Socket {
    std::set<std::string> cores;
    int threads = 0;
    std::string firstCpu; // directory of one of its processors
};

bool isProcessor(const std::string &name) {
    return name.size() > 3 && name.compare(0, 3, "cpu") == 0 && std::isdigit(static_cast<unsigned char>(name[3])) != 0;
}

std::map<std::string, Socket> findSockets() {
    std::map<std::string, Socket> sockets;
    for (const std::string &name : listDirectory(cpuDirectory)) {
        if (!isProcessor(name))
            continue;
        const std::string processor = std::string(cpuDirectory) + "/" + name;
        const std::string package = readLine(processor + "/topology/physical_package_id");
        if (package.empty()) // offline
            continue;
        Socket &socket = sockets[package];
        socket.cores.insert(readLine(processor + "/topology/die_id") + ":" + readLine(processor + "/topology/core_id"));
        ++socket.threads;
        if (socket.firstCpu.empty())
            socket.firstCpu = processor;
    }
    return sockets;
}

// Size of the cache of a level ("1" ... "3") and type ("Data", "Instruction", "Unified"), as the kernel writes it: 32K.
std::string cacheSize(const std::string &processor, const std::string &level, const std::string &type) {
    for (const std::string &index : listDirectory(processor + "/cache")) {
        const std::string cache = processor + "/cache/" + index;
        if (readLine(cache + "/level") == level && readLine(cache + "/type") == type)
            return readLine(cache + "/size");
    }
    return {};
}

std::string clockMegahertz(const std::string &processor) {
    const std::string kilohertz = readLine(processor + "/cpufreq/cpuinfo_max_freq");
    if (kilohertz.size() > 3)
        return kilohertz.substr(0, kilohertz.size() - 3);
    return readValue("/proc/cpuinfo", "cpu MHz");
}

// Architectures name their model differently.
std::string modelName() {
    for (const char *key : {"model name", "cpu model", "cpu", "Processor", "Hardware"}) {
        std::string value = readValue("/proc/cpuinfo", key);
        if (!value.empty())
            return value;
    }
    return readLine("/sys/firmware/devicetree/base/model");
}

} // namespace

bool writeCpuInventory() {
    // Readers take a line with a lower-case letter only, and a model may be unknown.
    Table table({"MODEL", "VENDOR", "SOCKET", "CORES", "THREADS", "MHz", "CACHEL1D", "CACHEL1I", "CACHEL2", "CACHEL3"});
    const std::string model = modelName();
    const std::string vendor = readValue("/proc/cpuinfo", "vendor_id");
    for (const auto &[package, socket] : findSockets())
        table.row({model, vendor, package, std::to_string(socket.cores.size()), std::to_string(socket.threads),
                   clockMegahertz(socket.firstCpu), cacheSize(socket.firstCpu, "1", "Data"),
                   cacheSize(socket.firstCpu, "1", "Instruction"), cacheSize(socket.firstCpu, "2", "Unified"),
                   cacheSize(socket.firstCpu, "3", "Unified")});
    return table.writeTo(zel::resultPath(zel::Script::CpuInventory), "TORVCPU");
}

} // namespace inventory

// Fibre Channel inventory: cards and ports, from /sys/class/fc_host and /sys/class/scsi_host.
#include "HostFile.h"
#include "InventoryTable.h"
#include "scripts/HomeScripts.h"

#include <initializer_list>

namespace inventory {

namespace {

// Drivers name the same attribute differently: the first file that says something counts.
std::string firstOf(const std::string &directory, std::initializer_list<const char *> names) {
    for (const char *name : names) {
        std::string value = readLine(directory + "/" + name);
        if (!value.empty())
            return value;
    }
    return {};
}

bool writeCards(const std::vector<std::string> &hosts) {
    Table table({"NAME", "MODEL", "SERIAL", "FIRMWARE", "DRIVER", "DRIVERVERSION", "NODE_WWN", "SYMBOLICNAME"});
    for (const std::string &host : hosts) {
        const std::string port = "/sys/class/fc_host/" + host;
        const std::string adapter = "/sys/class/scsi_host/" + host;
        table.row({host, firstOf(adapter, {"model_name", "modelname", "modeldesc"}),
                   firstOf(adapter, {"serial_num", "serialnum"}), firstOf(adapter, {"fw_version", "fwrev"}),
                   readLine(adapter + "/proc_name"), firstOf(adapter, {"driver_version", "lpfc_drvr_version"}),
                   readLine(port + "/node_name"), readLine(port + "/symbolic_name")});
    }
    return table.writeTo(zel::resultPath(zel::Script::AdapterInventory), "TORVHBACARD");
}

bool writePorts(const std::vector<std::string> &hosts) {
    Table table({"NAME", "PORT_WWN", "NODE_WWN", "STATE", "TYPE", "SPEED", "SUPPORTED_SPEEDS", "FABRIC"});
    for (const std::string &host : hosts) {
        const std::string port = "/sys/class/fc_host/" + host;
        table.row({host, readLine(port + "/port_name"), readLine(port + "/node_name"), readLine(port + "/port_state"),
                   readLine(port + "/port_type"), readLine(port + "/speed"), readLine(port + "/supported_speeds"),
                   readLine(port + "/fabric_name")});
    }
    return table.writeTo(zel::PORT_INVENTORY, "TORVHBAPORT");
}

} // namespace

bool writeHbaInventory() {
    const std::vector<std::string> hosts = listDirectory("/sys/class/fc_host");
    const bool cards = writeCards(hosts);
    return writePorts(hosts) && cards;
}

} // namespace inventory

// The files of /sys and /proc as the inventory program reads them: each inventory comes back from its file, through the
// reader of the collectors, as the table that it is.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "InventoryTable.h"
#include "RootOnTmpfs.h"
#include "Surroundings.h"
#include "scripts/InventoryFile.h"

#include <cstdlib>

namespace {

void ensureInventory(const char *path, const char *marker) {
    char message[64];
    char *text = nullptr;
    int size = 0;
    int found = 0;
    const zel::InventoryFormat format{marker, 511, {8, 8}, ""};
    // A table whose values hold no lower-case letter is none for its reader.
    if (zel::fetchInventory(path, format, {text, size}, found, {false, "fuzz", message}) == 1) {
        PerfTable table;
        PerfTextError error;
        fuzz::ensure(fgReadPerfTable(text, table, error), "an inventory that does not read back");
        fuzz::ensure(table.rows.size() <= 1, "more rows than devices");
    }
    std::free(text);
}

} // namespace

FUZZ_TARGET(inventory_program_fuzz) {
    fuzz::freshSurroundings();
    const auto &root = fuzz::root();
    root.moment(0);
    root.host("proc/cpuinfo", input.piece());
    for (const char *file : {"topology/physical_package_id", "topology/core_id", "cache/index0/level",
                             "cache/index0/type", "cache/index0/size", "cpufreq/cpuinfo_max_freq"})
        root.host(std::string("sys/devices/system/cpu/cpu0/") + file, input.piece());
    for (const char *file : {"size", "device/model", "device/vendor", "device/serial", "queue/scheduler"})
        root.host(std::string("sys/block/sda/") + file, input.piece());
    for (const char *file : {"ifindex", "address", "speed", "duplex", "mtu", "operstate", "bonding/slaves"})
        root.host(std::string("sys/class/net/eth0/") + file, input.piece());
    for (const char *file : {"port_name", "node_name", "port_state", "symbolic_name", "supported_speeds"})
        root.host(std::string("sys/class/fc_host/host3/") + file, input.piece());
    for (const char *file : {"model_name", "fw_version", "serial_num"})
        root.host(std::string("sys/class/scsi_host/host3/") + file, input.piece());

    fuzz::ensure(inventory::writeCpuInventory() && inventory::writeDiskInventory() &&
                     inventory::writeInterfaceInventory() && inventory::writeHbaInventory(),
                 "an inventory was not written");
    ensureInventory("../aproc/shell/CpuINVStrInfo.dat", "TORVCPU");
    ensureInventory("../aproc/shell/DiskINVStrInfo.dat", "TORVDISK");
    ensureInventory("../aproc/shell/InterfaceINVStrInfo.dat", "TORVInterface");
    ensureInventory("../aproc/shell/HBACardINVStrInfo.dat", "TORVHBACARD");
    ensureInventory("../aproc/shell/HBAPortINVStrInfo.dat", "TORVHBAPORT");
}

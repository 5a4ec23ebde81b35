// Disks of the inventory, as /sys/block shows them: how each is connected, and what it is made of.
#include "HardwareHost.h"
#include "SampledHost.h"

#include <algorithm>
#include <array>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using zel::Absence;
using zel::DiskMember;
using zel::DiskUnit;
using zel::Hardware;
using zel::HardwarePart;

// What every disk has.
void addDisk(const HardwareHost &host, const std::string &place, const char *sectors = "2048\n") {
    host.device(place, {"block", "class/block"}, {{"ro", "0\n"}, {"removable", "0\n"}, {"queue/nr_requests", "64\n"}});
    host.write("sys/devices/" + place + "/size", sectors);
}

// A disk of a SCSI host, with the links and the class of its device.
void addScsiDisk(const HardwareHost &host, const std::string &hostPlace, const std::string &address,
                 const std::string &name) {
    const std::string device = hostPlace + "/target" + address.substr(0, address.rfind(':')) + "/" + address;
    addDisk(host, device + "/block/" + name);
    host.link("sys/devices/" + device + "/block/" + name + "/device", "../../../" + address);
    host.write("sys/devices/" + device + "/state", "running\n");
    host.write("sys/devices/" + device + "/queue_depth", "32\n");
    host.write("sys/devices/" + device + "/type", "0\n");
    host.link("sys/class/scsi_device/" + address + "/device", "../../../devices/" + device);
}

void addPci(const HardwareHost &host, const std::string &place, const char *driver) {
    host.device(place, {"bus/pci/devices"}, {});
    host.remove("sys/bus/pci/devices/" + place.substr(place.rfind('/') + 1));
    host.link("sys/bus/pci/devices/" + place.substr(place.rfind('/') + 1), "../../../devices/" + place);
    host.link("sys/devices/" + place + "/driver", std::string("../../bus/pci/drivers/") + driver);
}

const DiskUnit &unitOf(const Hardware &hardware, const std::string &name) {
    static const DiskUnit none;
    const auto found = std::find_if(hardware.diskUnits.begin(), hardware.diskUnits.end(),
                                    [&name](const DiskUnit &unit) { return unit.name == name; });
    EXPECT_NE(found, hardware.diskUnits.end()) << name;
    return found == hardware.diskUnits.end() ? none : *found;
}

std::pair<int, std::string> failureOf(const Hardware &hardware) {
    const zel::AreaState &state = hardware.part(HardwarePart::Disks);
    return {state.error, state.file};
}

TEST(DiskPart, SataDiskHasItsControllerAndItsAttributes) {
    const HardwareHost host;
    addPci(host, "pci0000:00/0000:00:1f.2", "ahci");
    const std::string scsiHost = "pci0000:00/0000:00:1f.2/ata1/host0";
    addScsiDisk(host, scsiHost, "0:0:0:0", "sda");
    host.write("sys/class/scsi_host/host0/proc_name", "ahci\n");
    const std::string disk = "sys/devices/" + scsiHost + "/target0:0:0/0:0:0:0/block/sda/";
    const std::string device = "sys/devices/" + scsiHost + "/target0:0:0/0:0:0:0/";
    host.write(disk + "queue/scheduler", "none [mq-deadline]\n");
    host.write(disk + "queue/rotational", "0\n");
    host.write(disk + "queue/logical_block_size", "512\n");
    host.write(disk + "queue/physical_block_size", "4096\n");
    host.write(disk + "queue/write_cache", "write back\n");
    host.write(disk + "queue/zoned", "none\n");
    host.write(disk + "queue/discard_max_bytes", "2147450880\n");
    host.write(disk + "queue/discard_granularity", "4096\n");
    host.write(disk + "sda1/partition", "1\n");
    host.write(disk + "sda2/partition", "2\n");
    host.write(disk + "sda3x/size", "2\n"); // no partition
    host.write(device + "vendor", "ATA     \n");
    host.write(device + "model", "SAMSUNG MZ7LH960\n");
    host.write(device + "rev", "904Q\n");
    host.write(device + "wwid", "naa.5002538e40a1b2c3\n");
    host.write(device + "vpd_pg80", std::string("\0\x80\0\x06S45NNE", 10));
    const Hardware hardware = host.read(HardwarePart::Disks, true);
    const DiskUnit &unit = unitOf(hardware, "sda");
    EXPECT_TRUE(holds(unit.kind, "disk"));
    EXPECT_TRUE(holds(unit.vendor, "ATA"));
    EXPECT_TRUE(holds(unit.model, "SAMSUNG MZ7LH960"));
    EXPECT_TRUE(holds(unit.firmware, "904Q"));
    EXPECT_TRUE(holds(unit.worldWideName, "0x5002538e40a1b2c3"));
    EXPECT_TRUE(holds(unit.transport, "sata"));
    EXPECT_TRUE(holds(unit.sizeBytes, 2048 * 512));
    EXPECT_TRUE(holds(unit.logicalBlockBytes, 512));
    EXPECT_TRUE(holds(unit.physicalBlockBytes, 4096));
    EXPECT_TRUE(holds(unit.rotational, 0));
    EXPECT_TRUE(holds(unit.state, "running"));
    EXPECT_TRUE(holds(unit.partitions, 2));
    EXPECT_TRUE(holds(unit.scheduler, "mq-deadline"));
    EXPECT_TRUE(holds(unit.writeCache, "write back"));
    EXPECT_TRUE(holds(unit.zoned, "none"));
    EXPECT_TRUE(holds(unit.queueDepth, 32));
    EXPECT_TRUE(holds(unit.queueRequests, 64));
    EXPECT_TRUE(holds(unit.discard, 1));
    EXPECT_TRUE(holds(unit.discardGranularityBytes, 4096));
    EXPECT_TRUE(holds(unit.scsiAddress, "0:0:0:0"));
    EXPECT_TRUE(holds(unit.controller, "host0"));
    EXPECT_TRUE(holds(unit.controllerDriver, "ahci"));
    EXPECT_TRUE(holds(unit.pciAddress, "0000:00:1f.2"));
    EXPECT_TRUE(lacks(unit.members, Absence::Unsupported));
    EXPECT_TRUE(lacks(unit.raidState, Absence::Unsupported));
    EXPECT_EQ(failureOf(hardware), NO_FAILURE);
    // Not asked for, a serial number is not told; root is needed for it besides.
    EXPECT_TRUE(lacks(unitOf(host.read(HardwarePart::Disks), "sda").serial, Absence::NotAsked));
    if (geteuid() == 0)
        EXPECT_TRUE(holds(unit.serial, "S45NNE"));
    else
        EXPECT_TRUE(lacks(unit.serial, Absence::Denied));
}

TEST(DiskPart, SasDiskBehindAnExpander) {
    const HardwareHost host;
    addPci(host, "pci0000:00/0000:00:02.0/0000:03:00.0", "mpt3sas");
    addScsiDisk(host, "pci0000:00/0000:00:02.0/0000:03:00.0/host1/port-1:0/expander-1:0/port-1:0:3/end_device-1:0:3",
                "1:0:3:0", "sdb");
    host.write("sys/class/sas_host/host1/uevent", "");
    const Hardware hardware = host.read(HardwarePart::Disks);
    const DiskUnit &unit = unitOf(hardware, "sdb");
    EXPECT_TRUE(holds(unit.transport, "sas"));
    EXPECT_TRUE(holds(unit.scsiAddress, "1:0:3:0"));
    EXPECT_TRUE(holds(unit.pciAddress, "0000:03:00.0"));
    EXPECT_TRUE(holds(unit.controller, "host1"));
    EXPECT_TRUE(holds(unit.controllerDriver, "mpt3sas"));
}

TEST(DiskPart, TransportsOfScsiHosts) {
    const std::initializer_list<std::array<const char *, 4>> cases{
        // where the host is, a file that says what it is, its text, the transport
        {"pci0/host5/rport-5:0-1", "sys/class/fc_host/host5/symbolic_name", "QLE2692 FW:v9\n", "fc"},
        {"pci0/host5/rport-5:0-1", "sys/class/fc_host/host5/symbolic_name", "fcoe v1 over eth3\n", "fcoe"},
        {"platform/host5/session1", "sys/class/iscsi_host/host5/uevent", "", "iscsi"},
        {"pci0/host5", "sys/class/spi_host/host5/uevent", "", "spi"},
        {"pci0/usb2/2-1/host5", "sys/class/scsi_host/host5/proc_name", "usb-storage\n", "usb"},
        {"pci0/host5", "sys/class/scsi_host/host5/proc_name", "ata_piix\n", "ata"},
        {"pci0/host5", "sys/class/scsi_host/host5/proc_name", "sata_nv\n", "sata"},
        {"pci0/virtio3/host5", "sys/class/scsi_host/host5/proc_name", "virtio_scsi\n", "virtio"},
        {"pci0/host5", "sys/class/scsi_host/host5/proc_name", "megaraid_sas\n", ""}};
    for (const auto &[place, file, text, transport] : cases) {
        const HardwareHost host;
        addScsiDisk(host, place, "5:0:0:1", "sdq");
        host.write(file, text);
        const Hardware hardware = host.read(HardwarePart::Disks);
        const DiskUnit &unit = unitOf(hardware, "sdq");
        if (*transport == '\0')
            EXPECT_TRUE(lacks(unit.transport, Absence::Unsupported)) << text;
        else
            EXPECT_TRUE(holds(unit.transport, transport)) << text;
    }
}

TEST(DiskPart, NvmeDiskAndThePathsOfOneWithSeveral) {
    const HardwareHost host;
    addDisk(host, "pci0000:00/0000:00:01.1/0000:01:00.0/nvme/nvme0/nvme0n1");
    const std::string own = "sys/devices/pci0000:00/0000:00:01.1/0000:01:00.0/nvme/nvme0/";
    host.link(own + "nvme0n1/device", "../../nvme0");
    host.write(own + "model", "SAMSUNG MZQL21T9HCJR-00A07             \n");
    host.write(own + "firmware_rev", "GDC5602Q\n");
    host.write(own + "state", "live\n");
    host.write(own + "nvme0n1/nsid", "1\n");
    host.write(own + "nvme0n1/wwid", "eui.36344630528029720025384500000001\n");
    addDisk(host, "virtual/nvme-subsystem/nvme-subsys1/nvme1n1");
    addDisk(host, "pci0000:00/0000:02:00.0/nvme/nvme1/nvme1c1n1");
    host.write("sys/devices/pci0000:00/0000:02:00.0/nvme/nvme1/nvme1c1n1/hidden", "1\n");
    const Hardware hardware = host.read(HardwarePart::Disks);
    const DiskUnit &unit = unitOf(hardware, "nvme0n1");
    EXPECT_TRUE(holds(unit.kind, "disk"));
    EXPECT_TRUE(holds(unit.transport, "nvme"));
    EXPECT_TRUE(holds(unit.model, "SAMSUNG MZQL21T9HCJR-00A07"));
    EXPECT_TRUE(holds(unit.firmware, "GDC5602Q"));
    EXPECT_TRUE(holds(unit.state, "live"));
    EXPECT_TRUE(holds(unit.namespaceId, 1));
    EXPECT_TRUE(holds(unit.worldWideName, "eui.36344630528029720025384500000001"));
    EXPECT_TRUE(holds(unit.controller, "nvme0"));
    EXPECT_TRUE(holds(unit.pciAddress, "0000:01:00.0"));
    EXPECT_TRUE(holds(unitOf(hardware, "nvme1n1").kind, "disk"));
    EXPECT_TRUE(lacks(unitOf(hardware, "nvme1n1").controller, Absence::Unsupported)); // it has several
    EXPECT_TRUE(holds(unitOf(hardware, "nvme1c1n1").kind, "path"));
    EXPECT_TRUE(holds(unitOf(hardware, "nvme1c1n1").controller, "nvme1"));
}

TEST(DiskPart, VirtioMmcAndUsbDisks) {
    const HardwareHost host;
    addDisk(host, "pci0000:00/0000:00:02.0/virtio1/block/vda");
    addDisk(host, "platform/soc/fe310000.mmc/mmc_host/mmc0/mmc0:0001/block/mmcblk0");
    addScsiDisk(host, "pci0000:00/0000:00:14.0/usb2/2-1/2-1:1.0/host6", "6:0:0:0", "sdc");
    const Hardware hardware = host.read(HardwarePart::Disks);
    EXPECT_TRUE(holds(unitOf(hardware, "vda").transport, "virtio"));
    EXPECT_TRUE(holds(unitOf(hardware, "vda").controller, "virtio1"));
    EXPECT_TRUE(holds(unitOf(hardware, "vda").pciAddress, "0000:00:02.0"));
    EXPECT_TRUE(holds(unitOf(hardware, "mmcblk0").transport, "mmc"));
    EXPECT_TRUE(lacks(unitOf(hardware, "mmcblk0").pciAddress, Absence::Unsupported));
    EXPECT_TRUE(holds(unitOf(hardware, "sdc").transport, "usb"));
}

TEST(DiskPart, ArrayOfMdHasItsMembersWithTheirStates) {
    const HardwareHost host;
    addDisk(host, "virtual/block/md127");
    addScsiDisk(host, "pci0/ata1/host0", "0:0:0:0", "sda");
    addScsiDisk(host, "pci0/ata2/host1", "1:0:0:0", "sdb");
    const std::string array = "sys/devices/virtual/block/md127/";
    host.write(array + "md/level", "raid1\n");
    host.write(array + "md/array_state", "clean\n");
    host.write(array + "md/raid_disks", "2\n");
    host.write(array + "md/degraded", "1\n");
    host.write(array + "md/dev-sda/state", "in_sync\n");
    host.write(array + "md/dev-sda/slot", "0\n");
    host.write(array + "md/dev-sdb/state", "faulty\n");
    host.write(array + "md/dev-sdb/slot", "none\n");
    host.link(array + "slaves/sda", "../../../../pci0/ata1/host0/target0:0:0/0:0:0:0/block/sda");
    host.link(array + "slaves/sdb", "../../../../pci0/ata2/host1/target1:0:0/1:0:0:0/block/sdb");
    host.link("sys/devices/pci0/ata1/host0/target0:0:0/0:0:0:0/block/sda/holders/md127", "../x");
    const Hardware hardware = host.read(HardwarePart::Disks);
    const DiskUnit &unit = unitOf(hardware, "md127");
    EXPECT_TRUE(holds(unit.kind, "raid1"));
    EXPECT_TRUE(holds(unit.raidState, "clean"));
    EXPECT_TRUE(holds(unit.raidDisks, 2));
    EXPECT_TRUE(holds(unit.raidDegraded, 1));
    EXPECT_TRUE(holds(unit.members, "sda sdb"));
    EXPECT_TRUE(holds(unitOf(hardware, "sda").holders, "md127"));
    ASSERT_EQ(hardware.diskMembers.size(), 2U);
    const DiskMember &whole = hardware.diskMembers[0], &failed = hardware.diskMembers[1];
    EXPECT_EQ(whole.disk, "md127");
    EXPECT_EQ(whole.member, "sda");
    EXPECT_TRUE(holds(whole.state, "in_sync"));
    EXPECT_TRUE(holds(whole.slot, "0"));
    EXPECT_TRUE(holds(whole.path, "0:0:0:0"));
    EXPECT_EQ(failed.member, "sdb");
    EXPECT_TRUE(holds(failed.state, "faulty"));
    EXPECT_TRUE(holds(failed.slot, "none"));
}

TEST(DiskPart, MultipathDiskHasItsPaths) {
    const HardwareHost host;
    addDisk(host, "virtual/block/dm-0");
    addScsiDisk(host, "pci0/host5/rport-5:0-1", "5:0:0:1", "sdb");
    addScsiDisk(host, "pci1/host6/rport-6:0-1", "6:0:0:1", "sdc");
    host.write("sys/devices/pci1/host6/rport-6:0-1/target6:0:0/6:0:0:1/state", "offline\n");
    const std::string disk = "sys/devices/virtual/block/dm-0/";
    host.write(disk + "dm/name", "mpatha\n");
    host.write(disk + "dm/uuid", "mpath-3600508b400105e210000900000490000\n");
    host.write(disk + "slaves/sdb", "");
    host.write(disk + "slaves/sdc", "");
    const Hardware hardware = host.read(HardwarePart::Disks);
    const DiskUnit &unit = unitOf(hardware, "dm-0");
    EXPECT_TRUE(holds(unit.kind, "mpath"));
    EXPECT_TRUE(holds(unit.deviceMapperName, "mpatha"));
    EXPECT_TRUE(lacks(unit.deviceMapperUuid, Absence::NotAsked));
    EXPECT_TRUE(holds(unit.members, "sdb sdc"));
    ASSERT_EQ(hardware.diskMembers.size(), 2U);
    EXPECT_TRUE(holds(hardware.diskMembers[0].state, "running"));
    EXPECT_TRUE(holds(hardware.diskMembers[0].path, "5:0:0:1"));
    EXPECT_TRUE(lacks(hardware.diskMembers[0].slot, Absence::Unsupported));
    EXPECT_TRUE(holds(hardware.diskMembers[1].state, "offline"));
    EXPECT_TRUE(holds(hardware.diskMembers[1].path, "6:0:0:1"));
}

TEST(DiskPart, VolumesOverAnEncryptedPartition) {
    const HardwareHost host;
    addScsiDisk(host, "pci0/ata1/host0", "0:0:0:0", "sda");
    host.device("pci0/ata1/host0/target0:0:0/0:0:0:0/block/sda/sda3", {"class/block"}, {{"partition", "3\n"}});
    addDisk(host, "virtual/block/dm-0");
    addDisk(host, "virtual/block/dm-1");
    addDisk(host, "virtual/block/dm-2");
    const std::string block = "sys/devices/virtual/block/";
    host.write(block + "dm-0/dm/name", "sda3_crypt\n");
    host.write(block + "dm-0/dm/uuid", "CRYPT-LUKS2-9e2b-sda3_crypt\n");
    host.write(block + "dm-0/slaves/sda3", "");
    host.write(block + "dm-0/holders/dm-1", "");
    host.write(block + "dm-1/dm/name", "vg-root\n");
    host.write(block + "dm-1/dm/uuid", "LVM-abcdef\n");
    host.write(block + "dm-1/slaves/dm-0", "");
    host.write(block + "dm-2/dm/name", "plain\n"); // made by dmsetup without a UUID
    host.write(block + "dm-2/dm/uuid", "\n");
    const Hardware hardware = host.read(HardwarePart::Disks);
    EXPECT_TRUE(holds(unitOf(hardware, "dm-0").kind, "crypt"));
    EXPECT_TRUE(holds(unitOf(hardware, "dm-0").holders, "dm-1"));
    EXPECT_TRUE(holds(unitOf(hardware, "dm-1").kind, "lvm"));
    EXPECT_TRUE(holds(unitOf(hardware, "dm-1").members, "dm-0"));
    EXPECT_TRUE(holds(unitOf(hardware, "dm-2").kind, "dm"));
    ASSERT_EQ(hardware.diskMembers.size(), 2U);
    EXPECT_EQ(hardware.diskMembers[0].disk, "dm-0");
    EXPECT_EQ(hardware.diskMembers[0].member, "sda3");
    EXPECT_TRUE(holds(hardware.diskMembers[0].state, "running")); // that of its disk
    EXPECT_TRUE(holds(hardware.diskMembers[0].path, "0:0:0:0"));
}

TEST(DiskPart, WhatHasNoSizeAndIsOfTheKernelAloneIsNoDisk) {
    const HardwareHost host;
    addDisk(host, "virtual/block/loop0", "0\n");
    addDisk(host, "virtual/block/loop1", "8\n");
    addScsiDisk(host, "pci0/ata1/host0", "0:0:0:0", "sr0");
    host.write("sys/devices/pci0/ata1/host0/target0:0:0/0:0:0:0/block/sr0/size", "0\n"); // no medium
    host.write("sys/devices/pci0/ata1/host0/target0:0:0/0:0:0:0/type", "5\n");
    const Hardware hardware = host.read(HardwarePart::Disks);
    ASSERT_EQ(hardware.diskUnits.size(), 2U);
    EXPECT_TRUE(holds(unitOf(hardware, "loop1").kind, "loop"));
    EXPECT_TRUE(holds(unitOf(hardware, "sr0").kind, "rom"));
    EXPECT_TRUE(holds(unitOf(hardware, "sr0").sizeBytes, 0));
}

TEST(DiskPart, OldKernelsHaveDirectoriesInPlaceOfLinks) {
    const HardwareHost host;
    host.write("sys/block/sda/size", "2048\n");
    host.write("sys/block/sda/queue/nr_requests", "128\n");
    host.link("sys/block/sda/device", "../../devices/pci0000:00/0000:00:1f.2/host0/target0:0:0/0:0:0:0");
    const Hardware hardware = host.read(HardwarePart::Disks);
    EXPECT_TRUE(holds(unitOf(hardware, "sda").scsiAddress, "0:0:0:0"));
    EXPECT_TRUE(holds(unitOf(hardware, "sda").pciAddress, "0000:00:1f.2"));
}

TEST(DiskPart, NameThatAVendorMadeUpIsNoWorldWideName) {
    const HardwareHost host;
    addDisk(host, "pci0/nvme/nvme0/nvme0n1");
    host.write("sys/devices/pci0/nvme/nvme0/nvme0n1/wwid", "nvme.144d-533435-53414d53-00000001\n");
    const Hardware hardware = host.read(HardwarePart::Disks);
    EXPECT_TRUE(lacks(unitOf(hardware, "nvme0n1").worldWideName, Absence::Unsupported)); // the serial is in it
}

TEST(DiskPart, HostileTreesGiveReasons) {
    const HardwareHost host;
    addDisk(host, "virtual/block/sdx");
    const std::string disk = host.path() + "/sys/devices/virtual/block/sdx/";
    ASSERT_EQ(mkfifo((disk + "serial").c_str(), 0600), 0);
    std::filesystem::create_directories(disk + "queue/scheduler");
    host.write("sys/devices/virtual/block/sdx/queue/rotational", "many\n");
    host.write("sys/devices/virtual/block/sdx/queue/zoned", std::string(100000, 'z'));
    host.write("sys/devices/virtual/block/sdx/queue/write_cache", "a\nb\x1b[31m\"");
    host.write("sys/devices/virtual/block/sdx/size", "18446744073709551615\n");
    host.link("sys/devices/virtual/block/sdx/slaves/sdx", "../../sdx"); // made of itself
    host.link("sys/devices/virtual/block/sdx/slaves/a\n\x1b b", "a\n\x1b b");
    host.link("sys/devices/virtual/block/sdx/holders", "holders");
    host.link("sys/block/away", "../../../../../../etc");
    host.link("sys/block/loop", "loop");
    const Hardware hardware = host.read(HardwarePart::Disks, true);
    const DiskUnit &unit = unitOf(hardware, "sdx");
    EXPECT_FALSE(unit.serial.has());
    EXPECT_FALSE(unit.scheduler.has());
    EXPECT_TRUE(lacks(unit.rotational, Absence::Malformed));
    EXPECT_TRUE(lacks(unit.sizeBytes, Absence::Malformed));
    EXPECT_TRUE(lacks(unit.holders, Absence::Unsupported));
    EXPECT_TRUE(unit.members.has());
    EXPECT_EQ(hardware.diskMembers.size(), 2U);
    EXPECT_EQ(hardware.diskUnits.size(), 1U); // neither link leads to a disk
}

TEST(DiskPart, HostWithoutDisksHasNoRowsAndNoFailure) {
    const HardwareHost host;
    const Hardware hardware = host.read(HardwarePart::Disks);
    EXPECT_TRUE(hardware.diskUnits.empty());
    EXPECT_EQ(failureOf(hardware), NO_FAILURE);
}

} // namespace

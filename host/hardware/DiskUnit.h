// Disks as they are built in or made of others: one row for each whole disk of /sys/block, and one for each disk or
// partition that another is made of (device mapper, multipath, md). Any user; some attributes need root.
//
// What the kernel keeps ready without a size (loop devices, RAM disks) is no disk. The paths of an NVMe disk with
// several of them have a row each, of the kind "path".
#pragma once

#include "host/Schema.h"

namespace zel {

struct DiskUnit {
    std::string name;          // "sda", "cciss!c0d0", as /sys/block has it
    Reading<std::string> kind; // "disk", "rom", "mpath", "lvm", "crypt", "raid1", "loop", "path", ...
    Reading<std::string> vendor, model, firmware, serial;
    Reading<std::string> worldWideName; // of the medium: "0x5002538e40a1b2c3", "eui.0025385b71b0e2d1"
    Reading<std::string> transport;     // "sata", "sas", "nvme", "usb", "virtio", "fc", "iscsi", "mmc", ...
    Count sizeBytes, logicalBlockBytes, physicalBlockBytes;
    Count rotational, removable, readOnly; // 1 or 0
    Reading<std::string> state;            // of a SCSI disk or an NVMe controller: "running", "offline", "live"
    Count partitions;

    Reading<std::string> scheduler, writeCache, zoned;
    Count queueDepth;              // of a SCSI disk
    Count queueRequests;           // that the kernel queues
    Count discard;                 // 1 when it takes discards
    Count discardGranularityBytes; // the unit of them
    Count namespaceId;             // of an NVMe disk

    Reading<std::string> scsiAddress; // host:channel:target:unit
    Reading<std::string> controller;  // "host2", "nvme0", "virtio1"
    Reading<std::string> controllerDriver;
    Reading<std::string> pciAddress; // of the controller

    Reading<std::string> deviceMapperName, deviceMapperUuid;
    Reading<std::string> raidState;
    Count raidDisks, raidDegraded;
    Reading<std::string> members, holders; // what it is made of, and what is made of it: names with blanks between
};

/// A disk or partition that another disk is made of.
struct DiskMember {
    std::string disk, member;   // "md0", "sda1"
    Reading<std::string> state; // in an md array: "in_sync", "faulty"; else of the member: "running", "offline"
    Reading<std::string> slot;  // in an md array: "0", "none" for a spare
    Reading<std::string> path;  // of a member that is a SCSI disk: host:channel:target:unit
};

template<> std::span<const Field<DiskUnit>> fieldsOf<DiskUnit>();
template<> std::span<const Field<DiskMember>> fieldsOf<DiskMember>();

} // namespace zel

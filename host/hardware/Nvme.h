// NVMe controllers, and their health as their SMART / Health log has it. Their namespaces are disks (DiskUnit.h).
//
// /sys/class/nvme; any user. The log is asked for by an administrative command to the controller (Get Log Page, 02h):
// on this host alone, and root only. What a controller does not report is 0 in its log: then it is unsupported here.
#pragma once

#include "host/Schema.h"

namespace zel {

struct NvmeController {
    std::string name; // "nvme0"
    Reading<std::string> model, serial, firmware;
    Reading<std::string> transport, address; // "pcie", "tcp"; "0000:01:00.0", "traddr=..."
    Reading<std::string> state;              // "live", "resetting", "dead"
    Reading<std::string> type;               // "io", "discovery", "admin"
    Reading<std::string> subsystemName;      // the qualified name (NQN) of its subsystem
    Reading<std::string> driver;             // of the PCI device
    Count controllerId;
    Count node; // NUMA
    Count queues, queueEntries;
    Count namespaces;
};

struct NvmeHealth {
    std::string name;      // of the controller: "nvme0"
    Count criticalWarning; // the bits of what follows, as the controller sends them
    Count spareLow, temperatureOutside, unreliable, mediaReadOnly, backupFailed, persistentMemoryUnreliable; // 1 or 0
    Number temperature;
    Number spareRatio, spareThresholdRatio;
    Number usedRatio; // of its life, as the vendor expects it: above 1 it goes on beyond that
    Count readBytes, writtenBytes;
    Count readCommands, writeCommands;
    Number busySeconds, poweredSeconds;
    Count powerCycles, unsafeShutdowns;
    Count mediaErrors, errorLogEntries;
    Number warningTemperatureSeconds, criticalTemperatureSeconds;
};

template<> std::span<const Field<NvmeController>> fieldsOf<NvmeController>();
template<> std::span<const Field<NvmeHealth>> fieldsOf<NvmeHealth>();

} // namespace zel

// The machine, its chassis, its board and its firmware, as its firmware describes them: /sys/class/dmi/id, the device
// tree where there is no such table, /sys/firmware/efi. Any user, but for serial numbers and the like.
//
// Makers leave fields empty, or fill them with "To be filled by O.E.M.": the text is given as it is.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Machine {
    Reading<std::string> hostName; // of the kernel: whose inventory this is
    Reading<std::string> vendor, product, version, sku, family;
    Reading<std::string> serial, uuid;     // only when asked for
    Reading<std::string> deviceTreeModel;  // of a machine that a device tree describes
    Reading<std::string> deviceTreeSerial; // only when asked for
};

struct Chassis {
    Reading<std::string> vendor, version;
    Count type; // number of the SMBIOS standard
    Reading<std::string> typeName;
    Reading<std::string> serial, assetTag; // only when asked for
};

struct Board {
    Reading<std::string> vendor, name, version;
    Reading<std::string> serial, assetTag; // only when asked for
};

struct Firmware {
    Reading<std::string> vendor, version, date, release, controllerRelease;
    Reading<std::string> interface; // "efi", "bios" or "device tree"
    Count efiBits;                  // 64 or 32
    Count secureBoot;               // 1 or 0
};

template<> std::span<const Field<Machine>> fieldsOf<Machine>();
template<> std::span<const Field<Chassis>> fieldsOf<Chassis>();
template<> std::span<const Field<Board>> fieldsOf<Board>();
template<> std::span<const Field<Firmware>> fieldsOf<Firmware>();

} // namespace zel

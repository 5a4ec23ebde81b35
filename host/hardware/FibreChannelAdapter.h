// Ports of Fibre Channel adapters: /sys/class/fc_host, and what their drivers add in /sys/class/scsi_host. Any user.
// World-wide names are addresses, which the fabric shows to everybody: they are no serial numbers here.
#pragma once

#include "host/Schema.h"

namespace zel {

struct FibreChannelAdapter {
    std::string name;                        // of the port: "host3"
    Reading<std::string> portName, nodeName; // WWN: "0x21000024ff123456"
    Reading<std::string> fabricName;
    Reading<std::string> vendor, model, description, serial;
    Reading<std::string> firmware, optionRom;
    Reading<std::string> driver, driverVersion;
    Reading<std::string> state, type; // "Online"; "NPort (fabric via point-to-point)"
    Reading<std::string> speed, supportedSpeeds;
    Reading<std::string> symbolicName;
    Reading<std::string> pciAddress;
    Count node; // NUMA
};

template<> std::span<const Field<FibreChannelAdapter>> fieldsOf<FibreChannelAdapter>();

} // namespace zel

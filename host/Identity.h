// Which host this is, and since when it runs: uname, /etc/os-release, /proc/uptime, /proc/sys/kernel/random/boot_id,
// /sys/class/dmi/id. Any user.
//
// The names of the host can change and are read in each sample; what lasts while the kernel runs is read every 30
// seconds. The first sample is complete; a file that is missing leaves its fields unsupported.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Identity {
    Reading<std::string> hostName;
    Reading<std::string> domainName;
    Reading<std::string> kernelName, kernelRelease, kernelVersion, architecture;
    Reading<std::string> osId, osName, osVersion, osPrettyName;
    Reading<std::string> bootId;
    Reading<std::string> virtualisation, container;  // "none" where it is neither
    Reading<std::string> machineVendor, machineName; // as the firmware says
    Number uptimeSeconds;
    Number idleSeconds; // all processors together
};

template<> std::span<const Field<Identity>> fieldsOf<Identity>();

} // namespace zel

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
    Reading<std::string> osIdLike, osVersionName, osCodename, osBuildId, osImageId, osImageVersion, osVariant,
        osVariantId;
    Reading<std::string> bootId;
    Reading<std::string> virtualisation, container;  // "none" where it is neither
    Reading<std::string> machineVendor, machineName; // as the firmware says
    Number uptimeSeconds;
    Number idleSeconds; // all processors together
};

/// What the firmware says of the machine (SMBIOS): a text that it leaves empty is empty here. Serial numbers are for
/// root alone.
struct Dmi {
    Reading<std::string> biosDate, biosRelease, biosVendor, biosVersion;
    Reading<std::string> boardAssetTag, boardName, boardSerial, boardVendor, boardVersion;
    Reading<std::string> chassisAssetTag, chassisSerial, chassisVendor, chassisVersion;
    Reading<std::string> productFamily, productName, productSerial, productSku, productUuid, productVersion;
    Reading<std::string> systemVendor;
};

template<> std::span<const Field<Identity>> fieldsOf<Identity>();
template<> std::span<const Field<Dmi>> fieldsOf<Dmi>();

} // namespace zel

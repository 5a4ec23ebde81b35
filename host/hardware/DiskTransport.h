// By what a disk is connected: "sata", "sas", "fc" and so on.
#pragma once

#include "host/hardware/DevicePath.h"
#include "host/source/HostDirectory.h"

#include <string_view>

namespace zel {

/// Empty where nothing says it. A SATA disk of a SAS controller is "sas", as the system sees it.
std::string_view diskTransport(const HostDirectory &root, const DevicePath &path, std::string_view name);

} // namespace zel

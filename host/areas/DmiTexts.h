// The texts of the firmware: /sys/class/dmi/id.
#pragma once

#include "host/Identity.h"
#include "host/source/HostDirectory.h"

namespace zel {

inline constexpr const char *DMI_DIRECTORY = "sys/class/dmi/id";

/// Reads them all. Gives 0, or the errno that kept the directory from being opened; a text that only root may read is
/// denied, which is no error of the whole.
int readDmi(const HostDirectory &root, Dmi &dmi);

/// Copies the texts into the memory of others.
void assignDmi(const Dmi &from, Dmi &to);

} // namespace zel

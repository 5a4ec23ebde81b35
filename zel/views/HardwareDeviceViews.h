// The tables of memory, disks, NVMe controllers, Fibre Channel ports and graphics cards.
#pragma once

#include "zel/Views.h"

namespace zel {

std::span<const View> hardwareDeviceViews();

} // namespace zel

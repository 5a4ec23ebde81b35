// The sensors that the driver of a graphics card has, below device/hwmon of the card.
#pragma once

#include "host/Gpu.h"
#include "host/source/DeviceAttributes.h"

namespace zel {

/// Reads temperatures, fan, power, energy and clocks.
void readDrmSensors(const HostDirectory &root, DeviceAttributes &card, Gpu &gpu);

} // namespace zel

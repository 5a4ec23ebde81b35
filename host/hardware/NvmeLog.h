// The SMART / Health log of an NVMe controller: asking for it, and taking it apart.
#pragma once

#include "host/hardware/Nvme.h"

#include <array>
#include <span>

namespace zel {

inline constexpr std::size_t NVME_HEALTH_LOG_SIZE = 512;
using NvmeHealthLog = std::array<unsigned char, NVME_HEALTH_LOG_SIZE>;

/// Asks the controller that `device` is open on. 0, or an errno: EIO when the controller refuses. It may take as long
/// as the driver waits for a controller, a minute.
int readNvmeHealthLog(int device, NvmeHealthLog &log);

/// Sets every field of the row but its name.
void takeNvmeHealth(const NvmeHealthLog &log, NvmeHealth &health);

} // namespace zel

// The kernel release whose rules the collectors follow. Every collector that chooses a path by the release asks here.
#pragma once

class CMM_INIT_Info;

namespace zel {

struct KernelRelease {
    int major;
    int minor;
};

/// With g_nKernelRule 0 the release of the record, by the letter: consumers expect that 5.4 is treated as a 2.4 where
/// only the minor number is compared. With 1 every release from 2.6 on counts as 2.6.
KernelRelease rulingRelease(const CMM_INIT_Info &collector);

} // namespace zel

// Which kernel release the collectors follow.
#include "kernel/KernelRelease.h"

#include "MM_INIT_Info.h"
#include "Settings.h"

zel::KernelRelease zel::rulingRelease(const CMM_INIT_Info &collector) {
    constexpr KernelRelease modern{2, 6};
    const KernelRelease release{collector.fMLinux_Major(), collector.fMLinux_Minor()};
    const bool fromModernOn =
        release.major > modern.major || (release.major == modern.major && release.minor >= modern.minor);
    return g_nKernelRule == 1 && fromModernOn ? modern : release;
}

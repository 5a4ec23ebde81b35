// Asks mounts for their sizes, and the arithmetic of these.
#include "filesystem/MM_FS_Measure.h"

#include "MM_FS_Info.h"
#include "Settings.h"
#include "host/HostOpen.h"
#include "kernel/DoubtfulMounts.h"
#include "rates/Saturate.h"
#include "rates/Units.h"

namespace {

constexpr auto kilobytesPerByte = static_cast<float>(zel::KILOBYTES_PER_BYTE);

unsigned long long difference(unsigned long long whole, unsigned long long part) {
    return part > whole ? 0 : whole - part;
}

double percent(unsigned long long part, double whole) {
    return whole > 0.0 ? static_cast<double>(part) / whole * 100.0 : 0.0;
}

unsigned long long kilobytes(unsigned long blocks, float factor) {
    return zel::saturatedUnsigned(static_cast<double>(static_cast<float>(blocks) * factor));
}

static_assert(zel::SLOW_MOUNT_MILLISECONDS == FS_SLOW_MILLISECONDS);

} // namespace

namespace zel {

MountCall startAskingMount(const std::string &path) {
    return {"statfs " + path, std::chrono::seconds(FS_REMOTE_SECONDS), [path](MountAnswer &answer) {
                SlowWatch watch;
                const int error = measureFilesystem(path.c_str(), answer.status);
                answer.slow = watch.wasSlow();
                return error;
            }};
}

void measure(const struct statfs64 &status, _ST_FS &filesystem) {
    const float factor = static_cast<float>(status.f_bsize) * kilobytesPerByte;
    filesystem.l_ulTotDskSize = kilobytes(status.f_blocks, factor);
    filesystem.l_ulFreDskSize = kilobytes(status.f_bfree, factor);
    filesystem.l_ulAvaDskSize = kilobytes(status.f_bavail, factor);
    filesystem.l_ulUsdDskSize = difference(filesystem.l_ulTotDskSize, filesystem.l_ulFreDskSize);

    filesystem.l_ulTotIndSize = status.f_files;
    filesystem.l_ulFreIndSize = status.f_ffree;
    filesystem.l_ulAvaIndSize = status.f_ffree;
    filesystem.l_ulUsdIndSize = difference(status.f_files, status.f_ffree);

    const unsigned long long unused = g_nFsFreeUsedFlag != 0 ? filesystem.l_ulFreDskSize : filesystem.l_ulAvaDskSize;
    filesystem.l_dDskUsage = filesystem.l_ulTotDskSize == 0
                                 ? 0.0
                                 : percent(filesystem.l_ulUsdDskSize, static_cast<double>(filesystem.l_ulUsdDskSize) +
                                                                          static_cast<double>(unused));
    filesystem.l_dIndUsage = percent(filesystem.l_ulUsdIndSize, static_cast<double>(filesystem.l_ulTotIndSize));
}

} // namespace zel

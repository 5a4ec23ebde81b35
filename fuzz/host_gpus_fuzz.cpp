// Files of a graphics card below /sys/class/drm, and the fdinfo of a descriptor on it, as the typed model reads them.
#include "FuzzTarget.h"
#include "HostArea.h"
#include "HostRoot.h"
#include "RootOnTmpfs.h"

#include <filesystem>

namespace {

// A descriptor of the first process, on the card.
void linkToCard() {
    std::error_code exists;
    const std::filesystem::path descriptors = std::filesystem::path(g_strHostRoot) / "proc/1/fd";
    std::filesystem::create_directories(descriptors, exists);
    std::filesystem::create_symlink("/dev/dri/card0", descriptors / "3", exists);
}

} // namespace

FUZZ_TARGET(host_gpus_fuzz) {
    constexpr const char *files[] = {"device/uevent",
                                     "device/power/runtime_status",
                                     "device/gpu_busy_percent",
                                     "device/mem_info_vram_total",
                                     "device/mem_info_vram_used",
                                     "device/pp_dpm_sclk",
                                     "device/current_link_speed",
                                     "device/ras/umc_err_count",
                                     "device/hwmon/hwmon0/temp1_input",
                                     "device/hwmon/hwmon0/temp1_label",
                                     "gt/gt0/throttle_reason_pl1"};
    fuzz::root();
    linkToCard();
    fuzz::HostArea area(zel::Area::Gpus, zel::gpuReader());
    for (int moment = 0; moment < 2; ++moment) {
        for (const char *file : files)
            fuzz::hostFile(std::string("sys/class/drm/card0/") + file, input);
        fuzz::hostFile("proc/1/fdinfo/3", input);
        area.take();
    }
}

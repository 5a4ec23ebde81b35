// Reads a graphics card below /sys/class/drm.
#include "host/gpu/DrmCard.h"

#include "host/gpu/DrmSensors.h"
#include "host/source/AttributeText.h"
#include "host/source/SourceFile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>

namespace zel {

namespace {

constexpr const char *cardDirectory = "sys/class/drm";
constexpr double perMega = 1e6, perPercent = 0.01, perMilli = 1e-3;

// What describes a card and is not asked for in each sample.
constexpr Count Gpu::*fixedCounts[] = {&Gpu::memoryTotalBytes, &Gpu::visibleTotalBytes, &Gpu::systemTotalBytes,
                                       &Gpu::pcieGenerationMost, &Gpu::pcieWidthMost};
constexpr Number Gpu::*fixedNumbers[] = {&Gpu::graphicsMostHertz, &Gpu::memoryMostHertz};
constexpr Reading<std::string> Gpu::*fixedTexts[] = {
    &Gpu::name, &Gpu::pciId, &Gpu::driver, &Gpu::driverVersion, &Gpu::libraryVersion, &Gpu::firmware, &Gpu::powerState};

template<class Members, class Type> bool isAmong(const Members &members, Type Gpu::*wanted) {
    return std::find(std::begin(members), std::end(members), wanted) != std::end(members);
}

bool isFixed(const Member<Gpu> &member) {
    return std::visit(
        []<class Type>(Type Gpu::*place) {
            if constexpr (std::is_same_v<Type, Count>)
                return isAmong(fixedCounts, place);
            else if constexpr (std::is_same_v<Type, Number>)
                return isAmong(fixedNumbers, place);
            else if constexpr (std::is_same_v<Type, Reading<std::string>>)
                return isAmong(fixedTexts, place);
            else
                return true;
        },
        member);
}

void forgetChanging(Gpu &gpu, Absence reason) {
    for (const Field<Gpu> &field : fieldsOf<Gpu>()) {
        if (!isFixed(field.member))
            field.clear(gpu, reason);
    }
}

// The rest of the line of a uevent that begins with the key; empty without one.
std::string_view ueventValue(std::string_view text, std::string_view key) {
    for (const char *line = text.data(); *line != '\0'; line = nextLine(line)) {
        if (startsWith(line, key))
            return trimmed(std::string_view(line + key.size(), std::strcspn(line + key.size(), "\n")));
    }
    return {};
}

char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

// Sample: DRIVER=amdgpu
//         PCI_CLASS=30000
//         PCI_ID=1002:73BF
//         PCI_SLOT_NAME=0000:03:00.0
// True when it is another card than the one that `gpu` describes.
bool takeIdentity(DeviceAttributes &card, Gpu &gpu) {
    if (const int error = card.read("device/uevent"); error != 0) {
        gpu.driver.clear(absenceOf(error));
        return false;
    }
    const std::string_view slot = ueventValue(card.text(), "PCI_SLOT_NAME=");
    std::string id(ueventValue(card.text(), "PCI_ID="));
    std::transform(id.begin(), id.end(), id.begin(), lowered);
    const bool isOther = slot != gpu.address || id != gpu.pciId.valueOr("");
    if (isOther) {
        forget(gpu, Absence::NotYet);
        gpu.uuid.clear();
    }
    gpu.address = slot;
    takeAttributeText(id, gpu.pciId);
    takeAttributeText(ueventValue(card.text(), "DRIVER="), gpu.driver);
    return isOther;
}

// Sample: 16.0 GT/s PCIe
Count generationOf(DeviceAttributes &card, std::string_view attribute) {
    if (const int error = card.read(attribute); error != 0)
        return absenceOf(error);
    constexpr std::array speeds{2.5, 5.0, 8.0, 16.0, 32.0, 64.0}; // GT/s of each generation
    const char *cursor = card.text().data();
    const Number speed = takeDecimal(cursor);
    const auto *found = std::find(speeds.begin(), speeds.end(), speed.valueOr(0));
    return found == speeds.end() ? Count(Absence::Unsupported)
                                 : Count(static_cast<std::uint64_t>(found - speeds.begin()) + 1);
}

// Sample: 0: 500Mhz
//         1: 2475Mhz *
// The highest clock, and the one in use.
struct ClockLevels {
    Number most, current;
};
ClockLevels clockLevels(DeviceAttributes &card, std::string_view attribute) {
    if (const int error = card.read(attribute); error != 0)
        return {absenceOf(error), absenceOf(error)};
    ClockLevels levels;
    for (const char *line = card.text().data(); *line != '\0'; line = nextLine(line)) {
        const std::size_t colon = std::strcspn(line, ":\n");
        const char *cursor = line + colon + (line[colon] == ':' ? 1 : 0);
        const Count megahertz = takeCount(cursor, 'M');
        if (!megahertz)
            continue;
        const double hertz = static_cast<double>(*megahertz) * perMega;
        levels.most = std::max(levels.most.valueOr(0), hertz);
        if (std::string_view(cursor, std::strcspn(cursor, "\n")).find('*') != std::string_view::npos)
            levels.current = hertz;
    }
    return levels;
}

// The first of the attributes that the driver has.
Number firstOf(DeviceAttributes &card, std::initializer_list<std::string_view> attributes, double factor) {
    for (const std::string_view attribute : attributes) {
        const Count count = card.number(attribute);
        if (count)
            return static_cast<double>(*count) * factor;
        if (count.absence() != Absence::Unsupported)
            return count.absence();
    }
    return Absence::Unsupported;
}

// 1 when one of the files of i915 or xe says so, 0 when there are some and none does.
Count anyOf(DeviceAttributes &card, std::initializer_list<std::string_view> reasons) {
    Count any;
    for (const std::string_view place : {"gt/gt0/throttle_reason_", "device/tile0/gt0/freq0/throttle/reason_"}) {
        for (const std::string_view reason : reasons) {
            const Count set = card.number(std::string(place).append(reason));
            if (set)
                any = std::uint64_t{any.valueOr(0) != 0 || *set != 0};
        }
    }
    return any;
}

void describe(DeviceAttributes &card, Gpu &gpu) {
    Reading<std::string> unique;
    card.text("device/unique_id", unique);
    gpu.uuid = unique.valueOr("");
    card.text("device/product_name", gpu.name);
    card.text("device/vbios_version", gpu.firmware);
    gpu.memoryTotalBytes = card.number("device/mem_info_vram_total");
    gpu.visibleTotalBytes = card.number("device/mem_info_vis_vram_total");
    gpu.systemTotalBytes = card.number("device/mem_info_gtt_total");
    gpu.pcieGenerationMost = generationOf(card, "device/max_link_speed");
    gpu.pcieWidthMost = card.number("device/max_link_width");
    gpu.graphicsMostHertz = clockLevels(card, "device/pp_dpm_sclk").most;
    gpu.memoryMostHertz = clockLevels(card, "device/pp_dpm_mclk").most;
    if (gpu.graphicsMostHertz.absence() == Absence::Unsupported)
        gpu.graphicsMostHertz =
            firstOf(card, {"gt/gt0/rps_RP0_freq_mhz", "gt_RP0_freq_mhz", "device/tile0/gt0/freq0/rp0_freq"}, perMega);
}

void readMemory(DeviceAttributes &card, Gpu &gpu) {
    gpu.memoryUsedBytes = card.number("device/mem_info_vram_used");
    gpu.visibleUsedBytes = card.number("device/mem_info_vis_vram_used");
    gpu.systemUsedBytes = card.number("device/mem_info_gtt_used");
    if (!gpu.memoryUsedBytes || !gpu.memoryTotalBytes)
        gpu.memoryFreeBytes = (gpu.memoryUsedBytes ? gpu.memoryTotalBytes : gpu.memoryUsedBytes).absence();
    else if (*gpu.memoryUsedBytes > *gpu.memoryTotalBytes)
        gpu.memoryFreeBytes = Absence::Malformed;
    else
        gpu.memoryFreeBytes = *gpu.memoryTotalBytes - *gpu.memoryUsedBytes;
}

// Sample: ue: 0
//         ce: 0
void readFaults(DeviceAttributes &card, Gpu &gpu) {
    const int error = card.read("device/ras/umc_err_count");
    gpu.eccCorrected = gpu.eccUncorrected = error == 0 ? Absence::Malformed : absenceOf(error);
    if (error != 0)
        return;
    for (const char *line = card.text().data(); *line != '\0'; line = nextLine(line)) {
        const char *number = line + (startsWith(line, "ue:") || startsWith(line, "ce:") ? 3 : 0);
        if (number != line)
            (line[0] == 'c' ? gpu.eccCorrected : gpu.eccUncorrected) = takeCount(number);
    }
}

void readClocks(DeviceAttributes &card, Gpu &gpu) {
    if (!gpu.graphicsHertz)
        gpu.graphicsHertz = clockLevels(card, "device/pp_dpm_sclk").current;
    if (!gpu.memoryHertz)
        gpu.memoryHertz = clockLevels(card, "device/pp_dpm_mclk").current;
    if (gpu.graphicsHertz.absence() == Absence::Unsupported)
        gpu.graphicsHertz =
            firstOf(card, {"gt/gt0/rps_act_freq_mhz", "gt_act_freq_mhz", "device/tile0/gt0/freq0/act_freq"}, perMega);
    gpu.idleSeconds = firstOf(
        card, {"gt/gt0/rc6_residency_ms", "power/rc6_residency_ms", "device/tile0/gt0/gtidle/idle_residency_ms"},
        perMilli);
    gpu.throttledPowerCap = anyOf(card, {"pl1", "pl2", "pl4"});
    gpu.throttledThermalHardware = anyOf(card, {"thermal", "prochot"});
}

Number shareOf(const Count &percent) {
    if (!percent)
        return percent.absence();
    return *percent > 100 ? Number(Absence::Malformed) : Number(static_cast<double>(*percent) * perPercent);
}

} // namespace

void readDrmCard(const HostDirectory &root, CardScope scope, Gpu &gpu) {
    DeviceAttributes card(root, cardDirectory, gpu.gpu);
    const bool isOther = takeIdentity(card, gpu);
    card.text("device/power/runtime_status", gpu.powerState);
    const std::string state = gpu.powerState.valueOr("");
    if (state == "suspended" || state == "suspending")
        return forgetChanging(gpu, Absence::NotYet);
    forgetChanging(gpu, Absence::Unsupported);
    if (scope == CardScope::All || isOther)
        describe(card, gpu);
    gpu.utilisation = shareOf(card.number("device/gpu_busy_percent"));
    gpu.memoryUtilisation = shareOf(card.number("device/mem_busy_percent"));
    readMemory(card, gpu);
    readDrmSensors(root, card, gpu);
    readClocks(card, gpu);
    readFaults(card, gpu);
    gpu.pcieGeneration = generationOf(card, "device/current_link_speed");
    gpu.pcieWidth = card.number("device/current_link_width");
    gpu.pcieReplays = card.number("device/pcie_replay_count");
}

} // namespace zel

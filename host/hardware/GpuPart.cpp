// Reads graphics cards and other accelerators.
#include "host/hardware/PciNames.h"
#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"
#include "host/source/SourceFile.h"

#include <cerrno>

namespace zel {

namespace {

constexpr const char *pciDirectory = "sys/bus/pci/devices";

// Sample: 0x030000
bool isCard(std::string_view classId) {
    return classId.starts_with("0x03") || classId.starts_with("0x12");
}

int listCards(const HostDirectory &root, std::vector<std::string> &names) {
    const int error = listDevices(root, pciDirectory, names);
    std::erase_if(names, [&root](const std::string &name) {
        DeviceAttributes files(root, pciDirectory, name);
        return files.read("class") != 0 || !isCard(files.text());
    });
    return error;
}

void takeDevices(HardwareRead &read, const std::string &address, Reading<std::string> &reading) {
    std::vector<std::string> names;
    const std::string directory = std::string(pciDirectory) + '/' + address + "/drm";
    noteUnlessMissing(read.state, listDevices(read.root, directory.c_str(), names), directory);
    std::string text;
    for (const std::string &name : names) {
        if (name.starts_with("card") || name.starts_with("renderD"))
            text += (text.empty() ? "" : " ") + name;
    }
    takeAttributeText(text, reading);
}

// What follows a key in a file of lines.
// Sample: Model:           NVIDIA H100 80GB HBM3
void takeLine(std::string_view text, std::string_view key, Reading<std::string> &reading) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (line.starts_with(key))
            return takeAttributeText(line.substr(key.size()), reading);
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
}

void readNvidia(HardwareRead &read, const std::string &address, GpuCard &card) {
    SourceFile file("proc/driver/nvidia/gpus/" + address + "/information");
    const int error = file.read(read.root);
    noteUnlessMissing(read.state, error, file.path());
    takeLine(file.text(), "Model:", card.model);
    takeLine(file.text(), "Video BIOS:", card.videoBios);
}

void readCard(HardwareRead &read, const std::string &address) {
    DeviceAttributes files(read.root, pciDirectory, address);
    if (!files.has(""))
        return;
    GpuCard &card = read.found.gpuCards.append();
    card.address = address;
    files.text("vendor", card.vendorId);
    files.text("device", card.deviceId);
    files.text("class", card.classId);
    takeAttributeText(lastPart(files.link("driver")), card.driver);
    files.text("product_name", card.model);
    files.text("vbios_version", card.videoBios);
    card.memoryBytes = files.number("mem_info_vram_total");
    card.bootDisplay = files.number("boot_vga");
    card.node = files.number("numa_node");
    takeDevices(read, address, card.devices);
    if (const Absence reason = read.serials(); reason != Absence::None)
        card.serial.clear(reason);
    else
        files.text("serial_number", card.serial);
    if (card.driver && *card.driver == "nvidia")
        readNvidia(read, address, card);
}

void loseCard(Hardware &found, const std::string &address, Absence reason) {
    GpuCard &card = found.gpuCards.append();
    card.address = address;
    forget(card, reason);
}

void readNames(const HostDirectory &root, std::vector<PartText> &texts) {
    readPciIds(root, texts.emplace_back());
}

void useNames(Hardware &found, int error, std::span<const PartText> texts) {
    const int failure = error != 0 ? error : texts[0].error;
    const PciIds ids(failure == 0 ? std::string_view(texts[0].text) : std::string_view());
    for (GpuCard &card : found.gpuCards) {
        card.vendorName.clear(absenceOf(failure == 0 ? ENOENT : failure));
        card.deviceName.clear(card.vendorName.absence());
        const std::optional<std::uint16_t> vendor = pciId(card.vendorId), device = pciId(card.deviceId);
        if (failure == 0 && vendor)
            takeAttributeText(ids.vendor(*vendor), card.vendorName);
        if (failure == 0 && vendor && device)
            takeAttributeText(ids.device(*vendor, *device), card.deviceName);
    }
    if (!found.gpuCards.empty())
        noteUnlessMissing(found.part(HardwarePart::Gpus), failure, PCI_IDS_FILE);
}

} // namespace

const PartReader &gpusPart() {
    static constexpr PartReader reader{.directory = pciDirectory,
                                       .list = listCards,
                                       .read = readCard,
                                       .lose = loseCard,
                                       .readTexts = readNames,
                                       .useTexts = useNames};
    return reader;
}

} // namespace zel

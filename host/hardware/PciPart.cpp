// Reads PCI devices, and their names from the table of pci.ids.
#include "host/hardware/PartReader.h"
#include "host/hardware/PciNames.h"
#include "host/hardware/PciSlots.h"
#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

#include <optional>

namespace zel {

namespace {

constexpr const char *devices = "sys/bus/pci/devices";
constexpr double transfersPerGiga = 1e9;
constexpr std::uint64_t unknownWidth = 0xff; // what the kernel says of a device that does not say it
constexpr std::size_t addressLength = sizeof("0000:00:00.0") - 1;
constexpr std::size_t classBits = 24; // of a class with its interface

// A card that its maker gave no numbers.
void dropNoSubsystem(PciDevice &device) {
    const std::optional<std::uint16_t> vendor = pciId(device.subsystemVendorId);
    if (!vendor || (*vendor != 0 && *vendor != 0xffff))
        return;
    device.subsystemVendorId.clear(Absence::Unsupported);
    device.subsystemId.clear(Absence::Unsupported);
}

void takeLink(DeviceAttributes &files, std::string_view attribute, Reading<std::string> &reading) {
    takeAttributeText(lastPart(files.link(attribute)), reading);
}

// Sample: ../../../devices/pci0000:00/0000:00:1c.0/0000:03:00.0
void readParent(DeviceAttributes &files, Reading<std::string> &parent) {
    const std::string_view bridge = lastPart(withoutLastPart(files.link("")));
    if (bridge.size() >= addressLength && bridge.substr(0, 3) != "pci")
        parent.set(bridge);
    else
        parent.clear(Absence::Unsupported);
}

// Sample: 8.0 GT/s PCIe
Number transfers(DeviceAttributes &files, std::string_view attribute) {
    if (const int error = files.read(attribute); error != 0)
        return absenceOf(error);
    const char *cursor = files.text().data();
    if (trimmed(files.text()).substr(0, 7) == "Unknown")
        return Absence::Unsupported;
    const Number giga = takeDecimal(cursor);
    return giga ? Number(*giga * transfersPerGiga) : giga;
}

Count lanes(DeviceAttributes &files, std::string_view attribute) {
    const Count width = files.number(attribute);
    return width && (*width == 0 || *width == unknownWidth) ? Count(Absence::Unsupported) : width;
}

// These four ask the device itself, which would have to wake for it.
void readLink(DeviceAttributes &files, PciDevice &device) {
    const bool sleeps = device.runtimeStatus && *device.runtimeStatus == "suspended";
    device.linkTransfers = sleeps ? Number(Absence::NotAsked) : transfers(files, "current_link_speed");
    device.linkTransfersMost = sleeps ? Number(Absence::NotAsked) : transfers(files, "max_link_speed");
    device.linkWidth = sleeps ? Count(Absence::NotAsked) : lanes(files, "current_link_width");
    device.linkWidthMost = sleeps ? Count(Absence::NotAsked) : lanes(files, "max_link_width");
}

void readDevice(HardwareRead &read, const std::string &address) {
    DeviceAttributes files(read.root, devices, address);
    PciDevice &device = read.found.pciDevices.append();
    device.address = address;
    files.text("class", device.classId);
    if (device.classId.absence() == Absence::Vanished)
        return read.found.pciDevices.dropLast();
    files.text("vendor", device.vendorId);
    files.text("device", device.deviceId);
    files.text("subsystem_vendor", device.subsystemVendorId);
    files.text("subsystem_device", device.subsystemId);
    dropNoSubsystem(device);
    files.text("revision", device.revision);
    takeLink(files, "driver", device.driver);
    readParent(files, device.parent);
    device.node = files.number("numa_node");
    Reading<std::string> group;
    takeLink(files, "iommu_group", group);
    device.iommuGroup = group ? attributeNumber(group.value().c_str()) : Count(group.absence());
    device.enabled = files.number("enable"); // how many asked for it
    if (device.enabled)
        device.enabled = *device.enabled > 0 ? 1 : 0;
    files.text("power/runtime_status", device.runtimeStatus);
    readLink(files, device);
}

int listPci(const HostDirectory &root, std::vector<std::string> &names) {
    return listDevices(root, devices, names);
}

void lose(Hardware &found, const std::string &address, Absence reason) {
    PciDevice &device = found.pciDevices.append();
    device.address = address;
    forget(device, reason);
}

enum TextPlace : std::size_t { NAMES, SLOTS, TEXTS };

void readTexts(const HostDirectory &root, std::vector<PartText> &texts) {
    texts.resize(TEXTS);
    readPciIds(root, texts[NAMES]);
    readPciSlots(root, texts[SLOTS]);
}

void takeName(std::string_view name, Reading<std::string> &reading) {
    takeAttributeText(name, reading);
}

void nameDevice(const PciIds &ids, PciDevice &device) {
    if (const std::optional<std::uint32_t> kind = pciNumber(device.classId, classBits))
        takeName(ids.className(static_cast<std::uint8_t>(*kind >> 16U), static_cast<std::uint8_t>(*kind >> 8U)),
                 device.className);
    const auto vendor = pciId(device.vendorId), model = pciId(device.deviceId);
    const auto cardVendor = pciId(device.subsystemVendorId), card = pciId(device.subsystemId);
    if (vendor)
        takeName(ids.vendor(*vendor), device.vendorName);
    if (vendor && model)
        takeName(ids.device(*vendor, *model), device.deviceName);
    if (cardVendor)
        takeName(ids.vendor(*cardVendor), device.subsystemVendorName);
    if (vendor && model && cardVendor && card)
        takeName(ids.subsystem(*vendor, *model, *cardVendor, *card), device.subsystemName);
}

constexpr Reading<std::string> PciDevice::*names[] = {&PciDevice::className, &PciDevice::vendorName,
                                                      &PciDevice::deviceName, &PciDevice::subsystemVendorName,
                                                      &PciDevice::subsystemName};

void useTexts(Hardware &found, int error, std::span<const PartText> texts) {
    const int nameError = error != 0 ? error : texts[NAMES].error;
    const int slotError = error != 0 ? error : texts[SLOTS].error;
    const PciIds ids(nameError == 0 ? std::string_view(texts[NAMES].text) : std::string_view());
    for (PciDevice &device : found.pciDevices) {
        for (const auto name : names)
            (device.*name).clear(nameError == 0 ? Absence::Unsupported : absenceOf(nameError));
        if (nameError == 0)
            nameDevice(ids, device);
        if (slotError == 0)
            takePciSlot(texts[SLOTS].text, device.address, device.slot);
        else
            device.slot.clear(absenceOf(slotError));
    }
    AreaState &state = found.part(HardwarePart::Pci);
    if (error != 0)
        noteFailure(state, error, PCI_IDS_FILE);
    else
        noteUnlessMissing(state, nameError, PCI_IDS_FILE);
}

} // namespace

const PartReader &pciPart() {
    static constexpr PartReader reader{.directory = devices,
                                       .list = listPci,
                                       .read = readDevice,
                                       .lose = lose,
                                       .readTexts = readTexts,
                                       .useTexts = useTexts};
    return reader;
}

} // namespace zel

// Reads the disks of the inventory: what each says of itself below /sys/block, what it is made of, and its controller.
#include "host/areas/DiskDetails.h"
#include "host/hardware/DevicePath.h"
#include "host/hardware/DiskTransport.h"
#include "host/hardware/PartReader.h"
#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

#include <algorithm>
#include <cerrno>

namespace zel {

namespace {

constexpr const char *blockDirectory = "sys/block";
constexpr std::uint64_t bytesPerSector = 512;

// A list of names is cut before it is longer than this: a disk of hundreds of members still makes a row.
constexpr std::size_t nameListLimit = 4096;

std::vector<std::string> namesIn(HardwareRead &read, const std::string &directory) {
    std::vector<std::string> names;
    const int error = listDevices(read.root, directory.c_str(), names);
    noteUnlessMissing(read.state, error, directory);
    return names;
}

void takeNames(const std::vector<std::string> &names, Reading<std::string> &reading) {
    std::string text;
    for (const std::string &name : names) {
        if (text.size() + name.size() >= nameListLimit)
            break;
        text += (text.empty() ? "" : " ") + name;
    }
    if (text.empty())
        reading.clear(Absence::Unsupported);
    else
        reading.set(text);
}

// Sample: naa.5002538e40a1b2c3, eui.0025385b71b0e2d1, t10.ATA     Disk 9      S3Z1NB
// Those that a vendor makes up hold the serial number, and are no world-wide name.
void takeWorldWideName(const Reading<std::string> &identifier, Reading<std::string> &reading) {
    constexpr std::string_view networkAddress = "naa.", extendedIdentifier = "eui.";
    reading.clear(identifier.absence() == Absence::None ? Absence::Unsupported : identifier.absence());
    if (!identifier)
        return;
    if (identifier.value().starts_with(networkAddress))
        reading.set("0x" + identifier.value().substr(networkAddress.size()));
    else if (identifier.value().starts_with(extendedIdentifier))
        reading.set(*identifier);
}

// The word of the device mapper's UUID before its '-', such as "mpath", "LVM" and "part1".
std::string mapperKind(const Disk &details) {
    if (!details.deviceMapperUuid)
        return "dm";
    const std::string_view uuid = *details.deviceMapperUuid;
    std::string kind(uuid.substr(0, uuid.find('-')));
    if (kind.starts_with("part"))
        return "part";
    for (char &letter : kind)
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    return kind;
}

// Of a SCSI device: its type is a number of the standard.
std::string scsiKind(DeviceAttributes &files) {
    constexpr std::uint64_t tape = 1, opticalWorm = 4, rom = 5, optical = 7;
    switch (files.number("device/type").valueOr(0)) {
    case tape:
        return "tape";
    case rom:
        return "rom";
    case opticalWorm:
    case optical:
        return "optical";
    default:
        return "disk";
    }
}

std::string kindOf(DeviceAttributes &files, const Disk &details, const DevicePath &path, std::string_view name) {
    if (details.deviceMapperName)
        return mapperKind(details);
    if (details.raidLevel)
        return *details.raidLevel;
    if (files.has("md"))
        return "md";
    if (files.number("hidden").valueOr(0) == 1)
        return "path";
    if (name.starts_with("loop"))
        return "loop";
    return path.scsiAddress.empty() ? "disk" : scsiKind(files);
}

void takeDetails(const Disk &details, Absence serials, DiskUnit &unit) {
    unit.vendor.assign(details.vendor);
    unit.model.assign(details.model);
    unit.firmware.assign(details.firmware);
    takeWorldWideName(details.worldWideId, unit.worldWideName);
    unit.logicalBlockBytes = details.logicalBlockBytes;
    unit.physicalBlockBytes = details.physicalBlockBytes;
    unit.rotational = details.rotational;
    unit.removable = details.removable;
    unit.scheduler.assign(details.scheduler);
    unit.deviceMapperName.assign(details.deviceMapperName);
    unit.raidState.assign(details.raidState);
    unit.raidDisks = details.raidDisks;
    unit.raidDegraded = details.raidDegraded;
    unit.serial.assign(details.serial);
    unit.deviceMapperUuid.assign(details.deviceMapperUuid);
    if (serials == Absence::None)
        return;
    unit.serial.clear(serials);
    if (unit.deviceMapperUuid) // that of a multipath disk is made of the serial number
        unit.deviceMapperUuid.clear(serials);
}

void takeQueue(DeviceAttributes &files, DiskUnit &unit) {
    unit.sizeBytes = scaledCount(files.number("size"), bytesPerSector);
    unit.readOnly = files.number("ro");
    files.text("device/state", unit.state);
    files.text("queue/write_cache", unit.writeCache);
    files.text("queue/zoned", unit.zoned);
    unit.queueDepth = files.number("device/queue_depth");
    unit.queueRequests = files.number("queue/nr_requests");
    const Count most = files.number("queue/discard_max_bytes");
    unit.discard = most ? Count(*most > 0 ? 1 : 0) : most;
    const Count granularity = files.number("queue/discard_granularity");
    unit.discardGranularityBytes = granularity && *granularity == 0 ? Count(Absence::Unsupported) : granularity;
    unit.namespaceId = files.number("nsid");
}

void takeText(std::string_view text, Reading<std::string> &reading) {
    takeAttributeText(text, reading);
}

void takePlace(const HostDirectory &root, const DevicePath &path, const std::string &name, DiskUnit &unit) {
    takeText(path.scsiAddress, unit.scsiAddress);
    takeText(path.pciAddress, unit.pciAddress);
    for (const std::string_view controller : {path.scsiHost, path.nvme, path.virtio, path.mmc}) {
        takeText(controller, unit.controller);
        if (unit.controller)
            break;
    }
    DeviceAttributes pci(root, "sys/bus/pci/devices", path.pciAddress);
    takeText(lastPart(pci.link("driver")), unit.controllerDriver);
    takeText(diskTransport(root, path, name), unit.transport);
}

// A partition is a directory below its disk, with a file of this name.
Count countPartitions(HardwareRead &read, DeviceAttributes &files, const std::string &directory,
                      const std::string &name) {
    std::uint64_t partitions = 0;
    for (const std::string &entry : namesIn(read, directory)) {
        if (entry.starts_with(name) && files.has(entry + "/partition"))
            ++partitions;
    }
    return partitions;
}

// Where the disk is among the devices. Old kernels have a directory in place of the link, with a link in it.
std::string placeOf(DeviceAttributes &files) {
    const std::string place(files.link(""));
    return place.empty() ? std::string(files.link("device")) + '/' : place;
}

// What a disk or partition says as a member: of an array the array says more.
void takeMember(HardwareRead &read, DeviceAttributes &files, const std::string &disk, const std::string &name) {
    DiskMember &member = read.found.diskMembers.append();
    member.disk = disk;
    member.member = name;
    files.text("md/dev-" + name + "/state", member.state);
    files.text("md/dev-" + name + "/slot", member.slot);
    DeviceAttributes own(read.root, "sys/class/block", name);
    takeText(parseDevicePath(own.link("")).scsiAddress, member.path);
    if (!member.state)
        own.text(own.has("partition") ? "../device/state" : "device/state", member.state);
}

void readDisk(HardwareRead &read, const std::string &name) {
    const std::string directory = blockDirectory + ('/' + name);
    DeviceAttributes files(read.root, blockDirectory, name);
    const std::string place = placeOf(files);
    const DevicePath path = parseDevicePath(place);
    const Count size = files.number("size");
    if ((path.isVirtual && size && *size == 0 && !files.has("md")) || !files.has("queue"))
        return;
    DiskUnit &unit = read.found.diskUnits.append();
    Disk details;
    readDiskDetails(read.root, name, DetailScope::All, details);
    unit.name = name;
    takeDetails(details, read.serials(), unit);
    takeQueue(files, unit);
    takePlace(read.root, path, name, unit);
    takeText(kindOf(files, details, path, name), unit.kind);
    unit.partitions = countPartitions(read, files, directory, name);
    takeNames(namesIn(read, directory + "/holders"), unit.holders);
    const std::vector<std::string> members = namesIn(read, directory + "/slaves");
    takeNames(members, unit.members);
    for (const std::string &member : members)
        takeMember(read, files, name, member);
}

int listDisks(const HostDirectory &root, std::vector<std::string> &names) {
    return listDevices(root, blockDirectory, names);
}

void loseDisk(Hardware &found, const std::string &name, Absence reason) {
    DiskUnit &unit = found.diskUnits.append();
    unit.name = name;
    forget(unit, reason);
}

} // namespace

const PartReader &disksPart() {
    static constexpr PartReader reader{
        .directory = blockDirectory, .list = listDisks, .read = readDisk, .lose = loseDisk};
    return reader;
}

} // namespace zel

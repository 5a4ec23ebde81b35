// Reads what a disk says of itself.
#include "host/areas/DiskDetails.h"

#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

namespace zel {

namespace {

// The first of the files that says something: each kind of driver has its own.
void takeFirst(DeviceAttributes &files, std::initializer_list<std::string_view> attributes,
               Reading<std::string> &reading) {
    for (const std::string_view attribute : attributes) {
        files.text(attribute, reading);
        if (reading.absence() != Absence::Unsupported)
            return;
    }
}

// SCSI's page of the serial number: type, 80, two bytes of length, the number.
void takeSerialPage(DeviceAttributes &files, Reading<std::string> &serial) {
    constexpr std::size_t headSize = 4;
    constexpr char pageNumber = '\x80';
    if (files.read("device/vpd_pg80") != 0)
        return;
    const std::string_view page = files.text();
    if (page.size() < headSize || page[1] != pageNumber)
        return;
    const auto byte = [page](std::size_t at) { return static_cast<unsigned char>(page[at]); };
    const std::string_view number = page.substr(headSize, byte(2) * 256U + byte(3));
    takeAttributeText(number.substr(0, number.find('\0')), serial);
}

void readDevice(DeviceAttributes &files, Disk &disk) {
    takeFirst(files, {"serial"}, disk.serial); // virtio
    takeFirst(files, {"wwid"}, disk.worldWideId);
    if (!files.has("device"))
        return;
    takeFirst(files, {"device/vendor"}, disk.vendor);
    takeFirst(files, {"device/model", "device/name"}, disk.model);
    takeFirst(files, {"device/rev", "device/firmware_rev", "device/fwrev"}, disk.firmware);
    if (!disk.worldWideId)
        takeFirst(files, {"device/wwid"}, disk.worldWideId);
    if (!disk.serial)
        takeFirst(files, {"device/serial"}, disk.serial);
    if (!disk.serial)
        takeSerialPage(files, disk.serial);
}

// Sample: noop [mq-deadline] kyber
void readScheduler(DeviceAttributes &files, Reading<std::string> &scheduler) {
    if (const int error = files.read("queue/scheduler"); error != 0)
        return scheduler.clear(absenceOf(error));
    const std::string_view text = files.text();
    const std::size_t first = text.find('['), end = text.find(']');
    const bool chosen = first != std::string_view::npos && end != std::string_view::npos && first < end;
    takeAttributeText(chosen ? text.substr(first + 1, end - first - 1) : text, scheduler);
}

// Sample: 5120 / 2096128
// "none" while nothing is done, "delayed" while it waits for another array.
Number syncRatio(DeviceAttributes &files) {
    if (const int error = files.read("md/sync_completed"); error != 0)
        return absenceOf(error);
    const char *cursor = files.text().data();
    unsigned long long done = 0, whole = 0;
    if (trimmed(files.text()) == "none")
        return Absence::Unsupported;
    if (trimmed(files.text()) == "delayed")
        return 0.0;
    if (!scanUnsigned(cursor, done) || *(cursor = skipBlanks(cursor)) != '/' || !scanUnsigned(++cursor, whole))
        return Absence::Malformed;
    return whole > 0 ? Number(static_cast<double>(done) / static_cast<double>(whole)) : Number(Absence::Unsupported);
}

void readArray(DeviceAttributes &files, Disk &disk) {
    if (!files.has("md"))
        return;
    files.text("md/level", disk.raidLevel);
    files.text("md/array_state", disk.raidState);
    files.text("md/sync_action", disk.raidSyncAction);
    disk.raidSyncRatio = syncRatio(files);
    disk.raidDisks = files.number("md/raid_disks");
    disk.raidDegraded = files.number("md/degraded");
}

void readFixed(DeviceAttributes &files, Disk &disk) {
    disk.removable = files.number("removable");
    disk.rotational = files.number("queue/rotational");
    disk.logicalBlockBytes = files.number("queue/logical_block_size");
    disk.physicalBlockBytes = files.number("queue/physical_block_size");
    readDevice(files, disk);
}

} // namespace

void readDiskDetails(const HostDirectory &root, std::string_view name, DetailScope scope, Disk &disk) {
    DeviceAttributes files(root, "sys/class/block", name);
    forEachDiskDetail(scope, [&disk](auto member) { (disk.*member).clear(Absence::Unsupported); });
    if (files.has("partition")) {
        // Sample: ../../devices/pci0000:00/0000:00:04.0/virtio1/block/vda/vda1
        const std::string_view disks = lastPart(withoutLastPart(files.link("")));
        if (scope == DetailScope::All && !disks.empty())
            disk.parent.set(disks);
        return;
    }
    if (scope == DetailScope::All)
        readFixed(files, disk);
    readScheduler(files, disk.scheduler);
    if (files.has("dm")) {
        files.text("dm/name", disk.deviceMapperName);
        files.text("dm/uuid", disk.deviceMapperUuid);
    }
    readArray(files, disk);
}

} // namespace zel

// Finds out by what a disk is connected.
#include "host/hardware/DiskTransport.h"

#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

namespace zel {

namespace {

bool exists(const HostDirectory &root, std::string_view classDirectory, std::string_view name) {
    return DeviceAttributes(root, classDirectory, name).has("");
}

// Every transport of SCSI has a class of hosts, which holds those that are of it.
std::string_view scsiTransport(const HostDirectory &root, const DevicePath &path) {
    const std::string_view host = path.scsiHost;
    if (exists(root, "sys/class/spi_host", host))
        return "spi";
    if (exists(root, "sys/class/fc_host", host)) {
        Reading<std::string> name;
        DeviceAttributes(root, "sys/class/fc_host", host).text("symbolic_name", name);
        return name && name.value().find(" over ") != std::string::npos ? "fcoe" : "fc";
    }
    if (exists(root, "sys/class/sas_host", host) ||
        DeviceAttributes(root, "sys/class/scsi_device", path.scsiAddress).has("device/sas_device"))
        return "sas";
    if (DeviceAttributes(root, "sys/class/scsi_device", path.scsiAddress).has("device/ieee1394_id"))
        return "sbp";
    if (exists(root, "sys/class/iscsi_host", host))
        return "iscsi";
    if (path.usb)
        return "usb";
    Reading<std::string> driver;
    DeviceAttributes(root, "sys/class/scsi_host", host).text("proc_name", driver);
    if (driver && (driver.value().starts_with("ahci") || driver.value().starts_with("sata")))
        return "sata";
    if (driver && driver.value().find("ata") != std::string::npos)
        return "ata";
    return path.virtio.empty() ? "" : "virtio";
}

} // namespace

std::string_view diskTransport(const HostDirectory &root, const DevicePath &path, std::string_view name) {
    if (!path.scsiHost.empty())
        return scsiTransport(root, path);
    if (name.starts_with("nvme"))
        return "nvme";
    if (!path.virtio.empty())
        return "virtio";
    if (!path.mmc.empty())
        return "mmc";
    return path.usb ? "usb" : "";
}

} // namespace zel

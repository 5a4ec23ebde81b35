// Reads the ports of Fibre Channel adapters: many of their files are answered by the firmware of the adapter.
#include "host/hardware/DevicePath.h"
#include "host/hardware/PartReader.h"
#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

#include <initializer_list>

namespace zel {

namespace {

constexpr const char *portDirectory = "sys/class/fc_host";

// All bits set: the transport's way of saying that the driver has not filled a name.
constexpr std::string_view noName = "0xffffffffffffffff";

// What a port says, in the class of the transport and in that of the SCSI host.
class PortFiles {
public:
    PortFiles(const HostDirectory &root, const std::string &name)
        : m_port(root, portDirectory, name), m_host(root, "sys/class/scsi_host", name) {}

    bool exists() { return m_port.has(""); }
    std::string place() { return std::string(m_port.link("")); }
    void take(std::string_view attribute, Reading<std::string> &reading) { m_port.text(attribute, reading); }
    void takeName(std::string_view attribute, Reading<std::string> &reading) {
        take(attribute, reading);
        if (reading && *reading == noName)
            reading.clear(Absence::Unsupported);
    }
    /// The first of the files that says something: every driver has names of its own in the class of the SCSI host.
    void takeFirst(std::string_view standard, std::initializer_list<std::string_view> ofDrivers,
                   Reading<std::string> &reading) {
        take(standard, reading);
        for (const std::string_view attribute : ofDrivers) {
            if (reading.absence() != Absence::Unsupported)
                return;
            m_host.text(attribute, reading);
        }
    }

private:
    DeviceAttributes m_port, m_host;
};

void takeTexts(PortFiles &files, FibreChannelAdapter &port) {
    files.takeName("port_name", port.portName);
    files.takeName("node_name", port.nodeName);
    files.takeName("fabric_name", port.fabricName);
    files.take("manufacturer", port.vendor);
    files.takeFirst("model", {"model_name", "modelname", "model"}, port.model);
    files.takeFirst("model_description", {"model_desc", "modeldesc", "model_description"}, port.description);
    files.takeFirst("firmware_version", {"fw_version", "fwrev", "firmware_version"}, port.firmware);
    files.takeFirst("optionrom_version", {"optrom_fw_version", "option_rom_version"}, port.optionRom);
    files.takeFirst("driver_name", {"proc_name"}, port.driver);
    files.takeFirst("driver_version", {"driver_version", "lpfc_drvr_version"}, port.driverVersion);
    files.take("port_state", port.state);
    files.take("port_type", port.type);
    files.take("speed", port.speed);
    files.take("supported_speeds", port.supportedSpeeds);
    files.take("symbolic_name", port.symbolicName);
}

void readPort(HardwareRead &read, const std::string &name) {
    PortFiles files(read.root, name);
    if (!files.exists())
        return;
    FibreChannelAdapter &port = read.found.fibreChannelAdapters.append();
    port.name = name;
    takeTexts(files, port);
    if (const Absence reason = read.serials(); reason != Absence::None)
        port.serial.clear(reason);
    else
        files.takeFirst("serial_number", {"serial_num", "serialnum", "serial_number"}, port.serial);
    const std::string place = files.place();
    const std::string_view address = parseDevicePath(place).pciAddress;
    takeAttributeText(address, port.pciAddress);
    port.node = DeviceAttributes(read.root, "sys/bus/pci/devices", address).number("numa_node");
}

int listPorts(const HostDirectory &root, std::vector<std::string> &names) {
    return listDevices(root, portDirectory, names);
}

void losePort(Hardware &found, const std::string &name, Absence reason) {
    FibreChannelAdapter &port = found.fibreChannelAdapters.append();
    port.name = name;
    forget(port, reason);
}

} // namespace

const PartReader &fibreChannelPart() {
    static constexpr PartReader reader{
        .directory = portDirectory, .list = listPorts, .read = readPort, .lose = losePort};
    return reader;
}

} // namespace zel

// The fields of ports of Fibre Channel adapters.
#include "host/hardware/FibreChannelAdapter.h"

namespace zel {

namespace {

constexpr Entries<FibreChannelAdapter> port{Area::Hardware, "fibre_channel_adapters", "/sys/class/fc_host",
                                            "a Fibre Channel adapter with its driver"};
constexpr Entries<FibreChannelAdapter> driver = port.from("/sys/class/fc_host, /sys/class/scsi_host", "some drivers");

constexpr Field<FibreChannelAdapter> fields[] = {
    port.label("name", &FibreChannelAdapter::name, "Name of the port, which is that of its SCSI host."),
    port.info("port_name", &FibreChannelAdapter::portName, "World-wide name (WWN) of the port."),
    port.info("node_name", &FibreChannelAdapter::nodeName, "World-wide name of the adapter."),
    port.state("fabric_name", &FibreChannelAdapter::fabricName, "World-wide name of the fabric."),
    driver.info("vendor", &FibreChannelAdapter::vendor, "Maker of the adapter."),
    driver.info("model", &FibreChannelAdapter::model, "Model of the adapter."),
    driver.info("description", &FibreChannelAdapter::description, "Its description."),
    driver.needing(Rights::Root, driver.info("serial", &FibreChannelAdapter::serial, "Serial number, when asked for.")),
    driver.info("firmware", &FibreChannelAdapter::firmware, "Version of its firmware."),
    driver.info("option_rom", &FibreChannelAdapter::optionRom, "Version of its boot code."),
    driver.info("driver", &FibreChannelAdapter::driver, "Driver."),
    driver.info("driver_version", &FibreChannelAdapter::driverVersion, "Version of the driver."),
    port.state("state", &FibreChannelAdapter::state, "State of the port."),
    port.state("type", &FibreChannelAdapter::type, "Type of the port."),
    port.state("speed", &FibreChannelAdapter::speed, "Speed of the link."),
    port.info("supported_speeds", &FibreChannelAdapter::supportedSpeeds, "Speeds that it can have."),
    port.info("symbolic_name", &FibreChannelAdapter::symbolicName, "How the driver describes the port to the fabric."),
    port.info("pci_address", &FibreChannelAdapter::pciAddress, "Address of its PCI device."),
    port.from("/sys/bus/pci/devices/*/numa_node")
        .info("node", &FibreChannelAdapter::node, "NUMA node that it is connected to."),
};

} // namespace

template<> std::span<const Field<FibreChannelAdapter>> fieldsOf<FibreChannelAdapter>() {
    return fields;
}

} // namespace zel

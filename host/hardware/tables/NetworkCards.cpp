// The fields of network cards.
#include "host/hardware/NetworkCard.h"

namespace zel {

namespace {

constexpr std::string_view thisHost = "this host itself, not a root directory";
constexpr Entries<NetworkCard> card{Area::Hardware, "network_cards", "/sys/class/net"};
constexpr Entries<NetworkCard> device = card.from("/sys/class/net/*/device");
constexpr Entries<NetworkCard> driver = card.from("SIOCETHTOOL ETHTOOL_GDRVINFO", thisHost);
constexpr Entries<NetworkCard> link = card.from("SIOCETHTOOL ETHTOOL_GLINKSETTINGS", thisHost);
constexpr Field<NetworkCard> fields[] = {
    card.label("name", &NetworkCard::name, "Name of the interface."),
    device.info("driver", &NetworkCard::driver, "Driver of the device."),
    driver.info("driver_version", &NetworkCard::driverVersion, "Version that the driver states."),
    driver.info("firmware", &NetworkCard::firmware, "Version of the firmware, as the driver states it."),
    device.info("device", &NetworkCard::device, "Device on its bus: the address of a PCI device."),
    card.from("/sys/bus/pci/slots", "a PCI device in a slot that the firmware or a hotplug driver names")
        .info("slot", &NetworkCard::slot, "Physical slot."),
    card.info("address", &NetworkCard::address, "Hardware address in use."),
    card.from("SIOCETHTOOL ETHTOOL_GPERMADDR", thisHost)
        .info("permanent_address", &NetworkCard::permanentAddress, "Hardware address that it was made with."),
    card.state("speed_bytes_per_second", &NetworkCard::speedBytesPerSecond, Unit::Bytes, "Speed of the link."),
    link.info("highest_speed_bytes_per_second", &NetworkCard::highestSpeedBytesPerSecond, Unit::Bytes,
              "Highest speed that the card supports."),
    card.state("duplex", &NetworkCard::duplex, "full or half."),
    link.state("port_type", &NetworkCard::portType, "What is plugged in: twisted pair, fibre, direct attach, ..."),
    link.state("autonegotiation", &NetworkCard::autonegotiation, "on or off."),
    card.info("physical_port", &NetworkCard::physicalPort, "Name or number of the port on the card."),
    card.info("receive_queues", &NetworkCard::receiveQueues, "Queues in use that receive."),
    card.info("transmit_queues", &NetworkCard::transmitQueues, "Queues in use that send."),
    device.info("node", &NetworkCard::node, "NUMA node that the device is near to."),
    card.state("link_state", &NetworkCard::linkState, "up, down, dormant, ... (operstate)."),
};

} // namespace

template<> std::span<const Field<NetworkCard>> fieldsOf<NetworkCard>() {
    return fields;
}

} // namespace zel

// Reads network cards: the interfaces that belong to a device.
#include "host/areas/InterfaceDetails.h"
#include "host/hardware/EthtoolCalls.h"
#include "host/hardware/PartReader.h"
#include "host/hardware/PciSlots.h"
#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

#include <algorithm>

namespace zel {

namespace {

constexpr const char *netDirectory = "sys/class/net";

// Devices that the kernel makes of others, such as bridges, have no device of their own.
int listCards(const HostDirectory &root, std::vector<std::string> &names) {
    const int error = listDevices(root, netDirectory, names);
    std::erase_if(
        names, [&root](const std::string &name) { return !DeviceAttributes(root, netDirectory, name).has("device"); });
    return error;
}

// How many entries of the directory "queues" begin with the word.
void countQueues(const HostDirectory &root, const std::string &name, NetworkCard &card) {
    const std::string path = std::string(netDirectory) + '/' + name + "/queues";
    std::vector<std::string> queues;
    const int error = listDevices(root, path.c_str(), queues);
    const auto count = [&](std::string_view word) {
        const auto found = std::count_if(queues.begin(), queues.end(),
                                         [word](const std::string &queue) { return queue.starts_with(word); });
        if (error != 0)
            return Count(absenceOf(error));
        return found > 0 ? Count(static_cast<std::uint64_t>(found)) : Count(Absence::Unsupported);
    };
    card.receiveQueues = count("rx-");
    card.transmitQueues = count("tx-");
}

// A device that sleeps is left alone: the calls of ethtool would wake it.
bool sleeps(DeviceAttributes &files) {
    return files.read("device/power/runtime_status") == 0 && trimmed(files.text()) == "suspended";
}

void forgetDriver(NetworkCard &card, Absence reason) {
    for (Reading<std::string> *reading :
         {&card.firmware, &card.permanentAddress, &card.portType, &card.autonegotiation})
        reading->clear(reason);
    card.highestSpeedBytesPerSecond = reason;
}

// The interface of this name that the calling thread's network namespace has is another one where sysfs shows another
// namespace.
void askDriver(const HostDirectory &root, DeviceAttributes &files, const Interface &interface, NetworkCard &card) {
    if (!root.own())
        return forgetDriver(card, Absence::Unsupported);
    if (sleeps(files))
        return forgetDriver(card, Absence::NotAsked);
    if (!OwnNamespace().holds(card.name, interface))
        return forgetDriver(card, Absence::Unsupported);
    EthtoolCalls calls(card.name);
    Reading<std::string> version, bus;
    calls.readDriver(version, card.firmware, bus);
    if (version)
        card.driverVersion.set(*version);
    calls.readPermanentAddress(card.permanentAddress);
    calls.readLink(card.portType, card.autonegotiation, card.highestSpeedBytesPerSecond);
}

// Sample of a path: ../../devices/pci0000:00/0000:00:04.0/virtio2/net/eth0
// A virtio device has no address of its own: the one that it is part of has.
void readPlace(DeviceAttributes &files, Reading<std::string> &place) {
    takeAttributeText(lastPart(files.link("device")), place);
    if (!place || !place.value().starts_with("virtio"))
        return;
    const std::string_view device = withoutLastPart(withoutLastPart(files.link("")));
    if (lastPart(device) == place.value())
        takeAttributeText(lastPart(withoutLastPart(device)), place);
}

void readPort(DeviceAttributes &files, Reading<std::string> &port) {
    files.text("phys_port_name", port);
    if (!port)
        files.text("dev_port", port);
}

void readCard(HardwareRead &read, const std::string &name) {
    DeviceAttributes files(read.root, netDirectory, name);
    if (!files.has("device"))
        return;
    NetworkCard &card = read.found.networkCards.append();
    card.name = name;
    Interface interface;
    readInterfaceDetails(read.root, name, interface);
    card.driver.assign(interface.driver);
    card.address.assign(interface.address);
    card.linkState.assign(interface.operationalState);
    LinkDetails link;
    readLinkDetails(read.root, name, link);
    const Count &speed = link.speedBytesPerSecond;
    card.speedBytesPerSecond = speed ? Number(static_cast<double>(*speed)) : Number(speed.absence());
    card.duplex.assign(link.duplex);
    readPlace(files, card.device);
    files.text("device/driver/module/version", card.driverVersion);
    card.node = files.number("device/numa_node");
    readPort(files, card.physicalPort);
    countQueues(read.root, name, card);
    askDriver(read.root, files, interface, card);
}

void lose(Hardware &found, const std::string &name, Absence reason) {
    NetworkCard &card = found.networkCards.append();
    card.name = name;
    forget(card, reason);
}

void readTexts(const HostDirectory &root, std::vector<PartText> &texts) {
    texts.resize(1);
    readPciSlots(root, texts[0]);
}

void useTexts(Hardware &found, int error, std::span<const PartText> texts) {
    const int slotError = error != 0 ? error : texts[0].error;
    for (NetworkCard &card : found.networkCards) {
        if (!card.device)
            card.slot.clear(card.device.absence());
        else if (slotError != 0)
            card.slot.clear(absenceOf(slotError));
        else
            takePciSlot(texts[0].text, card.device.value(), card.slot);
    }
}

} // namespace

const PartReader &networkPart() {
    static constexpr PartReader reader{.directory = netDirectory,
                                       .list = listCards,
                                       .read = readCard,
                                       .lose = lose,
                                       .readTexts = readTexts,
                                       .useTexts = useTexts};
    return reader;
}

} // namespace zel

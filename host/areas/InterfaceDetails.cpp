// Reads what an interface says of itself.
#include "host/areas/InterfaceDetails.h"

#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace zel {

namespace {

constexpr const char *netDirectory = "sys/class/net";
constexpr std::uint64_t bytesPerMegabit = 125000;

constexpr struct {
    std::string_view attribute;
    Count Interface::*member;
} numbers[] = {
    {"ifindex", &Interface::index},
    {"carrier_changes", &Interface::carrierChanges},
    {"carrier_up_count", &Interface::carrierUpChanges},
    {"carrier_down_count", &Interface::carrierDownChanges},
    {"dormant", &Interface::dormant},
    {"mtu", &Interface::mtuBytes},
    {"tx_queue_len", &Interface::queueLength},
    {"type", &Interface::type},
    {"iflink", &Interface::linkIndex},
    {"link_mode", &Interface::linkMode},
    {"netdev_group", &Interface::group},
    {"name_assign_type", &Interface::nameAssignment},
    {"addr_assign_type", &Interface::addressAssignment},
    {NO_HANDLER_FILE, &Interface::receiveNoHandler},
};

// What drivers say in the place of a speed that they do not know: -1 in 32 and in 16 bits, and 0.
constexpr bool isNoSpeed(std::uint64_t megabits) {
    return megabits == 0 || megabits == 0xFFFF || megabits >= 0xFFFFFFFF;
}

// Sample: 0x1003
Count readHexadecimal(DeviceAttributes &files, std::string_view attribute) {
    const int error = files.read(attribute);
    return error == 0 ? attributeHexadecimal(files.text().data()) : Count(absenceOf(error));
}

// Sample: 10000
Count readSpeed(DeviceAttributes &files) {
    const Count megabits = files.number("speed");
    if (megabits && isNoSpeed(*megabits))
        return Absence::Unsupported;
    return scaledCount(megabits, bytesPerMegabit);
}

// Sample: full
void readDuplex(DeviceAttributes &files, LinkDetails &link) {
    files.text("duplex", link.duplex);
    link.duplexKnown = link.duplex ? Count(std::uint64_t{*link.duplex != "unknown"}) : Count(link.duplex.absence());
    if (link.duplexKnown && *link.duplexKnown == 0)
        link.duplex.clear(Absence::Unsupported);
}

// Sample: DEVTYPE=vlan
void readKind(DeviceAttributes &files, Reading<std::string> &kind) {
    constexpr std::string_view key = "DEVTYPE=";
    kind.clear(Absence::Unsupported);
    if (const int error = files.read("uevent"); error != 0)
        return kind.clear(absenceOf(error));
    std::string_view text = files.text();
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (line.substr(0, key.size()) == key)
            return takeAttributeText(line.substr(key.size()), kind);
        text.remove_prefix(std::min(text.size(), line.size() + 1));
    }
}

void takeLink(DeviceAttributes &files, std::string_view attribute, Reading<std::string> &reading) {
    takeAttributeText(lastPart(files.link(attribute)), reading);
}

void readRole(DeviceAttributes &files, Reading<std::string> &role) {
    struct Sign {
        std::string_view directory, role;
    };
    constexpr Sign signs[] = {
        {"bonding", "bond"}, {"bridge", "bridge"}, {"bonding_slave", "bond_port"}, {"brport", "bridge_port"}};
    for (const Sign &sign : signs) {
        if (files.has(sign.directory))
            return role.set(sign.role);
    }
    role.clear(Absence::Unsupported);
}

} // namespace

void readLinkDetails(const HostDirectory &root, std::string_view name, LinkDetails &link) {
    DeviceAttributes files(root, netDirectory, name);
    link.speedBytesPerSecond = readSpeed(files);
    readDuplex(files, link);
    link.carrier = files.number("carrier");
}

void readInterfaceDetails(const HostDirectory &root, std::string_view name, Interface &interface) {
    DeviceAttributes files(root, netDirectory, name);
    for (const auto &[attribute, member] : numbers)
        interface.*member = files.number(attribute);
    interface.flags = readHexadecimal(files, "flags");
    interface.up = interface.flags ? Count(*interface.flags & IFF_UP) : interface.flags;
    interface.deviceId = readHexadecimal(files, "dev_id");
    files.text("operstate", interface.operationalState);
    files.text("address", interface.address);
    files.text("broadcast", interface.broadcast);
    files.text("ifalias", interface.alias);
    readKind(files, interface.kind);
    takeLink(files, "device/driver", interface.driver);
    takeLink(files, "master", interface.master);
    readRole(files, interface.role);
}

bool mayLackHandler(const Interface &interface) {
    const std::string_view role = interface.role ? std::string_view(*interface.role) : std::string_view();
    return role == "bond" || (interface.master && role != "bridge_port");
}

OwnNamespace::OwnNamespace() : m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}

namespace {

// Asks for one thing about an interface: false where there is none.
bool ask(const ScopedDescriptor &socket, const std::string &name, unsigned long request, ifreq &answer) {
    if (name.size() >= sizeof(answer.ifr_name)) {
        errno = ENODEV;
        return false;
    }
    std::memcpy(answer.ifr_name, name.c_str(), name.size() + 1);
    return ioctl(socket.get(), request, &answer) == 0;
}

// Sample: 52:54:00:12:34:56
bool isAddress(const Reading<std::string> &text, const sockaddr &address) {
    char bytes[sizeof("00:00:00:00:00:00")];
    const auto byte = [&address](int at) { return static_cast<unsigned char>(address.sa_data[at]); };
    std::snprintf(bytes, sizeof(bytes), "%02x:%02x:%02x:%02x:%02x:%02x", byte(0), byte(1), byte(2), byte(3), byte(4),
                  byte(5));
    return !text || text.value().size() != sizeof(bytes) - 1 || text.value() == bytes;
}

} // namespace

Count OwnNamespace::indexOf(const std::string &name) const {
    ifreq answer{};
    if (ask(m_socket, name, SIOCGIFINDEX, answer))
        return static_cast<std::uint64_t>(answer.ifr_ifindex);
    return errno == ENODEV ? Absence::Vanished : Absence::Unsupported;
}

bool OwnNamespace::holds(const std::string &name, const Interface &interface) const {
    const Count index = indexOf(name);
    if (!index || !interface.index || *index != *interface.index)
        return false;
    ifreq answer{};
    if (!ask(m_socket, name, SIOCGIFFLAGS, answer) ||
        (interface.up && *interface.up != static_cast<std::uint64_t>(answer.ifr_flags & IFF_UP)))
        return false;
    if (!ask(m_socket, name, SIOCGIFMTU, answer) ||
        (interface.mtuBytes && *interface.mtuBytes != static_cast<std::uint64_t>(answer.ifr_mtu)))
        return false;
    return ask(m_socket, name, SIOCGIFHWADDR, answer) && isAddress(interface.address, answer.ifr_hwaddr);
}

} // namespace zel

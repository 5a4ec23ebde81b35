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

// What drivers say in the place of a speed that they do not know: -1 in 32 and in 16 bits, and 0.
constexpr bool isNoSpeed(std::uint64_t megabits) {
    return megabits == 0 || megabits == 0xFFFF || megabits >= 0xFFFFFFFF;
}

// Sample: 0x1003
void readFlags(DeviceAttributes &files, Interface &interface) {
    const int error = files.read("flags");
    interface.flags = error == 0 ? attributeHexadecimal(files.text().data()) : Count(absenceOf(error));
    interface.up = interface.flags ? Count(*interface.flags & IFF_UP) : interface.flags;
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
    link.speedBytesPerSecond = files.number("speed");
    if (link.speedBytesPerSecond)
        link.speedBytesPerSecond = isNoSpeed(*link.speedBytesPerSecond)
                                       ? Count(Absence::Unsupported)
                                       : Count(*link.speedBytesPerSecond * bytesPerMegabit);
    files.text("duplex", link.duplex);
    if (link.duplex && *link.duplex == "unknown")
        link.duplex.clear(Absence::Unsupported);
    link.carrier = files.number("carrier");
}

void readInterfaceDetails(const HostDirectory &root, std::string_view name, Interface &interface) {
    DeviceAttributes files(root, netDirectory, name);
    interface.index = files.number("ifindex");
    files.text("operstate", interface.operationalState);
    readFlags(files, interface);
    interface.carrierChanges = files.number("carrier_changes");
    interface.carrierUpChanges = files.number("carrier_up_count");
    interface.carrierDownChanges = files.number("carrier_down_count");
    interface.dormant = files.number("dormant");
    interface.mtuBytes = files.number("mtu");
    interface.queueLength = files.number("tx_queue_len");
    interface.type = files.number("type");
    interface.linkIndex = files.number("iflink");
    files.text("address", interface.address);
    files.text("ifalias", interface.alias);
    readKind(files, interface.kind);
    takeLink(files, "device/driver", interface.driver);
    takeLink(files, "master", interface.master);
    readRole(files, interface.role);
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

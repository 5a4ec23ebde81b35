// The walk of ordinary passes and the questions about a single interface.
#include "network.h"

#include "host/ScopedHandle.h"
#include "network/InterfaceReader.h"
#include "network/Readers.h"

#include <cstdint>
#include <cstring>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>

std::FILE *fh;
interface *ife;
int procnetdev_vsn = INTERFACE_LAYOUT_PACKETS;
int skfd = -1;

namespace {

zel::InterfaceReader reader(fh, ife, procnetdev_vsn, skfd, fWrite_Msg);

constexpr std::size_t hardwareAddressBytes = sizeof(sockaddr::sa_data);
constexpr unsigned long long unknownSpeed = 9999;
constexpr std::uint32_t bitsPerMegabit = 1000000;

struct HardwareType {
    unsigned short family;
    const char *text;
};

constexpr HardwareType hardwareTypes[] = {
    {ARPHRD_ETHER, "Ethernet"},
    {ARPHRD_AX25, "AX.25 Level 2"},
    {ARPHRD_IEEE802, "IEEE 802.2 Ethernet/TR/TB"},
    {ARPHRD_APPLETLK, "APPLEtalk"},
    {ARPHRD_ATM, "ATM"},
    {ARPHRD_LOOPBACK, "Loopback"},
    {ARPHRD_FDDI, "Fiber Distributed Data Interface"},
};

const char *hardwareTypeText(unsigned short family) {
    for (const HardwareType &type : hardwareTypes) {
        if (type.family == family)
            return type.text;
    }
    return "UNKNOWN";
}

// Asks for the hardware address of `name`, whose family is the hardware type.
bool readHardwareAddress(const char *name, sockaddr &address) {
    const zel::ScopedDescriptor descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!descriptor.valid()) {
        zel::traceInterfaceError(fWrite_Msg, "socket error");
        return false;
    }
    ifreq request{};
    std::memcpy(request.ifr_name, name, strnlen(name, sizeof(request.ifr_name)));
    if (ioctl(descriptor.get(), SIOCGIFHWADDR, &request) < 0) {
        zel::traceInterfaceError(fWrite_Msg, "SIOCGIFHWADDR");
        return false;
    }
    address = request.ifr_hwaddr;
    return true;
}

} // namespace

zel::InterfaceReader &zel::ordinaryReader() {
    return reader;
}

int init_netinfo() {
    return reader.open();
}

int get_next_netinfo(char *name, char *link, unsigned long long *rx_packets, unsigned long long *tx_packets,
                     unsigned long long *rx_bytes, unsigned long long *tx_bytes, unsigned long long *rx_errors,
                     unsigned long long *tx_errors, unsigned long long *collisions, unsigned long long *) {
    return zel::deliverInterface(reader.next(), name, link, rx_packets, tx_packets, rx_bytes, tx_bytes, rx_errors,
                                 tx_errors, collisions);
}

int fin_netinfo() {
    return reader.close();
}

int get_net_type(const char *name, char *type) {
    sockaddr address{};
    if (!readHardwareAddress(name, address))
        return -1;
    const char *text = hardwareTypeText(address.sa_family);
    std::memcpy(type, text, std::strlen(text) + 1);
    return 1;
}

int get_net_mac(const char *name, char *hwaddr) {
    sockaddr address{};
    if (!readHardwareAddress(name, address))
        return -1;
    std::memcpy(hwaddr, address.sa_data, hardwareAddressBytes);
    return 1;
}

// A name that does not fit the request belongs to no interface: cut, it could name another one.
int fGetSpeed(const char *name, unsigned long long *speed) {
    *speed = unknownSpeed;
    ethtool_cmd command{};
    command.cmd = ETHTOOL_GSET;
    ifreq request{};
    const std::size_t length = std::strlen(name);
    if (length >= sizeof(request.ifr_name))
        return 1;
    std::memcpy(request.ifr_name, name, length);
    request.ifr_data = reinterpret_cast<char *>(&command);

    const zel::ScopedDescriptor descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (ioctl(descriptor.get(), SIOCETHTOOL, &request) < 0)
        return 1;
    const auto bits = static_cast<std::int32_t>(command.speed * bitsPerMegabit);
    *speed = static_cast<unsigned long long>(bits);
    return 1;
}

int fWrite_Msg(const char *) {
    return 1;
}

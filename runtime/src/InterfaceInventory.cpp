// Interface inventory: one row per network interface but the loopback, from /sys/class/net; addresses from the kernel.
// The name is the second field: the extra-interface list of the network collector reads it there.
#include "HostFile.h"
#include "InventoryTable.h"
#include "scripts/HomeScripts.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <map>
#include <net/if.h>
#include <netinet/in.h>

namespace inventory {

namespace {

std::string addressText(const sockaddr *address) {
    char text[INET6_ADDRSTRLEN] = {};
    if (address->sa_family == AF_INET)
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in *>(address)->sin_addr, text, sizeof(text));
    else if (address->sa_family == AF_INET6)
        inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6 *>(address)->sin6_addr, text, sizeof(text));
    return text;
}

// The addresses of every interface of this program's own network, blank-separated.
std::map<std::string, std::string> interfaceAddresses() {
    std::map<std::string, std::string> addresses;
    ifaddrs *first = nullptr;
    if (getifaddrs(&first) != 0)
        return addresses;
    for (const ifaddrs *entry = first; entry != nullptr; entry = entry->ifa_next) {
        const std::string text = entry->ifa_addr == nullptr ? "" : addressText(entry->ifa_addr);
        if (text.empty())
            continue;
        std::string &list = addresses[entry->ifa_name];
        list += (list.empty() ? "" : " ") + text;
    }
    freeifaddrs(first);
    return addresses;
}

// The addresses belong to the interface that has its name and its index: below another host root, in a container, the
// program's own interfaces may have the same names.
std::string addressesOf(const std::string &name, const std::string &directory,
                        const std::map<std::string, std::string> &addresses) {
    const auto found = addresses.find(name);
    if (found == addresses.end() || readLine(directory + "/ifindex") != std::to_string(if_nametoindex(name.c_str())))
        return {};
    return found->second;
}

// Megabits per second; a link that is down or has no speed reads as -1 or not at all.
std::string speed(const std::string &directory) {
    const std::string text = readLine(directory + "/speed");
    return text == "-1" ? "" : text;
}

// The master of a bond member, or the members of a bond.
std::string bond(const std::string &directory) {
    const std::string members = readLine(directory + "/bonding/slaves");
    return members.empty() ? linkTarget(directory + "/master") : members;
}

} // namespace

bool writeInterfaceInventory() {
    Table table({"NAME", "MAC", "DRIVER", "SPEED", "DUPLEX", "MTU", "ADDRESSES", "BOND"});
    const std::map<std::string, std::string> addresses = interfaceAddresses();
    for (const std::string &name : listDirectory("/sys/class/net")) {
        const std::string directory = "/sys/class/net/" + name;
        if (name == "lo" || !exists(directory + "/ifindex"))
            continue;
        table.row({name, readLine(directory + "/address"), linkTarget(directory + "/device/driver"), speed(directory),
                   readLine(directory + "/duplex"), readLine(directory + "/mtu"),
                   addressesOf(name, directory, addresses), bond(directory)});
    }
    return table.writeTo(zel::resultPath(zel::Script::InterfaceInventory), "TORVInterface") &&
           table.writeTo(zel::NEW_INTERFACE_INVENTORY, "TORVInterface");
}

} // namespace inventory

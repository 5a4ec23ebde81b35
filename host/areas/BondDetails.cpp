// Reads what a bond says of itself and of its ports.
#include "host/areas/BondDetails.h"

#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

namespace zel {

namespace {

constexpr const char *netDirectory = "sys/class/net";
constexpr std::string_view moreMark = "++more++"; // the kernel's, where a page is too small for all ports

// Sample: active-backup 1
void readMode(DeviceAttributes &files, Reading<std::string> &mode) {
    if (const int error = files.read("bonding/mode"); error != 0)
        return mode.clear(absenceOf(error));
    takeAttributeText(files.text().substr(0, files.text().find(' ')), mode);
}

void readPort(const HostDirectory &root, BondPort &port) {
    DeviceAttributes files(root, netDirectory, port.name);
    files.text("bonding_slave/state", port.state);
    files.text("bonding_slave/mii_status", port.linkState);
    port.linkFailures = files.number("bonding_slave/link_failure_count");
}

// Sample: eth0 eth1
Count takePorts(const char *list, std::string_view bond, Rows<BondPort> &ports) {
    for (std::string_view name = takeWord(list); !name.empty(); name = takeWord(list)) {
        if (name == moreMark)
            return Absence::Unsupported;
        BondPort &port = ports.append();
        port.bond = bond;
        port.name = name;
    }
    return std::uint64_t{ports.size()};
}

Count countUp(const Rows<BondPort> &ports) {
    std::uint64_t up = 0;
    for (const BondPort &port : ports) {
        if (!port.linkState)
            return port.linkState.absence();
        up += *port.linkState == "up" ? 1 : 0;
    }
    return up;
}

} // namespace

void readBond(const HostDirectory &root, std::string_view name, BondDetails &details) {
    DeviceAttributes files(root, netDirectory, name);
    Bond &bond = details.bond;
    bond.name = name;
    readMode(files, bond.mode);
    files.text("bonding/mii_status", bond.linkState);
    files.text("bonding/active_slave", bond.activePort);
    details.ports.clear();
    const int error = files.read("bonding/slaves");
    bond.ports = error == 0 ? takePorts(files.text().data(), name, details.ports) : Count(absenceOf(error));
    for (BondPort &port : details.ports)
        readPort(root, port);
    bond.portsUp = bond.ports ? countUp(details.ports) : bond.ports;
}

} // namespace zel

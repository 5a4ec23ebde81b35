// What tests of the interface collector share: a host with an interface table, a staged home in which no script runs,
// and the settings of the collector, withdrawn at the end.
#pragma once

#include "HostFixture.h"
#include "ScratchHome.h"
#include "Settings.h"
#include "SystemHooks.h"

#include <string>
#include <vector>

/// One line of /proc/net/dev in the layout of kernel 2.2 and later.
struct InterfaceLine {
    std::string name;
    unsigned long long inBytes = 0;
    unsigned long long inPackets = 0;
    unsigned long long outBytes = 0;
    unsigned long long outPackets = 0;
    unsigned long long inErrors = 0;
    unsigned long long outErrors = 0;
    unsigned long long collisions = 0;
};

inline constexpr const char *NET_DEV_HEADER =
    "Inter-|   Receive                                                |  Transmit\n"
    " face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs drop fifo colls carrier "
    "compressed\n";

inline std::string netDevTable(const std::vector<InterfaceLine> &interfaces) {
    std::string text = NET_DEV_HEADER;
    for (const InterfaceLine &line : interfaces) {
        const auto number = [](unsigned long long value) { return " " + std::to_string(value); };
        text += "  " + line.name + ":" + number(line.inBytes) + number(line.inPackets) + number(line.inErrors) +
                " 0 0 0 0 0" + number(line.outBytes) + number(line.outPackets) + number(line.outErrors) + " 0 0" +
                number(line.collisions) + " 0 0\n";
    }
    return text;
}

class NetworkScene {
public:
    /// g_nInterfaceStrType is `mode`; every command of the collector is recorded and does nothing.
    explicit NetworkScene(int mode) {
        g_nInterfaceStrType = mode;
        g_nLinuxBandwidthFlag = 1;
        g_nNetworkExtGather = 0;
        systemHooks().system = [this](const char *command) {
            commands.emplace_back(command);
            return 0;
        };
    }
    ~NetworkScene() { systemHooks().system = nullptr; }
    NetworkScene(const NetworkScene &) = delete;
    NetworkScene &operator=(const NetworkScene &) = delete;

    void show(const std::vector<InterfaceLine> &interfaces) const {
        host.write("proc/net/dev", netDevTable(interfaces));
    }
    /// Lines of the script that gives bandwidth and duplex.
    void bandwidths(const std::string &lines) const { home.write("agent/aproc/shell/IFName_bandwidth.dat", lines); }

    HostFixture host;
    ScratchHome home;
    std::vector<std::string> commands;
};

// Fibre Channel ports of a fixture host, as the kernel shows them: one directory per port below sys/class/fc_host.
#pragma once

#include "HostFixture.h"

#include <string>
#include <vector>

/// The texts of a port's six files, without their line feeds.
struct FcPort {
    std::string portName = "0x21000024ff123456";
    std::string portState = "Online";
    std::string inputMegabytes = "0x0";
    std::string outputMegabytes = "0x0";
    std::string inputRequests = "0x0";
    std::string outputRequests = "0x0";
};

inline void writeFcPort(const HostFixture &host, const std::string &name, const FcPort &port) {
    const std::string directory = "sys/class/fc_host/" + name + "/";
    host.write(directory + "port_name", port.portName + "\n");
    host.write(directory + "port_state", port.portState + "\n");
    host.write(directory + "statistics/fcp_input_megabytes", port.inputMegabytes + "\n");
    host.write(directory + "statistics/fcp_output_megabytes", port.outputMegabytes + "\n");
    host.write(directory + "statistics/fcp_input_requests", port.inputRequests + "\n");
    host.write(directory + "statistics/fcp_output_requests", port.outputRequests + "\n");
}

/// The ports in the order in which their directory lists them, which is the order of the walk.
inline std::vector<std::string> fcPortsInOrder(const HostFixture &host) {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(host.path() / "sys/class/fc_host"))
        names.push_back(entry.path().filename().string());
    return names;
}

// The Fibre Channel collector. No kernel makes ports that are not there, so they are in a generated tree: once with
// files in memory (the floor is a copy out of the page cache), and once with links to attributes of the loopback
// interface in the real sysfs, so that every read is one of the kernel's attributes.
#include "Floor.h"
#include "Harness.h"
#include "MM_HBA_Info.h"
#include "OwnHost.h"

#include <memory>
#include <string>
#include <vector>

namespace {

constexpr const char *fcHosts = "/sys/class/fc_host";

// The files of a port, in the order in which they are read, with a real attribute of the same kind.
struct PortFile {
    const char *name;
    const char *text;
    const char *attribute;
};

constexpr PortFile portFiles[] = {
    {"port_name", "0x21000024ff123456\n", "address"},
    {"statistics/fcp_input_megabytes", "0x1f4240\n", "statistics/rx_bytes"},
    {"statistics/fcp_output_megabytes", "0x1f4241\n", "statistics/tx_bytes"},
    {"statistics/fcp_input_requests", "0x1f4242\n", "statistics/rx_packets"},
    {"statistics/fcp_output_requests", "0x1f4243\n", "statistics/tx_packets"},
    {"port_state", "Online\n", "operstate"},
};

std::shared_ptr<bench::GeneratedTree> portTree(long ports, bool linked) {
    auto tree = std::make_shared<bench::GeneratedTree>();
    for (long port = 0; port < ports; ++port) {
        const std::string directory = std::string(fcHosts) + "/host" + std::to_string(port) + "/";
        for (const PortFile &file : portFiles) {
            if (linked)
                tree->link(directory + file.name, std::string("/sys/class/net/lo/") + file.attribute);
            else
                tree->write(directory + file.name, file.text);
        }
    }
    return tree;
}

void makeBusy(CMM_HBA_Info &collector) {
    for (auto &[key, old] : collector.m_HBA_Map) {
        old->l_ulInputMB -= 3;
        old->l_ulOutputMB -= 5;
        old->l_ulInputCnt -= 700;
        old->l_ulOutputCnt -= 900;
    }
}

bench::Work portWork(long ports, bool linked, bool busy) {
    auto tree = portTree(ports, linked);
    tree->show();
    auto collector = std::make_shared<CMM_HBA_Info>();
    std::vector<std::string> paths;
    for (long port = 0; port < ports; ++port)
        for (const PortFile &file : portFiles)
            paths.push_back(std::string(fcHosts) + "/host" + std::to_string(port) + "/" + file.name);
    bench::Work work;
    work.sample = [collector, tree] {
        collector->m_stOldIoTime.tv_sec -= 5;
        collector->fGatherHBAZel();
        bench::keep(collector->m_const_pstrHBAZelInfo);
    };
    work.floor = [tree, paths] {
        bench::listDirectory(fcHosts);
        for (const std::string &path : paths)
            bench::readKernelFile(path.c_str(), HBA_LINE_SIZE - 1);
    };
    if (busy)
        work.prepare = [collector] { makeBusy(*collector); };
    work.measured = [collector]() -> long { return collector->m_nHBACount; };
    for (int i = 0; i < 3; ++i)
        work.sample();
    return work;
}

bench::Family family(const std::string &name, bool linked, bool busy) {
    return {name,
            linked ? bench::Source::Kernel : bench::Source::PageCache,
            {2, 64},
            [linked, busy](long size, std::string &) { return portWork(size, linked, busy); }};
}

} // namespace

int main(int argc, char **argv) {
    const bench::ScratchHome home;
    bench::add({family("hba/text idle", true, false), family("hba/text busy", true, true),
                family("hba/text (generated)", false, false)});
    return bench::run(argc, argv);
}

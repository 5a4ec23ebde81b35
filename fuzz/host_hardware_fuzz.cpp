// The inventory of a machine, its processors, a PCI device with its names and a network card, from files that hold
// anything.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "HostArea.h"
#include "HostRoot.h"
#include "host/hardware/PartReader.h"

#include <cmath>

namespace {

constexpr std::size_t longestText = 16384;

constexpr const char *files[] = {
    "usr/share/misc/pci.ids",
    "proc/cpuinfo",
    "sys/bus/pci/devices/0000:00:01.0/class",
    "sys/bus/pci/devices/0000:00:01.0/vendor",
    "sys/bus/pci/devices/0000:00:01.0/device",
    "sys/bus/pci/devices/0000:00:01.0/subsystem_vendor",
    "sys/bus/pci/devices/0000:00:01.0/subsystem_device",
    "sys/bus/pci/devices/0000:00:01.0/current_link_speed",
    "sys/bus/pci/devices/0000:00:01.0/max_link_width",
    "sys/bus/pci/slots/1/address",
    "sys/devices/system/cpu/cpu0/topology/physical_package_id",
    "sys/devices/system/cpu/cpu0/topology/thread_siblings_list",
    "sys/devices/system/cpu/cpu0/cache/index0/level",
    "sys/devices/system/cpu/cpu0/cache/index0/size",
    "sys/devices/system/cpu/cpu0/cache/index0/shared_cpu_list",
    "sys/devices/system/node/node0/meminfo",
    "sys/devices/system/node/node0/cpulist",
    "sys/class/dmi/id/chassis_type",
    "sys/class/dmi/id/sys_vendor",
    "sys/firmware/efi/efivars/SecureBoot-8be4df61-93ca-11d2-aa0d-00e098032b8c",
    "sys/class/net/eth0/device/numa_node",
    "sys/class/net/eth0/speed",
};

template<class Row> void ensureRow(const Row &row) {
    for (const zel::Field<Row> &field : zel::fieldsOf<Row>()) {
        const zel::Value value = field.of(row);
        if (value.type() == zel::Value::Type::Real)
            fuzz::ensure(std::isfinite(value.asReal()) && value.asReal() >= 0, "a number that cannot be");
        if (field.family.kind != zel::Kind::Info || field.family.name != "flags")
            fuzz::ensure(value.asText().size() <= longestText, "a text beyond reason");
    }
}

void readPart(const zel::HostDirectory &root, zel::HardwarePart part, const zel::PartReader &reader) {
    const zel::HardwareOptions options;
    zel::Hardware found;
    zel::HardwareRead read{root, options, found, found.part(part)};
    std::vector<std::string> names{""};
    if (reader.list != nullptr) {
        names.clear();
        reader.list(root, names);
    }
    for (const std::string &name : names)
        reader.read(read, name);
    if (reader.readTexts != nullptr) {
        std::vector<zel::PartText> texts;
        reader.readTexts(root, texts);
        reader.useTexts(found, 0, texts);
    }
    zel::forEachHardwareSection(
        [&found](const auto &section) { section.forEachRow(found, [](const auto &row) { ensureRow(row); }); });
}

} // namespace

FUZZ_TARGET(host_hardware_fuzz) {
    for (const char *file : files)
        fuzz::hostFile(file, input);
    const zel::HostDirectory root(g_strHostRoot);
    readPart(root, zel::HardwarePart::Machine, zel::machinePart());
    readPart(root, zel::HardwarePart::Processors, zel::processorsPart());
    readPart(root, zel::HardwarePart::Pci, zel::pciPart());
    readPart(root, zel::HardwarePart::Network, zel::networkPart());
}

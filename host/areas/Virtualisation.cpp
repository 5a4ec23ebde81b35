// Finds out what kind of virtual machine and of container this host is.
#include "host/areas/Virtualisation.h"

#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"
#include "host/source/SourceFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <optional>
#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace zel {

namespace {

constexpr std::string_view none = "none", unknownMachine = "vm-other", unknownContainer = "container-other";

struct Sign {
    std::string_view text, kind;
};

// How the names of the firmware begin.
constexpr Sign firmwareSigns[] = {
    {"KVM", "kvm"},
    {"OpenStack", "kvm"},
    {"KubeVirt", "kvm"},
    {"Amazon EC2", "amazon"},
    {"QEMU", "qemu"},
    {"VMware", "vmware"},
    {"VMW", "vmware"},
    {"innotek GmbH", "oracle"},
    {"VirtualBox", "oracle"},
    {"Oracle Corporation", "oracle"},
    {"Xen", "xen"},
    {"Bochs", "bochs"},
    {"Parallels", "parallels"},
    {"BHYVE", "bhyve"},
    {"Hyper-V", "microsoft"},
    {"Apple Virtualization", "apple"},
    {"Google Compute Engine", "google"},
};

constexpr Sign hypervisors[] = {
    {"XenVMMXenVMM", "xen"},    {"KVMKVMKVM", "kvm"},          {"Linux KVM Hv", "kvm"},   {"TCGTCGTCGTCG", "qemu"},
    {"VMwareVMware", "vmware"}, {"Microsoft Hv", "microsoft"}, {"bhyve bhyve ", "bhyve"}, {"QNXQVMBSQG", "qnx"},
    {"ACRNACRNACRN", "acrn"},   {"SRESRESRESRE", "sre"},       {"Apple VZ", "apple"},     {" lrpepyh  vr", "parallels"},
};

std::string_view kindOfText(std::string_view text) {
    const auto sign = std::find_if(std::begin(firmwareSigns), std::end(firmwareSigns),
                                   [text](const Sign &each) { return text.starts_with(each.text); });
    return sign == std::end(firmwareSigns) ? std::string_view() : sign->kind;
}

std::string_view kindByFirmware(const HostDirectory &root) {
    DeviceAttributes files(root, "sys/class/dmi", "id");
    for (const char *file : {"product_name", "sys_vendor", "board_vendor", "bios_vendor", "product_version"}) {
        if (files.read(file) != 0)
            continue;
        if (const std::string_view kind = kindOfText(files.text()); !kind.empty())
            return kind;
    }
    return {};
}

#if defined(__x86_64__) || defined(__i386__)
std::string_view kindByProcessor() {
    constexpr unsigned features = 1, signatureLeaf = 0x40000000, hypervisorBit = 1U << 31U;
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid(features, &a, &b, &c, &d) == 0 || (c & hypervisorBit) == 0)
        return {};
    __cpuid(signatureLeaf, a, b, c, d);
    const unsigned parts[] = {b, c, d};
    char signature[sizeof(parts) + 1] = {};
    std::memcpy(signature, parts, sizeof(parts));
    return hypervisorOf(signature);
}
#else
std::string_view kindByProcessor() {
    return {};
}
#endif

// Sample: flags           : fpu vme de pse tsc msr hypervisor lahf_lm
bool flagsNameHypervisor(const HostDirectory &root) {
    SourceFile file("proc/cpuinfo", Records::Many, KeptScope::Never);
    if (file.read(root) != 0)
        return false;
    for (const char *line = file.text().data(); *line != '\0'; line = nextLine(line)) {
        if (!startsWith(line, "flags"))
            continue;
        for (const char *cursor = line; !endsLine(*cursor);) {
            if (takeWord(cursor) == "hypervisor")
                return true;
            cursor = skipSpaces(cursor);
        }
        return false; // that of every other processor is the same
    }
    return false;
}

bool startsWithText(const HostDirectory &root, const char *path, std::string_view text) {
    SourceFile file(path, Records::One, KeptScope::Never);
    return file.read(root) == 0 && file.text().starts_with(text);
}

bool exists(const HostDirectory &root, const char *path) {
    return root.open(path, O_PATH | O_CLOEXEC).valid();
}

// The first domain of Xen is the host of the others: it runs on the machine itself.
bool isFirstDomain(const HostDirectory &root) {
    SourceFile file("proc/xen/capabilities", Records::One, KeptScope::Never);
    return file.read(root) == 0 && file.text().find("control_d") != std::string_view::npos;
}

std::string_view kindByOtherFiles(const HostDirectory &root) {
    if (startsWithText(root, "sys/hypervisor/type", "xen"))
        return "xen";
    SourceFile file("proc/device-tree/hypervisor/compatible", Records::One, KeptScope::Never);
    if (file.read(root) != 0)
        return {};
    if (file.text().starts_with("linux,kvm"))
        return "kvm";
    for (const std::string_view name : {"xen", "vmware"}) {
        if (file.text().find(name) != std::string_view::npos)
            return name;
    }
    return unknownMachine;
}

// Some firmware knows better than the signature, which is that of the hypervisor below.
bool isMoreThanItsHypervisor(std::string_view kind) {
    constexpr std::string_view kinds[] = {"oracle", "xen", "amazon", "parallels", "google"};
    return std::find(std::begin(kinds), std::end(kinds), kind) != std::end(kinds);
}

// Sample: container=lxc, each assignment with a NUL at its end
std::string_view containerIn(std::string_view environment) {
    constexpr std::string_view key = "container=";
    while (!environment.empty()) {
        const std::string_view assignment = environment.substr(0, environment.find('\0'));
        if (assignment.starts_with(key))
            return assignment.substr(key.size());
        environment.remove_prefix(std::min(environment.size(), assignment.size() + 1));
    }
    return {};
}

// "oci" says only that some runtime of that standard made it.
std::optional<std::string_view> containerNamed(std::string_view name) {
    constexpr std::string_view names[] = {"lxc", "lxc-libvirt", "systemd-nspawn", "docker", "podman",
                                          "rkt", "wsl",         "proot",          "pouch",  "openvz"};
    name = trimmed(name);
    if (name.empty() || name == "oci")
        return std::nullopt;
    const auto *const known = std::find(std::begin(names), std::end(names), name);
    return known == std::end(names) ? unknownContainer : *known;
}

std::string_view containerByFiles(const HostDirectory &root) {
    constexpr Sign files[] = {{"run/.containerenv", "podman"}, {".dockerenv", "docker"}};
    for (const Sign &file : files) {
        if (exists(root, file.text.data()))
            return file.kind;
    }
    return {};
}

bool isWindowsSubsystem(const HostDirectory &root) {
    SourceFile file("proc/sys/kernel/osrelease", Records::One, KeptScope::Never);
    return file.read(root) == 0 && (file.text().find("Microsoft") != std::string_view::npos ||
                                    file.text().find("WSL") != std::string_view::npos);
}

} // namespace

std::string_view hypervisorOf(std::string_view signature) {
    const auto *const known = std::find_if(std::begin(hypervisors), std::end(hypervisors),
                                           [signature](const Sign &each) { return each.text == signature; });
    return known == std::end(hypervisors) ? unknownMachine : known->kind;
}

void readVirtualisation(const HostDirectory &root, Reading<std::string> &kind) {
    const std::string_view firmware = kindByFirmware(root);
    if (isMoreThanItsHypervisor(firmware))
        return kind.set(firmware);
    if (exists(root, "proc/xen"))
        return kind.set(isFirstDomain(root) ? none : std::string_view("xen"));
    const std::string_view processor = root.own() ? kindByProcessor() : std::string_view();
    if (!processor.empty() && processor != unknownMachine)
        return kind.set(processor);
    if (!firmware.empty())
        return kind.set(firmware);
    if (const std::string_view other = kindByOtherFiles(root); !other.empty())
        return kind.set(other);
    const bool isVirtual = !processor.empty() || (!root.own() && flagsNameHypervisor(root));
    kind.set(isVirtual ? unknownMachine : none);
}

// Where systemd is the first process, it has written down what it found.
void readContainer(const HostDirectory &root, Reading<std::string> &kind) {
    if (exists(root, "proc/vz") && !exists(root, "proc/bc"))
        return kind.set(std::string_view("openvz"));
    if (isWindowsSubsystem(root))
        return kind.set(std::string_view("wsl"));
    bool denied = false;
    for (const char *path : {"run/host/container-manager", "run/systemd/container", "proc/1/environ"}) {
        SourceFile file(path, Records::Many, KeptScope::Never);
        const int error = file.read(root);
        denied = denied || absenceOf(error) == Absence::Denied;
        const bool isEnvironment = std::strcmp(path, "proc/1/environ") == 0;
        const std::string_view text = isEnvironment ? containerIn(file.text()) : file.text();
        if (const std::optional<std::string_view> name = containerNamed(text))
            return kind.set(*name);
    }
    if (const std::string_view name = containerByFiles(root); !name.empty())
        return kind.set(name);
    if (denied && !exists(root, "run/systemd/system"))
        return kind.clear(Absence::Denied);
    kind.set(none);
}

} // namespace zel

// Virtual machines and containers, by the files that give them away.
#include "host/areas/Virtualisation.h"

#include "SampledHost.h"

namespace {

using zel::Absence;
using zel::Area;

TEST(Virtualisation, FirmwareTellsTheKind) {
    const std::pair<const char *, const char *> signs[] = {
        {"QEMU\n", "qemu"},           {"KVM\n", "kvm"},
        {"Amazon EC2\n", "amazon"},   {"VMware, Inc.\n", "vmware"},
        {"innotek GmbH\n", "oracle"}, {"Xen\n", "xen"},
        {"Bochs\n", "bochs"},         {"Parallels Software International Inc.\n", "parallels"},
        {"Dell Inc.\n", "none"},      {"", "none"}};
    for (const auto &[vendor, kind] : signs) {
        SampledHost host(Area::Identity, {{"sys/class/dmi/id/sys_vendor", vendor}});
        EXPECT_TRUE(holds(host.take().identity.virtualisation, kind)) << vendor;
    }
}

TEST(Virtualisation, MachineHasTheNamesOfItsFirmware) {
    SampledHost host(Area::Identity,
                     {{"sys/class/dmi/id/sys_vendor", "Dell Inc.\n"}, {"sys/class/dmi/id/product_name", "R740 \n"}});
    const zel::Identity &identity = host.take().identity;
    EXPECT_TRUE(holds(identity.machineVendor, "Dell Inc."));
    EXPECT_TRUE(holds(identity.machineName, "R740"));
    SampledHost bare({Area::Identity});
    EXPECT_TRUE(lacks(bare.take().identity.machineVendor, Absence::Unsupported));
}

TEST(Virtualisation, OtherFilesTellIt) {
    SampledHost xen(Area::Identity, {{"sys/hypervisor/type", "xen\n"}});
    EXPECT_TRUE(holds(xen.take().identity.virtualisation, "xen"));
    SampledHost domain(Area::Identity, {{"proc/xen/capabilities", "\n"}});
    EXPECT_TRUE(holds(domain.take().identity.virtualisation, "xen"));
    domain.write("proc/xen/capabilities", "control_d\n");
    EXPECT_TRUE(holds(domain.take().identity.virtualisation, "none")) << "it is the host of the others";
    SampledHost tree(Area::Identity, {{"proc/device-tree/hypervisor/compatible", "linux,kvm"}});
    EXPECT_TRUE(holds(tree.take().identity.virtualisation, "kvm"));
    SampledHost flag(Area::Identity, {{"proc/cpuinfo", "processor\t: 0\nflags\t\t: fpu vme hypervisor lm\n"}});
    EXPECT_TRUE(holds(flag.take().identity.virtualisation, "vm-other"));
    flag.write("proc/cpuinfo", "processor\t: 0\nflags\t\t: fpu vme lm\nbugs\t\t: hypervisor\n");
    EXPECT_TRUE(holds(flag.take().identity.virtualisation, "none"));
}

TEST(Virtualisation, SignaturesOfHypervisors) {
    EXPECT_EQ(zel::hypervisorOf("KVMKVMKVM"), "kvm");
    EXPECT_EQ(zel::hypervisorOf("TCGTCGTCGTCG"), "qemu");
    EXPECT_EQ(zel::hypervisorOf("Microsoft Hv"), "microsoft");
    EXPECT_EQ(zel::hypervisorOf("VMwareVMware"), "vmware");
    EXPECT_EQ(zel::hypervisorOf("SomethingNew"), "vm-other");
}

TEST(Virtualisation, ContainerIsWhatItsManagerSays) {
    SampledHost host({Area::Identity});
    const auto container = [&host] { return host.take().identity.container; };
    EXPECT_TRUE(holds(container(), "none"));
    host.write(".dockerenv", "");
    EXPECT_TRUE(holds(container(), "docker"));
    host.write("run/.containerenv", "");
    EXPECT_TRUE(holds(container(), "podman"));
    host.write("proc/1/environ", std::string("TERM=linux\0container=lxc\0HOME=/\0", 32));
    EXPECT_TRUE(holds(container(), "lxc"));
    host.write("proc/1/environ", std::string("container=oci\0", 14));
    EXPECT_TRUE(holds(container(), "podman")) << "a standard, no kind";
    host.write("proc/1/environ", std::string("container=\x1b[2J\0", 15));
    EXPECT_TRUE(holds(container(), "container-other"));
    host.write("run/systemd/container", "systemd-nspawn\n");
    EXPECT_TRUE(holds(container(), "systemd-nspawn"));
    host.write("proc/sys/kernel/osrelease", "5.15.90.1-microsoft-standard-WSL2\n");
    EXPECT_TRUE(holds(container(), "wsl"));
}

TEST(Virtualisation, OfThisHostIsKnown) {
    zel::Sampler sampler({.areas = {Area::Identity}});
    const zel::Sample sample = sampler.take();
    EXPECT_TRUE(sample.identity.virtualisation.has());
}

} // namespace

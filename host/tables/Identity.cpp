// The fields that say which host this is.
#include "host/Identity.h"

namespace zel {

namespace {

constexpr Entries<Identity> identity{Area::Identity, "identity", "/proc/sys/kernel"};
constexpr Entries<Identity> nis = identity.from("/proc/sys/kernel", "an NIS domain that is set (domainname)");
constexpr Entries<Identity> release = identity.from("/etc/os-release", "a distribution that has this file");
constexpr Entries<Identity> machine = identity.from("/sys/class/dmi/id", "firmware with SMBIOS (CONFIG_DMI=y)");
constexpr Entries<Identity> uptime = identity.from("/proc/uptime");
constexpr Field<Identity> fields[] = {
    identity.info("host_name", &Identity::hostName, "Name of the host."),
    nis.info("domain_name", &Identity::domainName, "Its NIS domain."),
    identity.info("kernel_name", &Identity::kernelName, "Name of the kernel."),
    identity.info("kernel_release", &Identity::kernelRelease, "Release of the kernel."),
    identity.info("kernel_version", &Identity::kernelVersion, "Build of the kernel."),
    identity.info("architecture", &Identity::architecture, "Architecture of the machine."),
    release.info("os_id", &Identity::osId, "Short name of the distribution."),
    release.info("os_name", &Identity::osName, "Name of the distribution."),
    release.info("os_version", &Identity::osVersion, "Version of the distribution."),
    release.info("os_pretty_name", &Identity::osPrettyName, "Name and version for people."),
    identity.from("/proc/sys/kernel/random/boot_id").info("boot_id", &Identity::bootId, "Changes with every boot."),
    machine.info("virtualisation", &Identity::virtualisation,
                 "Kind of virtual machine, as systemd-detect-virt names it; none on a machine of its own."),
    identity.from("/run/systemd/container")
        .info("container", &Identity::container,
              "Kind of container that the first process runs in, as systemd-detect-virt names it; or none."),
    machine.info("machine_vendor", &Identity::machineVendor, "Vendor of the machine, as its firmware says."),
    machine.info("machine_name", &Identity::machineName, "Name of the machine, as its firmware says."),
    uptime.gauge("uptime_seconds", &Identity::uptimeSeconds, Unit::Seconds, "Time since the boot."),
    uptime.counter("idle_seconds_total", &Identity::idleSeconds, Unit::Seconds,
                   "Idle time of all processors together."),
};

} // namespace

template<> std::span<const Field<Identity>> fieldsOf<Identity>() {
    return fields;
}

} // namespace zel

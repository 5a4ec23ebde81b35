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
    release.info("os_id_like", &Identity::osIdLike, "Distributions that it is made from or like."),
    release.info("os_version_name", &Identity::osVersionName, "Version for people (VERSION)."),
    release.info("os_codename", &Identity::osCodename, "Code name of the version."),
    release.info("os_build_id", &Identity::osBuildId, "Build of the image."),
    release.info("os_image_id", &Identity::osImageId, "Name of the image."),
    release.info("os_image_version", &Identity::osImageVersion, "Version of the image."),
    release.info("os_variant", &Identity::osVariant, "Variant for people, such as Server Edition."),
    release.info("os_variant_id", &Identity::osVariantId, "Short name of the variant."),
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

constexpr Entries<Dmi> dmi{Area::Identity, "dmi", "/sys/class/dmi/id", "firmware with SMBIOS (CONFIG_DMIID=y)"};
constexpr Field<Dmi> secret(std::string_view name, Reading<std::string> Dmi::*member, std::string_view help) {
    return Entries<Dmi>::needing(Rights::Root, dmi.info(name, member, help));
}
constexpr Field<Dmi> dmiFields[] = {
    dmi.info("bios_date", &Dmi::biosDate, "Date of the firmware."),
    dmi.info("bios_release", &Dmi::biosRelease, "Release of the firmware."),
    dmi.info("bios_vendor", &Dmi::biosVendor, "Vendor of the firmware."),
    dmi.info("bios_version", &Dmi::biosVersion, "Version of the firmware."),
    dmi.info("board_asset_tag", &Dmi::boardAssetTag, "Asset tag of the board."),
    dmi.info("board_name", &Dmi::boardName, "Name of the board."),
    secret("board_serial", &Dmi::boardSerial, "Serial number of the board."),
    dmi.info("board_vendor", &Dmi::boardVendor, "Vendor of the board."),
    dmi.info("board_version", &Dmi::boardVersion, "Version of the board."),
    dmi.info("chassis_asset_tag", &Dmi::chassisAssetTag, "Asset tag of the chassis."),
    secret("chassis_serial", &Dmi::chassisSerial, "Serial number of the chassis."),
    dmi.info("chassis_vendor", &Dmi::chassisVendor, "Vendor of the chassis."),
    dmi.info("chassis_version", &Dmi::chassisVersion, "Version of the chassis."),
    dmi.info("product_family", &Dmi::productFamily, "Family that the machine belongs to."),
    dmi.info("product_name", &Dmi::productName, "Name of the machine."),
    secret("product_serial", &Dmi::productSerial, "Serial number of the machine."),
    dmi.info("product_sku", &Dmi::productSku, "Stock keeping unit of the machine."),
    secret("product_uuid", &Dmi::productUuid, "UUID of the machine."),
    dmi.info("product_version", &Dmi::productVersion, "Version of the machine."),
    dmi.info("system_vendor", &Dmi::systemVendor, "Vendor of the machine."),
};

} // namespace

template<> std::span<const Field<Dmi>> fieldsOf<Dmi>() {
    return dmiFields;
}

template<> std::span<const Field<Identity>> fieldsOf<Identity>() {
    return fields;
}

} // namespace zel

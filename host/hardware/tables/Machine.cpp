// The fields of the machine, its chassis, board and firmware.
#include "host/hardware/Machine.h"

namespace zel {

namespace {

constexpr std::string_view dmi = "/sys/class/dmi/id";
constexpr std::string_view dmiProvider = "firmware with SMBIOS tables and CONFIG_DMIID=y";
constexpr std::string_view tree = "/proc/device-tree";
constexpr std::string_view treeProvider = "a machine that a device tree describes";

constexpr Entries<Machine> machine{Area::Hardware, "machine", dmi, dmiProvider};
constexpr Entries<Machine> described = machine.from(tree, treeProvider);
constexpr Field<Machine> machineFields[] = {
    machine.from("/proc/sys/kernel/hostname").info("host_name", &Machine::hostName, "Name of the host."),
    machine.info("vendor", &Machine::vendor, "Maker of the machine."),
    machine.info("product", &Machine::product, "Name of the model."),
    machine.info("version", &Machine::version, "Version of the model."),
    machine.info("sku", &Machine::sku, "Number under which the model is sold."),
    machine.info("family", &Machine::family, "Family of models."),
    machine.needing(Rights::Root, machine.info("serial", &Machine::serial, "Serial number, when asked for.")),
    machine.needing(Rights::Root, machine.info("uuid", &Machine::uuid, "UUID of the machine, when asked for.")),
    described.info("device_tree_model", &Machine::deviceTreeModel, "Model, as the device tree has it."),
    described.needing(Rights::Root, described.info("device_tree_serial", &Machine::deviceTreeSerial,
                                                   "Serial number of the device tree, when asked for.")),
};

constexpr Entries<Chassis> chassis{Area::Hardware, "chassis", dmi, dmiProvider};
constexpr Field<Chassis> chassisFields[] = {
    chassis.info("vendor", &Chassis::vendor, "Maker of the chassis."),
    chassis.info("version", &Chassis::version, "Version of the chassis."),
    chassis.info("type", &Chassis::type, "Number of its form in the SMBIOS standard."),
    chassis.info("type_name", &Chassis::typeName, "Its form in words."),
    chassis.needing(Rights::Root, chassis.info("serial", &Chassis::serial, "Serial number, when asked for.")),
    chassis.needing(Rights::Root, chassis.info("asset_tag", &Chassis::assetTag, "Asset tag, when asked for.")),
};

constexpr Entries<Board> board{Area::Hardware, "board", dmi, dmiProvider};
constexpr Field<Board> boardFields[] = {
    board.info("vendor", &Board::vendor, "Maker of the board."),
    board.info("name", &Board::name, "Name of the board."),
    board.info("version", &Board::version, "Version of the board."),
    board.needing(Rights::Root, board.info("serial", &Board::serial, "Serial number, when asked for.")),
    board.needing(Rights::Root, board.info("asset_tag", &Board::assetTag, "Asset tag, when asked for.")),
};

constexpr Entries<Firmware> firmware{Area::Hardware, "firmware", dmi, dmiProvider};
constexpr Entries<Firmware> efi = firmware.from("/sys/firmware/efi", "a machine that was started by EFI");
constexpr Field<Firmware> firmwareFields[] = {
    firmware.info("vendor", &Firmware::vendor, "Maker of the firmware."),
    firmware.info("version", &Firmware::version, "Version of the firmware."),
    firmware.info("date", &Firmware::date, "Its date, as the firmware has it."),
    firmware.info("release", &Firmware::release, "Its release number."),
    firmware.info("controller_release", &Firmware::controllerRelease, "Release of the embedded controller."),
    firmware.from("/sys/firmware").info("interface", &Firmware::interface, "efi, bios or device tree."),
    efi.info("efi_bits", &Firmware::efiBits, "Width of the EFI firmware: 64 or 32."),
    efi.info("secure_boot", &Firmware::secureBoot, "1 when only signed programs are started."),
};

} // namespace

template<> std::span<const Field<Machine>> fieldsOf<Machine>() {
    return machineFields;
}
template<> std::span<const Field<Chassis>> fieldsOf<Chassis>() {
    return chassisFields;
}
template<> std::span<const Field<Board>> fieldsOf<Board>() {
    return boardFields;
}
template<> std::span<const Field<Firmware>> fieldsOf<Firmware>() {
    return firmwareFields;
}

} // namespace zel

// Reads what the firmware says of the machine, its chassis, board and itself.
#include "host/hardware/PartReader.h"
#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

namespace zel {

namespace {

constexpr const char *dmiDirectory = "sys/class/dmi";

// By number, of the SMBIOS standard, from 1 on.
constexpr std::string_view chassisTypes[] = {"other",
                                             "unknown",
                                             "desktop",
                                             "low profile desktop",
                                             "pizza box",
                                             "mini tower",
                                             "tower",
                                             "portable",
                                             "laptop",
                                             "notebook",
                                             "hand held",
                                             "docking station",
                                             "all in one",
                                             "sub notebook",
                                             "space-saving",
                                             "lunch box",
                                             "main server chassis",
                                             "expansion chassis",
                                             "subchassis",
                                             "bus expansion chassis",
                                             "peripheral chassis",
                                             "RAID chassis",
                                             "rack mount chassis",
                                             "sealed-case PC",
                                             "multi-system chassis",
                                             "compact PCI",
                                             "advanced TCA",
                                             "blade",
                                             "blade enclosure",
                                             "tablet",
                                             "convertible",
                                             "detachable",
                                             "IoT gateway",
                                             "embedded PC",
                                             "mini PC",
                                             "stick PC"};

// Files with one text each; what identifies a piece is read only when that is asked for.
class Texts {
public:
    Texts(HardwareRead &read, std::string_view directory, std::string_view name)
        : m_read(read), m_directory(std::string(directory).append("/").append(name)),
          m_files(read.root, directory, name) {}

    void take(std::string_view file, Reading<std::string> &reading) {
        m_files.text(file, reading);
        // A text of the device tree ends with a NUL.
        if (reading && reading.value().find('\0') != std::string::npos)
            reading.set(std::string(reading.value().c_str()));
        if (reading.absence() == Absence::Malformed)
            noteFailure(m_read.state, NOT_ITS_FORMAT, (m_directory + '/').append(file));
    }
    void takeIdentifying(std::string_view file, Reading<std::string> &reading) {
        if (const Absence reason = m_read.serials(); reason != Absence::None)
            reading.clear(reason);
        else
            take(file, reading);
    }
    DeviceAttributes &files() { return m_files; }

private:
    HardwareRead &m_read;
    std::string m_directory;
    DeviceAttributes m_files;
};

void readChassis(Texts &dmi, Chassis &chassis) {
    dmi.take("chassis_vendor", chassis.vendor);
    dmi.take("chassis_version", chassis.version);
    dmi.takeIdentifying("chassis_serial", chassis.serial);
    dmi.takeIdentifying("chassis_asset_tag", chassis.assetTag);
    chassis.type = dmi.files().number("chassis_type");
    chassis.typeName.clear(chassis.type ? Absence::Unsupported : chassis.type.absence());
    if (chassis.type && *chassis.type >= 1 && *chassis.type <= std::size(chassisTypes))
        chassis.typeName.set(chassisTypes[*chassis.type - 1]);
}

void readMachine(HardwareRead &read, Texts &dmi, Machine &machine) {
    dmi.take("sys_vendor", machine.vendor);
    dmi.take("product_name", machine.product);
    dmi.take("product_version", machine.version);
    dmi.take("product_sku", machine.sku);
    dmi.take("product_family", machine.family);
    dmi.takeIdentifying("product_serial", machine.serial);
    dmi.takeIdentifying("product_uuid", machine.uuid);
    Texts kernel(read, "proc/sys", "kernel");
    kernel.take("hostname", machine.hostName);
    Texts tree(read, "proc", "device-tree");
    tree.take("model", machine.deviceTreeModel);
    tree.takeIdentifying("serial-number", machine.deviceTreeSerial);
}

void readBoard(Texts &dmi, Board &board) {
    dmi.take("board_vendor", board.vendor);
    dmi.take("board_name", board.name);
    dmi.take("board_version", board.version);
    dmi.takeIdentifying("board_serial", board.serial);
    dmi.takeIdentifying("board_asset_tag", board.assetTag);
}

// The variable has four bytes of attributes before its one byte.
Count secureBoot(DeviceAttributes &files) {
    constexpr std::size_t place = 4;
    const int error = files.read("efivars/SecureBoot-8be4df61-93ca-11d2-aa0d-00e098032b8c");
    if (error != 0)
        return absenceOf(error);
    const std::string_view bytes = files.text();
    if (bytes.size() != place + 1 || static_cast<unsigned char>(bytes[place]) > 1)
        return Absence::Malformed;
    return Count(static_cast<std::uint64_t>(bytes[place]));
}

void readFirmware(HardwareRead &read, Texts &dmi, Firmware &firmware) {
    dmi.take("bios_vendor", firmware.vendor);
    dmi.take("bios_version", firmware.version);
    dmi.take("bios_date", firmware.date);
    dmi.take("bios_release", firmware.release);
    dmi.take("ec_firmware_release", firmware.controllerRelease);
    DeviceAttributes efi(read.root, "sys/firmware", "efi");
    DeviceAttributes tree(read.root, "proc", "device-tree");
    if (efi.has("")) {
        firmware.interface.set("efi");
        firmware.efiBits = efi.number("fw_platform_size");
        firmware.secureBoot = secureBoot(efi);
        return;
    }
    firmware.efiBits = Absence::Unsupported;
    firmware.secureBoot = Absence::Unsupported;
    if (tree.has(""))
        firmware.interface.set("device tree");
    else if (dmi.files().has("bios_vendor"))
        firmware.interface.set("bios");
    else
        firmware.interface.clear(Absence::Unsupported);
}

void readAll(HardwareRead &read, const std::string &) {
    Texts dmi(read, dmiDirectory, "id");
    readMachine(read, dmi, read.found.machine);
    readChassis(dmi, read.found.chassis);
    readBoard(dmi, read.found.board);
    readFirmware(read, dmi, read.found.firmware);
}

} // namespace

const PartReader &machinePart() {
    static constexpr PartReader reader{.directory = dmiDirectory, .list = nullptr, .read = readAll, .lose = nullptr};
    return reader;
}

} // namespace zel

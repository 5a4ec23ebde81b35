// Modules and arrays of memory in the firmware's tables: the fields of types 17 and 16.
#include "host/hardware/SmbiosFields.h"
#include "host/hardware/SmbiosRows.h"

namespace zel {

namespace {

constexpr std::uint64_t kibibyte = 1024, mebibyte = 1024 * kibibyte;
constexpr std::uint64_t unknownWord = 0xFFFF; // also: see the field of more bits

// Where a field of a structure is.
struct ModuleAt {
    enum : std::size_t {
        Array = 0x04,
        TotalBits = 0x08,
        DataBits = 0x0A,
        Size = 0x0C,
        FormFactor = 0x0E,
        Slot = 0x10,
        Bank = 0x11,
        Type = 0x12,
        TypeDetail = 0x13,
        Speed = 0x15,
        Manufacturer = 0x17,
        Serial = 0x18,
        AssetTag = 0x19,
        PartNumber = 0x1A,
        Attributes = 0x1B,
        LongSize = 0x1C,
        ConfiguredSpeed = 0x20,
        LowestVoltage = 0x22,
        HighestVoltage = 0x24,
        ConfiguredVoltage = 0x26,
        Technology = 0x28,
        Firmware = 0x2B,
        LongSpeed = 0x54,
        LongConfiguredSpeed = 0x58
    };
};

struct ArrayAt {
    enum : std::size_t {
        Location = 0x04,
        Use = 0x05,
        ErrorCorrection = 0x06,
        Capacity = 0x07,
        Slots = 0x0D,
        LongCapacity = 0x0F
    };
};

constexpr std::string_view formFactors[] = {
    "Other",        "",     "SIMM",   "SIP",   "Chip",    "DIP", "ZIP", "Proprietary Card", "DIMM", "TSOP",
    "Row Of Chips", "RIMM", "SODIMM", "SRIMM", "FB-DIMM", "Die", "CAMM"};
constexpr std::string_view types[] = {"Other",
                                      "",
                                      "DRAM",
                                      "EDRAM",
                                      "VRAM",
                                      "SRAM",
                                      "RAM",
                                      "ROM",
                                      "Flash",
                                      "EEPROM",
                                      "FEPROM",
                                      "EPROM",
                                      "CDRAM",
                                      "3DRAM",
                                      "SDRAM",
                                      "SGRAM",
                                      "RDRAM",
                                      "DDR",
                                      "DDR2",
                                      "DDR2 FB-DIMM",
                                      "",
                                      "",
                                      "",
                                      "DDR3",
                                      "FBD2",
                                      "DDR4",
                                      "LPDDR",
                                      "LPDDR2",
                                      "LPDDR3",
                                      "LPDDR4",
                                      "Logical non-volatile device",
                                      "HBM",
                                      "HBM2",
                                      "DDR5",
                                      "LPDDR5",
                                      "HBM3"};
constexpr std::string_view technologies[] = {
    "Other", "", "DRAM", "NVDIMM-N", "NVDIMM-F", "NVDIMM-P", "Intel Optane persistent memory", "MRDIMM"};
constexpr std::string_view locations[] = {"Other",
                                          "",
                                          "System Board Or Motherboard",
                                          "ISA Add-on Card",
                                          "EISA Add-on Card",
                                          "PCI Add-on Card",
                                          "MCA Add-on Card",
                                          "PCMCIA Add-on Card",
                                          "Proprietary Add-on Card",
                                          "NuBus"};
constexpr std::string_view uses[] = {
    "Other", "", "System Memory", "Video Memory", "Flash Memory", "Non-volatile RAM", "Cache Memory"};
constexpr std::string_view corrections[] = {"Other", "", "None", "Parity", "Single-bit ECC", "Multi-bit ECC", "CRC"};
// By bit, from bit 1 on.
constexpr std::string_view details[] = {"Other",
                                        "",
                                        "Fast-paged",
                                        "Static Column",
                                        "Pseudo-static",
                                        "RAMBus",
                                        "Synchronous",
                                        "CMOS",
                                        "EDO",
                                        "Window DRAM",
                                        "Cache DRAM",
                                        "Non-Volatile",
                                        "Registered (Buffered)",
                                        "Unbuffered (Unregistered)",
                                        "LRDIMM"};

void takeDetail(const Count &bits, Reading<std::string> &reading) {
    std::string text;
    for (std::size_t bit = 0; bits && bit < std::size(details); ++bit) {
        if ((*bits >> (bit + 1) & 1U) == 0 || details[bit].empty())
            continue;
        text += text.empty() ? "" : " ";
        text += details[bit];
    }
    if (text.empty())
        reading.clear(Absence::Unsupported);
    else
        reading.set(text);
}

// The size has 15 bits and says whether it counts KiB or MiB; one beyond them has a field of its own, in MiB.
void takeSize(const SmbiosStructure &structure, MemoryModule &module) {
    constexpr std::uint64_t inKibibytes = 0x8000, seeLongSize = 0x7FFF, longBits = 0x7FFFFFFF;
    const Count size = known(structure.word(ModuleAt::Size), {unknownWord});
    module.installed = size ? Count(*size > 0 ? 1 : 0) : size;
    if (size && *size == seeLongSize) {
        const Count megabytes = structure.doubleWord(ModuleAt::LongSize);
        module.sizeBytes = megabytes ? scaledKnown(*megabytes & longBits, mebibyte) : megabytes;
    } else if (size && (*size & inKibibytes) != 0) {
        module.sizeBytes = scaledKnown(*size & ~inKibibytes, kibibyte);
    } else {
        module.sizeBytes = scaledKnown(size, mebibyte);
    }
}

// Millions of transfers a second.
Count transfers(const SmbiosStructure &structure, std::size_t at, std::size_t longAt) {
    constexpr std::uint64_t million = 1000000;
    Count speed = structure.word(at);
    if (speed && *speed == unknownWord)
        speed = structure.doubleWord(longAt);
    return scaledKnown(speed, million);
}

Number volts(const Count &millivolts) {
    const Count value = known(millivolts, {0});
    return value ? Number(static_cast<double>(*value) / 1000) : Number(value.absence());
}

void takeWidths(const SmbiosStructure &structure, MemoryModule &module) {
    module.totalBits = known(structure.word(ModuleAt::TotalBits), {0, unknownWord});
    module.dataBits = known(structure.word(ModuleAt::DataBits), {0, unknownWord});
    const bool both = module.totalBits && module.dataBits && *module.totalBits >= *module.dataBits;
    module.errorCorrectionBits = both ? Count(*module.totalBits - *module.dataBits) : Count(Absence::Unsupported);
}

} // namespace

void takeMemoryModule(const SmbiosStructure &structure, Absence serials, MemoryModule &module) {
    constexpr std::uint64_t rankBits = 0x0F;
    takeLabel(structure, ModuleAt::Slot, module.slot);
    takeLabel(structure, ModuleAt::Bank, module.bank);
    module.handle = structure.handle();
    module.array = structure.word(ModuleAt::Array);
    takeSize(structure, module);
    takeCode(structure.byte(ModuleAt::Type), types, module.type);
    takeDetail(structure.word(ModuleAt::TypeDetail), module.typeDetail);
    takeCode(structure.byte(ModuleAt::FormFactor), formFactors, module.formFactor);
    takeCode(structure.byte(ModuleAt::Technology), technologies, module.technology);
    module.fastestTransfers = transfers(structure, ModuleAt::Speed, ModuleAt::LongSpeed);
    module.configuredTransfers = transfers(structure, ModuleAt::ConfiguredSpeed, ModuleAt::LongConfiguredSpeed);
    const Count attributes = structure.byte(ModuleAt::Attributes);
    module.ranks = attributes ? known(*attributes & rankBits, {0}) : attributes;
    takeWidths(structure, module);
    module.lowestVolts = volts(structure.word(ModuleAt::LowestVoltage));
    module.highestVolts = volts(structure.word(ModuleAt::HighestVoltage));
    module.configuredVolts = volts(structure.word(ModuleAt::ConfiguredVoltage));
    structure.text(ModuleAt::Manufacturer, module.manufacturer);
    structure.text(ModuleAt::PartNumber, module.partNumber);
    structure.text(ModuleAt::Firmware, module.firmware);
    takeSerial(structure, ModuleAt::Serial, serials, module.serial);
    takeSerial(structure, ModuleAt::AssetTag, serials, module.assetTag);
}

void takeMemoryArray(const SmbiosStructure &structure, MemoryArray &array) {
    constexpr std::uint64_t seeLongCapacity = 0x80000000;
    array.handle = structure.handle();
    takeCode(structure.byte(ArrayAt::Location), locations, array.location);
    takeCode(structure.byte(ArrayAt::Use), uses, array.use);
    takeCode(structure.byte(ArrayAt::ErrorCorrection), corrections, array.errorCorrection);
    array.slots = structure.word(ArrayAt::Slots);
    array.installedModules = Absence::Unsupported;
    const Count capacity = structure.doubleWord(ArrayAt::Capacity);
    array.highestBytes = capacity && *capacity == seeLongCapacity
                             ? known(structure.quadWord(ArrayAt::LongCapacity), {0})
                             : scaledKnown(capacity, kibibyte);
}

} // namespace zel

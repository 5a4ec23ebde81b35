// The fields of memory modules, of their arrays, and of sockets of processors.
#include "host/hardware/MemoryModule.h"

#include "host/hardware/ProcessorSocket.h"
#include "host/hardware/RootFields.h"

namespace zel {

namespace {

constexpr std::string_view source = "/sys/firmware/dmi/tables/DMI";
constexpr std::string_view provider = "root, on a machine whose firmware has SMBIOS tables (kernel 4.2 and later)";

constexpr Entries<MemoryModule> module{Area::Hardware, "memory_modules", source, provider};

constexpr std::array moduleFields = rootFields<MemoryModule>({
    module.label("slot", &MemoryModule::slot, "Name of the slot, as it is printed on the board."),
    module.label("bank", &MemoryModule::bank, "Bank or channel that the slot is part of."),
    module.info("handle", &MemoryModule::handle, "Number of its structure in the firmware's tables."),
    module.info("array", &MemoryModule::array, "Handle of the memory array that the slot is part of."),
    module.state("installed", &MemoryModule::installed, "1 with a module in the slot, 0 for an empty one."),
    module.info("size_bytes", &MemoryModule::sizeBytes, Unit::Bytes, "Size of the module."),
    module.info("type", &MemoryModule::type, "Type of memory, such as DDR5."),
    module.info("type_detail", &MemoryModule::typeDetail, "Further properties, such as registered."),
    module.info("form_factor", &MemoryModule::formFactor, "Form, such as DIMM."),
    module.info("technology", &MemoryModule::technology, "Technology, such as DRAM or NVDIMM-N."),
    module.info("fastest_transfers_per_second", &MemoryModule::fastestTransfers, "Transfers a second that it can do."),
    module.info("configured_transfers_per_second", &MemoryModule::configuredTransfers,
                "Transfers a second that it is set to."),
    module.info("ranks", &MemoryModule::ranks, "Ranks."),
    module.info("total_width_bits", &MemoryModule::totalBits, "Width, with the bits of error correction."),
    module.info("data_width_bits", &MemoryModule::dataBits, "Width of the data."),
    module.info("error_correction_bits", &MemoryModule::errorCorrectionBits,
                "Bits of the width that are for error correction; 0 for a module without it."),
    module.info("lowest_volts", &MemoryModule::lowestVolts, Unit::Volts, "Lowest voltage that it works with."),
    module.info("highest_volts", &MemoryModule::highestVolts, Unit::Volts, "Highest voltage that it works with."),
    module.info("configured_volts", &MemoryModule::configuredVolts, Unit::Volts, "Voltage that it is set to."),
    module.info("manufacturer", &MemoryModule::manufacturer, "Manufacturer."),
    module.info("part_number", &MemoryModule::partNumber, "Part number."),
    module.info("serial", &MemoryModule::serial, "Serial number."),
    module.info("asset_tag", &MemoryModule::assetTag, "Asset tag."),
    module.info("firmware", &MemoryModule::firmware, "Revision of its firmware."),
});

constexpr Entries<MemoryArray> array{Area::Hardware, "memory_arrays", source, provider};

constexpr std::array arrayFields = rootFields<MemoryArray>({
    array.label("handle", &MemoryArray::handle, "Number of its structure in the firmware's tables."),
    array.info("location", &MemoryArray::location, "Where it is."),
    array.info("use", &MemoryArray::use, "What it is used for."),
    array.info("error_correction", &MemoryArray::errorCorrection, "Error correction that it does."),
    array.info("slots", &MemoryArray::slots, "Slots for modules."),
    array.info("installed_modules", &MemoryArray::installedModules, "Slots with a module."),
    array.info("highest_bytes", &MemoryArray::highestBytes, Unit::Bytes, "Memory that it takes at most."),
});

constexpr Entries<ProcessorSocket> socket{Area::Hardware, "processor_sockets", source, provider};

constexpr std::array socketFields = rootFields<ProcessorSocket>({
    socket.label("socket", &ProcessorSocket::socket, "Name of the socket, as it is printed on the board."),
    socket.info("handle", &ProcessorSocket::handle, "Number of its structure in the firmware's tables."),
    socket.state("populated", &ProcessorSocket::populated, "1 with a processor in it, 0 for an empty one."),
    socket.info("type", &ProcessorSocket::type, "Kind of processor."),
    socket.state("status", &ProcessorSocket::status, "Whether the firmware has enabled it."),
    socket.info("manufacturer", &ProcessorSocket::manufacturer, "Manufacturer."),
    socket.info("version", &ProcessorSocket::version, "Model."),
    socket.info("cores", &ProcessorSocket::cores, "Cores."),
    socket.info("enabled_cores", &ProcessorSocket::enabledCores, "Cores that the firmware has enabled."),
    socket.info("threads", &ProcessorSocket::threads, "Threads of all cores."),
    socket.info("highest_hertz", &ProcessorSocket::highestHertz, Unit::Hertz,
                "Highest frequency of the processors that the socket takes."),
    socket.info("boot_hertz", &ProcessorSocket::bootHertz, Unit::Hertz, "Frequency at boot."),
    socket.info("bus_hertz", &ProcessorSocket::busHertz, Unit::Hertz, "Frequency of the bus."),
    socket.info("volts", &ProcessorSocket::volts, Unit::Volts, "Voltage of the processor."),
    socket.info("part_number", &ProcessorSocket::partNumber, "Part number."),
    socket.info("serial", &ProcessorSocket::serial, "Serial number."),
    socket.info("asset_tag", &ProcessorSocket::assetTag, "Asset tag."),
});

} // namespace

template<> std::span<const Field<MemoryModule>> fieldsOf<MemoryModule>() {
    return moduleFields;
}

template<> std::span<const Field<MemoryArray>> fieldsOf<MemoryArray>() {
    return arrayFields;
}

template<> std::span<const Field<ProcessorSocket>> fieldsOf<ProcessorSocket>() {
    return socketFields;
}

} // namespace zel

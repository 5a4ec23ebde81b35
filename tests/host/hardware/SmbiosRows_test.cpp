// What structures of the firmware's tables say of memory modules, their arrays and sockets of processors. Expected
// values are those of the SMBIOS standard (DSP0134) for the bytes that each test writes.
#include "SampledHost.h"
#include "SmbiosImage.h"
#include "host/hardware/SmbiosRows.h"

namespace {

using zel::Absence;
using zel::MemoryArray;
using zel::MemoryModule;
using zel::ProcessorSocket;
using zel::SmbiosStructure;

template<class Row, class Take> Row taken(const std::string &bytes, Take take) {
    zel::SmbiosWalk walk(bytes, bytes.size());
    const auto structure = walk.next();
    EXPECT_TRUE(structure);
    Row row;
    if (structure)
        take(*structure, row);
    return row;
}

MemoryModule moduleOf(const std::string &bytes, Absence serials = Absence::None) {
    return taken<MemoryModule>(bytes, [serials](const SmbiosStructure &structure, MemoryModule &module) {
        takeMemoryModule(structure, serials, module);
    });
}

MemoryArray arrayOf(const std::string &bytes) {
    return taken<MemoryArray>(bytes, zel::takeMemoryArray);
}

ProcessorSocket socketOf(const std::string &bytes, Absence serials = Absence::None) {
    return taken<ProcessorSocket>(bytes, [serials](const SmbiosStructure &structure, ProcessorSocket &socket) {
        takeProcessorSocket(structure, serials, socket);
    });
}

// A module of 64 GiB as a server of 2023 has it, with the fields of SMBIOS 3.3.
SmbiosFields serverModule() {
    return SmbiosFields(17, 0x5C, 0x1100)
        .word(0x04, 0x1000)      // array
        .word(0x08, 80)          // total width
        .word(0x0A, 64)          // data width
        .word(0x0C, 0x7FFF)      // size: see the long one
        .byte(0x0E, 0x09)        // DIMM
        .byte(0x10, 1)           // slot
        .byte(0x11, 2)           // bank
        .byte(0x12, 0x22)        // DDR5
        .word(0x13, 0x2080)      // synchronous, registered
        .word(0x15, 5600)        // MT/s
        .byte(0x17, 3)           // manufacturer
        .byte(0x18, 4)           // serial
        .byte(0x19, 5)           // asset tag
        .byte(0x1A, 6)           // part number
        .byte(0x1B, 0x02)        // two ranks
        .doubleWord(0x1C, 65536) // MiB
        .word(0x20, 4800)        // configured MT/s
        .word(0x22, 1100)        // mV
        .word(0x24, 1150)
        .word(0x26, 1100)
        .byte(0x28, 0x03) // DRAM
        .byte(0x2B, 7);   // firmware
}

constexpr std::initializer_list<const char *> serverTexts = {
    "DIMM_A1", "BANK 0", "Samsung", "80CE0123", "A1_Asset", "M321R8GA0BB0-CQKZJ  ", "0100"};

TEST(SmbiosMemoryModule, HasEveryFieldOfAServersModule) {
    const MemoryModule module = moduleOf(serverModule().with(serverTexts));
    EXPECT_EQ(module.slot, "DIMM_A1");
    EXPECT_EQ(module.bank, "BANK 0");
    EXPECT_EQ(module.handle, 0x1100U);
    EXPECT_TRUE(holds(module.array, 0x1000));
    EXPECT_TRUE(holds(module.installed, 1));
    EXPECT_TRUE(holds(module.sizeBytes, std::uint64_t{64} << 30));
    EXPECT_TRUE(holds(module.type, "DDR5"));
    EXPECT_TRUE(holds(module.typeDetail, "Synchronous Registered (Buffered)"));
    EXPECT_TRUE(holds(module.formFactor, "DIMM"));
    EXPECT_TRUE(holds(module.technology, "DRAM"));
    EXPECT_TRUE(holds(module.fastestTransfers, 5600000000));
    EXPECT_TRUE(holds(module.configuredTransfers, 4800000000));
    EXPECT_TRUE(holds(module.ranks, 2));
    EXPECT_TRUE(holds(module.totalBits, 80));
    EXPECT_TRUE(holds(module.dataBits, 64));
    EXPECT_TRUE(holds(module.errorCorrectionBits, 16));
    EXPECT_TRUE(holds(module.lowestVolts, 1.1));
    EXPECT_TRUE(holds(module.highestVolts, 1.15));
    EXPECT_TRUE(holds(module.configuredVolts, 1.1));
    EXPECT_TRUE(holds(module.manufacturer, "Samsung"));
    EXPECT_TRUE(holds(module.partNumber, "M321R8GA0BB0-CQKZJ"));
    EXPECT_TRUE(holds(module.serial, "80CE0123"));
    EXPECT_TRUE(holds(module.assetTag, "A1_Asset"));
    EXPECT_TRUE(holds(module.firmware, "0100"));
}

TEST(SmbiosMemoryModule, TellsNoSerialNumberThatMayNotBeTold) {
    for (const Absence reason : {Absence::NotAsked, Absence::Denied}) {
        const MemoryModule module = moduleOf(serverModule().with(serverTexts), reason);
        EXPECT_TRUE(lacks(module.serial, reason));
        EXPECT_TRUE(lacks(module.assetTag, reason));
        EXPECT_TRUE(holds(module.partNumber, "M321R8GA0BB0-CQKZJ"));
    }
}

TEST(SmbiosMemoryModule, SizeIsInTheUnitThatItsBitsSay) {
    const auto size = [](std::uint64_t number) { return moduleOf(serverModule().word(0x0C, number).with({})); };
    EXPECT_TRUE(holds(size(16384).sizeBytes, std::uint64_t{16} << 30)); // MiB
    EXPECT_TRUE(holds(size(0x8200).sizeBytes, 512 * 1024));             // KiB
    EXPECT_TRUE(holds(size(0x7FFE).sizeBytes, std::uint64_t{32766} << 20));
    EXPECT_TRUE(holds(size(0x7FFF).sizeBytes, std::uint64_t{65536} << 20));
    const MemoryModule unknown = size(0xFFFF);
    EXPECT_TRUE(lacks(unknown.sizeBytes, Absence::Unsupported));
    EXPECT_TRUE(lacks(unknown.installed, Absence::Unsupported));
    // The highest bit of the long size is reserved.
    EXPECT_TRUE(holds(moduleOf(serverModule().doubleWord(0x1C, 0x80000400).with({})).sizeBytes, 1 << 30));
}

TEST(SmbiosMemoryModule, EmptySlotIsARowWithoutSize) {
    const MemoryModule module = moduleOf(SmbiosFields(17, 0x28, 0x1101).byte(0x10, 1).byte(0x12, 2).with({"DIMM_A2"}));
    EXPECT_EQ(module.slot, "DIMM_A2");
    EXPECT_EQ(module.bank, "");
    EXPECT_TRUE(holds(module.installed, 0));
    for (const zel::Count &count : {module.sizeBytes, module.fastestTransfers, module.configuredTransfers, module.ranks,
                                    module.totalBits, module.dataBits, module.errorCorrectionBits})
        EXPECT_TRUE(lacks(count, Absence::Unsupported));
    EXPECT_TRUE(lacks(module.type, Absence::Unsupported)); // "Unknown" is no type
    EXPECT_TRUE(lacks(module.lowestVolts, Absence::Unsupported));
    EXPECT_TRUE(lacks(module.serial, Absence::Unsupported));
}

TEST(SmbiosMemoryModule, FieldsThatAnOlderTableLacksAreUnsupported) {
    const MemoryModule module = moduleOf(SmbiosFields(17, 0x15, 1)
                                             .word(0x08, 72)
                                             .word(0x0A, 64)
                                             .word(0x0C, 1024)
                                             .byte(0x12, 0x12)
                                             .word(0x13, 0x80)
                                             .with({})); // SMBIOS 2.1
    EXPECT_TRUE(holds(module.sizeBytes, 1 << 30));
    EXPECT_TRUE(holds(module.type, "DDR"));
    EXPECT_TRUE(holds(module.errorCorrectionBits, 8));
    EXPECT_TRUE(lacks(module.fastestTransfers, Absence::Unsupported));
    EXPECT_TRUE(lacks(module.manufacturer, Absence::Unsupported));
    EXPECT_TRUE(lacks(module.configuredVolts, Absence::Unsupported));
    EXPECT_TRUE(lacks(module.technology, Absence::Unsupported));
}

TEST(SmbiosMemoryModule, SpeedBeyondSixteenBitsIsInALongField) {
    const MemoryModule module = moduleOf(serverModule()
                                             .word(0x15, 0xFFFF)
                                             .word(0x20, 0xFFFF)
                                             .doubleWord(0x54, 70000)
                                             .doubleWord(0x58, 66000)
                                             .with(serverTexts));
    EXPECT_TRUE(holds(module.fastestTransfers, 70000000000));
    EXPECT_TRUE(holds(module.configuredTransfers, 66000000000));
}

TEST(SmbiosMemoryModule, CodesOutsideTheirListAreUnsupported) {
    const MemoryModule module =
        moduleOf(serverModule().byte(0x0E, 0xEE).byte(0x12, 0).byte(0x28, 0xFF).word(0x13, 0).with(serverTexts));
    EXPECT_TRUE(lacks(module.formFactor, Absence::Unsupported));
    EXPECT_TRUE(lacks(module.type, Absence::Unsupported));
    EXPECT_TRUE(lacks(module.technology, Absence::Unsupported));
    EXPECT_TRUE(lacks(module.typeDetail, Absence::Unsupported));
}

TEST(SmbiosMemoryModule, WidthsThatContradictEachOtherGiveNoCorrection) {
    EXPECT_TRUE(lacks(moduleOf(serverModule().word(0x08, 64).word(0x0A, 72).with({})).errorCorrectionBits,
                      Absence::Unsupported));
    EXPECT_TRUE(holds(moduleOf(serverModule().word(0x08, 64).with({})).errorCorrectionBits, 0));
}

TEST(SmbiosMemoryArray, HasCapacitySlotsAndCorrection) {
    const MemoryArray array = arrayOf(SmbiosFields(16, 0x17, 0x1000)
                                          .byte(0x04, 3)
                                          .byte(0x05, 3)
                                          .byte(0x06, 6)
                                          .doubleWord(0x07, 0x80000000)
                                          .word(0x0D, 32)
                                          .quadWord(0x0F, std::uint64_t{8} << 40)
                                          .with({}));
    EXPECT_EQ(array.handle, 0x1000U);
    EXPECT_TRUE(holds(array.location, "System Board Or Motherboard"));
    EXPECT_TRUE(holds(array.use, "System Memory"));
    EXPECT_TRUE(holds(array.errorCorrection, "Multi-bit ECC"));
    EXPECT_TRUE(holds(array.slots, 32));
    EXPECT_TRUE(holds(array.highestBytes, std::uint64_t{8} << 40));
}

TEST(SmbiosMemoryArray, CapacityOfOldTablesIsInKibibytes) {
    const MemoryArray array = arrayOf(SmbiosFields(16, 0x0F, 1).doubleWord(0x07, 16 << 20).word(0x0D, 4).with({}));
    EXPECT_TRUE(holds(array.highestBytes, std::uint64_t{16} << 30));
    EXPECT_TRUE(lacks(arrayOf(SmbiosFields(16, 0x0F, 1).doubleWord(0x07, 0x80000000).with({})).highestBytes,
                      Absence::Unsupported));
}

SmbiosFields serverSocket() {
    return SmbiosFields(4, 0x30, 0x400)
        .byte(0x04, 1)
        .byte(0x05, 3)
        .byte(0x07, 2)
        .byte(0x10, 3)
        .byte(0x11, 0x8B) // 1.1 V
        .word(0x12, 100)
        .word(0x14, 4100)
        .word(0x16, 2900)
        .byte(0x18, 0x41) // populated, enabled
        .byte(0x20, 4)
        .byte(0x21, 5)
        .byte(0x22, 6)
        .byte(0x23, 0xFF)
        .byte(0x24, 0xFF)
        .byte(0x25, 0xFF)
        .word(0x2A, 288)
        .word(0x2C, 256)
        .word(0x2E, 512);
}

TEST(SmbiosProcessorSocket, HasItsProcessor) {
    const ProcessorSocket socket =
        socketOf(serverSocket().with({"CPU1", "Intel(R) Corporation", "A Processor @ 2.90GHz", "S1", "T1", "P1"}));
    EXPECT_EQ(socket.socket, "CPU1");
    EXPECT_EQ(socket.handle, 0x400U);
    EXPECT_TRUE(holds(socket.populated, 1));
    EXPECT_TRUE(holds(socket.type, "Central Processor"));
    EXPECT_TRUE(holds(socket.status, "Enabled"));
    EXPECT_TRUE(holds(socket.manufacturer, "Intel(R) Corporation"));
    EXPECT_TRUE(holds(socket.version, "A Processor @ 2.90GHz"));
    EXPECT_TRUE(holds(socket.volts, 1.1));
    EXPECT_TRUE(holds(socket.busHertz, 100000000));
    EXPECT_TRUE(holds(socket.highestHertz, 4100000000));
    EXPECT_TRUE(holds(socket.bootHertz, 2900000000));
    EXPECT_TRUE(holds(socket.cores, 288));
    EXPECT_TRUE(holds(socket.enabledCores, 256));
    EXPECT_TRUE(holds(socket.threads, 512));
    EXPECT_TRUE(holds(socket.serial, "S1"));
    EXPECT_TRUE(holds(socket.assetTag, "T1"));
    EXPECT_TRUE(holds(socket.partNumber, "P1"));
    EXPECT_TRUE(lacks(socketOf(serverSocket().with({}), Absence::NotAsked).serial, Absence::NotAsked));
}

TEST(SmbiosProcessorSocket, EmptyOneIsNotPopulated) {
    const ProcessorSocket socket = socketOf(SmbiosFields(4, 0x2A, 0x401).byte(0x04, 1).byte(0x18, 0).with({"CPU2"}));
    EXPECT_EQ(socket.socket, "CPU2");
    EXPECT_TRUE(holds(socket.populated, 0));
    EXPECT_TRUE(lacks(socket.status, Absence::Unsupported));
    EXPECT_TRUE(lacks(socket.cores, Absence::Unsupported));
    EXPECT_TRUE(lacks(socket.volts, Absence::Unsupported));
    EXPECT_TRUE(lacks(socket.highestHertz, Absence::Unsupported));
}

TEST(SmbiosProcessorSocket, CoresOfOldTablesHaveOneByte) {
    const ProcessorSocket socket =
        socketOf(SmbiosFields(4, 0x28, 1).byte(0x23, 8).byte(0x24, 6).byte(0x25, 16).byte(0x11, 0x02).with({}));
    EXPECT_TRUE(holds(socket.cores, 8));
    EXPECT_TRUE(holds(socket.enabledCores, 6));
    EXPECT_TRUE(holds(socket.threads, 16));
    EXPECT_TRUE(lacks(socket.volts, Absence::Unsupported)); // what it can take, not what it has
}

} // namespace

// Memory modules of the inventory, from the tables that the kernel hands out.
#include "HardwareHost.h"
#include "SampledHost.h"
#include "SmbiosImage.h"
#include "SystemHooks.h"

#include <cerrno>
#include <sys/stat.h>

namespace {

using zel::Absence;
using zel::Hardware;
using zel::HardwarePart;

constexpr const char *entryPath = "sys/firmware/dmi/tables/smbios_entry_point";
constexpr const char *tablePath = "sys/firmware/dmi/tables/DMI";

std::string module(unsigned array, unsigned megabytes, const char *slot) {
    return SmbiosFields(17, 0x28, 0x1100).word(0x04, array).word(0x0C, megabytes).byte(0x10, 1).with({slot});
}

std::string array(unsigned handle) {
    return SmbiosFields(16, 0x17, handle).word(0x0D, 2).with({});
}

std::pair<int, std::string> failureOf(const Hardware &hardware) {
    const zel::AreaState &state = hardware.part(HardwarePart::Memory);
    return {state.error, state.file};
}

void writeTables(const HardwareHost &host, const std::string &table) {
    host.write(entryPath, smbiosEntry64(table.size()));
    host.write(tablePath, table);
}

TEST(MemoryPart, HasModulesArraysAndSocketsInTheirOrder) {
    const HardwareHost host;
    writeTables(host, SmbiosFields(0, 0x18, 0).with({"a vendor"}) + array(0x10) + module(0x10, 16384, "A1") +
                          module(0x10, 0, "A2") + array(0x11) + module(0x11, 0, "B1") +
                          SmbiosFields(4, 0x30, 0x400).byte(4, 1).byte(0x18, 0x41).with({"CPU1"}) + smbiosEnd());
    const Hardware hardware = host.read(HardwarePart::Memory);
    EXPECT_EQ(failureOf(hardware), NO_FAILURE);
    ASSERT_EQ(hardware.memoryModules.size(), 3U);
    EXPECT_EQ(hardware.memoryModules[0].slot, "A1");
    EXPECT_TRUE(holds(hardware.memoryModules[0].sizeBytes, std::uint64_t{16} << 30));
    EXPECT_TRUE(lacks(hardware.memoryModules[0].serial, Absence::NotAsked));
    EXPECT_EQ(hardware.memoryModules[1].slot, "A2");
    EXPECT_TRUE(holds(hardware.memoryModules[1].installed, 0));
    ASSERT_EQ(hardware.memoryArrays.size(), 2U);
    EXPECT_TRUE(holds(hardware.memoryArrays[0].slots, 2));
    EXPECT_TRUE(holds(hardware.memoryArrays[0].installedModules, 1));
    EXPECT_TRUE(holds(hardware.memoryArrays[1].installedModules, 0));
    ASSERT_EQ(hardware.processorSockets.size(), 1U);
    EXPECT_EQ(hardware.processorSockets[0].socket, "CPU1");
}

TEST(MemoryPart, ModuleThatDoesNotSayItsSizeLeavesTheCountOpen) {
    const HardwareHost host;
    writeTables(host, array(0x10) + module(0x10, 1024, "A1") + module(0x10, 0xFFFF, "A2") + smbiosEnd());
    const Hardware hardware = host.read(HardwarePart::Memory);
    EXPECT_TRUE(lacks(hardware.memoryArrays[0].installedModules, Absence::Unsupported));
}

TEST(MemoryPart, MachineWithoutTablesSaysWhichFileIsMissing) {
    const HardwareHost host;
    const Hardware hardware = host.read(HardwarePart::Memory);
    EXPECT_TRUE(hardware.memoryModules.empty());
    EXPECT_EQ(hardware.part(HardwarePart::Memory).absence, Absence::Unsupported);
    EXPECT_EQ(failureOf(hardware), std::pair(ENOENT, std::string(entryPath)));
}

TEST(MemoryPart, WrongChecksumIsMalformed) {
    const HardwareHost host;
    writeTables(host, module(1, 1, "A1"));
    std::string entry = smbiosEntry64(100);
    entry[5] = static_cast<char>(entry[5] + 1);
    host.write(entryPath, entry);
    const Hardware hardware = host.read(HardwarePart::Memory);
    EXPECT_TRUE(hardware.memoryModules.empty());
    EXPECT_EQ(hardware.part(HardwarePart::Memory).absence, Absence::Malformed);
    EXPECT_EQ(failureOf(hardware), std::pair(EBADMSG, std::string(entryPath)));
}

TEST(MemoryPart, RowsBeforeABrokenStructureStay) {
    const HardwareHost host;
    writeTables(host, module(1, 1024, "A1") + std::string("\x11\x02\0\0", 4) + module(1, 1024, "A2"));
    const Hardware hardware = host.read(HardwarePart::Memory);
    ASSERT_EQ(hardware.memoryModules.size(), 1U);
    EXPECT_EQ(hardware.memoryModules[0].slot, "A1");
    EXPECT_EQ(hardware.part(HardwarePart::Memory).absence, Absence::None);
    EXPECT_EQ(failureOf(hardware), std::pair(EBADMSG, std::string(tablePath)));
}

TEST(MemoryPart, WhatIsBeyondTheEntryPointsLengthIsNoPartOfTheTable) {
    const HardwareHost host;
    const std::string first = module(1, 1024, "A1");
    host.write(entryPath, smbiosEntry32(first.size(), 1));
    host.write(tablePath, first + module(1, 1024, "A2"));
    EXPECT_EQ(host.read(HardwarePart::Memory).memoryModules.size(), 1U);
}

TEST(MemoryPart, TableOfSixteenMebibytesIsRefused) {
    const HardwareHost host;
    writeTables(host, std::string(std::size_t{16} << 20, '\x11'));
    const Hardware hardware = host.read(HardwarePart::Memory);
    EXPECT_TRUE(hardware.memoryModules.empty());
    EXPECT_EQ(failureOf(hardware), std::pair(EFBIG, std::string(tablePath)));
}

TEST(MemoryPart, FifoOrDirectoryInPlaceOfTheTableIsAFailure) {
    const HardwareHost host;
    host.write(entryPath, smbiosEntry64(100));
    ASSERT_EQ(mkfifo((host.path() + "/" + tablePath).c_str(), 0600), 0);
    EXPECT_NE(failureOf(host.read(HardwarePart::Memory)).first, 0);
    host.remove(tablePath);
    host.write(std::string(tablePath) + "/file", "");
    EXPECT_EQ(failureOf(host.read(HardwarePart::Memory)), std::pair(EISDIR, std::string(tablePath)));
}

TEST(MemoryPart, UserWithoutRightsIsDenied) {
    const HardwareHost host;
    writeTables(host, module(1, 1024, "A1"));
    systemHooks().openat2Error = EACCES;
    const Hardware hardware = host.read(HardwarePart::Memory);
    EXPECT_TRUE(hardware.memoryModules.empty());
    EXPECT_EQ(hardware.part(HardwarePart::Memory).absence, Absence::Denied);
    EXPECT_EQ(failureOf(hardware), std::pair(EACCES, std::string(entryPath)));
}

TEST(MemoryPart, SlotsBeyondTheLimitAreLeftOutAndSaid) {
    constexpr std::size_t limit = 16384;
    const HardwareHost host;
    std::string table;
    for (std::size_t slot = 0; slot <= limit; ++slot)
        table += module(1, 1024, "A1");
    writeTables(host, table + array(1));
    const Hardware hardware = host.read(HardwarePart::Memory);
    EXPECT_EQ(hardware.memoryModules.size(), limit);
    EXPECT_EQ(hardware.memoryArrays.size(), 1U);
    EXPECT_EQ(failureOf(hardware), std::pair(E2BIG, std::string(tablePath)));
}

} // namespace

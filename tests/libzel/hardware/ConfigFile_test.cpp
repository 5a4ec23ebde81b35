// The records of the hardware configuration file.
#include "Paths.h"
#include "hardware/ConfigFile.h"

#include "Disk_Info.h"
#include "HostFixture.h"
#include "Mutation.h"
#include "NIC_Info.h"
#include "Pci_Info.h"

#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <map>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// The value of a "desc" line, or "none" for a line without a ":".
std::string valueOf(std::string line) {
    zel::ConfigField field{};
    return zel::parseConfigLine(line.data(), field) ? field.value : "none";
}

// What the records of `deviceClass` name, by index.
std::map<unsigned, std::string> namesOf(const char *deviceClass, std::vector<std::string> lines) {
    zel::DeviceRecords records(deviceClass);
    std::map<unsigned, std::string> names;
    for (std::string &line : lines) {
        if (records.take(line.data()))
            names[records.index()] = records.model();
    }
    return names;
}

TEST(ConfigLine, QuotedValueIsTheTextBetweenTheQuotes) {
    EXPECT_EQ(valueOf("desc: \"Intel Corp.|82545EM\"\n"), "Intel Corp.|82545EM");
    EXPECT_EQ(valueOf("desc:\t \"x\" (rev 1)\n"), "x");
    EXPECT_EQ(valueOf("desc: \"\"\n"), "");
}

TEST(ConfigLine, PlainValueLosesLeadingBlanksAndTheLineEnd) {
    EXPECT_EQ(valueOf("desc:   Intel 82545EM \n"), "Intel 82545EM ");
    EXPECT_EQ(valueOf("desc: last line"), "last line");
    EXPECT_EQ(valueOf("desc:\n"), "");
    EXPECT_EQ(valueOf("desc:"), "");
}

TEST(ConfigLine, UnbalancedQuotesGiveTheRest) {
    EXPECT_EQ(valueOf("desc: \"never closed\n"), "never closed");
    EXPECT_EQ(valueOf("desc: \"\n"), "");
    // A quote elsewhere still takes the first character away, as consumers have always seen it.
    EXPECT_EQ(valueOf("desc: never opened\"\n"), "ever opened");
    EXPECT_EQ(valueOf("desc: ab \"c\" d\n"), "b ");
}

TEST(ConfigLine, FirstColonSplits) {
    EXPECT_EQ(valueOf("desc: a:b\n"), "a:b");
    EXPECT_EQ(valueOf("-\n"), "none");
    EXPECT_EQ(valueOf("desc Intel\n"), "none");
    EXPECT_EQ(valueOf(""), "none");
}

TEST(DeviceRecords, NamesComeInOrderOfAppearance) {
    EXPECT_THAT(
        namesOf("NETWORK", {"-\n", "class: NETWORK\n", "bus: PCI\n", "desc: \"first\"\n", "-\n", "class: CDROM\n",
                            "desc: \"drive\"\n", "-\n", "class: NETWORK\n", "desc: \"second\"\n"}),
        ElementsAre(Pair(0, "first"), Pair(1, "second")));
}

TEST(DeviceRecords, RecordWithoutNameUsesUpItsIndex) {
    EXPECT_THAT(namesOf("NETWORK", {"class: NETWORK\n", "bus: PCI\n", "-\n", "class: NETWORK\n", "desc: \"second\"\n"}),
                ElementsAre(Pair(1, "second")));
    // Also after a record that has one.
    EXPECT_THAT(namesOf("NETWORK", {"class: NETWORK\n", "desc: \"first\"\n", "class: NETWORK\n", "class: NETWORK\n",
                                    "desc: \"third\"\n"}),
                ElementsAre(Pair(0, "first"), Pair(2, "third")));
    // Also when records of other classes are between them.
    EXPECT_THAT(namesOf("NETWORK", {"class: NETWORK\n", "class: CDROM\n", "class: HD\n", "class: NETWORK\n",
                                    "desc: \"second\"\n"}),
                ElementsAre(Pair(1, "second")));
}

TEST(DeviceRecords, EveryNameOfARecordTakesTheNextIndex) {
    EXPECT_THAT(
        namesOf("NETWORK", {"class: NETWORK\n", "desc: \"a\"\n", "desc: \"b\"\n", "class: NETWORK\n", "desc: \"c\"\n"}),
        ElementsAre(Pair(0, "a"), Pair(1, "b"), Pair(2, "c")));
}

TEST(DeviceRecords, ClassWordIsAPrefixAndKeysAreTooButNotIndented) {
    EXPECT_THAT(namesOf("CDROM", {"classes: CDROMX\n", "description: \"drive\"\n"}), ElementsAre(Pair(0, "drive")));
    EXPECT_THAT(namesOf("CDROM", {" class: CDROM\n", "desc: \"drive\"\n"}), IsEmpty());
    EXPECT_THAT(namesOf("CDROM", {"class: CD\n", "desc: \"drive\"\n"}), IsEmpty());
    EXPECT_THAT(namesOf("CDROM", {"class: \"CDROM\"\n", "desc: \"drive\"\n"}), ElementsAre(Pair(0, "drive")));
}

TEST(DeviceRecords, NamesOutsideARecordAreIgnored) {
    EXPECT_THAT(namesOf("CDROM", {"desc: \"stray\"\n", "class: HD\n", "desc: \"disk\"\n"}), IsEmpty());
}

TEST(CountedLines, LinesThatContainTheText) {
    HostFixture host;
    host.write("etc/sysconfig/hwconf",
               "class: NETWORK\nclass: CDROM\n  class: NETWORKX\nclass:NETWORK\nclass: NETWORK");
    EXPECT_EQ(zel::countLinesWith(zel::HARDWARE_CONFIG_FILE, "class: NETWORK"), 3U);
}

TEST(CountedLines, MissingAndUnreadableFilesCountNothing) {
    HostFixture host;
    EXPECT_EQ(zel::countLinesWith(zel::HARDWARE_CONFIG_FILE, "class"), 0U);
    host.write("etc/sysconfig/hwconf/file", "class");
    EXPECT_EQ(zel::countLinesWith(zel::HARDWARE_CONFIG_FILE, "class"), 0U);
}

TEST(CountedLines, LongLineCountsOncePerPieceThatHoldsTheText) {
    HostFixture host;
    // Pieces of 255 characters: the marks lie in the first and in the second one.
    host.write("proc/pci", "Bus" + std::string(300, ' ') + "Bus\n");
    EXPECT_EQ(zel::countLinesWith("/proc/pci", "Bus"), 2U);
}

// --- Damaged files ---------------------------------------------------------------------------------------------------

std::string fixtureText(const std::string &file) {
    std::ifstream text(std::string(paths::fixtures) + "/linux-2.4.21/t0/" + file);
    return {std::istreambuf_iterator<char>(text), {}};
}

TEST(DamagedFiles, FillArraysOfTheirCountWithTerminatedNames) {
    const HostFixture host;
    const std::string config = fixtureText("etc/sysconfig/hwconf");
    const std::string pci = fixtureText("proc/pci");
    ASSERT_FALSE(config.empty() || pci.empty());
    Mutation mutation(1);
    CNIC_Info adapters;
    CDisk_Info drives;
    CPci_Info devices;
    for (int i = 0; i < 100; ++i) {
        host.write("etc/sysconfig/hwconf", mutation.of(config));
        host.write("proc/pci", mutation.of(pci));

        const bool noAdapters = adapters.GetNICInfos() == nullptr;
        EXPECT_EQ(noAdapters, adapters.NICNum() == 0);
        for (unsigned k = 0; k < adapters.NICNum(); ++k)
            EXPECT_LT(std::strlen(adapters.m_pclCNIC[k].ModelName()), sizeof(CNIC::m_cpModelName));
        const bool noDrives = drives.GetCdromInfo() == nullptr;
        EXPECT_EQ(noDrives, drives.CdromNum() == 0);
        for (unsigned k = 0; k < drives.CdromNum(); ++k)
            EXPECT_LT(std::strlen(drives.m_pclCCdrom[k].ModelName()), sizeof(CCdrom::m_cpModelName));
        const bool noDevices = devices.GetPciInfo() == nullptr;
        EXPECT_EQ(noDevices, devices.PciNum() == 0);
        for (unsigned k = 0; k < devices.PciNum(); ++k)
            EXPECT_LT(std::strlen(devices.m_pclCPci[k].ModuleName()), sizeof(CPci::m_cpModuleName));
    }
}

} // namespace

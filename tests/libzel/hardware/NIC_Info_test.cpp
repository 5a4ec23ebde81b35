// Network adapters.
#include "HostFixture.h"
#include "NIC_Info.h"

#include <gtest/gtest.h>

namespace {

constexpr const char *configFile = "etc/sysconfig/hwconf";

std::vector<std::string> modelNames(CNIC_Info &adapters) {
    std::vector<std::string> names;
    CNIC *adapter = adapters.GetNICInfos();
    EXPECT_EQ(adapter, adapters.m_pclCNIC);
    for (unsigned i = 0; i < adapters.NICNum(); ++i)
        names.emplace_back(adapter[i].ModelName());
    return names;
}

TEST(NicInventory, AdaptersAreCountedAndNamed) {
    HostFixture host;
    host.write(configFile,
               "-\nclass: NETWORK\nbus: PCI\ndetached: 0\ndevice: eth0\ndriver: e1000\n"
               "desc: \"Intel Corp.|82545EM Gigabit Ethernet Controller\"\nnetwork.hwaddr: 00:0C:29:5D:42:5E\n"
               "-\nclass: CDROM\nbus: IDE\ndesc: \"VMware Virtual IDE CDROM Drive\"\n"
               "-\nclass: NETWORK\nbus: PCI\ndevice: eth1\ndesc: \"Broadcom|NetXtreme BCM5704\"\n");
    CNIC_Info adapters;

    EXPECT_EQ(adapters.GetNICNum(), 2U);
    EXPECT_EQ(adapters.NICNum(), 2U);
    EXPECT_THAT(modelNames(adapters),
                testing::ElementsAre("Intel Corp.|82545EM Gigabit Ethernet Controller", "Broadcom|NetXtreme BCM5704"));
}

TEST(NicInventory, MissingFileGivesZeroAndNull) {
    HostFixture host;
    CNIC_Info adapters;

    EXPECT_EQ(adapters.GetNICNum(), 0U);
    EXPECT_EQ(adapters.GetNICInfos(), nullptr);
    EXPECT_EQ(adapters.NICNum(), 0U);
}

TEST(NicInventory, AdapterWithoutDescriptionStaysEmptyAndTheNextNameFollows) {
    HostFixture host;
    host.write(configFile, "class: NETWORK\nbus: PCI\n-\nclass: NETWORK\ndesc: \"second\"\n-\nclass: NETWORK\n");
    CNIC_Info adapters;

    EXPECT_THAT(modelNames(adapters), testing::ElementsAre("", "second", ""));
}

TEST(NicInventory, RebuildStartsFromScratch) {
    HostFixture host;
    host.write(configFile, "class: NETWORK\ndesc: \"a\"\nclass: NETWORK\ndesc: \"b\"\n");
    CNIC_Info adapters;
    EXPECT_THAT(modelNames(adapters), testing::ElementsAre("a", "b"));

    host.write(configFile, "class: NETWORK\n");
    EXPECT_THAT(modelNames(adapters), testing::ElementsAre(""));
}

TEST(NicInventory, RebuildToNothingLeavesNoArray) {
    HostFixture host;
    host.write(configFile, "class: NETWORK\ndesc: \"a\"\n");
    CNIC_Info adapters;
    ASSERT_NE(adapters.GetNICInfos(), nullptr);

    host.remove(configFile);
    EXPECT_EQ(adapters.GetNICInfos(), nullptr);
    EXPECT_EQ(adapters.m_pclCNIC, nullptr);
    EXPECT_EQ(adapters.NICNum(), 0U);
}

TEST(NicInventory, MoreDescriptionsThanAdaptersStayInsideTheArray) {
    HostFixture host;
    std::string text = "class: NETWORK\n";
    for (int i = 0; i < 1000; ++i)
        text += "desc: \"name " + std::to_string(i) + "\"\n";
    host.write(configFile, text + "class: NETWORK\n");
    CNIC_Info adapters;

    EXPECT_THAT(modelNames(adapters), testing::ElementsAre("name 0", "name 1"));
}

TEST(NicInventory, RecordsThatAreSelectedButNotCountedStayInsideTheArray) {
    HostFixture host;
    // Two blanks: the record is selected, yet the counted text is not in it.
    host.write(configFile, "class: NETWORK\nclass:  NETWORK\ndesc: \"uncounted\"\n");
    CNIC_Info adapters;

    EXPECT_THAT(modelNames(adapters), testing::ElementsAre(""));
}

TEST(NicInventory, NamesAreCutToTheirField) {
    HostFixture host;
    // The line of 512 bytes with its terminator: "desc: " and the quote leave 511 - 7 = 504 characters of the name.
    host.write(configFile, "class: NETWORK\ndesc: \"" + std::string(2000, 'n') + "\"\n");
    CNIC_Info adapters;
    EXPECT_THAT(modelNames(adapters), testing::ElementsAre(std::string(504, 'n')));

    CNIC adapter;
    EXPECT_STREQ(adapter.ModelName(std::string(2000, 'x').c_str()), std::string(511, 'x').c_str());
    EXPECT_STREQ(adapter.ModelName("short"), "short");
    EXPECT_EQ(adapter.m_cpModelName, adapter.ModelName());
    EXPECT_EQ(std::string(adapter.m_cpModelName + 5, 507), std::string(507, '\0'));
}

TEST(NicInventory, BinaryGarbageNamesNothing) {
    HostFixture host;
    host.write(configFile, std::string("\0\xff\x01:\"\0desc", 10) + std::string(5000, ':') + "\n\"\"\"\n");
    CNIC_Info adapters;

    EXPECT_EQ(adapters.GetNICInfos(), nullptr);
}

TEST(NicInventory, CurrentPathIsKeptAndCut) {
    CNIC_Info adapters;
    EXPECT_EQ(adapters.fSetCurrentPath("/opt/agent"), 1);
    EXPECT_STREQ(adapters.m_strCurrentPath, "/opt/agent");
    EXPECT_EQ(adapters.fSetCurrentPath(std::string(3000, 'p').c_str()), 1);
    EXPECT_EQ(std::string(adapters.m_strCurrentPath), std::string(511, 'p'));
}

} // namespace

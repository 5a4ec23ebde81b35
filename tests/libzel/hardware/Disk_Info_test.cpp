// CD-ROM drives.
#include "Disk_Info.h"
#include "HostFixture.h"

#include <gtest/gtest.h>

namespace {

constexpr const char *configFile = "etc/sysconfig/hwconf";

std::vector<std::string> modelNames(CDisk_Info &drives) {
    std::vector<std::string> names;
    CCdrom *drive = drives.GetCdromInfo();
    EXPECT_EQ(drive, drives.m_pclCCdrom);
    for (unsigned i = 0; i < drives.CdromNum(); ++i)
        names.emplace_back(drive[i].ModelName());
    return names;
}

TEST(DriveInventory, OnlyCdromRecordsAreCountedAndNamed) {
    HostFixture host;
    host.write(configFile, "-\nclass: NETWORK\ndesc: \"adapter\"\n-\nclass: CDROM\nbus: IDE\ndevice: hdc\n"
                           "desc: \"TEAC CD-224E\"\n-\nclass: HD\ndesc: \"disk\"\n-\nclass: CDROM\ndesc: plain name\n");
    CDisk_Info drives;

    EXPECT_EQ(drives.GetCdromNum(), 2U);
    EXPECT_EQ(drives.CdromNum(), 2U);
    EXPECT_THAT(modelNames(drives), testing::ElementsAre("TEAC CD-224E", "plain name"));
}

TEST(DriveInventory, RebuildStartsFromScratchDownToNothing) {
    HostFixture host;
    host.write(configFile, "class: CDROM\ndesc: \"a\"\nclass: CDROM\ndesc: \"b\"\n");
    CDisk_Info drives;
    EXPECT_THAT(modelNames(drives), testing::ElementsAre("a", "b"));

    host.write(configFile, "class: CDROM\ndesc: \"c\"\n");
    EXPECT_THAT(modelNames(drives), testing::ElementsAre("c"));

    host.remove(configFile);
    EXPECT_EQ(drives.GetCdromInfo(), nullptr);
    EXPECT_EQ(drives.m_pclCCdrom, nullptr);
    EXPECT_EQ(drives.CdromNum(), 0U);
}

TEST(DriveInventory, DisksAndTapesAreNotGathered) {
    HostFixture host;
    host.write(configFile, "class: HD\ndesc: \"disk\"\nclass: TAPE\ndesc: \"tape\"\n");
    CDisk_Info drives;
    EXPECT_EQ(drives.GetCdromInfo(), nullptr);
    EXPECT_EQ(drives.GetDiskNum(), 0U);
    EXPECT_EQ(drives.GetDatNum(), 0U);
    EXPECT_EQ(drives.m_pclCDisk, nullptr);
    EXPECT_EQ(drives.m_pclCDat, nullptr);

    // An embedding program may fill them.
    drives.m_nDiskNum = 3;
    drives.m_nDatNum = 4;
    drives.m_pclCDisk = new CDisk[3];
    drives.m_pclCDat = new CDisk[4];
    EXPECT_EQ(drives.GetDiskNum(), 3U);
    EXPECT_EQ(drives.DiskNum(), 3U);
    EXPECT_EQ(drives.GetDatNum(), 4U);
    EXPECT_EQ(drives.DatNum(), 4U);
}

template<typename Device> void expectNameOf127Characters() {
    Device device;
    EXPECT_STREQ(device.ModelName(), "");
    EXPECT_STREQ(device.ModelName(std::string(127, 'a').c_str()), std::string(127, 'a').c_str());
    EXPECT_STREQ(device.ModelName(std::string(300, 'b').c_str()), std::string(127, 'b').c_str());
    EXPECT_STREQ(device.ModelName("c"), "c");
}

TEST(DriveInventory, NamesAreCutToTheirField) {
    expectNameOf127Characters<CCdrom>();
    expectNameOf127Characters<CDat>();
    expectNameOf127Characters<CDisk>();

    HostFixture host;
    host.write(configFile, "class: CDROM\ndesc: \"" + std::string(300, 'd') + "\"\n");
    CDisk_Info drives;
    EXPECT_THAT(modelNames(drives), testing::ElementsAre(std::string(127, 'd')));
}

TEST(DriveInventory, CurrentPathIsKeptAndCut) {
    CDisk_Info drives;
    EXPECT_EQ(drives.fSetCurrentPath(std::string(3000, 'p').c_str()), 1);
    EXPECT_EQ(std::string(drives.m_strCurrentPath), std::string(511, 'p'));
    EXPECT_EQ(drives.fSetCurrentPath("/opt"), 1);
    EXPECT_STREQ(drives.m_strCurrentPath, "/opt");
}

} // namespace

// The disk side of the inventory file.
#include "DiskTest.h"

#include "LogCapture.h"
#include "NCmdScheduler.h"

#include <gmock/gmock.h>
#include <limits>

namespace {

using testing::ElementsAre;

constexpr const char *inventoryFile = "agent/aproc/shell/DiskINVStrInfo.dat";

class DiskInventory : public DiskTest {
protected:
    void write(const std::string &text) { home.write(inventoryFile, "TORVDISK|" + text + "\n"); }
    /// A text that makes the marked line `length` characters long.
    static std::string ofLine(int length, char character) {
        return std::string(static_cast<std::size_t>(length) - 9, character);
    }

    CMM_IO_Info disks;
};

TEST_F(DiskInventory, NewCollectorHasEmptyBuffersAndItsPath) {
    EXPECT_STREQ(disks.m_strDataPath, "../aproc/shell/DiskINVStrInfo.dat");
    EXPECT_EQ(disks.m_nDiskINVCnt, 0);
    EXPECT_EQ(disks.m_nDiskINVSize, 10240);
    EXPECT_EQ(disks.m_nDiskNameSize, 10240);
    EXPECT_STREQ(disks.m_pStrDiskINV, "");
    EXPECT_STREQ(disks.m_pstrDiskName, "");
}

TEST_F(DiskInventory, TextIsTaken) {
    home.write(inventoryFile, "\nUPPER\nTORVDISK|sda|SEAGATE\n");
    EXPECT_EQ(disks.fGetDiskINV(), 1);
    EXPECT_EQ(disks.m_nDiskINVCnt, 1);
    EXPECT_STREQ(disks.m_pStrDiskINV, "sda|SEAGATE");
}

TEST_F(DiskInventory, LineWithNothingAfterTheBarIsAnEmptyText) {
    write("sda");
    EXPECT_EQ(disks.fGetDiskINV(), 1);
    home.write(inventoryFile, "no disks: TORVDISK|\n");
    EXPECT_EQ(disks.fGetDiskINV(), 1);
    EXPECT_EQ(disks.m_nDiskINVCnt, 1);
    EXPECT_STREQ(disks.m_pStrDiskINV, "");
}

TEST_F(DiskInventory, FailuresAreLoggedThroughOneGate) {
    const LogCapture logged(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB14);
    EXPECT_EQ(disks.fGetDiskINV(), -1);
    home.write(inventoryFile, "");
    EXPECT_EQ(disks.fGetDiskINV(), -1);
    home.write(inventoryFile, "TORVCPU|model\n");
    EXPECT_EQ(disks.fDiskChangeCheck(), -1);
    home.write(inventoryFile, "TORVDISK model\n");
    EXPECT_EQ(disks.fGetDiskINV(), -1);
    EXPECT_EQ(disks.m_nDiskINVCnt, 0);
    EXPECT_EQ(disks.fDiskChangeCheck(), 0);
    write("sda");
    EXPECT_EQ(disks.fDiskChangeCheck(), 1);

    EXPECT_THAT(logged.messages(), ElementsAre("fopen failed(2)", "inv file size zero", "fgets not contents",
                                               "inv not contents", "disk inv change"));
    EXPECT_THAT(logged.lines()[4], testing::StartsWith("[INFO][MM_IO_Info]["));
}

TEST_F(DiskInventory, LineOf3000CharactersIsReadWhole) {
    write(ofLine(3000, 'x'));
    EXPECT_EQ(disks.fGetDiskINV(), 1);
    EXPECT_EQ(disks.m_pStrDiskINV, ofLine(3000, 'x'));
    EXPECT_EQ(disks.fDiskChangeCheck(), 0);
    EXPECT_EQ(disks.m_pstrDiskName, "TORVDISK|" + ofLine(3000, 'x'));
}

// 10240 bytes are less than the 20000 characters of the line: 10240 + 20000 + 16.
TEST_F(DiskInventory, LongTextReplacesItsBuffer) {
    write(ofLine(20000, 'x'));
    EXPECT_EQ(disks.fGetDiskINV(), 1);
    EXPECT_EQ(disks.m_nDiskINVSize, 30256);
    EXPECT_EQ(disks.m_nDiskNameSize, 10240);
    EXPECT_EQ(disks.m_pStrDiskINV, ofLine(20000, 'x'));
}

TEST_F(DiskInventory, ChangeIsReportedOnce) {
    write("sda");
    EXPECT_EQ(disks.fDiskChangeCheck(), 0);
    EXPECT_EQ(disks.fDiskChangeCheck(), 0);
    write("sda sdb");
    EXPECT_EQ(disks.fDiskChangeCheck(), 1);
    EXPECT_EQ(disks.fDiskChangeCheck(), 0);
}

// The size of a known line's new buffer is stated in the size of the inventory text, and its own size stays.
TEST_F(DiskInventory, LongKnownLineStatesItsSizeInTheOtherField) {
    write(ofLine(20000, 'x'));
    EXPECT_EQ(disks.fDiskChangeCheck(), 0);
    EXPECT_EQ(disks.m_nDiskNameSize, 10240);
    EXPECT_EQ(disks.m_nDiskINVSize, 30256);
    EXPECT_EQ(disks.m_pstrDiskName, "TORVDISK|" + ofLine(20000, 'x'));
}

// The inventory text's buffer has 10240 bytes while its size says 30256: a text of up to that length must still fit.
TEST_F(DiskInventory, CrossedSizesNeverOverrunABuffer) {
    write(ofLine(20000, 'x'));
    EXPECT_EQ(disks.fDiskChangeCheck(), 0);
    for (const int length : {30000, 30256, 10239, 10240, 10241, 40000, 20000}) {
        write(ofLine(length, 'y'));
        EXPECT_EQ(disks.fGetDiskINV(), 1);
        EXPECT_EQ(disks.m_pStrDiskINV, ofLine(length, 'y')) << length;
        EXPECT_EQ(disks.fDiskChangeCheck(), 1);
        EXPECT_EQ(disks.m_pstrDiskName, "TORVDISK|" + ofLine(length, 'y')) << length;
        EXPECT_EQ(disks.fDiskChangeCheck(), 0);
    }
}

TEST_F(DiskInventory, EqualLongLineKeepsTheKnownLineAndStatesItsSizeAgain) {
    write(ofLine(20000, 'x'));
    EXPECT_EQ(disks.fDiskChangeCheck(), 0);
    disks.m_nDiskINVSize = 7;
    EXPECT_EQ(disks.fDiskChangeCheck(), 0);
    EXPECT_EQ(disks.m_nDiskINVSize, 30256);
    EXPECT_EQ(disks.m_pstrDiskName, "TORVDISK|" + ofLine(20000, 'x'));
    write(ofLine(20000, 'y'));
    EXPECT_EQ(disks.fDiskChangeCheck(), 1);
}

TEST_F(DiskInventory, FileIsRemoved) {
    write("sda");
    EXPECT_EQ(disks.fINVFileRemove(), 0);
    EXPECT_FALSE(home.exists(inventoryFile));
    EXPECT_EQ(disks.fINVFileRemove(), -1);
}

TEST_F(DiskInventory, RequestRunsNothingHere) {
    disks.fCommandINV(1);
    EXPECT_TRUE(commands.empty());
    EXPECT_EQ(disks.fCommandExecute(), 1);
}

TEST_F(DiskInventory, RequestIsHandedToTheScheduler) {
    std::vector<std::string> requests;
    systemHooks().saveCommand = [&requests](const char *key, const char *command) {
        requests.push_back(std::string(key) + ": " + command);
        return requests.size() == 1 ? 0 : -1;
    };
    CCmdScheduler scheduler;
    g_pclCCmdScheduler = &scheduler;

    EXPECT_EQ(disks.fCommandINV(1), 0);
    EXPECT_EQ(disks.fCommandINV(std::numeric_limits<int>::min()), -1) << "the scheduler refused it";

    EXPECT_THAT(requests, ElementsAre("disk_inv_1: ./shell/libinvdiskexe.sh 2 1 &",
                                      "disk_inv_1: ./shell/libinvdiskexe.sh 2 -2147483648 &"));
    EXPECT_TRUE(commands.empty());
}

TEST_F(DiskInventory, RequestWithoutASchedulerIsRefused) {
    ASSERT_EQ(g_pclCCmdScheduler, nullptr);
    EXPECT_EQ(disks.fCommandINV(1), -1);
}

} // namespace

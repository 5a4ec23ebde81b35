// The performance text of the filesystems: layout, growth, hostile names, totals.
#include "FilesystemHost.h"
#include "LogCapture.h"
#include "MM_FS_Info.h"
#include "Separators.h"

#include <gtest/gtest.h>

namespace {

std::string joined(const std::vector<std::string> &fields) {
    std::string text;
    for (const std::string &field : fields)
        text += field + C;
    return text;
}

const std::string header =
    joined({"INDEX", "FSNAME", "DISKNAME", "TOTSIZE", "USEDSIZE", "FREESIZE", "USAGE", "AVAILSIZE", "ITOTSIZE",
            "IUSEDSIZE", "IFREESIZE", "IUSAGE", "IAVAILSIZE", "FSTYPE"});
const std::string endMarker = R + "torv_token_end";

// A row of FilesystemHost::twoGigabytes(): 2097152 KB, half used and free, 524288 available; 1048576 of 1572864 is
// 66.67 percent. 100 of 1000 inodes used.
std::string row(int index, const std::string &mountPoint, const std::string &device, const std::string &type) {
    return R + joined({std::to_string(index), mountPoint, device, "2097152", "1048576", "1048576", "66.67", "524288",
                       "1000", "100", "900", "10.00", "900", type});
}

TEST(FilesystemText, HasHeaderRowsAndEndMarker) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4").mounted("proc", "/proc", "proc").mounted("/dev/sda2", "/data", "xfs");
    CMM_FS_Info collector;

    EXPECT_EQ(collector.fGetFileSystem(), 2);

    EXPECT_EQ(collector.fGetFSInfo(),
              header + row(1, "/", "/dev/sda1", "ext4") + row(2, "/data", "/dev/sda2", "xfs") + endMarker);
    EXPECT_EQ(collector.fMGetNFileSys(), 2);
    EXPECT_EQ(collector.m_nCurIndex, 1);
}

TEST(FilesystemText, UsageFollowsTheFreeUsedFlag) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4");
    g_nFsFreeUsedFlag = 1;
    CMM_FS_Info collector;

    EXPECT_EQ(collector.fGetFileSystem(), 1);

    // 1048576 used of 1048576 + 1048576.
    EXPECT_NE(std::string(collector.fGetFSInfo()).find(C + "1048576" + C + "50.00" + C + "524288" + C),
              std::string::npos);
}

TEST(FilesystemText, WithoutRowsIsTheHeaderAlone) {
    FilesystemHost host;
    host.line("proc", "/proc", "proc");
    CMM_FS_Info collector;

    EXPECT_EQ(collector.fGetFileSystem(), -1);

    EXPECT_EQ(collector.fGetFSInfo(), header);
    EXPECT_EQ(collector.fMGetNFileSys(), 0);
    EXPECT_EQ(collector.m_nCurIndex, 1);
}

TEST(FilesystemText, AMissingTableIsAFailure) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4");
    CMM_FS_Info collector;
    ASSERT_EQ(collector.fGetFileSystem(), 1);
    host.removeTable();
    const LogCapture log;

    EXPECT_EQ(collector.fGetFileSystem(), -1);

    EXPECT_EQ(collector.fGetFSInfo(), header);
    EXPECT_EQ(collector.fMGetNFileSys(), 0);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"setmntent failed(2)"});
}

TEST(FilesystemText, EveryPassStartsAnew) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4").mounted("/dev/sda2", "/data", "xfs");
    CMM_FS_Info collector;
    ASSERT_EQ(collector.fGetFileSystem(), 2);
    host.clearTable();
    host.mounted("/dev/sda3", "/other", "ext4");

    EXPECT_EQ(collector.fGetFileSystem(), 1);
    EXPECT_EQ(collector.fGetFSInfo(), header + row(1, "/other", "/dev/sda3", "ext4") + endMarker);
}

TEST(FilesystemText, GrowsByDoublingAndKeepsEveryRow) {
    FilesystemHost host;
    std::string expected = header;
    for (int i = 1; i <= 300; ++i) {
        const std::string mountPoint = "/mounts/number/" + std::to_string(i);
        host.mounted("/dev/mapper/volume", mountPoint, "ext4");
        expected += row(i, mountPoint, "/dev/mapper/volume", "ext4");
    }
    CMM_FS_Info collector;

    EXPECT_EQ(collector.fGetFileSystem(), 300);

    EXPECT_EQ(collector.fGetFSInfo(), expected + endMarker);
    int size = 10240;
    while (size < static_cast<int>(expected.size()) + 256)
        size *= 2;
    EXPECT_EQ(collector.m_nResultDataSize, size);
}

TEST(FilesystemText, ARowFindsTwiceItsDeviceAndARowsRoom) {
    FilesystemHost host;
    // The header: names of 104 characters and 14 separators of 3.
    ASSERT_EQ(header.size(), 146U);
    const std::string device(1024, 'd');
    for (int i = 1; i <= 7; ++i)
        host.mounted(device, "/m", "ext4");
    CMM_FS_Info collector;
    ASSERT_EQ(collector.fGetFileSystem(), 7);
    const std::size_t rowLength = row(1, "/m", device, "ext4").size();
    // Before the seventh row 2 * 1024 + 256 bytes are still free.
    ASSERT_GE(10240 - (146 + 6 * rowLength), 2304U);
    EXPECT_EQ(collector.m_nResultDataSize, 10240);

    host.mounted(device, "/m", "ext4");
    ASSERT_LT(10240 - (146 + 7 * rowLength), 2304U); // though the row itself would fit
    ASSERT_GT(10240 - (146 + 7 * rowLength), rowLength + endMarker.size());
    ASSERT_EQ(collector.fGetFileSystem(), 8);
    EXPECT_EQ(collector.m_nResultDataSize, 20480);
}

TEST(FilesystemText, ARowLongerThanItsRoomFits) {
    FilesystemHost host;
    const std::string mountPoint = "/" + std::string(1023, 'm');
    std::string expected = header;
    for (int i = 1; i <= 50; ++i) {
        host.mounted("d", mountPoint, "fuse." + std::string(1000, 't'));
        expected += row(i, mountPoint, "d", "fuse." + std::string(1000, 't'));
    }
    CMM_FS_Info collector;

    EXPECT_EQ(collector.fGetFileSystem(), 50);
    EXPECT_EQ(collector.fGetFSInfo(), expected + endMarker);
}

TEST(FilesystemText, NamesCannotForgeRowsOrColumns) {
    FilesystemHost host;
    host.line("de\x03\x1F|vice", "/a\x03\x1F~b", "ty\x1Fpe\x03").sized("/a\x03\x1F~b", FilesystemHost::twoGigabytes());
    CMM_FS_Info collector;

    EXPECT_EQ(collector.fGetFileSystem(), 1);
    EXPECT_EQ(collector.fGetFSInfo(), header + row(1, "/a  ~b", "de  |vice", "ty pe ") + endMarker);
}

TEST(FilesystemText, BlanksInMountPointsStay) {
    FilesystemHost host;
    host.line("/dev/sda1", "/with\\040two\\040blanks", "ext4")
        .sized("/with two blanks", FilesystemHost::twoGigabytes());
    CMM_FS_Info collector;

    EXPECT_EQ(collector.fGetFileSystem(), 1);
    EXPECT_EQ(collector.fGetFSInfo(), header + row(1, "/with two blanks", "/dev/sda1", "ext4") + endMarker);
}

TEST(FilesystemText, WithoutMemoryToGrowThePassFails) {
    FilesystemHost host;
    for (int i = 1; i <= 100; ++i)
        host.mounted("/dev/sda1", "/m" + std::to_string(i), "ext4");
    CMM_FS_Info collector;
    systemHooks().failAllocationAfter = 0;

    EXPECT_EQ(collector.fGetFileSystem(), -1);
    EXPECT_EQ(std::string(collector.fGetFSInfo()).find("torv_token_end"), std::string::npos);

    systemHooks().failAllocationAfter = -1;
    EXPECT_EQ(collector.fGetFileSystem(), 100);
}

TEST(FilesystemText, ACollectorBuiltWithoutMemoryRecovers) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4");
    systemHooks().failAllocationAfter = 1; // the release record, then the buffer
    CMM_FS_Info collector;
    systemHooks().failAllocationAfter = -1;
    ASSERT_EQ(collector.fGetFSInfo(), nullptr);

    EXPECT_EQ(collector.fGetFileSystem(), 1);
    EXPECT_EQ(collector.fGetFSInfo(), header + row(1, "/", "/dev/sda1", "ext4") + endMarker);
}

// --- Totals --------------------------------------------------------------------------------------------------------

using Totals = std::vector<unsigned long long>;

Totals totalsOf(const CMM_FS_Info &collector) {
    return {collector.m_uFSTotalSizeTotal, collector.m_uFSUseTotal,       collector.m_uFSFreeTotal,
            collector.m_uFSAvailTotal,     collector.m_uINTotalSizeTotal, collector.m_uINUseTotal,
            collector.m_uINFreeTotal,      collector.m_uINAvailTotal};
}

TEST(FilesystemTotals, AreSumsOverTheRowsOfTheAgent) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4").mounted("/dev/sda2", "/data", "xfs").mounted("x", "/misc", "binfmt_misc");
    FilesystemHost::leaveOutOfTotals({"binfmt_misc"});
    g_nVAGENT_type = 1;
    CMM_FS_Info collector;

    EXPECT_EQ(collector.fGetFileSystem(), 3); // rows are written for all of them

    // Twice 2097152, 1048576, 1048576, 524288 KB and 1000, 100, 900, 900 inodes.
    EXPECT_EQ(totalsOf(collector), (Totals{4194304, 2097152, 2097152, 1048576, 2000, 200, 1800, 1800}));
}

TEST(FilesystemTotals, StartAnewWithEveryText) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4");
    g_nVAGENT_type = 2;
    CMM_FS_Info collector;

    collector.fGetFileSystem();
    collector.fGetFileSystem();
    EXPECT_EQ(totalsOf(collector), (Totals{2097152, 1048576, 1048576, 524288, 1000, 100, 900, 900}));

    host.clearTable();
    collector.fGetFileSystem();
    EXPECT_EQ(totalsOf(collector), Totals(8, 0));
}

TEST(FilesystemTotals, StayZeroWithoutAnAgent) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4");
    CMM_FS_Info collector;

    collector.fGetFileSystem();
    EXPECT_EQ(totalsOf(collector), Totals(8, 0));
}

TEST(FilesystemTotals, AreLeftAloneByARecordPass) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4");
    g_nVAGENT_type = 1;
    CMM_FS_Info collector;
    collector.fGetFileSystem();
    const Totals before = totalsOf(collector);

    collector.fMGetFileSys();
    EXPECT_EQ(totalsOf(collector), before);
}

TEST(FilesystemTotals, LeftOutTypesAreComparedExactly) {
    FilesystemHost host;
    host.mounted("a", "/a", "xfs").mounted("b", "/b", "xf");
    FilesystemHost::leaveOutOfTotals({"xfs", "ext"});
    g_nVAGENT_type = 1;
    CMM_FS_Info collector;

    collector.fGetFileSystem();
    EXPECT_EQ(collector.m_uFSTotalSizeTotal, 2097152ULL);

    g_nTotExcludeFilesystemCnt = -5;
    collector.fGetFileSystem();
    EXPECT_EQ(collector.m_uFSTotalSizeTotal, 4194304ULL);
}

} // namespace

// Which entries of the mount table are reported.
#include "FilesystemHost.h"
#include "LogCapture.h"
#include "MM_FS_Info.h"

#include <gtest/gtest.h>

namespace {

using Names = std::vector<std::string>;

Names recordsOf(CMM_FS_Info &collector) {
    Names names;
    collector.fMGetFileSys();
    while (const _ST_FS *record = collector.fMGetFileSysNext())
        names.emplace_back(record->l_strFSname);
    return names;
}

Names records() {
    CMM_FS_Info collector;
    return recordsOf(collector);
}

// The second value of every row.
Names rows() {
    CMM_FS_Info collector;
    Names names;
    if (collector.fGetFileSystem() < 0)
        return names;
    const std::string text = collector.fGetFSInfo();
    for (std::size_t row = text.find("\x03\x1F|"); row != std::string::npos; row = text.find("\x03\x1F|", row + 1)) {
        const std::size_t name = text.find("\x03\x1F~", row);
        if (name == std::string::npos)
            break; // the end marker
        names.push_back(text.substr(name + 3, text.find("\x03\x1F~", name + 3) - name - 3));
    }
    return names;
}

// --- Types ---------------------------------------------------------------------------------------------------------

TEST(FilesystemTypeFilter, WithoutAListProcUsbdevfsAndDevptsAreLeftOut) {
    FilesystemHost host;
    host.mounted("proc", "/proc", "proc")
        .mounted("x", "/procfs", "myprocfs")
        .mounted("x", "/usb", "usbdevfs")
        .mounted("x", "/pts", "devpts")
        .mounted("x", "/tmp", "tmpfs")
        .mounted("/dev/sda1", "/data", "ext4");

    EXPECT_EQ(records(), (Names{"/tmp", "/data"}));
    EXPECT_EQ(rows(), (Names{"/tmp", "/data"}));
}

TEST(FilesystemTypeFilter, AListReplacesTheBuiltInRule) {
    FilesystemHost host;
    host.mounted("proc", "/proc", "proc").mounted("/dev/sda1", "/two", "ext2").mounted("/dev/sda2", "/four", "ext4");
    FilesystemHost::exclude({"ext2"});

    EXPECT_EQ(records(), (Names{"/proc", "/four"}));
    EXPECT_EQ(rows(), (Names{"/proc", "/four"}));
}

TEST(FilesystemTypeFilter, ListedTypesAreComparedExactly) {
    FilesystemHost host;
    host.mounted("a", "/a", "tmpfs")
        .mounted("b", "/b", "devtmpfs")
        .mounted("c", "/c", "TMPFS")
        .mounted("d", "/d", "tmp");
    FilesystemHost::exclude({"xfs", "tmpfs"});

    EXPECT_EQ(records(), (Names{"/b", "/c", "/d"}));
}

TEST(FilesystemTypeFilter, ANegativeCountReportsNothing) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/data", "ext4");
    g_nExcludeFilesystemCnt = -1;

    EXPECT_EQ(records(), Names{});
    EXPECT_EQ(rows(), Names{});
}

TEST(FilesystemTypeFilter, ACountBeyondTheListEndsWithTheList) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/data", "ext4");
    FilesystemHost::exclude({"tmpfs"});
    g_nExcludeFilesystemCnt = 1000000;

    EXPECT_EQ(records(), Names{"/data"});
}

TEST(FilesystemTypeFilter, ATypeThatFillsItsSlotRunsIntoTheNext) {
    FilesystemHost host;
    const std::string longType = "fuse." + std::string(35, 'x'); // 40 characters
    host.mounted("a", "/a", longType)
        .mounted("b", "/b", longType.substr(0, 32))
        .mounted("c", "/c", longType.substr(32));
    FilesystemHost::exclude({longType});
    g_nExcludeFilesystemCnt = 2; // its rest is an entry too

    EXPECT_EQ(records(), Names{"/b"});
}

TEST(FilesystemTypeFilter, AListWithoutAnyTerminatorIsReadToItsEnd) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/data", "ext4");
    std::memset(g_strExcludeFilesystem, 'x', sizeof(g_strExcludeFilesystem));
    g_nExcludeFilesystemCnt = FILESYSTEM_LIST_ENTRIES;

    EXPECT_EQ(records(), Names{"/data"});
}

// --- Mount points (text pass) --------------------------------------------------------------------------------------

TEST(FilesystemMountPointFilter, TheIncludeListKeepsItsMountPointsInTheText) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4").mounted("/dev/sda2", "/data", "ext4").mounted("/dev/sda3", "/data2", "ext4");
    FilesystemHost::include({"/data", "/nowhere", "ext4"});

    EXPECT_EQ(rows(), Names{"/data"});
    EXPECT_EQ(records(), (Names{"/", "/data", "/data2"}));
}

TEST(FilesystemMountPointFilter, AnIncludeCountBelowOneKeepsAll) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4").mounted("/dev/sda2", "/data", "ext4");
    FilesystemHost::include({"/data"});
    g_nIncludeFilesystemCnt = -1;

    EXPECT_EQ(rows(), (Names{"/", "/data"}));
}

TEST(FilesystemMountPointFilter, TheDepthLimitCountsSlashesInTheText) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4").mounted("/dev/sda2", "/a/b", "ext4").mounted("/dev/sda3", "/a/b/c", "ext4");
    g_nFSTokenCount = 2;

    EXPECT_EQ(rows(), (Names{"/", "/a/b"}));
    EXPECT_EQ(records(), (Names{"/", "/a/b", "/a/b/c"}));
}

TEST(FilesystemMountPointFilter, ADepthLimitBelowOneLimitsNothing) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/a/b/c", "ext4");
    g_nFSTokenCount = -2;

    EXPECT_EQ(rows(), Names{"/a/b/c"});
}

TEST(FilesystemMountPointFilter, WhatIsFilteredOutIsNotMeasured) {
    FilesystemHost host;
    host.mounted("tmpfs", "/tmp", "tmpfs").mounted("/dev/sda1", "/a/b", "ext4").mounted("/dev/sda2", "/data", "ext4");
    FilesystemHost::exclude({"tmpfs"});
    g_nFSTokenCount = 1;

    EXPECT_EQ(rows(), Names{"/data"});
    EXPECT_EQ(host.measured(), Names{"/data"});
}

// --- Names and sizes -----------------------------------------------------------------------------------------------

TEST(FilesystemNameFilter, CdDrivesAndRpcPseudoFilesystemsAreLeftOut) {
    FilesystemHost host;
    host.mounted("/dev/sr0", "/media/cdrom0", "iso9660")
        .mounted("/dev/sr0", "/mnt/cdrecorder", "udf")
        .mounted("/dev/cdrom", "/mnt/a", "iso9660")
        .mounted("/dev/cdrecorder1", "/mnt/b", "udf")
        .mounted("sunrpc", "/var/lib/rpc", "rpc_pipefs")
        .mounted("/dev/sda1", "/sunrpc", "ext4");

    EXPECT_EQ(records(), Names{"/sunrpc"}); // only a device tells a pseudo filesystem
    EXPECT_EQ(rows(), Names{"/sunrpc"});
}

// An empty drive is logged like every other failure: names are looked at after the measure.
TEST(FilesystemNameFilter, ComesBehindTheMeasure) {
    FilesystemHost host;
    host.line("/dev/sr0", "/media/cdrom0", "iso9660");
    const LogCapture log;

    EXPECT_EQ(records(), Names{});
    EXPECT_EQ(host.measured(), Names{"/media/cdrom0"});
    EXPECT_EQ(log.messages(), Names{"statfs failed(2)"}); // ENOENT
}

TEST(FilesystemSizeFilter, ReportsOnlyWhatExceedsAMillionKilobytes) {
    FilesystemHost host;
    // Blocks of 4 KB: 921600, 1000000, 1000004 and 2097152 KB.
    host.line("a", "/900mb", "ext4").sized("/900mb", FilesystemHost::sizes(4096, 230400, 0, 0));
    host.line("b", "/limit", "ext4").sized("/limit", FilesystemHost::sizes(4096, 250000, 0, 0));
    host.line("c", "/above", "ext4").sized("/above", FilesystemHost::sizes(4096, 250001, 0, 0));
    host.line("d", "/2gb", "ext4").sized("/2gb", FilesystemHost::sizes(4096, 524288, 0, 0));
    host.line("e", "/empty", "ext4").sized("/empty", FilesystemHost::sizes(4096, 0, 0, 0));

    EXPECT_EQ(records(), (Names{"/above", "/2gb"}));
    EXPECT_EQ(rows(), (Names{"/above", "/2gb"}));
}

} // namespace

// Datastores of a VMware host: the script, its file, and the records of its lines.
#include "FilesystemHost.h"
#include "LogCapture.h"
#include "MM_FS_Info.h"
#include "Separators.h"
#include "filesystem/MM_FS_VMware.h"

#include <gtest/gtest.h>

namespace {

using Names = std::vector<std::string>;

constexpr const char *file = "agent/aproc/shell/vmware_fs_inv.dat";
constexpr const char *fallback = "agent/aproc/shell/vmware_fs_inv.dat_";

std::vector<_ST_FS> parsed(const std::string &line) {
    std::vector<_ST_FS> datastores;
    std::string text = line;
    zel::parseDatastores(text.data(), [&datastores](const _ST_FS &datastore) { datastores.push_back(datastore); });
    return datastores;
}

// A collector of a VMware host, whose script does nothing unless the test writes one.
class VmwareHost : public FilesystemHost {
public:
    VmwareHost() {
        clearTable();
        systemHooks().system = [this](const char *command) {
            m_commands.emplace_back(command);
            return 0;
        };
        m_collector.fSetVMFlag(1, 1);
    }
    CMM_FS_Info &collector() { return m_collector; }
    const Names &commands() const { return m_commands; }

private:
    CMM_FS_Info m_collector;
    Names m_commands;
};

// --- Lines ---------------------------------------------------------------------------------------------------------

TEST(DatastoreLine, GivesARecord) {
    const auto datastores = parsed("/vmfs/volumes/4d5e 10485760 4194304 6000000 40.5 datastore1\n");

    ASSERT_EQ(datastores.size(), 1U);
    const _ST_FS &datastore = datastores[0];
    EXPECT_STREQ(datastore.l_strDEVname, "/vmfs/volumes/4d5e");
    EXPECT_STREQ(datastore.l_strFSname, "datastore1");
    EXPECT_STREQ(datastore.l_strFSType, "ext3");
    EXPECT_EQ(datastore.l_ulTotDskSize, 10485760ULL);
    EXPECT_EQ(datastore.l_ulUsdDskSize, 4194304ULL);
    EXPECT_EQ(datastore.l_ulFreDskSize, 6291456ULL); // 10485760 - 4194304
    EXPECT_EQ(datastore.l_ulAvaDskSize, 6000000ULL);
    EXPECT_DOUBLE_EQ(datastore.l_dDskUsage, 40.5);
    EXPECT_EQ(datastore.l_ulTotIndSize, 0ULL);
    EXPECT_EQ(datastore.l_ulUsdIndSize, 0ULL);
    EXPECT_EQ(datastore.l_ulFreIndSize, 0ULL);
    EXPECT_EQ(datastore.l_ulAvaIndSize, 0ULL);
    EXPECT_DOUBLE_EQ(datastore.l_dIndUsage, 0.0);
    EXPECT_EQ(datastore.l_nIsUpNow, 0);
}

TEST(DatastoreLine, MoreUsedThanThereIsLeavesNothingFree) {
    const auto datastores = parsed("vmfs 100 101 5 99 name");

    ASSERT_EQ(datastores.size(), 1U);
    EXPECT_EQ(datastores[0].l_ulFreDskSize, 0ULL);
    EXPECT_EQ(datastores[0].l_ulUsdDskSize, 101ULL);
}

TEST(DatastoreLine, MayCarrySeveralRecords) {
    const auto datastores = parsed("vmfs1 10 4 6 40 one vmfs2 20 5 15 25 two\n");

    ASSERT_EQ(datastores.size(), 2U);
    EXPECT_STREQ(datastores[0].l_strFSname, "one");
    EXPECT_STREQ(datastores[1].l_strDEVname, "vmfs2");
    EXPECT_STREQ(datastores[1].l_strFSname, "two");
    EXPECT_EQ(datastores[1].l_ulTotDskSize, 20ULL);
}

TEST(DatastoreLine, AFirstTokenThatIsNoDatastoreShiftsTheRecord) {
    // "other" is dropped and 10 is read as used: total 0, free 0, available 4, usage 6, name "40"; the rest starts the
    // next record, whose first token "one" is dropped in its turn.
    const auto datastores = parsed("other 10 4 6 40 one 7 8 9 last\n");

    ASSERT_EQ(datastores.size(), 2U);
    EXPECT_STREQ(datastores[0].l_strDEVname, "");
    EXPECT_EQ(datastores[0].l_ulTotDskSize, 0ULL);
    EXPECT_EQ(datastores[0].l_ulUsdDskSize, 10ULL);
    EXPECT_EQ(datastores[0].l_ulFreDskSize, 0ULL);
    EXPECT_EQ(datastores[0].l_ulAvaDskSize, 4ULL);
    EXPECT_DOUBLE_EQ(datastores[0].l_dDskUsage, 6.0);
    EXPECT_STREQ(datastores[0].l_strFSname, "40");
    EXPECT_EQ(datastores[1].l_ulUsdDskSize, 7ULL);
    EXPECT_STREQ(datastores[1].l_strFSname, "last");
}

TEST(DatastoreLine, ARecordKeepsNothingOfTheOneBefore) {
    const auto datastores = parsed("vmfs1 100 40 60 40 one other 5 6 7 two\n");

    ASSERT_EQ(datastores.size(), 2U);
    EXPECT_STREQ(datastores[1].l_strDEVname, "");
    EXPECT_EQ(datastores[1].l_ulTotDskSize, 0ULL);
}

TEST(DatastoreLine, AnUnfinishedRecordIsDropped) {
    EXPECT_TRUE(parsed("vmfs1 100 40 60 40").empty());
    EXPECT_TRUE(parsed("vmfs1\n").empty());
    EXPECT_TRUE(parsed("\n").empty());
    EXPECT_TRUE(parsed("").empty());
    EXPECT_EQ(parsed("vmfs1 10 4 6 40 one vmfs2 20\n").size(), 1U);
}

TEST(DatastoreLine, RunsOfBlanksSeparateOnce) {
    const auto datastores = parsed("  vmfs1   10 4  6 40   one  \n");

    ASSERT_EQ(datastores.size(), 1U);
    EXPECT_STREQ(datastores[0].l_strDEVname, "vmfs1");
    EXPECT_STREQ(datastores[0].l_strFSname, "one");
}

TEST(DatastoreLine, NumbersThatAreNoneAreZero) {
    const auto datastores = parsed("vmfs1 x y z % one");

    ASSERT_EQ(datastores.size(), 1U);
    EXPECT_EQ(datastores[0].l_ulTotDskSize, 0ULL);
    EXPECT_EQ(datastores[0].l_ulAvaDskSize, 0ULL);
    EXPECT_DOUBLE_EQ(datastores[0].l_dDskUsage, 0.0);
}

TEST(DatastoreLine, AUsageIsNeverUndefined) {
    for (const char *usage : {"nan", "inf", "-inf", "1e999"}) {
        const auto datastores = parsed(std::string("vmfs1 10 4 6 ") + usage + " one");
        ASSERT_EQ(datastores.size(), 1U);
        EXPECT_DOUBLE_EQ(datastores[0].l_dDskUsage, 0.0) << usage;
    }
}

// --- Passes --------------------------------------------------------------------------------------------------------

TEST(Datastores, FollowTheMountedFilesystemsInBothPasses) {
    VmwareHost host;
    host.mounted("/dev/sda1", "/", "ext4");
    host.home().write(file, "vmfs1 100 40 60 40 one\nvmfs2 200 50 150 25.555 two\n");

    CObjectBuffer *records = host.collector().fMGetFileSys();
    ASSERT_NE(records, nullptr);
    EXPECT_EQ(host.collector().fMGetNFileSys(), 3); // however small: 100 KB
    EXPECT_STREQ(static_cast<_ST_FS *>(records->fGetObject("two"))->l_strDEVname, "vmfs2");

    EXPECT_EQ(host.collector().fGetFileSystem(), 3);
    const std::string text = host.collector().fGetFSInfo();
    std::string expected = R;
    for (const char *value :
         {"3", "two", "vmfs2", "200", "50", "150", "25.55", "150", "0", "0", "0", "0.00", "0", "ext3"})
        expected += value + C;
    // 25.555 is just below its decimal form in binary: 25.55.
    EXPECT_NE(text.find(expected + R + "torv_token_end"), std::string::npos) << text;
}

TEST(Datastores, NeedBothFlags) {
    VmwareHost host;
    host.home().write(file, "vmfs1 100 40 60 40 one\n");
    for (const auto &[vm, isVmware] : std::vector<std::pair<int, int>>{{0, 1}, {1, 0}, {0, 0}, {2, 1}, {1, 2}}) {
        host.collector().fSetVMFlag(vm, isVmware);
        EXPECT_EQ(host.collector().fMGetFileSys(), nullptr);
        EXPECT_EQ(host.collector().fGetFileSystem(), -1);
    }
    EXPECT_TRUE(host.commands().empty());
    EXPECT_EQ(host.collector().m_nFirstFlag, 0);
}

TEST(Datastores, AloneAreEnoughForAResult) {
    VmwareHost host;
    host.home().write(file, "vmfs1 100 40 60 40 one\n");

    EXPECT_NE(host.collector().fMGetFileSys(), nullptr);
    EXPECT_EQ(host.collector().fGetFileSystem(), 1);
}

TEST(Datastores, TheScriptRunsOnce) {
    VmwareHost host;

    host.collector().fGetFileSystem();
    EXPECT_EQ(host.collector().m_nFirstFlag, 1);
    host.collector().fMGetFileSys();
    host.collector().fGetFileSystem();

    EXPECT_EQ(host.commands(), Names{"../../utils/ETC/ShCmd 5 ./shell/LINUX/VMWare_FS.sh "
                                     "../aproc/shell/vmware_fs_inv.dat 2> /dev/null"});
}

TEST(Datastores, TheRealScriptsFileIsRead) {
    VmwareHost host;
    systemHooks().system = nullptr;
    host.home().plainCommandRunner();
    host.home().script("agent/bin/shell/LINUX/VMWare_FS.sh", "echo \"vmfs1 100 40 60 40 made\" > \"$1\"\n");

    ASSERT_NE(host.collector().fMGetFileSys(), nullptr);
    EXPECT_STREQ(host.collector().fMGetFileSysNext()->l_strFSname, "made");
}

TEST(Datastores, TheFallbackFileStandsIn) {
    VmwareHost host;
    host.home().write(fallback, "vmfs1 100 40 60 40 older\n");

    ASSERT_NE(host.collector().fMGetFileSys(), nullptr);
    EXPECT_STREQ(host.collector().fMGetFileSysNext()->l_strFSname, "older");

    host.home().write(file, "vmfs1 100 40 60 40 newer\n");
    ASSERT_NE(host.collector().fMGetFileSys(), nullptr);
    EXPECT_STREQ(host.collector().fMGetFileSysNext()->l_strFSname, "newer");
}

TEST(Datastores, WithoutAnyFileEachPassSaysSo) {
    VmwareHost host;
    const LogCapture log;

    EXPECT_EQ(host.collector().fMGetFileSys(), nullptr);
    EXPECT_EQ(host.collector().fGetFileSystem(), -1);

    EXPECT_EQ(log.messages(), (Names{"(FS) VMWare FS Gtr ../aproc/shell/vmware_fs_inv.dat file not found",
                                     "VMWare file not found(../aproc/shell/vmware_fs_inv.dat)"}));
}

TEST(Datastores, EveryLineStartsARecord) {
    VmwareHost host;
    host.home().write(file, "a heading\nvmfs1 100 40 60 40 one\nvmfs2 100\nvmfs3 100 40 60 40 three");

    ASSERT_NE(host.collector().fMGetFileSys(), nullptr);
    EXPECT_EQ(host.collector().fMGetNFileSys(), 2);
    EXPECT_STREQ(host.collector().fMGetFileSysNext()->l_strFSname, "one");
    EXPECT_STREQ(host.collector().fMGetFileSysNext()->l_strFSname, "three");
}

TEST(Datastores, HostileFilesDoNoHarm) {
    VmwareHost host;
    std::string noise;
    unsigned state = 20240917;
    for (int i = 0; i < 200000; ++i) {
        state = state * 1103515245U + 12345U;
        noise += " \nvmfs0123456789.\x03\x1F|~\xff\0e-"[(state >> 16) % 29];
    }
    host.home().write(file, noise + std::string(5000, 'v') + " vmfs" + std::string(100000, 's'));

    host.collector().fMGetFileSys();
    host.collector().fGetFileSystem();

    // No value forges a row: every row separator is one of the rows' or the end marker's.
    const std::string text = host.collector().fGetFSInfo();
    int separators = 0;
    for (std::size_t at = text.find("\x03\x1F|"); at != std::string::npos; at = text.find("\x03\x1F|", at + 1))
        ++separators;
    EXPECT_EQ(separators, host.collector().fMGetNFileSys() + 1);
}

TEST(Datastores, CountInTheTotals) {
    VmwareHost host;
    host.home().write(file, "vmfs1 100 40 60 40 one\nvmfs2 200 50 150 25 two\n");
    g_nVAGENT_type = 1;

    ASSERT_EQ(host.collector().fGetFileSystem(), 2);
    EXPECT_EQ(host.collector().m_uFSTotalSizeTotal, 300ULL);
    EXPECT_EQ(host.collector().m_uFSUseTotal, 90ULL);
    EXPECT_EQ(host.collector().m_uFSFreeTotal, 210ULL);
    EXPECT_EQ(host.collector().m_uFSAvailTotal, 210ULL);

    FilesystemHost::leaveOutOfTotals({"ext3"});
    ASSERT_EQ(host.collector().fGetFileSystem(), 2);
    EXPECT_EQ(host.collector().m_uFSTotalSizeTotal, 0ULL);
}

} // namespace

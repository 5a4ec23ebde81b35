// The record pass, the iterator and what both passes share. Filters, arithmetic, text, NFS and datastores have files of
// their own.
#include "MM_FS_Info.h"

#include "Faults.h"
#include "FilesystemHost.h"
#include "LogCapture.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

std::vector<std::string> mountPointsOf(CMM_FS_Info &collector) {
    std::vector<std::string> names;
    while (const _ST_FS *record = collector.fMGetFileSysNext())
        names.emplace_back(record->l_strFSname);
    return names;
}

TEST(FilesystemRecords, AFreshCollectorHoldsNothing) {
    CMM_FS_Info collector;

    EXPECT_EQ(collector.fMGetNFileSys(), 0);
    EXPECT_EQ(collector.fMGetFileSysNext(), nullptr);
    EXPECT_EQ(collector.m_nCurIndex, 0);
    EXPECT_EQ(collector.m_nNFSFlag, 0);
    EXPECT_EQ(collector.m_nVMFlag, 0);
    EXPECT_EQ(collector.m_nIsVMWare, 0);
    EXPECT_EQ(collector.m_nFirstFlag, 0);
    EXPECT_EQ(collector.m_nResultDataSize, 10240);
    EXPECT_STREQ(collector.fGetFSInfo(), "");
    EXPECT_STREQ(collector.m_strSplit[0], "\x03\x1F|");
    EXPECT_STREQ(collector.m_strSplit[1], "\x03\x1F~");
    EXPECT_EQ(collector.m_pclObjectBuffer->fGetSize(), 0);
}

TEST(FilesystemRecords, HoldNamesSizesAndUsages) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/data", "ext4");
    CMM_FS_Info collector;

    CObjectBuffer *records = collector.fMGetFileSys();

    ASSERT_NE(records, nullptr);
    EXPECT_EQ(records, collector.m_pclObjectBuffer);
    EXPECT_EQ(collector.fMGetNFileSys(), 1);
    const _ST_FS *record = collector.fMGetFileSysNext();
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(records->fGetObject("/data"), record);
    EXPECT_STREQ(record->l_strFSname, "/data");
    EXPECT_STREQ(record->l_strDEVname, "/dev/sda1");
    EXPECT_STREQ(record->l_strFSType, "ext4");
    EXPECT_EQ(record->l_ulTotDskSize, 2097152ULL); // 524288 blocks of 4 KB
    EXPECT_EQ(record->l_ulFreDskSize, 1048576ULL); // 262144
    EXPECT_EQ(record->l_ulUsdDskSize, 1048576ULL);
    EXPECT_EQ(record->l_ulAvaDskSize, 524288ULL); // 131072
    EXPECT_EQ(record->l_ulTotIndSize, 1000ULL);
    EXPECT_EQ(record->l_ulFreIndSize, 900ULL);
    EXPECT_EQ(record->l_ulAvaIndSize, 900ULL);
    EXPECT_EQ(record->l_ulUsdIndSize, 100ULL);
    EXPECT_DOUBLE_EQ(record->l_dDskUsage, 1048576.0 / (1048576.0 + 524288.0) * 100.0);
    EXPECT_DOUBLE_EQ(record->l_dIndUsage, 10.0);
    EXPECT_EQ(record->l_nIsUpNow, 0);
    EXPECT_EQ(collector.fMGetFileSysNext(), nullptr);
}

TEST(FilesystemRecords, StandInTheOrderOfTheTable) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/z", "ext4").mounted("/dev/sda2", "/a", "xfs").mounted("/dev/sda3", "/m", "ext3");
    CMM_FS_Info collector;

    ASSERT_NE(collector.fMGetFileSys(), nullptr);

    EXPECT_EQ(collector.m_nCurIndex, 1);
    EXPECT_EQ(mountPointsOf(collector), (std::vector<std::string>{"/z", "/a", "/m"}));
    EXPECT_EQ(collector.fMGetFileSysNext(), nullptr);
}

TEST(FilesystemRecords, OneMountPointTwiceGivesTwoRecords) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/data", "ext4").mounted("/dev/sda2", "/data", "xfs");
    CMM_FS_Info collector;

    CObjectBuffer *records = collector.fMGetFileSys();

    ASSERT_NE(records, nullptr);
    EXPECT_EQ(collector.fMGetNFileSys(), 2);
    EXPECT_STREQ(static_cast<_ST_FS *>(records->fGetObject("/data"))->l_strDEVname, "/dev/sda1");
}

TEST(FilesystemRecords, EveryPassStartsAnew) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/one", "ext4").mounted("/dev/sda2", "/two", "ext4");
    CMM_FS_Info collector;
    ASSERT_NE(collector.fMGetFileSys(), nullptr);

    host.clearTable();
    host.mounted("/dev/sda3", "/three", "ext4");
    ASSERT_NE(collector.fMGetFileSys(), nullptr);

    EXPECT_EQ(mountPointsOf(collector), std::vector<std::string>{"/three"});
    EXPECT_EQ(collector.m_pclObjectBuffer->fGetSize(), 1);
}

TEST(FilesystemRecords, ARecordThatACallerTookOverIsMadeAnew) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/one", "ext4").mounted("/dev/sda2", "/two", "ext4");
    CMM_FS_Info collector;
    ASSERT_NE(collector.fMGetFileSys(), nullptr);
    const std::unique_ptr<_ST_FS> taken(static_cast<_ST_FS *>(collector.m_pclObjectBuffer->fGetObject(1)));
    collector.m_pclObjectBuffer->fSetObject(1, nullptr);

    ASSERT_NE(collector.fMGetFileSys(), nullptr);

    EXPECT_EQ(mountPointsOf(collector), (std::vector<std::string>{"/one", "/two"}));
    EXPECT_STREQ(taken->l_strFSname, "/one");
}

TEST(FilesystemRecords, APassWithoutMemoryNeitherThrowsNorHarmsTheNext) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/one", "ext4").mounted("/dev/sda2", "/two", "ext4");
    const auto answer = systemHooks().statfs64;
    systemHooks().statfs64 = [answer](const char *path, struct statfs64 *status) {
        const FaultsSuspended suspended;
        return answer(path, status);
    };
    bool happened = true;
    for (long number = 1; happened; ++number) {
        CMM_FS_Info collector;
        ASSERT_NE(collector.fMGetFileSys(), nullptr);
        {
            const Fault fault(Call::Allocation, number);
            collector.fMGetFileSys();
            happened = Fault::happened();
        }
        ASSERT_NE(collector.fMGetFileSys(), nullptr);
        EXPECT_EQ(mountPointsOf(collector), (std::vector<std::string>{"/one", "/two"})) << number;
    }
}

TEST(FilesystemRecords, NothingToReportGivesNull) {
    FilesystemHost host;
    host.line("proc", "/proc", "proc");
    CMM_FS_Info collector;

    EXPECT_EQ(collector.fMGetFileSys(), nullptr);
    EXPECT_EQ(collector.fMGetNFileSys(), 0);
    EXPECT_EQ(collector.fMGetFileSysNext(), nullptr);
}

TEST(FilesystemRecords, AMissingTableEndsThePassAndForgetsTheRecords) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/data", "ext4");
    CMM_FS_Info collector;
    ASSERT_NE(collector.fMGetFileSys(), nullptr);
    host.removeTable();
    const LogCapture log;

    EXPECT_EQ(collector.fMGetFileSys(), nullptr);

    EXPECT_EQ(collector.fMGetNFileSys(), 0);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"setmntent failed(2)"}); // ENOENT
}

TEST(FilesystemRecords, AFailedStatfsSkipsTheEntry) {
    FilesystemHost host;
    host.line("/dev/sda1", "/unknown", "ext4").mounted("/dev/sda2", "/data", "ext4");
    CMM_FS_Info collector;
    const LogCapture log;

    ASSERT_NE(collector.fMGetFileSys(), nullptr);

    EXPECT_EQ(mountPointsOf(collector), std::vector<std::string>{"/data"});
    EXPECT_EQ(log.messages(), std::vector<std::string>{"statfs failed(2)"});
    EXPECT_EQ(log.lines().front().substr(0, 19), "[INFO][MM_FS_Info][");
}

TEST(FilesystemRecords, NothingIsLoggedBehindAClosedGate) {
    FilesystemHost host;
    host.line("/dev/sda1", "/unknown", "ext4");
    CMM_FS_Info collector;
    const LogCapture otherModule(16, 4096);
    EXPECT_EQ(collector.fMGetFileSys(), nullptr);
    EXPECT_EQ(otherModule.messages(), std::vector<std::string>{});
    EXPECT_STREQ(collector.m_strLogMsg, "");
}

TEST(FilesystemRecords, TheGateOfTheCollectorsIsEnough) {
    FilesystemHost host;
    host.line("/dev/sda1", "/unknown", "ext4");
    CMM_FS_Info collector;
    const LogCapture log(128, 4096);
    EXPECT_EQ(collector.fMGetFileSys(), nullptr);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"statfs failed(2)"});
}

TEST(FilesystemRecords, WithoutMemoryARecordIsLeftOut) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/data", "ext4");
    CMM_FS_Info collector;
    systemHooks().failAllocationAfter = 0; // the copy of the key

    EXPECT_EQ(collector.fMGetFileSys(), nullptr);
    EXPECT_EQ(collector.fMGetNFileSys(), 0);
}

// --- Iterator and lifecycle ----------------------------------------------------------------------------------------

TEST(FilesystemIterator, EndsAtTheRecordsOfTheLastPass) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/one", "ext4").mounted("/dev/sda2", "/two", "ext4");
    CMM_FS_Info collector;
    ASSERT_NE(collector.fMGetFileSys(), nullptr);

    collector.m_nCurIndex = 2;
    EXPECT_STREQ(collector.fMGetFileSysNext()->l_strFSname, "/two");
    EXPECT_EQ(collector.m_nCurIndex, 3);
    for (const int outside : {3, 0, -1, 1000}) {
        collector.m_nCurIndex = outside;
        EXPECT_EQ(collector.fMGetFileSysNext(), nullptr) << outside;
        EXPECT_EQ(collector.m_nCurIndex, outside);
    }
}

TEST(FilesystemIterator, ATextPassWithMoreRowsDoesNotLeadBehindTheRecords) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/one", "ext4");
    CMM_FS_Info collector;
    ASSERT_NE(collector.fMGetFileSys(), nullptr);
    host.mounted("/dev/sda2", "/two", "ext4");

    EXPECT_EQ(collector.fGetFileSystem(), 2);

    EXPECT_EQ(collector.fMGetNFileSys(), 2);
    EXPECT_EQ(mountPointsOf(collector), std::vector<std::string>{"/one"});
}

TEST(FilesystemLifecycle, FreeForgetsEveryRecord) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/one", "ext4").mounted("/dev/sda2", "/two", "ext4");
    CMM_FS_Info collector;
    ASSERT_NE(collector.fMGetFileSys(), nullptr);

    collector.fFreeFSObject();

    EXPECT_EQ(collector.fMGetNFileSys(), 0);
    EXPECT_EQ(collector.m_nCurIndex, 0);
    EXPECT_EQ(collector.m_pclObjectBuffer->fGetSize(), 0);
    EXPECT_EQ(collector.fMGetFileSysNext(), nullptr);
}

// The leak checker of the sanitizer build watches over this one.
TEST(FilesystemLifecycle, FreeAfterAShorterTextPassFreesEveryRecord) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/one", "ext4").mounted("/dev/sda2", "/two", "ext4");
    CMM_FS_Info collector;
    ASSERT_NE(collector.fMGetFileSys(), nullptr);
    FilesystemHost::include({"/one"});
    ASSERT_EQ(collector.fGetFileSystem(), 1);

    collector.fFreeFSObject();

    EXPECT_EQ(collector.m_pclObjectBuffer->fGetSize(), 0);
}

TEST(FilesystemLifecycle, SettersSetTheirFlags) {
    CMM_FS_Info collector;

    collector.fSetNFSFlag(1);
    collector.fSetVMFlag(2, 3);

    EXPECT_EQ(collector.m_nNFSFlag, 1);
    EXPECT_EQ(collector.m_nVMFlag, 2);
    EXPECT_EQ(collector.m_nIsVMWare, 3);
}

TEST(FilesystemDepth, IsTheNumberOfSlashes) {
    const CMM_FS_Info collector;

    EXPECT_EQ(collector.fGetFSTokCount("/"), 1);
    EXPECT_EQ(collector.fGetFSTokCount("/a/b/c"), 3);
    EXPECT_EQ(collector.fGetFSTokCount("//"), 2);
    EXPECT_EQ(collector.fGetFSTokCount("none"), 0);
    EXPECT_EQ(collector.fGetFSTokCount(""), 0);
    EXPECT_EQ(collector.fGetFSTokCount(nullptr), 0);
}

// --- Names ---------------------------------------------------------------------------------------------------------

TEST(FilesystemNames, EscapesOfTheTableAreResolved) {
    FilesystemHost host;
    host.line("/dev/sd\\040a", "/with\\040blank\\011tab\\012feed\\134slash", "ext4")
        .sized("/with blank\ttab\nfeed\\slash", FilesystemHost::twoGigabytes());
    CMM_FS_Info collector;

    ASSERT_NE(collector.fMGetFileSys(), nullptr);

    const _ST_FS *record = collector.fMGetFileSysNext();
    EXPECT_STREQ(record->l_strFSname, "/with blank\ttab\nfeed\\slash");
    EXPECT_STREQ(record->l_strDEVname, "/dev/sd a");
}

TEST(FilesystemNames, AMountPointOfAThousandCharactersIsKept) {
    FilesystemHost host;
    const std::string mountPoint = "/" + std::string(999, 'm');
    host.mounted("/dev/sda1", mountPoint, "ext4");
    CMM_FS_Info collector;

    ASSERT_NE(collector.fMGetFileSys(), nullptr);
    EXPECT_EQ(collector.fMGetFileSysNext()->l_strFSname, mountPoint);
}

TEST(FilesystemNames, LongerNamesReachStatfsWholeAndTheRecordCut) {
    FilesystemHost host;
    // Escaped, the line has more than 16000 characters.
    const std::string blanks(3000, ' ');
    std::string escaped;
    for (std::size_t i = 0; i < blanks.size(); ++i)
        escaped += "\\040";
    host.line("/dev/" + escaped, "/m" + escaped, "fuse." + std::string(2000, 't'))
        .sized("/m" + blanks, FilesystemHost::twoGigabytes());
    CMM_FS_Info collector;

    ASSERT_NE(collector.fMGetFileSys(), nullptr);

    EXPECT_EQ(host.measured(), std::vector<std::string>{"/m" + blanks});
    const _ST_FS *record = collector.fMGetFileSysNext();
    EXPECT_EQ(record->l_strFSname, "/m" + std::string(1022, ' ')); // 1024 characters
    EXPECT_EQ(record->l_strDEVname, "/dev/" + std::string(1019, ' '));
    EXPECT_EQ(record->l_strFSType, "fuse." + std::string(1019, 't'));
}

TEST(FilesystemNames, APathThatNoSystemCallTakesIsSkipped) {
    FilesystemHost host;
    systemHooks().statfs64 = nullptr; // the real one
    host.line("/dev/sda1", "/" + std::string(5000, 'm'), "ext4");
    CMM_FS_Info collector;
    const LogCapture log;

    EXPECT_EQ(collector.fMGetFileSys(), nullptr);
    EXPECT_EQ(log.messages().size(), 1U);
}

TEST(FilesystemTable, OddLinesDoNoHarm) {
    FilesystemHost host;
    host.sized("/data", FilesystemHost::twoGigabytes()).sized("", FilesystemHost::twoGigabytes());
    using namespace std::string_literals;
    host.fixture().write("etc/mtab", "# a comment\n\n   \nonlydevice\n/dev/a /data\n\\777\\ \\0 \\\n" +
                                         "\x01\xff\x80 bin\0ary x\n"s + std::string(200000, 'x') +
                                         "\n/dev/sda1 /data ext4 rw 0 0\n/dev/sda2 /data ext4");
    CMM_FS_Info collector;

    ASSERT_NE(collector.fMGetFileSys(), nullptr);

    const auto *last = static_cast<const _ST_FS *>(collector.m_pclObjectBuffer->m_pcllData->fGetEndNode()->m_pvdData);
    EXPECT_STREQ(last->l_strDEVname, "/dev/sda2"); // also without a line feed
}

TEST(FilesystemTable, BelowAHostRootALinkedTableIsTheOneOfTheHostsFirstProcess) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/own", "ext4").sized("/hosts", FilesystemHost::twoGigabytes());
    host.fixture().write("proc/1/mounts", "/dev/sdb1 /hosts ext4 rw 0 0\n");
    CMM_FS_Info collector;
    ASSERT_NE(collector.fMGetFileSys(), nullptr);
    EXPECT_EQ(mountPointsOf(collector), std::vector<std::string>{"/own"}); // a file is read as it is

    host.fixture().remove("etc/mtab");
    std::filesystem::create_symlink("/proc/self/mounts", host.fixture().path() / "etc/mtab");
    ASSERT_NE(collector.fMGetFileSys(), nullptr);
    EXPECT_EQ(mountPointsOf(collector), std::vector<std::string>{"/hosts"});
}

TEST(FilesystemTable, ALinkBelowAHostRootIsFollowedWhenTheFirstProcessIsHidden) {
    FilesystemHost host;
    host.fixture().write("proc/self/mounts", "/dev/sdb1 /hosts ext4 rw 0 0\n");
    host.sized("/hosts", FilesystemHost::twoGigabytes());
    std::filesystem::create_directory(host.fixture().path() / "etc");
    std::filesystem::create_symlink("../proc/self/mounts", host.fixture().path() / "etc/mtab");
    CMM_FS_Info collector;

    ASSERT_NE(collector.fMGetFileSys(), nullptr);
    EXPECT_EQ(mountPointsOf(collector), std::vector<std::string>{"/hosts"});
}

} // namespace

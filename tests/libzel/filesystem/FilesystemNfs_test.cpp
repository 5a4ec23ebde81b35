// NFS mounts: the list file, which are measured, how servers are asked, and mounts that hang.
#include "FakeRpcClients.h"
#include "FilesystemHost.h"
#include "HangingMounts.h"
#include "LogCapture.h"
#include "MM_FS_Info.h"
#include "NGFunctions.h"

#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

using Names = std::vector<std::string>;

Names recordsOf(CMM_FS_Info &collector) {
    Names names;
    collector.fMGetFileSys();
    while (const _ST_FS *record = collector.fMGetFileSysNext())
        names.emplace_back(record->l_strFSname);
    return names;
}

// --- List file -----------------------------------------------------------------------------------------------------

TEST(NfsList, HoldsTheNfsMountsOfTheLastPass) {
    FilesystemHost host;
    host.mounted("filer:/export/home", "/home", "nfs")
        .mounted("/dev/sda1", "/", "ext4")
        .mounted("10.0.0.9:/vol", "/vol", "nfs4")
        .mounted("nfsd", "/proc/fs/nfsd", "nfsd");
    CMM_FS_Info collector;

    collector.fMGetFileSys();
    EXPECT_EQ(host.nfsList(), "/home|filer:/export/home\n/vol|10.0.0.9:/vol\n/proc/fs/nfsd|nfsd\n");

    host.clearTable();
    host.mounted("other:/x", "/x", "nfs");
    collector.fGetFileSystem();
    EXPECT_EQ(host.nfsList(), "/x|other:/x\n");

    host.clearTable();
    collector.fMGetFileSys();
    EXPECT_EQ(host.nfsList(), "");
}

TEST(NfsList, IsWrittenThoughTheMountsAreNotMeasured) {
    FilesystemHost host;
    host.mounted("filer:/export", "/home", "nfs").mounted("/dev/sda1", "/", "ext4");
    CMM_FS_Info collector;

    EXPECT_EQ(recordsOf(collector), Names{"/"});

    EXPECT_EQ(host.nfsList(), "/home|filer:/export\n");
    EXPECT_EQ(host.measured(), Names{"/"});
}

TEST(NfsList, ComesAfterTheFiltersOfTypeMountPointAndDepth) {
    FilesystemHost host;
    host.mounted("filer:/a", "/a", "nfs").mounted("filer:/b", "/b", "nfs4").mounted("filer:/c", "/c/d/e", "nfs");
    FilesystemHost::exclude({"nfs4"});
    CMM_FS_Info collector;

    collector.fMGetFileSys();
    EXPECT_EQ(host.nfsList(), "/a|filer:/a\n/c/d/e|filer:/c\n");

    g_nFSTokenCount = 2;
    collector.fGetFileSystem();
    EXPECT_EQ(host.nfsList(), "/a|filer:/a\n");

    FilesystemHost::include({"/c/d/e"});
    collector.fGetFileSystem();
    EXPECT_EQ(host.nfsList(), "");
}

TEST(NfsList, ANameWithALineFeedStaysOnItsLine) {
    FilesystemHost host;
    host.line("filer:/a\\012b", "/a\\012/etc|evil:/x\\040y", "nfs");
    CMM_FS_Info collector;

    collector.fMGetFileSys();
    EXPECT_EQ(host.nfsList(), "/a /etc|evil:/x y|filer:/a b\n");
}

TEST(NfsList, AMissingDirectoryIsLoggedOnceAndThePassGoesOn) {
    FilesystemHost host;
    host.mounted("filer:/a", "/a", "nfs").mounted("filer:/b", "/b", "nfs").mounted("/dev/sda1", "/", "ext4");
    host.home().remove("agent/aproc/shell");
    CMM_FS_Info collector;
    const LogCapture log;

    EXPECT_EQ(recordsOf(collector), Names{"/"});
    EXPECT_EQ(log.messages(), Names{"fopen failed(../aproc/shell/NFSList.dat)"});
}

TEST(NfsList, AFailedWriteIsLoggedAndThePassGoesOn) {
    FilesystemHost host;
    host.mounted("filer:/a", "/a", "nfs").mounted("/dev/sda1", "/", "ext4");
    std::filesystem::create_symlink("/dev/full", host.home().path() / "agent/aproc/shell/NFSList.dat");
    CMM_FS_Info collector;
    const LogCapture log;

    EXPECT_EQ(recordsOf(collector), Names{"/"});
    EXPECT_EQ(log.messages(), Names{"fputs failed(../aproc/shell/NFSList.dat)"});
}

// --- Which mounts are measured -------------------------------------------------------------------------------------

TEST(NfsMounts, AreMeasuredUnaskedWithoutTheCheck) {
    FilesystemHost host;
    host.mounted("filer:/export", "/home", "nfs");
    const FakeRpcClients clients;
    CMM_FS_Info collector;
    for (const int flag : {0, 3, -1}) {
        g_nNfsStatusCheckFlag = flag;
        collector.fSetNFSFlag(1);
        EXPECT_EQ(recordsOf(collector), Names{"/home"});
    }
    EXPECT_TRUE(clients.uses.empty());
}

TEST(NfsMounts, OnlyAFlagOfOneMeasuresThem) {
    FilesystemHost host;
    host.mounted("filer:/export", "/home", "nfs");
    CMM_FS_Info collector;
    for (const int flag : {0, 2, -1}) {
        collector.fSetNFSFlag(flag);
        EXPECT_EQ(recordsOf(collector), Names{}) << flag;
    }
    EXPECT_EQ(host.measured(), Names{});
}

TEST(NfsMounts, AReachableServersMountIsMeasured) {
    FilesystemHost host;
    host.mounted("10.0.0.9:/export", "/home", "nfs");
    g_nNfsStatusCheckFlag = 1;
    const FakeRpcClients clients;
    CMM_FS_Info collector;
    collector.fSetNFSFlag(1);

    EXPECT_EQ(recordsOf(collector), Names{"/home"});
    EXPECT_EQ(clients.uses.size(), 2U); // portmapper and NFS
    EXPECT_EQ(collector.fGetFileSystem(), 1);
}

TEST(NfsMounts, AnUnreachableServersMountIsNeverTouched) {
    FilesystemHost host;
    host.mounted("10.0.0.9:/export", "/home", "nfs").mounted("/dev/sda1", "/", "ext4");
    g_nNfsStatusCheckFlag = 1;
    FakeRpcClients clients;
    clients.portmapperStatus = RPC_TIMEDOUT;
    CMM_FS_Info collector;
    collector.fSetNFSFlag(1);
    const LogCapture log;

    EXPECT_EQ(recordsOf(collector), Names{"/"});
    EXPECT_EQ(collector.fGetFileSystem(), 1);

    EXPECT_EQ(host.measured(), (Names{"/", "/"}));
    EXPECT_EQ(host.nfsList(), "/home|10.0.0.9:/export\n");
    EXPECT_EQ(log.messages(),
              (Names{"NFS Server connect failed(10.0.0.9:/export)", "NFS Server connect failed(10.0.0.9:/export)"}));
}

TEST(NfsMounts, AServerIsAskedOncePerPass) {
    FilesystemHost host;
    host.mounted("10.0.0.9:/a", "/a", "nfs")
        .mounted("10.0.0.9:/b", "/b", "nfs")
        .mounted("10.0.0.8:/c", "/c", "nfs")
        .mounted("10.0.0.9:/d", "/d", "nfs");
    g_nNfsStatusCheckFlag = 1;
    FakeRpcClients clients;
    clients.createdBeforeFailure = 0;
    CMM_FS_Info collector;
    collector.fSetNFSFlag(1);
    std::atomic<int> asked = 0;
    systemHooks().clntudpCreate = [&asked](auto...) -> void * {
        ++asked;
        return nullptr;
    };
    const LogCapture log;

    EXPECT_EQ(recordsOf(collector), Names{});
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(log.messages().size(), 4U); // every mount is logged
    EXPECT_EQ(recordsOf(collector), Names{});
    EXPECT_EQ(asked, 4);
}

// A loopback address that no other process of the machine uses: several test runs may go on at once.
std::string ownLoopbackAddress() {
    const int pid = getpid();
    return "127." + std::to_string(1 + (pid >> 16) % 200) + "." + std::to_string((pid >> 8) % 256) + "." +
           std::to_string(pid % 256);
}

int listenerAt(const std::string &dotted, in_port_t port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(dotted.c_str());
    address.sin_port = htons(port);
    const int reuse = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse));
    EXPECT_EQ(bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
    EXPECT_EQ(listen(listener, 8), 0);
    return listener;
}

TEST(NfsMounts, TheConnectionProbeReplacesThePortmapper) {
    FilesystemHost host;
    const std::string up = ownLoopbackAddress();
    host.mounted(up + ":/up", "/up", "nfs4").mounted("127.254.5.79:/down", "/down", "nfs4");
    g_nNfsStatusCheckFlag = 2;
    const FakeRpcClients clients;
    CMM_FS_Info collector;
    collector.fSetNFSFlag(1);
    const LogCapture log;
    const int listener = listenerAt(up, 2049);

    EXPECT_EQ(recordsOf(collector), Names{"/up"});

    close(listener);
    EXPECT_TRUE(clients.uses.empty());
    EXPECT_EQ(log.messages(), Names{"NFS Server connect failed(127.254.5.79:/down)"});
}

TEST(NfsMounts, AnUnresolvableServerIsUnreachableByEitherProbe) {
    FilesystemHost host;
    host.mounted("nobody:/x", "/x", "nfs");
    systemHooks().gethostbyname_r = [](const char *, hostent *, char *, size_t, hostent **result, int *error) {
        *result = nullptr;
        *error = HOST_NOT_FOUND;
        return 0;
    };
    CMM_FS_Info collector;
    collector.fSetNFSFlag(1);
    for (const int flag : {1, 2}) {
        g_nNfsStatusCheckFlag = flag;
        EXPECT_EQ(recordsOf(collector), Names{}) << flag;
    }
}

TEST(NfsMounts, InIpv6ModeServersCountAsReachable) {
    FilesystemHost host;
    host.mounted("[fe80::1]:/x", "/x", "nfs4");
    CMM_FS_Info collector;
    collector.fSetNFSFlag(1);
    g_nIPv6Flag = 1;
    for (const int flag : {1, 2}) {
        g_nNfsStatusCheckFlag = flag;
        EXPECT_EQ(recordsOf(collector), Names{"/x"}) << flag;
    }
}

// --- Mounts that hang ----------------------------------------------------------------------------------------------

double secondsOf(const std::function<void()> &work) {
    const auto started = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
}

TEST(NfsMounts, OneThatHangsIsGivenUpOnceAndThenSkippedAtOnce) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4").mounted("10.0.0.9:/x", "/nfs", "nfs").mounted("/dev/sda2", "/data", "ext4");
    const HangingMounts hanging(host, {"/nfs"});
    CMM_FS_Info collector;
    collector.fSetNFSFlag(1);
    const LogCapture log;

    const double first = secondsOf([&collector] { EXPECT_EQ(recordsOf(collector), (Names{"/", "/data"})); });
    const double second = secondsOf([&collector] { EXPECT_EQ(collector.fGetFileSystem(), 2); });

    std::printf("  a hanging mount: %.3f s, then %.3f s\n", first, second);
    EXPECT_GE(first, 4.9);
    EXPECT_LT(first, 9.0);
    EXPECT_LT(second, 2.0);
    EXPECT_EQ(log.messages(), Names{"statfs failed(110), mount does not answer(/nfs)"}); // ETIMEDOUT
}

TEST(NfsMounts, AMountBelowOneIsHeldToTheLimitToo) {
    FilesystemHost host;
    host.mounted("10.0.0.9:/x", "/nfs", "nfs")
        .mounted("/dev/sda1", "/nfs/inside", "ext4")
        .mounted("/dev/sda2", "/nfsbeside", "ext4")
        .mounted("/dev/sda3", "/other", "ext4");
    // The thread that takes the measure tells which calls are held to the limit.
    std::map<std::string, bool> onOwnThread;
    const auto others = systemHooks().statfs64;
    const auto mainThread = std::this_thread::get_id();
    systemHooks().statfs64 = [&onOwnThread, others, mainThread](const char *path, struct statfs64 *status) {
        onOwnThread[path + std::strlen(g_strHostRoot)] = std::this_thread::get_id() != mainThread;
        return others(path, status);
    };
    CMM_FS_Info collector;

    collector.fSetNFSFlag(1);
    EXPECT_EQ(recordsOf(collector), (Names{"/nfs", "/nfs/inside", "/nfsbeside", "/other"}));
    EXPECT_EQ(onOwnThread, (std::map<std::string, bool>{
                               {"/nfs", true}, {"/nfs/inside", true}, {"/nfsbeside", false}, {"/other", false}}));

    // Also when the NFS mount itself is not measured: the way leads through it all the same.
    onOwnThread.clear();
    collector.fSetNFSFlag(0);
    EXPECT_EQ(recordsOf(collector), (Names{"/nfs/inside", "/nfsbeside", "/other"}));
    EXPECT_TRUE(onOwnThread["/nfs/inside"]);
}

// The way to a mount leads through the NFS mounts above it, whether these are reported or not.
TEST(NfsMounts, AMountBelowOneThatIsFilteredOutIsHeldToTheLimitToo) {
    FilesystemHost host;
    host.mounted("10.0.0.9:/x", "/nfs/deep/mount", "nfs4").mounted("/dev/sda1", "/nfs/deep/mount/a", "ext4");
    const auto others = systemHooks().statfs64;
    const auto mainThread = std::this_thread::get_id();
    std::vector<bool> onOwnThread;
    systemHooks().statfs64 = [&onOwnThread, others, mainThread](const char *path, struct statfs64 *status) {
        onOwnThread.push_back(std::this_thread::get_id() != mainThread);
        return others(path, status);
    };
    CMM_FS_Info collector;
    collector.fSetNFSFlag(1);

    FilesystemHost::exclude({"nfs4"});
    EXPECT_EQ(recordsOf(collector), Names{"/nfs/deep/mount/a"});
    FilesystemHost::exclude({});
    FilesystemHost::include({"/nfs/deep/mount/a"});
    EXPECT_EQ(collector.fGetFileSystem(), 1);

    EXPECT_EQ(onOwnThread, (std::vector<bool>{true, true}));
    EXPECT_EQ(host.nfsList(), ""); // only what passes the filters is listed
}

TEST(NfsMounts, BelowAnNfsRootEverythingIsHeldToTheLimit) {
    FilesystemHost host;
    host.mounted("10.0.0.9:/root", "/", "nfs").mounted("/dev/sda1", "/data", "ext4");
    const auto others = systemHooks().statfs64;
    const auto mainThread = std::this_thread::get_id();
    bool onOwnThread = false;
    systemHooks().statfs64 = [&onOwnThread, others, mainThread](const char *path, struct statfs64 *status) {
        onOwnThread = std::this_thread::get_id() != mainThread;
        return others(path, status);
    };
    CMM_FS_Info collector;

    EXPECT_EQ(recordsOf(collector), Names{"/data"});
    EXPECT_TRUE(onOwnThread);
}

} // namespace

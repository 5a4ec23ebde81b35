// Mounts that may not answer, of any type: which are held to the limit, and what a silent one costs.
#include "FakeRpcClients.h"
#include "FilesystemHost.h"
#include "HangingMounts.h"
#include "LogCapture.h"
#include "MM_FS_Info.h"
#include "ThreadWatch.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace {

using Names = std::vector<std::string>;
using namespace std::chrono_literals;

Names recordsOf(CMM_FS_Info &collector) {
    Names names;
    collector.fMGetFileSys();
    while (const _ST_FS *record = collector.fMGetFileSysNext())
        names.emplace_back(record->l_strFSname);
    return names;
}

double secondsOf(const std::function<void()> &work) {
    const auto started = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
}

// Says of every mount point whether it was measured on a thread of its own, and makes answers late.
class MeasureWatch {
public:
    MeasureWatch() {
        systemHooks().statfs64 = [others = systemHooks().statfs64, watch = m_watch,
                                  caller = std::this_thread::get_id()](const char *path, struct statfs64 *status) {
            const std::string mountPoint = path + std::strlen(g_strHostRoot);
            std::chrono::milliseconds delay{0};
            {
                const std::lock_guard<std::mutex> lock(watch->mutex);
                watch->ownThread[mountPoint] = std::this_thread::get_id() != caller;
                if (const auto found = watch->delays.find(mountPoint); found != watch->delays.end())
                    delay = found->second;
            }
            std::this_thread::sleep_for(delay);
            return others(path, status);
        };
    }
    void delay(const std::string &mountPoint, std::chrono::milliseconds time) {
        const std::lock_guard<std::mutex> lock(m_watch->mutex);
        m_watch->delays[mountPoint] = time;
    }
    bool onOwnThread(const std::string &mountPoint) const { return m_watch->ownThread.at(mountPoint); }

private:
    struct Watch {
        std::mutex mutex;
        std::map<std::string, bool> ownThread;
        std::map<std::string, std::chrono::milliseconds> delays;
    };
    std::shared_ptr<Watch> m_watch = std::make_shared<Watch>();
};

// --- Which mounts --------------------------------------------------------------------------------------------------

TEST(FilesystemHang, OnlyMountsThatMayHangHaveAThread) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4")
        .mounted("//server/share", "/cifs", "cifs")
        .mounted("tmp", "/tmp", "tmpfs")
        .mounted("overlay", "/merged", "overlay")
        .mounted("/dev/sda2", "/merged/below", "xfs")
        .mounted("/dev/sda3", "/mergedbeside", "btrfs");
    const MeasureWatch watch;
    CMM_FS_Info collector;

    EXPECT_EQ(recordsOf(collector), (Names{"/", "/cifs", "/tmp", "/merged", "/merged/below", "/mergedbeside"}));
    for (const char *local : {"/", "/tmp", "/mergedbeside"})
        EXPECT_FALSE(watch.onOwnThread(local)) << local;
    for (const char *doubtful : {"/cifs", "/merged", "/merged/below"})
        EXPECT_TRUE(watch.onOwnThread(doubtful)) << doubtful;
}

TEST(FilesystemHang, LocalMountsCostNoThread) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4").mounted("/dev/sda2", "/data", "xfs").mounted("tmp", "/tmp", "tmpfs");
    const ThreadWatch threads;
    CMM_FS_Info collector;

    recordsOf(collector);
    collector.fGetFileSystem();
    EXPECT_EQ(threads.started(), 0);
}

// The later mount covers the way to the earlier one.
TEST(FilesystemHang, AMountCoveredByALaterOneIsHeldToTheLimitFromTheFirstPassOn) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/data/inside", "ext4").mounted("sshfs", "/data", "fuse.sshfs");
    const MeasureWatch watch;
    CMM_FS_Info collector;

    EXPECT_EQ(recordsOf(collector), (Names{"/data/inside", "/data"}));
    EXPECT_TRUE(watch.onOwnThread("/data/inside"));
}

TEST(FilesystemHang, AMountThatIsCoveredBetweenTwoPassesIsHeldToTheLimitAtOnce) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/data/inside", "ext4");
    const MeasureWatch watch;
    CMM_FS_Info collector;
    recordsOf(collector);
    ASSERT_FALSE(watch.onOwnThread("/data/inside"));

    host.mounted("sshfs", "/data", "fuse.sshfs");
    EXPECT_EQ(recordsOf(collector), (Names{"/data/inside", "/data"}));
    EXPECT_TRUE(watch.onOwnThread("/data/inside"));
}

TEST(FilesystemHang, AMountPointThatIsMountedOverIsHeldToTheLimitAtOnce) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/data", "ext4");
    const MeasureWatch watch;
    CMM_FS_Info collector;
    recordsOf(collector);
    ASSERT_FALSE(watch.onOwnThread("/data"));

    host.mounted("sshfs", "/data", "fuse.sshfs");
    recordsOf(collector);
    EXPECT_TRUE(watch.onOwnThread("/data"));
}

TEST(FilesystemHang, AMountThatIsGoneHoldsNothingBelowItsPlace) {
    FilesystemHost host;
    host.mounted("sshfs", "/data", "fuse.sshfs").mounted("/dev/sda1", "/data/inside", "ext4");
    const MeasureWatch watch;
    CMM_FS_Info collector;
    recordsOf(collector);
    ASSERT_TRUE(watch.onOwnThread("/data/inside"));

    host.clearTable();
    host.mounted("/dev/sda1", "/data/inside", "ext4");
    recordsOf(collector); // the pass before still counts
    recordsOf(collector);
    EXPECT_FALSE(watch.onOwnThread("/data/inside"));
}

TEST(FilesystemHang, ALocalMountThatWasSlowIsHeldToTheLimitUntilItIsQuickAgain) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/", "ext4").mounted("/dev/sick", "/sick", "ext4");
    MeasureWatch watch;
    CMM_FS_Info collector;
    const LogCapture log;
    recordsOf(collector);
    EXPECT_FALSE(watch.onOwnThread("/sick"));

    watch.delay("/sick", std::chrono::milliseconds(FS_SLOW_MILLISECONDS + 100));
    EXPECT_EQ(recordsOf(collector), (Names{"/", "/sick"}));
    EXPECT_FALSE(watch.onOwnThread("/sick"));
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_EQ(recordsOf(collector), (Names{"/", "/sick"}));
        EXPECT_TRUE(watch.onOwnThread("/sick"));
        EXPECT_FALSE(watch.onOwnThread("/"));
    }
    {
        HangingMounts hanging(host, {"/sick"});
        EXPECT_EQ(recordsOf(collector), Names{"/"});
    }

    watch.delay("/sick", 0ms);
    EXPECT_EQ(recordsOf(collector), (Names{"/", "/sick"}));
    EXPECT_TRUE(watch.onOwnThread("/sick"));
    EXPECT_EQ(recordsOf(collector), (Names{"/", "/sick"}));
    EXPECT_FALSE(watch.onOwnThread("/sick"));
    EXPECT_EQ(log.messages(),
              (Names{"statfs failed(110), mount does not answer(/sick)", "mount answers again(/sick)"}));
}

// --- What a silent mount costs ---------------------------------------------------------------------------------------

// A server that gives an error after minutes, again and again.
TEST(FilesystemHang, AMountThatFailsLateIsWaitedForOnce) {
    FilesystemHost host;
    host.mounted("//server/share", "/cifs", "cifs").mounted("/dev/sda1", "/", "ext4");
    CMM_FS_Info collector;
    const LogCapture log;
    for (int failure = 0; failure < 3; ++failure) {
        HangingMounts hanging(host, {"/cifs"});
        const double first = secondsOf([&] { EXPECT_EQ(recordsOf(collector), Names{"/"}); });
        const double others = secondsOf([&] {
            for (int pass = 0; pass < 5; ++pass)
                EXPECT_EQ(recordsOf(collector), Names{"/"});
        });
        EXPECT_GE(first, failure == 0 ? 4.9 : 0.0);
        EXPECT_LT(first, failure == 0 ? 9.0 : 2.0);
        EXPECT_LT(others, 2.0);
        EXPECT_EQ(hanging.asked(), 1);
        hanging.end(EHOSTDOWN);
    }
    EXPECT_EQ(log.messages(), Names{"statfs failed(110), mount does not answer(/cifs)"});

    EXPECT_EQ(recordsOf(collector), (Names{"/cifs", "/"}));
    EXPECT_EQ(log.messages().back(), "mount answers again(/cifs)");
    EXPECT_EQ(log.messages().size(), 2U);
}

// What a mount answers late, but in time, changes neither the order nor a byte.
TEST(FilesystemHang, RowsKeepTheOrderOfTheTable) {
    FilesystemHost host;
    host.mounted("/dev/sda1", "/a", "ext4")
        .mounted("//server/share", "/slow", "cifs")
        .mounted("/dev/sda2", "/b", "ext4")
        .mounted("ceph:/", "/quick", "ceph")
        .line("/dev/sda3", "/tiny", "ext4")
        .sized("/tiny", FilesystemHost::sizes(4096, 250000, 1, 1)) // 1000000 KB: too small
        .mounted("/dev/sda4", "/c", "ext4");
    const Names order{"/a", "/slow", "/b", "/quick", "/c"};
    MeasureWatch watch;
    CMM_FS_Info collector;
    EXPECT_EQ(recordsOf(collector), order);
    ASSERT_EQ(collector.fGetFileSystem(), 5);
    const std::string text = collector.fGetFSInfo();

    watch.delay("/slow", 300ms);
    EXPECT_EQ(recordsOf(collector), order);
    ASSERT_EQ(collector.fGetFileSystem(), 5);
    EXPECT_EQ(collector.fGetFSInfo(), text);
}

TEST(FilesystemHang, WithoutAThreadTheMountIsLeftOut) {
    FilesystemHost host;
    host.mounted("//server/share", "/cifs", "cifs").mounted("/dev/sda1", "/", "ext4");
    CMM_FS_Info collector;
    const LogCapture log;
    systemHooks().pthreadCreate = [](auto...) { return EAGAIN; };

    EXPECT_EQ(recordsOf(collector), Names{"/"});
    EXPECT_EQ(host.measured(), Names{"/"});
    EXPECT_EQ(log.messages(), Names{"statfs failed(11)"}); // EAGAIN
}

TEST(FilesystemHang, AnErrorAtOnceIsLoggedInEveryPass) {
    FilesystemHost host;
    host.line("//server/share", "/cifs", "cifs");
    CMM_FS_Info collector;
    const LogCapture log;

    recordsOf(collector);
    recordsOf(collector);
    EXPECT_EQ(log.messages(), (Names{"statfs failed(2)", "statfs failed(2)"})); // ENOENT
}

// --- Servers ---------------------------------------------------------------------------------------------------------

// Each takes a second to be silent; one after the other they would take twenty.
TEST(FilesystemHang, DeadServersAreAskedAtTheSameTimeAndWaitedForOnce) {
    FilesystemHost host;
    for (int i = 1; i <= 20; ++i)
        host.mounted("10.0.0." + std::to_string(i) + ":/x", "/nfs" + std::to_string(i), "nfs");
    host.mounted("/dev/sda1", "/", "ext4");
    g_nNfsStatusCheckFlag = 1;
    systemHooks().clntudpCreate = [](auto...) -> void * {
        std::this_thread::sleep_for(1s);
        return nullptr;
    };
    CMM_FS_Info collector;
    collector.fSetNFSFlag(1);
    const LogCapture log;

    const double first = secondsOf([&] { EXPECT_EQ(recordsOf(collector), Names{"/"}); });
    const double second = secondsOf([&] { EXPECT_EQ(recordsOf(collector), Names{"/"}); });

    std::printf("  20 dead servers: %.3f s, then %.3f s\n", first, second);
    EXPECT_GE(first, 1.0);
    EXPECT_LT(first, 5.0);
    EXPECT_LT(second, 0.9);
    EXPECT_EQ(log.messages().size(), 40U); // "NFS Server connect failed" for every mount in every pass
    while (zel::boundedCallsRunning() != 0)
        std::this_thread::sleep_for(1ms);
    EXPECT_EQ(host.measured(), (Names{"/", "/"}));
}

} // namespace

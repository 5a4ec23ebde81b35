// Mounts that stop answering, real ones: a FUSE filesystem whose server is stopped. In the collector, and in the
// driver.
#include "DriverRun.h"
#include "FuseMounts.h"
#include "HostFixture.h"
#include "LogCapture.h"
#include "MM_FS_Info.h"
#include "Paths.h"
#include "PrivateMounts.h"
#include "ScratchHome.h"
#include "threads/BoundedCall.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

namespace {

using Names = std::vector<std::string>;

double secondsOf(const std::function<void()> &work) {
    const auto started = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
}

int threads() {
    int count = 0;
    for ([[maybe_unused]] const auto &task : std::filesystem::directory_iterator("/proc/self/task"))
        ++count;
    return count;
}

Names recordsOf(CMM_FS_Info &collector) {
    Names names;
    collector.fMGetFileSys();
    while (const _ST_FS *record = collector.fMGetFileSysNext())
        names.emplace_back(record->l_strFSname);
    return names;
}

// A host with FUSE mounts at /m0, /m1 ..., and a local mount before and after them.
class StuckHost {
public:
    explicit StuckHost(int mounts) : m_mounts(directories(m_host.path().string(), mounts)) {
        std::string table = "/dev/first /first tmpfs rw 0 0\n";
        for (int i = 0; i < mounts; ++i)
            table += "zel_test_fuse /m" + std::to_string(i) + " fuse.zeltest rw 0 0\n";
        m_host.write("etc/mtab", table + "/dev/last /last tmpfs rw 0 0\n");
        for (const char *local : {"first", "last"}) {
            std::filesystem::create_directory(m_host.path() / local);
            mountSmall((m_host.path() / local).string(), 2 * 1024 * 1024);
        }
    }
    FuseMounts &mounts() { return m_mounts; }

private:
    static Names directories(const std::string &root, int count) {
        Names names;
        for (int i = 0; i < count; ++i)
            names.push_back(root + "/m" + std::to_string(i));
        return names;
    }

    HostFixture m_host;
    ScratchHome m_home;
    FuseMounts m_mounts;
};

// The body runs in a mount namespace of its own; skipped, with the reason, where that or FUSE is not permitted.
void withStuckHost(int mounts, const std::function<void(StuckHost &)> &body) {
    const TempDirectory notes;
    const std::string whyNot = withPrivateMounts([&] {
        StuckHost host(mounts);
        if (host.mounts().work())
            body(host);
        else
            notes.write("skipped", "");
    });
    if (!whyNot.empty())
        GTEST_SKIP() << whyNot;
    if (notes.exists("skipped"))
        GTEST_SKIP() << "FUSE filesystems cannot be mounted here (the reason is above)";
}

void waitForTheThreads() {
    for (int waited = 0; zel::boundedCallsRunning() != 0 && waited < 10000; ++waited)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(zel::boundedCallsRunning(), 0);
}

TEST(StuckMounts, OneIsLeftOutUntilItAnswersAgain) {
    withStuckHost(1, [](StuckHost &host) {
        CMM_FS_Info collector;
        const LogCapture log;
        EXPECT_EQ(recordsOf(collector), (Names{"/first", "/m0", "/last"}));
        const int threadsAtRest = threads();

        host.mounts().stop();
        const double first = secondsOf([&] { EXPECT_EQ(recordsOf(collector), (Names{"/first", "/last"})); });
        const double second = secondsOf([&] { EXPECT_EQ(collector.fGetFileSystem(), 2); });
        CMM_FS_Info another;
        const double others = secondsOf([&] {
            for (int pass = 0; pass < 100; ++pass)
                EXPECT_EQ(recordsOf(another), (Names{"/first", "/last"}));
        });
        std::printf("  a stopped server: %.3f s, then %.3f s; 100 passes of another collector %.3f s\n", first, second,
                    others);
        EXPECT_GE(first, 4.9);
        EXPECT_LT(first, 9.0);
        EXPECT_LT(second, 1.0);
        EXPECT_LT(others, 5.0);
        EXPECT_EQ(zel::boundedCallsRunning(), 1);
        EXPECT_LE(threads(), threadsAtRest + 1); // the thread of an answered call may still have been ending

        host.mounts().resume();
        waitForTheThreads();
        EXPECT_EQ(recordsOf(collector), (Names{"/first", "/m0", "/last"}));
        EXPECT_EQ(collector.fGetFileSystem(), 3);
        EXPECT_EQ(log.messages(),
                  (Names{"statfs failed(110), mount does not answer(/m0)", "mount answers again(/m0)"}));
    });
}

TEST(StuckMounts, TwoHundredCostOneLimit) {
    withStuckHost(200, [](StuckHost &host) {
        CMM_FS_Info collector;
        EXPECT_EQ(recordsOf(collector).size(), 202U);
        const LogCapture log;

        host.mounts().stop();
        const double first = secondsOf([&] { EXPECT_EQ(recordsOf(collector), (Names{"/first", "/last"})); });
        const double second = secondsOf([&] { EXPECT_EQ(recordsOf(collector), (Names{"/first", "/last"})); });
        std::printf("  200 mounts of a stopped server: %.3f s, then %.3f s\n", first, second);
        EXPECT_GE(first, 4.9);
        EXPECT_LT(first, 9.0);
        EXPECT_LT(second, 2.0);
        EXPECT_EQ(zel::boundedCallsRunning(), 200);
        EXPECT_EQ(log.messages().size(), 200U); // every mount once

        host.mounts().resume();
        waitForTheThreads();
        EXPECT_EQ(recordsOf(collector).size(), 202U);
        EXPECT_EQ(log.messages().size(), 400U);
    });
}

// The hanging call fails late; what is asked after it fails at once.
TEST(StuckMounts, AServerThatDiesCostsNothingMore) {
    withStuckHost(1, [](StuckHost &host) {
        CMM_FS_Info collector;
        const LogCapture log;
        host.mounts().stop();
        recordsOf(collector);
        host.mounts().kill();
        waitForTheThreads();

        const double passes = secondsOf([&] {
            for (int pass = 0; pass < 10; ++pass)
                EXPECT_EQ(recordsOf(collector), (Names{"/first", "/last"}));
        });

        EXPECT_LT(passes, 2.0);
        EXPECT_EQ(log.messages(), Names{"statfs failed(110), mount does not answer(/m0)"});
    });
}

// A fixture with one more mount, at /stuck.
void addStuckMount(const std::filesystem::path &host) {
    std::filesystem::copy(std::string(paths::fixtures) + "/linux-6.1.0/t0", host,
                          std::filesystem::copy_options::recursive);
    std::ofstream(host / "etc/mtab", std::ios::app) << "zel_test_fuse /stuck fuse.zeltest rw 0 0\n";
}

TEST(StuckMounts, HoldNeitherOptionOfTheDriver) {
    const TempDirectory host;
    addStuckMount(host.path());
    const TempDirectory notes;
    const std::string whyNot = withPrivateMounts([&] {
        const FuseMounts mounts({(host.path() / "stuck").string()});
        if (!mounts.work()) {
            notes.write("skipped", "");
            return;
        }
        const auto run = [&host](const std::string &option) {
            DriverRun driver;
            return driver.hostDirectories({host.path().string()})
                .kernelRelease("6.1.0")
                .frozenClock()
                .withoutLeakCheck()
                .run({option, "1", "3"});
        };
        const std::string row = "| /stuck fuse.zeltest zel_test_fuse\n";
        for (const std::string option : {"4", "9"}) {
            EXPECT_NE(run(option).err.find(row), std::string::npos) << option;
            mounts.stop();
            DriverResult stuck;
            const double seconds = secondsOf([&] { stuck = run(option); });
            mounts.resume();
            std::printf("  option %s with a stopped mount: three cycles in %.3f s\n", option.c_str(), seconds);
            EXPECT_EQ(stuck.status, 0) << option;
            EXPECT_EQ(stuck.err.find(row), std::string::npos) << option;
            EXPECT_NE(stuck.err.find("[ 3 ]"), std::string::npos) << option;
            EXPECT_LT(seconds, 15.0) << option;
        }
        EXPECT_NE(run("4").err.find(row), std::string::npos);
    });
    if (!whyNot.empty())
        GTEST_SKIP() << whyNot;
    if (notes.exists("skipped"))
        GTEST_SKIP() << "FUSE filesystems cannot be mounted here (the reason is above)";
}

} // namespace

// The filesystems of a sample: what this host has mounted, mounts that hide one another, mounts that do not answer.
#include "host/Sampler.h"

#include "FuseMounts.h"
#include "OwnProcess.h"
#include "PrivateMounts.h"
#include "SystemHooks.h"
#include "TempDirectory.h"
#include "ThreadWatch.h"
#include "threads/BoundedCall.h"

#include <cerrno>
#include <fstream>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <thread>

namespace {

using namespace std::chrono_literals;
using zel::Absence;
using zel::Area;
using zel::Filesystem;
using zel::Sample;
using zel::Sampler;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr double secondsOver = 1.0; // instrumented code is slow
#else
constexpr double secondsOver = 0.05;
#endif

zel::Options filesystemsOnly(std::chrono::milliseconds deadline = 2s) {
    return {.areas = {Area::Filesystems}, .deadline = deadline};
}

// The last one at a mount point; the row stays the sample's.
const Filesystem *at(const Sample &sample, const std::string &mountPoint) {
    const Filesystem *found = nullptr;
    for (const Filesystem &filesystem : sample.filesystems) {
        if (filesystem.mountPoint == mountPoint)
            found = &filesystem;
    }
    EXPECT_NE(found, nullptr) << mountPoint;
    return found;
}

double takeSeconds(Sampler &sampler, Sample &sample) {
    const auto start = std::chrono::steady_clock::now();
    sampler.take(sample);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void waitForTheThreads() {
    while (zel::boundedCallsRunning() != 0)
        std::this_thread::sleep_for(1ms);
}

// Mounts that stop answering when the body says so, in a mount namespace of their own. A reason to skip, or nothing.
std::string withFuseMounts(const std::vector<std::string> &directories, const std::function<void(FuseMounts &)> &body) {
    return withPrivateMounts([&] {
        setpriority(PRIO_PROCESS, 0, -15); // the sampler is measured, not what else this machine does
        FuseMounts mounts(directories);
        if (mounts.work())
            body(mounts);
        else
            std::puts("no FUSE here: nothing was tested");
    });
}

void skipWhenSaid(const std::string &reason) {
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

// --- What answers --------------------------------------------------------------------------------------------------

TEST(Filesystems, EveryLocalMountHasTheSizesOfStatvfs) {
    Sampler sampler(filesystemsOnly());
    const Sample sample = sampler.take();
    std::size_t lines = 0;
    std::ifstream table("/proc/self/mountinfo");
    for (std::string line; std::getline(table, line);)
        ++lines;
    EXPECT_EQ(sample.filesystems.size(), lines);
    for (const Filesystem &filesystem : sample.filesystems) {
        struct statvfs expected {};
        if (filesystem.hidden.valueOr(1) != 0 || filesystem.type == "autofs" ||
            statvfs(filesystem.mountPoint.c_str(), &expected) != 0)
            continue;
        SCOPED_TRACE(filesystem.mountPoint);
        EXPECT_EQ(*filesystem.sizeBytes, expected.f_blocks * expected.f_frsize);
        EXPECT_EQ(*filesystem.files, expected.f_files);
        EXPECT_EQ(*filesystem.blockBytes, expected.f_frsize);
        EXPECT_EQ(*filesystem.transferBytes, expected.f_bsize);
        EXPECT_EQ(*filesystem.longestName, expected.f_namemax);
        EXPECT_EQ(*filesystem.stuck, 0U);
        EXPECT_EQ(*filesystem.stuckSeconds, 0);
        EXPECT_EQ(*filesystem.deviceError, 0U);
        EXPECT_EQ(*filesystem.errorNumber, 0U);
    }
}

TEST(Filesystems, LocalMountsCostNoThread) {
    skipWhenSaid(withPrivateMounts([] {
        const TempDirectory scratch;
        ASSERT_TRUE(mountSmall(scratch.path().string(), 64));
        const ThreadWatch threads;
        Sampler sampler(filesystemsOnly());
        const Sample sample = sampler.take();
        const bool rootMayHang = at(sample, "/")->type == "overlay"; // and with it every way
        EXPECT_TRUE(threads.started() == 0 || rootMayHang);
    }));
}

TEST(Filesystems, ASmallOneOfMemoryIsTold) {
    skipWhenSaid(withPrivateMounts([] {
        const TempDirectory scratch;
        const std::string path = scratch.path().string() + "/a b";
        std::filesystem::create_directories(path);
        ASSERT_TRUE(mountSmall(path, 64));
        Sampler sampler(filesystemsOnly());
        const Sample before = sampler.take();
        EXPECT_EQ(*at(before, path)->sizeBytes, 64U * 1024);
        EXPECT_EQ(*at(before, path)->availableBytes, 64U * 1024);
        EXPECT_EQ(at(before, path)->type, "tmpfs");
        EXPECT_EQ(at(before, path)->device, "none");
        EXPECT_EQ(*at(before, path)->readOnly, 0U);
        std::ofstream(path + "/file") << std::string(8192, 'x');
        ASSERT_TRUE(remountReadOnly(path));
        const Sample now = sampler.take();
        EXPECT_EQ(*at(now, path)->freeBytes, 56U * 1024);
        EXPECT_EQ(*at(now, path)->readOnly, 1U);
        EXPECT_EQ(*at(now, path)->mountId, *at(before, path)->mountId);
        umount(path.c_str());
    }));
}

TEST(Filesystems, AHiddenMountHasNoSizesOfTheOneThatHidesIt) {
    skipWhenSaid(withPrivateMounts([] {
        const TempDirectory scratch;
        const std::string path = scratch.path().string() + "/place";
        std::filesystem::create_directories(path);
        ASSERT_TRUE(mountSmall(path, 64));
        std::filesystem::create_directories(path + "/below");
        ASSERT_TRUE(mountSmall(path + "/below", 128));
        ASSERT_TRUE(mountSmall(path, 256));
        Sampler sampler(filesystemsOnly());
        const Sample sample = sampler.take();
        std::vector<const Filesystem *> found;
        for (const Filesystem &filesystem : sample.filesystems) {
            if (filesystem.mountPoint.starts_with(path))
                found.push_back(&filesystem);
        }
        ASSERT_EQ(found.size(), 3U);
        for (const Filesystem *hidden : {found[0], found[1]}) {
            EXPECT_EQ(*hidden->hidden, 1U);
            EXPECT_EQ(hidden->sizeBytes.absence(), Absence::Unsupported);
            EXPECT_EQ(hidden->stuck.absence(), Absence::Unsupported);
        }
        EXPECT_EQ(*found[2]->hidden, 0U);
        EXPECT_EQ(*found[2]->sizeBytes, 256U * 1024);
    }));
}

TEST(Filesystems, AnErrorOfTheDeviceIsMarkedAndNamed) {
    systemHooks().statfs64 = [](const char *, struct statfs64 *) {
        errno = EIO;
        return -1;
    };
    Sampler sampler(filesystemsOnly());
    const Sample sample = sampler.take();
    const Filesystem *proc = at(sample, "/proc");
    ASSERT_NE(proc, nullptr);
    EXPECT_EQ(*proc->deviceError, 1U);
    EXPECT_EQ(*proc->errorNumber, static_cast<std::uint64_t>(EIO));
    EXPECT_EQ(proc->sizeBytes.absence(), Absence::Malformed);
    EXPECT_EQ(sample.area(Area::Filesystems).error, EIO);
}

TEST(Filesystems, WantOfRightsIsNoErrorOfTheDevice) {
    systemHooks().statfs64 = [](const char *, struct statfs64 *) {
        errno = EACCES;
        return -1;
    };
    Sampler sampler(filesystemsOnly());
    const Sample sample = sampler.take();
    const Filesystem *proc = at(sample, "/proc");
    ASSERT_NE(proc, nullptr);
    EXPECT_EQ(*proc->deviceError, 0U);
    EXPECT_EQ(*proc->errorNumber, static_cast<std::uint64_t>(EACCES));
    EXPECT_EQ(proc->sizeBytes.absence(), Absence::Denied);
}

// A service of systemd sees every filesystem as read-only, which is true for the service alone.
TEST(Filesystems, TheMountsOfTheFirstProcessAreReadOnlyWhenTheyAreSoThere) {
    Sampler outside(filesystemsOnly());
    const Sample before = outside.take();
    ASSERT_NE(at(before, "/"), nullptr);
    const std::uint64_t isReadOnly = *at(before, "/")->readOnly;
    skipWhenSaid(withPrivateMounts([isReadOnly] {
        ASSERT_TRUE(remountReadOnly("/"));
        Sampler own(filesystemsOnly());
        EXPECT_EQ(*at(own.take(), "/")->readOnly, 1U);
        Sampler ofTheFirst({.areas = {Area::Filesystems}, .firstMounts = true});
        const Sample sample = ofTheFirst.take();
        EXPECT_EQ(*at(sample, "/")->readOnly, isReadOnly);
        EXPECT_TRUE(at(sample, "/")->sizeBytes.has());
    }));
}

// Where this process sees another filesystem in the place of one, it has no sizes of it.
TEST(Filesystems, AMountThatOnlyTheFirstProcessSeesHasNoSizes) {
    skipWhenSaid(withPrivateMounts([] {
        ASSERT_TRUE(mountSmall("/sys", 64));
        Sampler sampler({.areas = {Area::Filesystems}, .firstMounts = true});
        const Sample sample = sampler.take();
        ASSERT_NE(at(sample, "/sys"), nullptr);
        EXPECT_EQ(at(sample, "/sys")->type, "sysfs");
        EXPECT_EQ(at(sample, "/sys")->sizeBytes.absence(), Absence::Unsupported);
    }));
}

// What a filesystem claims is not believed beyond what fits.
TEST(Filesystems, SizesAreBlocksOfTheFragmentSizeAndNeverWrap) {
    systemHooks().statfs64 = [](const char *, struct statfs64 *status) {
        *status = {};
        status->f_bsize = 1 << 20;
        status->f_frsize = 512;
        status->f_blocks = 1000;
        status->f_bfree = 1ULL << 60;
        status->f_bavail = ~0ULL;
        status->f_flags = ST_RDONLY;
        return 0;
    };
    Sampler sampler(filesystemsOnly());
    const Sample sample = sampler.take();
    const Filesystem *proc = at(sample, "/proc");
    ASSERT_NE(proc, nullptr);
    EXPECT_EQ(*proc->sizeBytes, 512000U);
    EXPECT_EQ(proc->freeBytes.absence(), Absence::Malformed);
    EXPECT_EQ(proc->availableBytes.absence(), Absence::Unsupported);
    EXPECT_EQ(*proc->readOnly, 1U); // also when the table does not say so
}

// --- What does not answer ------------------------------------------------------------------------------------------

TEST(Filesystems, AMountThatStopsAnsweringIsStuckUntilItAnswersAgain) {
    const TempDirectory scratch;
    const std::string dead = (scratch.path() / "dead").string();
    skipWhenSaid(withFuseMounts({dead}, [&dead](const FuseMounts &mounts) {
        Sampler sampler({.areas = {Area::Filesystems, Area::Load}, .deadline = 300ms});
        Sample sample;
        sampler.take(sample);
        EXPECT_EQ(*at(sample, dead)->sizeBytes, 2147483648U);
        EXPECT_EQ(*at(sample, dead)->availableBytes, 131072U * 4096);
        EXPECT_EQ(at(sample, dead)->type, "fuse.zeltest");
        waitForTheThreads();
        mounts.stop();
        const ThreadWatch threads;
        double silent = 0;
        for (int again = 0; again < 11; ++again) {
            const double seconds = takeSeconds(sampler, sample);
            EXPECT_LT(seconds, 0.3 + secondsOver);
            EXPECT_TRUE(again == 0 || seconds < 0.25) << seconds; // it is not waited for again
            const Filesystem *stuck = at(sample, dead);
            EXPECT_EQ(*stuck->stuck, 1U);
            EXPECT_GT(*stuck->stuckSeconds, silent);
            silent = *stuck->stuckSeconds;
            EXPECT_GE(silent, 0.25);
            EXPECT_EQ(stuck->sizeBytes.absence(), Absence::TimedOut);
            EXPECT_EQ(*stuck->deviceError, 0U);
            EXPECT_EQ(sample.area(Area::Filesystems).error, ETIMEDOUT);
            EXPECT_EQ(sample.area(Area::Filesystems).file, dead);
            EXPECT_EQ(sample.area(Area::Filesystems).silentSeconds, silent);
            EXPECT_TRUE(at(sample, "/proc")->sizeBytes.has());
            EXPECT_TRUE(sample.load.load1.has());
            EXPECT_EQ(threads.running(), 1);
        }
        mounts.resume();
        waitForTheThreads();
        sampler.take(sample);
        EXPECT_EQ(*at(sample, dead)->stuck, 0U);
        EXPECT_EQ(*at(sample, dead)->sizeBytes, 2147483648U);
        EXPECT_EQ(sample.area(Area::Filesystems).silentSeconds, 0);
    }));
}

TEST(Filesystems, TwoHundredDeadMountsHaveOneThreadEachAndCostNoTimeOverTheDeadline) {
    const TempDirectory scratch;
    std::vector<std::string> dead;
    for (int mount = 0; mount < 200; ++mount)
        dead.push_back((scratch.path() / std::to_string(mount)).string());
    skipWhenSaid(withFuseMounts(dead, [&dead](const FuseMounts &mounts) {
        mounts.stop();
        const ThreadWatch threads;
        Sampler sampler({.areas = {Area::Filesystems, Area::Load}, .deadline = 500ms});
        Sample sample;
        int asked = 0; // a slow machine has not started all threads when the first deadline is over
        for (int again = 0; again < 40 && asked < 3; ++again) {
            EXPECT_LT(takeSeconds(sampler, sample), 0.5 + secondsOver);
            EXPECT_TRUE(sample.load.load1.has());
            for (const std::string &mountPoint : dead)
                EXPECT_EQ(at(sample, mountPoint)->sizeBytes.absence(), Absence::TimedOut);
            asked += zel::boundedCallsRunning() == 200 ? 1 : 0;
        }
        EXPECT_EQ(asked, 3);
        EXPECT_EQ(threads.running(), 200);
        for (const std::string &mountPoint : dead)
            EXPECT_EQ(*at(sample, mountPoint)->stuck, 1U);
        mounts.resume();
        waitForTheThreads();
    }));
}

TEST(Filesystems, TwoSamplersShareTheThreadOfADeadMountAndMayGoBeforeItEnds) {
    const TempDirectory scratch;
    const std::string dead = (scratch.path() / "dead").string();
    skipWhenSaid(withFuseMounts({dead}, [&dead](const FuseMounts &mounts) {
        mounts.stop();
        {
            Sampler one(filesystemsOnly(200ms)), other(filesystemsOnly(100ms));
            EXPECT_EQ(*at(one.take(), dead)->stuck, 1U);
            EXPECT_EQ(*at(other.take(), dead)->stuck, 1U);
            EXPECT_EQ(zel::boundedCallsRunning(), 1);
        }
        EXPECT_EQ(zel::boundedCallsRunning(), 1);
        mounts.resume();
        waitForTheThreads();
        Sampler third(filesystemsOnly());
        EXPECT_EQ(*at(third.take(), dead)->stuck, 0U);
    }));
}

TEST(Filesystems, TheChildOfAForkAsksADeadMountItself) {
    SKIP_WHERE_FORKS_ARE_NOT_FOLLOWED();
    const TempDirectory scratch;
    const std::string dead = (scratch.path() / "dead").string();
    skipWhenSaid(withFuseMounts({dead}, [&dead](const FuseMounts &mounts) {
        Sampler sampler(filesystemsOnly(200ms));
        mounts.stop();
        EXPECT_EQ(*at(sampler.take(), dead)->stuck, 1U);
        EXPECT_TRUE(trueInChild([&] {
            const bool stuck = *at(sampler.take(), dead)->stuck == 1;
            mounts.resume();
            waitForTheThreads();
            return stuck && *at(sampler.take(), dead)->stuck == 0;
        }));
        waitForTheThreads();
        EXPECT_EQ(*at(sampler.take(), dead)->stuck, 0U);
    }));
}

TEST(Filesystems, AServerThatDiedIsAnErrorOfTheDevice) {
    const TempDirectory scratch;
    const std::string dead = (scratch.path() / "dead").string();
    skipWhenSaid(withFuseMounts({dead}, [&dead](FuseMounts &mounts) {
        mounts.kill();
        Sampler sampler(filesystemsOnly());
        const Sample sample = sampler.take();
        EXPECT_EQ(*at(sample, dead)->stuck, 0U);
        EXPECT_EQ(*at(sample, dead)->deviceError, 1U);
        EXPECT_EQ(*at(sample, dead)->errorNumber, static_cast<std::uint64_t>(ENOTCONN));
        umount2(dead.c_str(), MNT_DETACH);
    }));
}

// --- Below a root directory ----------------------------------------------------------------------------------------

TEST(Filesystems, ARecordingHasMountsButNoSizes) {
    const TempDirectory scratch;
    scratch.write("proc/1/mountinfo", "25 1 8:1 / / rw - ext4 /dev/sda1 ro\n26 25 0:5 / /proc rw - proc proc rw\n");
    scratch.write("proc/self/mountinfo", "1 0 0:1 / /other rw - tmpfs other rw\n");
    Sampler sampler({.root = scratch.path().string(), .areas = {Area::Filesystems}});
    const Sample sample = sampler.take();
    ASSERT_EQ(sample.filesystems.size(), 2U);
    EXPECT_EQ(*sample.filesystems[0].mountId, 25U);
    EXPECT_EQ(*sample.filesystems[0].readOnly, 1U);
    for (const Filesystem &filesystem : sample.filesystems) {
        EXPECT_EQ(filesystem.sizeBytes.absence(), Absence::Unsupported);
        EXPECT_EQ(filesystem.stuck.absence(), Absence::Unsupported);
    }
    EXPECT_EQ(sample.area(Area::Filesystems).error, 0);
}

TEST(Filesystems, ARecordingWithoutMountInfoHasTheMountsOfTheOtherTables) {
    const TempDirectory scratch;
    scratch.write("etc/mtab", "/dev/sda1 / ext4 rw 0 0\n");
    Sampler sampler({.root = scratch.path().string(), .areas = {Area::Filesystems}});
    const Sample sample = sampler.take();
    ASSERT_EQ(sample.filesystems.size(), 1U);
    EXPECT_EQ(sample.filesystems[0].mountId.absence(), Absence::Unsupported);
    EXPECT_EQ(sample.filesystems[0].device, "/dev/sda1");
}

TEST(Filesystems, WithoutAnyTableTheAreaIsLost) {
    const TempDirectory scratch;
    Sampler sampler({.root = scratch.path().string(), .areas = {Area::Filesystems}});
    const Sample sample = sampler.take();
    EXPECT_EQ(sample.area(Area::Filesystems).absence, Absence::Unsupported);
    EXPECT_EQ(sample.area(Area::Filesystems).error, ENOENT);
    EXPECT_EQ(sample.area(Area::Filesystems).file, "proc/1/mountinfo");
    EXPECT_TRUE(sample.filesystems.empty());
}

TEST(Filesystems, LinesThatAreNoMountsAreTold) {
    const TempDirectory scratch;
    scratch.write("proc/1/mountinfo", "garbage\n25 1 8:1 / / rw - ext4 /dev/sda1 rw\n");
    Sampler sampler({.root = scratch.path().string(), .areas = {Area::Filesystems}});
    const Sample sample = sampler.take();
    EXPECT_EQ(sample.filesystems.size(), 1U);
    EXPECT_EQ(sample.area(Area::Filesystems).error, EBADMSG);
    EXPECT_EQ(sample.area(Area::Filesystems).file, "proc/1/mountinfo");
}

// As a container sees its host: proc is the kernel's, and the first process is that of a namespace of the test's own,
// whose table has the dead mount.
TEST(Filesystems, ARunningHostBelowADirectoryHasSizesAlsoBesideADeadMount) {
    const TempDirectory scratch;
    const std::string host = (scratch.path() / "host").string();
    const std::string dead = (scratch.path() / "dead").string();
    std::filesystem::create_directories(host);
    skipWhenSaid(withFuseMounts({dead}, [&](const FuseMounts &mounts) {
        ASSERT_EQ(mount("/", host.c_str(), nullptr, MS_BIND | MS_REC, nullptr), 0);
        ASSERT_EQ(unshare(CLONE_NEWPID), 0);
        mounts.stop();
        struct statvfs expected {};
        ASSERT_EQ(statvfs("/", &expected), 0);
        EXPECT_TRUE(trueInChild([&] {
            EXPECT_EQ(mount("proc", (host + "/proc").c_str(), "proc", 0, nullptr), 0);
            Sampler sampler({.root = host, .areas = {Area::Filesystems, Area::Load}, .deadline = 500ms});
            Sample sample;
            for (int again = 0; again < 3; ++again) {
                EXPECT_LT(takeSeconds(sampler, sample), 0.5 + secondsOver);
                EXPECT_EQ(sample.area(Area::Filesystems).absence, Absence::None);
                EXPECT_EQ(*at(sample, "/")->sizeBytes, expected.f_blocks * expected.f_frsize);
                EXPECT_EQ(*at(sample, dead)->stuck, 1U);
                EXPECT_EQ(at(sample, dead)->sizeBytes.absence(), Absence::TimedOut);
                EXPECT_TRUE(sample.load.load1.has());
                EXPECT_EQ(zel::boundedCallsRunning(), 1);
            }
            return !testing::Test::HasFailure();
        }));
        mounts.resume();
        umount2(host.c_str(), MNT_DETACH);
    }));
}

// Each allocation of a sample fails once: then the area is lost or complete, and the next sample is whole.
TEST(Filesystems, WithoutMemoryTheAreaIsLostAndComesBack) {
    const std::size_t mounts = Sampler(filesystemsOnly()).take().filesystems.size();
    bool failed = true;
    for (int allocation = 0; failed && allocation < 20000; ++allocation) {
        Sampler sampler({.areas = {Area::Filesystems, Area::Load}});
        Sample sample;
        systemHooks().failNewAfter = allocation;
        sampler.take(sample);
        failed = systemHooks().failNewAfter == -1;
        systemHooks().failNewAfter = -1;
        if (sample.area(Area::Filesystems).error == ENOMEM)
            EXPECT_TRUE(sample.filesystems.empty());
        else
            EXPECT_EQ(sample.filesystems.size(), mounts);
        EXPECT_TRUE(sample.load.load1.has() || sample.area(Area::Load).error == ENOMEM);
        sampler.take(sample);
        EXPECT_EQ(sample.filesystems.size(), mounts);
        EXPECT_EQ(sample.area(Area::Filesystems).error, 0);
    }
    EXPECT_FALSE(failed);
}

// Nothing is parsed again, and no thread is started.
TEST(Filesystems, MountsThatDoNotChangeCostNoAllocation) {
    Sampler sampler(filesystemsOnly());
    Sample sample;
    sampler.take(sample);
    if (at(sample, "/")->type == "overlay")
        GTEST_SKIP() << "every way leads over a filesystem that may hang";
    sampler.take(sample);
    const long before = allocationsSoFar();
    for (int again = 0; again < 10; ++again)
        sampler.take(sample);
    EXPECT_EQ(allocationsSoFar() - before, 0);
}

} // namespace
